#pragma once
// The vertices a renderer gets from a MoxMesh, shared by the OBJ writer (through an Assimp scene) and the
// glTF writer.
//
// Renderers store one normal, UV and tangent per vertex, so each polygon vertex becomes a vertex made of
// its control point and its attribute values, and polygon vertices with the same control point and the
// same values share one vertex (as many vertices as a renderer needs, no more). Polygons keep their size.
// What is read, per polygon vertex, whatever the element's mapping and reference modes:
// - positions: the control points;
// - normals: layer 0's normal element;
// - UVs: every UV set, layers in order and texture channels in order, up to VertexOptions::mMaxUVSets;
// - tangents: layer 0's tangent element (the tangents of the first UV set), when asked for;
// - materials: layer 0's material element; polygons are grouped into one part per material, in material
//   order, and the materials keep their names (a part named "default" collects the polygons that have
//   none, last).
// Polygons of fewer than 3 vertices, and polygons with a control point out of range or not finite, cannot
// be written and are left out (counted in the summary).

#include <string>
#include <vector>

#include "io/meshdata.h"
#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxmeshtool {

struct VertexOptions {
    bool mTangents = true;
    int mMaxUVSets = 8;
    // Only values every reader accepts: normals and tangents of unit length (a zero or non-finite one is
    // replaced: a normal by its polygon's normal, or the z axis where the polygon has none; a tangent by
    // a unit vector orthogonal to the normal), tangent handedness +1 or -1, finite UVs (else 0). Without
    // it the values are written as the mesh holds them.
    bool mValidValues = false;
};

struct SceneSummary {
    int mPolygons = 0;         // polygons written
    long long mTriangles = 0;  // the triangles they make (what glTF receives)
    int mSkippedPolygons = 0;  // polygons left out (fewer than 3 vertices, a control point out of range)
    size_t mVertices = 0;      // vertices over all parts
    int mMaterials = 0;
    bool mNormals = false;
    int mUVSets = 0;
    bool mTangents = false;
    size_t mMissingValues = 0;     // polygon-vertex values that an element lacked (written as zeros)
    size_t mReplacedNormals = 0;   // polygon vertices whose normal was zero or not finite (mValidValues)
    size_t mReplacedTangents = 0;  // the same for tangents
};

// What a vertex holds besides its position, in this order: normal (3 floats), each UV set (2 floats),
// tangent (4 floats: direction and handedness).
struct VertexLayout {
    bool mNormals = false;
    int mUVSets = 0;
    bool mTangents = false;

    int Stride() const { return (mNormals ? 3 : 0) + 2 * mUVSets + (mTangents ? 4 : 0); }
};

// The polygons of one material with their vertices.
struct VertexPart {
    int mMaterial = 0;             // in MeshVertices::mMaterialNames
    MeshArray<int> mPolygons;      // in mesh order
    MeshArray<int> mPoints;        // per vertex: its control point
    MeshArray<float> mValues;      // per vertex: VertexLayout::Stride() floats
    MeshArray<unsigned> mCorners;  // per polygon vertex of mPolygons, in order: its vertex
};

struct MeshVertices {
    VertexLayout mLayout;
    std::vector<std::string> mMaterialNames;
    std::vector<VertexPart> mParts;  // the parts that have polygons, in material order
};

// The vertices of pMesh. The mesh is only read (its elements through MoxLayerElementReader);
// pSummary receives the counts.
MeshVertices GatherVertices(moxsdk::MoxMesh& pMesh, const VertexOptions& pOptions, SceneSummary& pSummary);

}  // namespace moxmeshtool
