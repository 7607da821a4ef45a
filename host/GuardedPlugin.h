// A plugin as the host uses it, whoever wrote it.
#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <string>

#include "plugin/VelmoraNodePluginProtocol.h"

namespace velmora {

// Ends the process as an unusable bundle does, and says which operation of the plugin threw what. Nothing else of the
// plugin can be relied on then, and the settings file stands as it was.
[[noreturn]] void endAfterException(const char* operation, const char* what);

// For each call of the plugin's code.
template <typename Call>
auto endingWhereItThrows(const char* operation, Call call) -> decltype(call()) {
    try {
        return call();
    } catch (const std::exception& exception) {
        endAfterException(operation, exception.what());
    } catch (...) {
        endAfterException(operation, "something that is no std::exception");
    }
}

// Hands each operation on. A list or dictionary that is null comes back empty; an operation that throws ends the
// process. Threads as in the protocol.
class GuardedPlugin final : public VelmoraNodePluginProtocol {
  public:
    // Never null.
    explicit GuardedPlugin(std::shared_ptr<VelmoraNodePluginProtocol> plugin);

    // The attribute whose value was read or set last; "" when none was. Main thread.
    const std::string& lastAttribute() const { return lastAttribute_; }

    std::int32_t startAndSetCurrentValuesToDefaults(bool setCurrentValuesToDefaults) override;
    void stop() override;
    void setDelegate(VelmoraNodePluginProtocol_Delegate* delegate) override;
    VelmoraNodePluginProtocol_Delegate* delegate() const override;
    void setDefaultSettings(const DictionaryReference& settings) override;
    DictionaryReference defaultSettings() override;
    StringList attributeNames() const override;
    std::string pluginName() const override;
    std::optional<std::string> pluginVersionString() const override;
    std::optional<std::string> displayNameOfAttributeWithName(const std::string& name) const override;
    std::optional<std::string> typeOfAttributeWithName(const std::string& name) const override;
    std::string currentValueOfAttributeWithName(const std::string& name) override;
    std::optional<std::string> defaultValueOfAttributeWithName(const std::string& name) const override;
    std::optional<std::string> directionOfAttributeWithName(const std::string& name) const override;
    StringList possibleValuesOfAttributeWithName(const std::string& name) const override;
    std::int32_t setValueForAttributeWithName(const std::string& value, const std::string& name) override;
    QWidget* settingsView() override;

  private:
    const std::shared_ptr<VelmoraNodePluginProtocol> plugin_;
    std::string lastAttribute_;
};

}  // namespace velmora
