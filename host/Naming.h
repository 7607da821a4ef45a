// Which attribute somebody means. Exact names come first; then display names and, of a switch plugin, the numbers of
// outputs, where they leave no doubt. Main thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/Salvo.h"
#include "platform/foundation/PropertyList.h"
#include "platform/foundation/Result.h"
#include "plugin/VelmoraNodePluginProtocol.h"

namespace velmora {

class Naming {
  public:
    // Both outlive it. `settings` are all of them, also where the plugin was given a part.
    Naming(const VelmoraNodePluginProtocol& plugin, const DictionaryReference& settings)
        : plugin_(plugin), settings_(settings) {}

    // The attribute's name.
    Result<std::string> attributeMeantBy(const std::string& written) const;
    // The step with the attribute's name. Where the line can be split in several ways, exact names decide, too.
    Result<SalvoStep> stepMeantBy(const std::string& line) const;
    // The number of the attribute's output, from 1; none where attributes stand for something else.
    std::optional<std::int64_t> outputOf(const std::string& name) const;

  private:
    bool isAttribute(const std::string& name) const;
    std::vector<std::string> candidates(const std::string& written) const;
    std::string knownNames() const;

    const VelmoraNodePluginProtocol& plugin_;
    const DictionaryReference& settings_;
};

// The settings with those configured outputs only that one of the texts may mean as an attribute; for no text the first
// one when `names` is not empty, so that the plugin can tell what it has. None when that is all of them.
std::optional<DictionaryReference> settingsForAttributes(const DictionaryReference& settings,
                                                         const std::vector<std::string>& names);

}  // namespace velmora
