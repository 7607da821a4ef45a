// Salvos on the disk, in the format that "velmora-host apply" takes.
#pragma once

#include <filesystem>

#include "host/Salvo.h"
#include "host/workbench/AttributesModel.h"
#include "platform/foundation/Result.h"

namespace velmora {

// Main thread. The names in the file have to be those of attributes that are there.
Result<Salvo> readSalvo(const std::filesystem::path& path, const AttributesModel& attributes);
Result<void> writeSalvo(const std::filesystem::path& path, const Salvo& salvo);

}  // namespace velmora
