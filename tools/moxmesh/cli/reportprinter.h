#pragma once
// The reports the commands print on standard output: a table of steps with their times and results, and
// the description of a mesh that `info` gives.

#include <ostream>
#include <string>
#include <vector>

#include "pipeline/meshinfo.h"
#include "pipeline/steprunner.h"

namespace moxmeshtool {

// pTitle, broken after commas into lines that fit the report's width, continuation lines indented; then
// an empty line.
void PrintTitle(const std::string& pTitle, std::ostream& pOut);

// One line per step: name, time, result; under it, when the library made reports during the step, how
// many and the first one. Then the total time.
void PrintSteps(const std::vector<StepRecord>& pRecords, std::ostream& pOut);

// The mesh's description, one "name  value" line per item.
void PrintInfo(const std::string& pFile, const std::string& pFormat, const MeshInfo& pInfo, std::ostream& pOut);

// Notes (findings that did not stop a command), each on its own line prefixed with "moxmesh: note: ".
void PrintNotes(const std::string& pFile, const std::vector<std::string>& pNotes, std::ostream& pOut);

}  // namespace moxmeshtool
