// Property lists, as documents and as values, and bundles whose Info.plist they are.
//
// The input is a document; after a leading "V" it is a value instead.
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "fuzz/Fuzz.h"
#include "platform/foundation/NSBundle.h"
#include "platform/foundation/PropertyListXML.h"

namespace velmora::fuzz {
namespace {

namespace fs = std::filesystem;

PropertyList writtenAndRead(const PropertyList& value) {
    const auto xml = XMLWithPropertyList(value);
    require(static_cast<bool>(xml), "a value of this size can be written");
    const auto again = propertyListWithXML(*xml);
    require(static_cast<bool>(again), "what was written can be read");
    return *again;
}

void checkRoundTrip(const PropertyList& value) {
    const auto xml = XMLWithPropertyList(value);
    const PropertyList again = writtenAndRead(value);
    // NaN does not equal itself.
    require(again == value || xml->find("nan</real>") != std::string::npos, "a value comes back as it was");
    require(*XMLWithPropertyList(again) == *xml, "a value is always written alike");
}

// One bundle for the whole run, on a file system in memory where there is one. Removed at the end.
class BundleFolder {
  public:
    BundleFolder() {
        std::string name = (fs::exists("/dev/shm") ? "/dev/shm" : fs::temp_directory_path().string()) + "/fuzz-XXXXXX";
        require(mkdtemp(name.data()) != nullptr, "a folder can be made");
        path = name;
        fs::create_directories(path / "Contents" / "Resources");
        std::ofstream(path / "Contents" / "Resources" / "Settings.ui") << "<ui/>";
    }
    ~BundleFolder() { fs::remove_all(path); }

    fs::path path;
};

void checkBundle(std::string_view document, const DictionaryReference& expected) {
    static const BundleFolder folder;
    std::ofstream(folder.path / "Contents" / "Info.plist", std::ios::binary) << document;
    const auto opened = NSBundle::bundleWithPath(folder.path);
    require(static_cast<bool>(opened) == (expected != nullptr), "a bundle's information is a dictionary");
    require(opened || !opened.failure().reason.empty(), "a refusal has a reason");
    if (!opened) return;
    const auto bundle = *opened;
    for (const auto& [key, value] : *expected) {
        require(bundle->objectForInfoDictionaryKey(key) == value.text(), "the bundle knows what its Info.plist says");
        const auto resource = bundle->pathForResource(key, "");
        require(!resource || resource->filename() == "Settings.ui", "a resource stands in the bundle's Resources");
    }
    const auto loaded = bundle->load(1);
    require(!loaded && !loaded.failure().reason.empty() && !bundle->isLoaded(), "nothing is loaded from elsewhere");
}

void checkDocument(std::string_view document) {
    const auto value = propertyListWithXML(document);
    if (!value) {
        const std::string& reason = value.failure().reason;
        require(!reason.empty() && isValidUTF8(reason) && reason.find('\n') == std::string::npos,
                "a reason is one line of text");
        return;
    }
    checkRoundTrip(*value);
    checkBundle(document, value->dictionary());
}

void checkValue(FuzzedDataProvider input) {
    ValueMaker maker(input);
    const PropertyList value = maker.value();
    // The first write may replace characters that no document can hold.
    if (maker.textsWereWritable()) checkRoundTrip(value);
    checkRoundTrip(writtenAndRead(value));
}

}  // namespace
}  // namespace velmora::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmora::fuzz;
    if (size > 0 && data[0] == 'V') {
        checkValue(FuzzedDataProvider(data + 1, size - 1));
    } else {
        checkDocument(asText(data, size));
    }
    return 0;
}
