// What hosts and plugins that are already built have compiled in, and no linker checks: where an operation stands in
// its class, and how large the values are that pass between them. Whoever has to change a number here raises the
// protocol's version.
#include <gtest/gtest.h>
#include <velmora/NSBundle.h>
#include <velmora/VelmoraNodePluginProtocol.h>
#include <velmora/VelmoraNodePluginStatusProtocol.h>

#include <cstring>

namespace velmora {
namespace {

static_assert(kVelmoraNodePluginProtocolVersion == 1 && kVelmoraNodePluginStatusProtocolVersion == 1);
static_assert(sizeof(PropertyList) == 40 && sizeof(StringList) == 16 && sizeof(VelmoraBundleEntryRecord) == 24);
static_assert(sizeof(NodePluginConnectionStatus) == 80 && sizeof(NodePluginOutcome) == 80);

// The place of a virtual function in its class, as the compiler tells it in a pointer to a member.
template <typename Operation>
std::size_t placeOf(Operation operation) {
    std::size_t word = 0;
    std::memcpy(&word, &operation, sizeof word);
    return word / sizeof(void*);
}

// With `last`, one that comes after all of the protocol's. The first two places are the destructor's.
template <typename... Operations>
void expectInThisOrder(Operations... operations) {
    std::size_t place = 2;
    for (const std::size_t found : {placeOf(operations)...}) {
        EXPECT_EQ(found, place++);
    }
}

TEST(Layout, operationsKeepTheirPlaces) {
    struct Plugin : VelmoraNodePluginProtocol {
        virtual void last() = 0;
    };
    struct Delegate : VelmoraNodePluginProtocol_Delegate {
        virtual void last() = 0;
    };
    struct Status : VelmoraNodePluginStatusProtocol {
        virtual void last() = 0;
    };
    struct Observer : VelmoraNodePluginStatusProtocol_Observer {
        virtual void last() = 0;
    };
    expectInThisOrder(&Plugin::startAndSetCurrentValuesToDefaults, &Plugin::stop, &Plugin::setDelegate,
                      &Plugin::delegate, &Plugin::setDefaultSettings, &Plugin::defaultSettings, &Plugin::attributeNames,
                      &Plugin::pluginName, &Plugin::pluginVersionString, &Plugin::displayNameOfAttributeWithName,
                      &Plugin::typeOfAttributeWithName, &Plugin::currentValueOfAttributeWithName,
                      &Plugin::defaultValueOfAttributeWithName, &Plugin::directionOfAttributeWithName,
                      &Plugin::possibleValuesOfAttributeWithName, &Plugin::setValueForAttributeWithName,
                      &Plugin::settingsView, &Plugin::last);
    expectInThisOrder(&Delegate::attributesChangedForPluginName, &Delegate::last);
    expectInThisOrder(&Status::statusProtocolVersion, &Status::connectionStatus, &Status::lastOutcome,
                      &Status::setStatusObserver, &Status::last);
    expectInThisOrder(&Observer::statusChangedForPluginName, &Observer::last);
}

}  // namespace
}  // namespace velmora
