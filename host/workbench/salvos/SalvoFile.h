// Salvos on the disk, in the format that "velmora-host apply" takes.
#pragma once

#include <filesystem>

#include "host/Naming.h"
#include "host/Salvo.h"
#include "platform/foundation/Result.h"

namespace velmora {

// Main thread. The file may name attributes in all the ways that the command takes.
Result<Salvo> readSalvo(const std::filesystem::path& path, const Naming& naming);
Result<void> writeSalvo(const std::filesystem::path& path, const Salvo& salvo);

}  // namespace velmora
