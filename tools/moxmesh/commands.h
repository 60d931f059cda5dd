#pragma once
// The three commands of moxmesh. Each prints its report on pOut, and its progress and notes on pErr;
// each throws ToolError when a file cannot be read, processed or written (the command line turns that
// into a one-line error and exit status 1).

#include <ostream>
#include <string>

#include "demomodel.h"

namespace moxmeshtool {

// Files with more polygons than this report progress even without --progress.
constexpr int sgProgressPolygons = 100000;

struct CommonOptions {
    bool mProgress = false;  // progress on stderr whatever the size
    bool mQuiet = false;     // no progress and no notes on stderr (errors still)
};

struct DemoOptions : CommonOptions {
    DemoModelOptions mModel;
    double mSmoothAngle = 30.0;
};

struct InfoOptions : CommonOptions {
    std::string mInput;
};

enum class NormalsMode { eKeep, eControlPoint, ePolygonVertex };

struct ProcessOptions : CommonOptions {
    std::string mInput;
    std::string mOutput;
    NormalsMode mNormals = NormalsMode::eKeep;
    double mSmoothAngle = -1.0;  // negative: no smoothing by angle
    bool mTangents = false;
    bool mSplit = false;
    bool mClean = false;
};

// The options of pOptions that contradict each other, as a sentence; empty when there are none.
std::string FindOptionConflict(const ProcessOptions& pOptions);

// Builds the demo model and runs the import pipeline on it: edges, smoothing by angle, normals, tangents
// for all UV sets, split, merge, component maps, clean-up.
void RunDemo(const DemoOptions& pOptions, std::ostream& pOut, std::ostream& pErr);

// Reads a file and describes it.
void RunInfo(const InfoOptions& pOptions, std::ostream& pOut, std::ostream& pErr);

// Reads a file, runs the steps the options ask for, writes the result. The steps, in order: read;
// --clean: RemoveBadPolygons; BuildMeshEdgeArray; --smooth-angle: smoothing by edge; normals as
// --normals says (--smooth-angle implies per polygon vertex); --tangents: GenerateTangentsDataForAllUVSets;
// --split: SplitPoints; write. Throws ToolError for options that contradict each other
// (FindOptionConflict).
void RunProcess(const ProcessOptions& pOptions, std::ostream& pOut, std::ostream& pErr);

}  // namespace moxmeshtool
