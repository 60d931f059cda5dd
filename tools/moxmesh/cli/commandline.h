#pragma once
// The command line of moxmesh (CLI11): the subcommands demo, info and process, their options and --help,
// and the exit status.

#include <ostream>

namespace moxmeshtool {

// Exit statuses.
constexpr int sgExitSuccess = 0;
constexpr int sgExitFailure = 1;  // a file could not be read, processed or written
constexpr int sgExitUsage = 2;    // wrong arguments

// Parses pArguments, runs the command and returns the exit status. Reports go to pOut; progress, notes,
// usage errors and the one-line "moxmesh: error: <file>: <problem>" go to pErr.
int RunCommandLine(int pArgumentCount, const char* const* pArguments, std::ostream& pOut, std::ostream& pErr);

}  // namespace moxmeshtool
