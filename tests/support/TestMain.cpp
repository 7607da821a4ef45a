// The main function of the test programs that need no windows.
#include <QCoreApplication>

#include "tests/support/TestProgram.h"

int main(int argc, char** argv) {
    return velmora::test::runTests<QCoreApplication>(argc, argv);
}
