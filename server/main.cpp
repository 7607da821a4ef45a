#include <QCoreApplication>
#include <csignal>

#include "platform/foundation/Descriptor.h"
#include "server/ServerProgram.h"

int main(int argc, char** argv) {
    velmora::occupyStandardDescriptors();
    std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is an error for its writer and does not end the program
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName("velmora-switch-server");
    QCoreApplication::setApplicationVersion(VELMORA_VERSION);
    return static_cast<int>(velmora::runSwitchServer(argc, argv));
}
