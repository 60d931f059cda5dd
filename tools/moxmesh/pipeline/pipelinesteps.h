#pragma once
// The steps of the tool's pipelines. Each runs one library operation (or the few that make one stage of
// an import) on the mesh and returns a short text saying what it did, with the counts that matter, for
// the step's line in the report.

#include <string>

#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxmeshtool {

// "1 polygon", "515 polygons": pCount with the right form of the noun.
std::string CountOf(long long pCount, const std::string& pSingular, const std::string& pPlural);

// "1 triangle, 2048 quads, 2 64-gons": the polygons by size (those of fewer than 3 vertices together);
// empty for no polygons.
std::string DescribePolygonSizes(const moxsdk::MoxMesh& pMesh);
// "2051 polygons (1 triangle, 2048 quads, 2 64-gons)".
std::string DescribePolygons(const moxsdk::MoxMesh& pMesh);
// "544 control points, 515 polygons (...), 2115 polygon vertices".
std::string DescribeTopology(const moxsdk::MoxMesh& pMesh);

// BuildMeshEdgeArray.
std::string BuildEdges(moxsdk::MoxMesh& pMesh);
// ComputeComponentMaps, then each edge soft when its two polygons' normals are at most pMaxAngleDegrees
// apart, hard otherwise, stored as layer 0's smoothing by edge (edgesmoothing.h). Needs the edges.
std::string SmoothByAngle(moxsdk::MoxMesh& pMesh, double pMaxAngleDegrees);
// GenerateNormals, replacing any normals: one per polygon vertex (smoothed where the smoothing says so),
// or with pByControlPoint one per control point.
std::string GenerateNormals(moxsdk::MoxMesh& pMesh, bool pByControlPoint);
// GenerateTangentsDataForAllUVSets, replacing any tangents and binormals.
std::string GenerateTangents(moxsdk::MoxMesh& pMesh);
// SplitPoints on the default UV channel.
std::string SplitPoints(moxsdk::MoxMesh& pMesh);
// BuildMergeList, then MergePointsForPolygonVerteNormals when it found coincident control points.
std::string MergePoints(moxsdk::MoxMesh& pMesh);
// ComputeComponentMaps: edges by number of polygons.
std::string CountEdgeNeighbours(moxsdk::MoxMesh& pMesh);
// RemoveBadPolygons.
std::string RemoveBadPolygons(moxsdk::MoxMesh& pMesh);

// Removes the elements that no writer reads: every layer's binormals and smoothing. For a mesh that is
// written and then dropped, so that the writing's own memory comes on top of less (the binormals alone
// are 32 bytes per polygon vertex).
void DropUnwrittenElements(moxsdk::MoxMesh& pMesh);

// The number of UV sets over all layers and channels, and the total of skin weights of the first skin.
int CountUVSets(const moxsdk::MoxMesh& pMesh);
int CountSkinWeights(const moxsdk::MoxMesh& pMesh);
// "by polygon vertex" and the other mapping modes, for reports.
const char* MappingName(moxsdk::MoxLayerElement::EMappingMode pMapping);

}  // namespace moxmeshtool
