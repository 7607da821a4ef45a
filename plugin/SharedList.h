// A list of texts that is made one by one and is most often one that is there already.
#pragma once

#include <string>
#include <vector>

#include "platform/foundation/Text.h"

namespace velmora {

// As long as the texts are those of a model, nothing is kept of them: there are up to 65,536, of up to 2 KiB each, and
// the list of before lives until the new one is complete.
class SharedList {
  public:
    // Lists that the new one may turn out to be; null ones stand for nothing.
    explicit SharedList(std::vector<StringList> models);

    void add(std::string text);
    // One of the models where that is equal, otherwise a new list. Once.
    StringList list();

  private:
    bool isModelSoFar(const StringList& model, const std::string& next) const;
    void leaveModel();

    std::vector<StringList> models_;
    StringList model_;  // whose beginning the texts are; null once they are no model's
    std::size_t size_ = 0;
    std::vector<std::string> own_;  // where there is no model
};

}  // namespace velmora
