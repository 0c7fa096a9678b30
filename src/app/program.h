#pragma once

#include "app/command_line.h"

namespace sim::program {

// Runs the program as the command line asks: the window as always, the panel printed as a profile, or a
// run driven by its options. Returns the exit status.
int run(int& argc, char** argv, const cli::RunRequest& request);

} // namespace sim::program
