// Builds a list of texts that most often turns out to equal one that exists.
#pragma once

#include <string>
#include <vector>

#include "platform/foundation/Text.h"

namespace velmora {

// As long as the texts are those of a model none of them is stored: there are up to 65,536, of up to 2 KiB each, and
// the old list lives until the new one is complete.
class SharedList {
  public:
    // Lists that the new one may equal; null ones are ignored.
    explicit SharedList(std::vector<StringList> models);

    void add(std::string text);
    // The model that is equal, otherwise a new list. To be called once.
    StringList list();

  private:
    bool isModelSoFar(const StringList& model, const std::string& next) const;
    void leaveModel();

    std::vector<StringList> models_;
    StringList model_;  // which begins with the texts so far; null once none does
    std::size_t size_ = 0;
    std::vector<std::string> own_;  // once there is no model
};

}  // namespace velmora
