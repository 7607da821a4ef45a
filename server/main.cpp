#include <QCoreApplication>

#include "server/ServerProgram.h"

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName("velmora-switch-server");
    QCoreApplication::setApplicationVersion(VELMORA_VERSION);
    return velmora::runSwitchServer(QCoreApplication::arguments());
}
