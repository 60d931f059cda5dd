#pragma once
// Turns a MoxMesh into an Assimp scene for Assimp's exporters.
//
// Assimp stores one normal, UV and tangent per vertex, so each polygon vertex becomes a vertex made of
// its control point and its attribute values, and polygon vertices with the same control point and the
// same values share one vertex (as many vertices as a renderer needs, no more). Polygons keep their size.
// What is read, per polygon vertex, whatever the element's mapping and reference modes:
// - positions: the control points;
// - normals: layer 0's normal element;
// - UVs: every UV set, layers in order and texture channels in order, up to Assimp's 8 channels;
// - tangents: layer 0's tangent element (the tangents of the first UV set);
// - materials: layer 0's material element; polygons are grouped into one Assimp mesh per material, in
//   material order, and the materials keep their names (a default material collects the polygons that
//   have none).
// Polygons of fewer than 3 vertices, and polygons with a control point out of range, cannot be written
// and are left out (counted in the summary).

#include <memory>

#include <assimp/scene.h>

#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxmeshtool {

struct SceneOptions {
    // glTF: Assimp's glTF exporter writes no tangents, so they travel as vertex colour channel 0
    // (4 floats, as a glTF tangent) and are renamed in the written file (gltftangents.h).
    bool mTangentsAsColors = false;
};

struct SceneSummary {
    int mPolygons = 0;         // polygons written
    long long mTriangles = 0;  // the triangles they make (what glTF receives)
    int mSkippedPolygons = 0;  // polygons left out (fewer than 3 vertices, or a control point out of range)
    size_t mVertices = 0;      // Assimp vertices, over all meshes
    int mMaterials = 0;
    bool mNormals = false;
    int mUVSets = 0;
    bool mTangents = false;
    size_t mMissingValues = 0;  // polygon-vertex values that an element lacked (written as zeros)
};

// The scene for pMesh. The mesh is only read (its element arrays are locked for reading meanwhile).
std::unique_ptr<aiScene> BuildScene(moxsdk::MoxMesh& pMesh, const SceneOptions& pOptions, SceneSummary& pSummary);

}  // namespace moxmeshtool
