// Describes this machine for the report.
#pragma once

#include <QJsonObject>

namespace velmora::bench {

QJsonObject describeMachine();

}  // namespace velmora::bench
