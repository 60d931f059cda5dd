#pragma once
// Reading the edge-to-polygons map of MoxMesh::ComputeComponentMaps safely, and classifying edges by how
// many polygons they join.
//
// The map's offsets are trusted only where they form a valid range inside its data: an edge that the
// library skipped (its entry in the edge array out of range) keeps offsets that do not, and then counts
// as joining no polygon.

#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxmeshtool {

// The polygons of edge pEdge: pCount entries from pPolygons. False (pCount 0) when the map has no valid
// range for the edge.
bool EdgePolygons(const moxsdk::MoxMesh::ComponentMap& pEdgeToPolygons, int pEdge, const int*& pPolygons, int& pCount);

struct EdgeCounts {
    int mEdges = 0;
    int mIsolated = 0;     // in no polygon (or skipped by the map)
    int mBoundary = 0;     // in exactly one polygon
    int mManifold = 0;     // in exactly two
    int mNonManifold = 0;  // in three or more
};

// Counts the edges 0 .. pEdgeCount - 1 by their number of polygons.
EdgeCounts CountEdges(const moxsdk::MoxMesh::ComponentMap& pEdgeToPolygons, int pEdgeCount);

}  // namespace moxmeshtool
