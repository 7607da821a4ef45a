#include <QCoreApplication>

#include "platform/foundation/Descriptor.h"
#include "server/ServerProgram.h"

int main(int argc, char** argv) {
    velmora::occupyStandardDescriptors();
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName("velmora-switch-server");
    QCoreApplication::setApplicationVersion(VELMORA_VERSION);
    return velmora::runSwitchServer(QCoreApplication::arguments());
}
