#pragma once
// The three commands of moxmesh. Each prints its report on pOut, and its progress and notes on pErr;
// each throws ToolError when a file cannot be read, processed or written (the command line turns that
// into a one-line error and exit status 1).

#include <ostream>
#include <string>

#include "cli/processreport.h"
#include "pipeline/demomodel.h"

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

enum class ENormalsMode { eKeep, eControlPoint, ePolygonVertex };

struct ProcessOptions : CommonOptions {
    std::string mInput;
    std::string mOutput;
    ENormalsMode mNormals = ENormalsMode::eKeep;
    double mSmoothAngle = -1.0;  // negative: no smoothing by angle
    bool mTangents = false;
    bool mSplit = false;
    bool mClean = false;
    bool mReportJson = false;  // the report as one JSON object (ToJson) instead of the table
};

// The options of pOptions that contradict each other, as a sentence; empty when there are none.
std::string FindOptionConflict(const ProcessOptions& pOptions);

// Builds the demo model and runs the import pipeline on it: clean-up (the model has a deliberate bad
// polygon), edges, smoothing by angle, normals, tangents for all UV sets, split, merge, component maps.
void RunDemo(const DemoOptions& pOptions, std::ostream& pOut, std::ostream& pErr);

// Reads a file and describes it.
void RunInfo(const InfoOptions& pOptions, std::ostream& pOut, std::ostream& pErr);

// Reads a file, runs the steps the options ask for, writes the result. The steps, in order: read;
// --clean: RemoveBadPolygons; BuildMeshEdgeArray; --smooth-angle: smoothing by edge; normals as
// --normals says (--smooth-angle implies per polygon vertex); --tangents: GenerateTangentsDataForAllUVSets;
// --split: SplitPoints; write. Throws ToolError for options that contradict each other
// (FindOptionConflict). Prints the table of steps, or with mReportJson the JSON report (RunProcessJson)
// and a line break, nothing else.
void RunProcess(const ProcessOptions& pOptions, std::ostream& pOut, std::ostream& pErr);

// What RunProcess does, returning its report with the digests of the files read and written; notes and
// progress go to pErr as with RunProcess. Throws ToolError as RunProcess does.
ProcessReport RunProcessReport(const ProcessOptions& pOptions, std::ostream& pErr);

// RunProcessReport's report as one JSON object on one line (UTF-8), with these keys:
//   "input":   {"path", "bytes", "sha256", "format"}   format: the reader, e.g. "OBJ (tinyobjloader)"
//   "output":  {"path", "bytes", "sha256", "format", "files"}   format: "OBJ", "glTF" or "glTF binary";
//              bytes and sha256 of the file at path; files: every file written (a .gltf's .bin, an
//              .obj's .mtl), each {"path", "bytes", "sha256"}
//   "counts":  {"read", "processed", "written"}
//              read, processed: {"control_points", "polygons", "polygon_vertices", "edges", "uv_sets"}, the
//              mesh as read (after --clean; edges as BuildMeshEdgeArray found them) and just before writing;
//              written: {"polygons", "triangles", "vertices", "skipped_polygons"} as the writer wrote them
//   "steps":   [{"name", "ms", "result", "library_reports"}] in order: result is the text of the step's
//              line in the table, library_reports the reports the library made during the step
//   "total_ms": the steps' times added up
//   "library_reports": [{"file", "function", "message", "count"}], the distinct reports of all steps in
//              the order they were first made; count: how many times each was made
// sha256 values are lower-case hex; ms values are floating-point milliseconds.
std::string RunProcessJson(const ProcessOptions& pOptions, std::ostream& pErr);

}  // namespace moxmeshtool
