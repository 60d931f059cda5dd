#pragma once
// Arrays sized for values that the caller is about to write: the library's generators write every value
// of the normals, tangents and binormals they make, so zeroing those values first (and, for a fresh block,
// having the system clear its pages for that) would only be overwritten. A caller of these owns the
// promise that nothing reads a value before it writes it, on every path, a failure part way included.

#include "moxsdk/scene/geometry/moxgeometrybase.h"
#include "moxsdk/scene/geometry/moxlayer.h"

namespace moxsdk {
namespace detail {

struct MoxUnwrittenValues {
    // SetCount, with the values past the old count left unwritten.
    static void SetCount(MoxLayerElementArray& pArray, int pCount) { pArray.SetCountUninitialized(pCount); }

    // InitNormals, InitTangents and InitBinormals (modes, names, layers and elements as they make them),
    // with no value kept or written; when memory for pCount values ran out ("mData"), the array is empty.
    static void InitNormals(MoxGeometryBase& pGeometry, int pCount)
    {
        pGeometry.InitNormals(pCount, EMoxInitValues::eUnwritten);
    }
    static void InitTangents(MoxGeometryBase& pGeometry, int pCount, int pLayerIndex, const char* pName)
    {
        pGeometry.InitTangents(pCount, pLayerIndex, pName, EMoxInitValues::eUnwritten);
    }
    static void InitBinormals(MoxGeometryBase& pGeometry, int pCount, int pLayerIndex, const char* pName)
    {
        pGeometry.InitBinormals(pCount, pLayerIndex, pName, EMoxInitValues::eUnwritten);
    }
};

}  // namespace detail
}  // namespace moxsdk
