#pragma once
// ProcessReport: what one run of `moxmesh process` did, for programs rather than people: the files read
// and written with their sizes and SHA-256 digests, the mesh's counts as read, as processed and as
// written, each step with its time, result and library reports. ToJson writes it as one JSON object (its
// keys are listed in commands.h, at --report-json).

#include <cstdint>
#include <string>
#include <vector>

#include "io/meshwriter.h"
#include "moxsdk/scene/geometry/moxmesh.h"
#include "pipeline/steprunner.h"

namespace moxmeshtool {

struct FileDigest {
    std::string mPath;
    std::uint64_t mBytes = 0;
    std::string mSha256;  // lower-case hex, 64 digits
};

// The size and SHA-256 digest of the file pPath. Throws ToolError when it cannot be read.
FileDigest DigestFile(const std::string& pPath);

struct MeshCounts {
    int mControlPoints = 0;
    int mPolygons = 0;
    int mPolygonVertices = 0;
    int mEdges = 0;  // the mesh's edge array
    int mUVSets = 0;
};

MeshCounts CountMesh(const moxsdk::MoxMesh& pMesh);

struct ProcessReport {
    std::string mInputPath;
    std::string mInputFormat;  // e.g. "OBJ (tinyobjloader)"
    std::string mOutputPath;
    MeshCounts mRead;       // after reading (and --clean); the edges as BuildMeshEdgeArray found them
    MeshCounts mProcessed;  // after the last step before writing
    WriteSummary mWritten;
    std::vector<StepRecord> mSteps;
    // Filled by AddDigests once the files are in place.
    FileDigest mInput;
    std::vector<FileDigest> mOutputs;  // every file written, in mWritten.mFiles's order
};

// Digests the input file and every file written into pReport.
void AddDigests(ProcessReport& pReport);

// pReport as one JSON object (UTF-8; bytes of names and messages that are not UTF-8 become U+FFFD).
std::string ToJson(const ProcessReport& pReport);

}  // namespace moxmeshtool
