#pragma once
// What `moxmesh info` tells about a mesh: its size, its topology (edges from the edge array, boundary and
// non-manifold edges from the component maps, bad polygons), its attributes and whether its normals
// agree with counter-clockwise winding.

#include <string>
#include <vector>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "pipeline/edgetopology.h"
#include "pipeline/steprunner.h"

namespace moxmeshtool {

struct UVSetInfo {
    std::string mName;
    int mLayer = 0;
    int mValues = 0;
};

enum class EWinding {
    eNoNormals,         // nothing to check
    eCounterClockwise,  // the normals agree with counter-clockwise polygons
    eNotCounterClockwise
};

struct MeshInfo {
    int mControlPoints = 0;
    std::string mPolygons;  // count and sizes (DescribePolygons)
    int mPolygonVertices = 0;
    EdgeCounts mEdges;
    bool mHasBadPolygons = false;  // CheckSamePointTwice
    int mBadPolygons = 0;
    std::vector<UVSetInfo> mUVSets;
    int mMaterials = 0;      // in the material element
    int mMaterialsUsed = 0;  // distinct materials that polygons use
    std::string mNormals;    // "by polygon vertex, 2115 values", or "none"
    EWinding mWinding = EWinding::eNoNormals;
    long mLibraryReports = 0;         // reports the library made while the info was gathered
    std::string mFirstLibraryReport;  // the first of them
};

// Gathers the info of pMesh, one library operation per step of pRunner. The mesh is changed on the way
// (edges built, normals replaced by per-control-point averages for the winding check, bad polygons
// removed to count them); it is meant to be thrown away afterwards.
MeshInfo GatherInfo(moxsdk::MoxMesh& pMesh, StepRunner& pRunner);

// The number of steps GatherInfo runs.
constexpr int sgInfoSteps = 5;

}  // namespace moxmeshtool
