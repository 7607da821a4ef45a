// The workbench's icon: crosspoints, one of them lit. The same picture as resources/velmora-workbench.svg, painted here
// because a machine need not be able to read that format.
#pragma once

#include <QIcon>

namespace velmora {

QIcon workbenchIcon();

}  // namespace velmora
