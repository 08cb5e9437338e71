// Runs one parsed command line to its exit status.
#pragma once

#include <atomic>

#include "cli/command_line.h"
#include "cli/commands.h"
#include "lomarind/utils/logging.h"

namespace lomarind::cli {

// Finds the repository, opens what the command needs and runs it. Once a
// signal raises `stop`, every child is killed and every wait ends: the run
// throws (subprocess::Interrupted, or the indexer's IndexError), having
// left every file as it was. Every failure is thrown: GitHistoryError,
// GitError, IndexError or another std::exception.
int run_command(const CommandLine& line, const Terminal& terminal, const LogSink& sink,
                const std::atomic<bool>& stop);

// Prints `lomarind: <message>` for the failure being handled, with the
// causes it was raised from, and returns the exit status for it.
int report_failure(std::exception_ptr failure, std::ostream& err);

}  // namespace lomarind::cli
