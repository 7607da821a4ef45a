// The help texts, made from the table of commands. No line is longer than a hundred columns.
#pragma once

#include <string>

#include "host/CommandTable.h"

namespace velmora {

std::string helpOverview();
std::string helpOf(const CommandRow& command);

}  // namespace velmora
