#include "app/command_line.h"
#include "app/program.h"

#include <cstdio>

int main(int argc, char** argv) {
    // Read before the application exists: help, the version and a usage error need no display.
    const sim::cli::Outcome command = sim::cli::parseCommandLine(sim::cli::rawArguments(argc, argv));
    if (!command.run) {
        std::fputs(command.out.toLocal8Bit().constData(), stdout);
        std::fputs(command.err.toLocal8Bit().constData(), stderr);
        return command.status;
    }
    return sim::program::run(argc, argv, command.request);
}
