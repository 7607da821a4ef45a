// Where the person's arrangement of the workbench's window is kept between runs: a file of the workbench's own below
// the person's folder for configuration. Main thread.
#pragma once

#include "platform/foundation/PropertyList.h"

namespace velmora {

// Null when there is none, or none that can be read.
DictionaryReference rememberedArrangement();
// A failure shows in the log only: the next window is as usual.
void rememberArrangement(const DictionaryReference& arrangement);

}  // namespace velmora
