#pragma once
// The demo model: a skinned barrel with hard lids, built in memory, on which `moxmesh demo` runs the
// import pipeline.
//
// It has what the pipeline is about:
// - soft and hard edges: the side is a grid of quads around a gently bulging barrel (neighbouring quads
//   meet at small angles, so their edges come out soft), closed by two flat lids, single n-gons that meet
//   the side at about 90 degrees (hard rims);
// - UV seams: the side is unrolled into one rectangle whose first and last columns meet at the same
//   points with different UVs, and each lid is a separate disc of UV space;
// - a skin: two clusters ("lower" and "upper" bone) weighting every point by its height;
// - two materials ("side", "lids");
// - one bad polygon, a triangle that repeats a point of the lower rim, as importers meet them, for the
//   clean-up step to remove.
// Polygons face outwards when wound counter-clockwise; the UVs keep one handedness everywhere.

#include <string>

#include "io/managedmesh.h"
#include "io/meshdata.h"

namespace moxmeshtool {

struct DemoModelOptions {
    int mSegments = 64;  // quads around the side (and vertices of each lid), at least 3
    int mRings = 32;     // quads from bottom to top, at least 1
};

// The largest model the demo builds (segments times rings).
constexpr long long sgMaxDemoQuads = 20000000;

// One line saying what the model is, for the report.
std::string DescribeDemoModel(const DemoModelOptions& pOptions);

// The model's geometry, topology, UVs and materials. Throws ToolError for sizes out of range.
MeshData MakeDemoModelData(const DemoModelOptions& pOptions);

// Builds the model into pTarget's mesh, with its skin.
void BuildDemoModel(const DemoModelOptions& pOptions, ManagedMesh& pTarget);

}  // namespace moxmeshtool
