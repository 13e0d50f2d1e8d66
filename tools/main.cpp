// vaxo: the command-line tool for commissioning and poking at controllers.
#include <CLI/CLI.hpp>

#include "tools/Tool.h"

int main(int argc, char** argv) {
    return vaxo::tool::runCommandLine(argc, argv);
}
