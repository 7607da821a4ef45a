#include "host/workbench/WindowMemory.h"

#include <QStandardPaths>
#include <filesystem>
#include <system_error>

#include "platform/foundation/NSLog.h"
#include "platform/foundation/PropertyListXML.h"

namespace velmora {

namespace {

std::filesystem::path memory() {
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return std::filesystem::path(folder.toStdString()) / "velmora" / "workbench-window.plist";
}

}  // namespace

DictionaryReference rememberedArrangement() {
    const auto contents = propertyListWithContentsOfFile(memory());
    return contents ? contents->dictionary() : nullptr;
}

void rememberArrangement(const DictionaryReference& arrangement) {
    const std::filesystem::path file = memory();
    std::error_code fault;
    std::filesystem::create_directories(file.parent_path(), fault);
    const auto written = writePropertyListToFile(arrangement, file);
    if (!written) NSLog("The window's arrangement is not kept: %@ (Velmora Host)", written.failure().reason);
}

}  // namespace velmora
