#include "host/workbench/salvos/SalvoFile.h"

#include "platform/foundation/FileContents.h"

namespace velmora {

Result<Salvo> readSalvo(const std::filesystem::path& path, const Naming& naming) {
    const auto document = readFile(path, kSalvoByteLimit);
    if (!document) return document.failure();
    return salvoInDocument(*document, [&](const std::string& line) { return naming.stepMeantBy(line); });
}

Result<void> writeSalvo(const std::filesystem::path& path, const Salvo& salvo) {
    const auto document = documentWithSalvo(salvo);
    if (!document) return document.failure();
    return replaceFile(path, *document);
}

}  // namespace velmora
