#pragma once
// Smoothing by edge from an angle threshold: the hard and soft edges that an importer derives when a file
// carries no smoothing information of its own.
//
// An edge joining exactly two different polygons is soft (1) when the angle between the two polygons'
// normals is at most the threshold, hard (0) otherwise. Boundary edges, non-manifold edges (three or more
// polygons), edges that one polygon runs twice and edges next to a degenerate polygon (no normal) are
// hard. The values are stored as layer 0's smoothing element, mapped by edge, direct, one value per entry
// of the mesh's edge array, which is what GenerateNormals reads to smooth across soft edges only.

#include <vector>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "pipeline/edgetopology.h"

namespace moxmeshtool {

// The unit normal of every polygon (the normalised sum of its fan's cross products, so non-planar and
// concave polygons get their area-weighted direction), counter-clockwise polygons facing the viewer. A
// polygon of fewer than 3 vertices, with a control point out of range or of zero area gets (0, 0, 0).
std::vector<moxsdk::MoxVector4> ComputePolygonNormals(const moxsdk::MoxMesh& pMesh);

// The soft (1) / hard (0) value of every edge 0 .. pEdgeCount - 1, by the rule above.
std::vector<int> ClassifyEdges(const moxsdk::MoxMesh::ComponentMap& pEdgeToPolygons, int pEdgeCount,
                               const std::vector<moxsdk::MoxVector4>& pPolygonNormals, double pMaxAngleDegrees);

struct EdgeSmoothingSummary {
    int mSoft = 0;
    int mHard = 0;
    EdgeCounts mEdges;
};

// ClassifyEdges for the mesh's edge array (pEdgeToPolygons must be its edge-to-polygons map), stored on
// layer 0 as the smoothing element (replacing one that is there). Throws std::bad_alloc when the element
// could not be made.
EdgeSmoothingSummary SetSmoothingFromAngle(moxsdk::MoxMesh& pMesh, const moxsdk::MoxMesh::ComponentMap& pEdgeToPolygons,
                                           double pMaxAngleDegrees);

}  // namespace moxmeshtool
