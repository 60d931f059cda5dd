#pragma once
// MeshData: a polygon mesh as flat arrays, the form in which the readers and the demo model hand a mesh
// over to be built into a MoxMesh (meshbuilder.h).
//
// Polygons keep their size (nothing is triangulated). Per-polygon-vertex attributes are channels of
// values addressed through one index per polygon vertex, the way OBJ files store them; an index of -1
// marks a polygon vertex without a value.

#include <cstddef>
#include <new>
#include <string>
#include <vector>

#include "moxsdk/core/moxmemory.h"

namespace moxmeshtool {

// Storage from the library's memory services (MoxMalloc, MoxFree) for a mesh's arrays: they are large
// and written once, and the library's allocator places large blocks on huge pages, where a first touch
// faults once per 2 MiB instead of once per 4 KiB. The member names are the ones the standard
// library's allocator requirements fix, and its containers convert between allocators implicitly.
// NOLINTBEGIN(readability-identifier-naming, google-explicit-constructor)
template <class T>
struct LibraryAllocator {
    using value_type = T;

    LibraryAllocator() = default;
    template <class U>
    LibraryAllocator(const LibraryAllocator<U>& /*pOther*/)
    {}

    T* allocate(size_t pCount)
    {
        void* lBlock = moxsdk::MoxMalloc(moxsdk::MoxAllocSize(pCount, sizeof(T)));
        if (!lBlock) throw std::bad_alloc();
        return static_cast<T*>(lBlock);
    }
    void deallocate(T* pBlock, size_t /*pCount*/) { moxsdk::MoxFree(pBlock); }

    friend bool operator==(const LibraryAllocator& /*pA*/, const LibraryAllocator& /*pB*/) { return true; }
    friend bool operator!=(const LibraryAllocator& /*pA*/, const LibraryAllocator& /*pB*/) { return false; }
};
// NOLINTEND(readability-identifier-naming, google-explicit-constructor)

// A mesh array (positions, polygon sizes, indices, attribute values).
template <class T>
using MeshArray = std::vector<T, LibraryAllocator<T>>;

// Values of one per-polygon-vertex attribute: mComponents doubles per value, and for each polygon vertex
// the value it uses (-1 for none).
struct AttributeChannel {
    std::string mName;
    int mComponents = 0;
    MeshArray<double> mValues;
    MeshArray<int> mIndices;

    int ValueCount() const { return mComponents > 0 ? static_cast<int>(mValues.size() / mComponents) : 0; }
    bool IsEmpty() const { return mIndices.empty(); }
};

struct MeshData {
    MeshArray<double> mPositions;      // x, y, z per control point
    MeshArray<int> mPolygonSizes;      // vertex count per polygon
    MeshArray<int> mPolygonVertices;   // control point per polygon vertex, polygon after polygon
    MeshArray<int> mPolygonMaterials;  // material per polygon (-1: none); empty when there are no materials
    std::vector<std::string> mMaterialNames;
    AttributeChannel mNormals;              // 3 components; empty when the mesh has no normals
    std::vector<AttributeChannel> mUVSets;  // 2 components each
    AttributeChannel mTangents;             // 4 components (w: handedness, +1 or -1); empty when none

    size_t ControlPointCount() const { return mPositions.size() / 3; }
    size_t PolygonCount() const { return mPolygonSizes.size(); }
    size_t PolygonVertexCount() const { return mPolygonVertices.size(); }
};

// The first inconsistency of pData, as a sentence that names the polygon and the index concerned
// (polygons, vertices and values counted from 1, as mesh files number them); empty when pData is
// consistent: sizes not negative and summing to the polygon-vertex count, control points and values in
// range, one material per polygon, one index per polygon vertex in every channel, and counts that fit
// the library's 32-bit indices.
std::string FindInconsistency(const MeshData& pData);

}  // namespace moxmeshtool
