#pragma once
// Shared by the normal tests: named fixture meshes, helpers that attach smoothing and normal elements, and
// plain transcriptions of the normal algorithms (per control point, per polygon vertex, the smoothing
// gather with its lists, the winding check and conforming with all pairs) that the library's accelerated
// versions are compared with.

#include <cmath>
#include <cstring>
#include <random>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "moxsdk/core/math/moxmath.h"
#include "moxsdk/scene/geometry/moxmesh.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

namespace moxnormalstest {

using moxsdk::MoxLayer;
using moxsdk::MoxLayerElement;
using moxsdk::MoxLayerElementArrayTemplate;
using moxsdk::MoxLayerElementNormal;
using moxsdk::MoxLayerElementSmoothing;
using moxsdk::MoxMesh;
using moxsdk::MoxVector4;
// For the test files that include this header.
// NOLINTBEGIN(misc-unused-using-decls)
using moxtest::ExpectVector;
using moxtest::MakeCylinder;
using moxtest::MakeFan;
using moxtest::MakePyramid;
// NOLINTEND(misc-unused-using-decls)

struct Record {
    MoxVector4 mTotal;
    int mCount = 0;
};

inline MoxVector4 Normalised(MoxVector4 pV)
{
    pV.Normalize();
    return pV;
}

inline bool SameBits(const MoxVector4& pA, const MoxVector4& pB)
{
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): the bits are compared on purpose
    return std::memcmp(pA.mData, pB.mData, sizeof(pA.mData)) == 0;
}

// ---- Elements -----------------------------------------------------------------------------------------

// A smoothing element on a new layer (layer 0 when it has none yet), with the given modes and arrays.
inline MoxLayerElementSmoothing* AddSmoothing(MoxMesh& pMesh, MoxLayerElement::EMappingMode pMapping,
                                              const std::vector<int>& pValues,
                                              MoxLayerElement::EReferenceMode pReference = MoxLayerElement::eDirect,
                                              const std::vector<int>& pIndices = {})
{
    MoxLayer* lLayer = pMesh.GetLayer(0);
    if (!lLayer || lLayer->GetSmoothing()) lLayer = pMesh.GetLayer(pMesh.CreateLayer());
    MoxLayerElementSmoothing* lElement = MoxLayerElementSmoothing::Create(&pMesh, "");
    lElement->SetMappingMode(pMapping);
    lElement->SetReferenceMode(pReference);
    for (int lValue : pValues) lElement->mDirectArray->Add(lValue);
    for (int lIndex : pIndices) lElement->mIndexArray->Add(lIndex);
    lLayer->SetSmoothing(lElement);
    return lElement;
}

// Layer 0's normal element's direct values.
inline std::vector<MoxVector4> NormalsOf(const MoxMesh& pMesh)
{
    std::vector<MoxVector4> lValues;
    MoxLayerElementArrayTemplate<MoxVector4>* lDirect = nullptr;
    if (!pMesh.GetNormals(&lDirect) || !lDirect) return lValues;
    for (int i = 0; i < lDirect->GetCount(); ++i) lValues.push_back(lDirect->GetAt(i));
    return lValues;
}

// ---- Plain transcriptions ------------------------------------------------------------------------------

inline int ValueAt(const MoxLayerElementArrayTemplate<int>& pArray, int pIndex)
{
    return pIndex >= 0 && pIndex < pArray.GetCount() ? pArray.GetAt(pIndex) : 0;
}

inline MoxVector4 PointAt(const MoxMesh& pMesh, int pIndex)
{
    return pIndex >= 0 && pIndex < pMesh.GetControlPointsCount() ? pMesh.GetControlPoints()[pIndex] : MoxVector4();
}

inline MoxVector4 Corner(const MoxVector4& pPrev, const MoxVector4& pCur, const MoxVector4& pNext, bool pCW)
{
    const MoxVector4 lA = pPrev - pCur;
    const MoxVector4 lB = pNext - pCur;
    return pCW ? lA.CrossProduct(lB) : lB.CrossProduct(lA);
}

// Sums per control point; empty when a corner has a negative control point.
inline std::vector<Record> PlainPerControlPoint(const MoxMesh& pMesh, bool pCW)
{
    std::vector<Record> lInfo(static_cast<size_t>(pMesh.GetControlPointsCount()));
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        const int lSize = pMesh.GetPolygonSize(p);
        for (int i = 0; i < lSize; ++i) {
            const int lCur = pMesh.GetPolygonVertex(p, i);
            const int lPrev = pMesh.GetPolygonVertex(p, i == 0 ? lSize - 1 : i - 1);
            const int lNext = pMesh.GetPolygonVertex(p, i == lSize - 1 ? 0 : i + 1);
            if (lCur < 0 || lPrev < 0 || lNext < 0) return {};
            const MoxVector4 lNormal = Corner(PointAt(pMesh, lPrev), PointAt(pMesh, lCur), PointAt(pMesh, lNext), pCW);
            if (lCur < static_cast<int>(lInfo.size())) {
                lInfo[lCur].mTotal += lNormal;
                lInfo[lCur].mCount += 1;
            }
        }
    }
    return lInfo;
}

// Normalised corner normals per polygon vertex; empty when a corner leaves the control points.
inline std::vector<Record> PlainPerPolygonVertex(const MoxMesh& pMesh, bool pCW)
{
    std::vector<Record> lInfo(static_cast<size_t>(pMesh.GetPolygonVertexCount()));
    if (!pMesh.GetControlPoints()) return {};
    const int n = pMesh.GetControlPointsCount();
    size_t k = 0;
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        const int lSize = pMesh.GetPolygonSize(p);
        for (int i = 0; i < lSize; ++i) {
            const int lCur = pMesh.GetPolygonVertex(p, i);
            const int lPrev = pMesh.GetPolygonVertex(p, i == 0 ? lSize - 1 : i - 1);
            const int lNext = pMesh.GetPolygonVertex(p, i == lSize - 1 ? 0 : i + 1);
            if (lCur < 0 || lPrev < 0 || lNext < 0 || lCur >= n || lPrev >= n || lNext >= n) return {};
            const MoxVector4 lNormal =
                Normalised(Corner(PointAt(pMesh, lPrev), PointAt(pMesh, lCur), PointAt(pMesh, lNext), pCW));
            if (k < lInfo.size()) lInfo[k] = Record{lNormal, 1};
            ++k;
        }
    }
    return lInfo;
}

inline int PlainClamp(const MoxMesh& pMesh, int pPolygonVertex, int pCount)
{
    const int lValue = pPolygonVertex >= 0 && pPolygonVertex < pMesh.GetPolygonVertexCount()
                           ? pMesh.mPolygonVertices.GetArray()[pPolygonVertex]
                           : 0;
    return static_cast<unsigned int>(lValue) < static_cast<unsigned int>(pCount) ? lValue : pCount - 1;
}

inline MoxVector4 Averaged(const Record& pRecord)
{
    if (pRecord.mCount <= 0) return MoxVector4(0.0, 0.0, 0.0, 1.0);
    return Normalised(pRecord.mTotal / static_cast<double>(pRecord.mCount));
}

// The normals GenerateNormals writes per polygon vertex: faceted corners, then one smooth list per
// smoothing element (with repeats), each applied after its gather, then the averaged write.
inline std::vector<MoxVector4> PlainGenerateNormals(MoxMesh& pMesh, bool pCW)
{
    std::vector<Record> lNormals = PlainPerPolygonVertex(pMesh, pCW);
    const int lSmoothingCount = pMesh.GetElementSmoothingCount();
    if (lSmoothingCount > 0) {
        std::vector<Record> lCtrl = PlainPerControlPoint(pMesh, false);
        for (Record& lRecord : lCtrl) {
            lRecord.mTotal = Normalised(lRecord.mTotal / static_cast<double>(lRecord.mCount));
            lRecord.mCount = 1;
        }
        pMesh.BeginGetMeshEdgeIndexForPolygon();
        pMesh.BeginGetMeshEdgeVertices();
        const int lPolygonCount = pMesh.GetPolygonCount();
        for (int s = 0; s < lSmoothingCount; ++s) {
            const MoxLayerElementSmoothing* lElement = pMesh.GetElementSmoothing(s);
            const MoxLayerElement::EMappingMode lMapping = lElement->GetMappingMode();
            const MoxLayerElement::EReferenceMode lReference = lElement->GetReferenceMode();
            const MoxLayerElementArrayTemplate<int>& lDirect = *lElement->mDirectArray;
            std::vector<int> lList;
            if (lMapping == MoxLayerElement::eByPolygon) {
                for (int p = 0; p < lPolygonCount; ++p) {
                    const bool lIndexed =
                        lReference == MoxLayerElement::eIndex || lReference == MoxLayerElement::eIndexToDirect;
                    const int q = lIndexed ? ValueAt(*lElement->mIndexArray, p) : p;
                    for (int v = 0; v < pMesh.GetPolygonSize(q); ++v)
                        if (ValueAt(lDirect, q) > 0) lList.push_back(pMesh.mPolygons[p].mIndex + v);
                }
            } else if (lMapping == MoxLayerElement::eByEdge) {
                for (int p = 0; p < lPolygonCount; ++p)
                    for (int v = 0; v < pMesh.GetPolygonSize(p); ++v) {
                        const int e = pMesh.GetMeshEdgeIndexForPolygon(p, v);
                        if (e == -1 || ValueAt(lDirect, e) <= 0) continue;
                        int lStart = -1;
                        int lEnd = -1;
                        pMesh.GetMeshEdgeVertices(e, lStart, lEnd);
                        for (int k = 0; k < pMesh.GetPolygonSize(p); ++k) {
                            const int lPv = pMesh.mPolygons[p].mIndex + k;
                            const int c = PlainClamp(pMesh, lPv, lPolygonCount);
                            if (c == lStart || c == lEnd) lList.push_back(lPv);
                        }
                    }
            } else {
                continue;
            }
            for (int lPv : lList) {
                const int lCp = PlainClamp(pMesh, lPv, static_cast<int>(lCtrl.size()));
                const MoxVector4 lValue =
                    lCp >= 0 && lCp < static_cast<int>(lCtrl.size()) ? lCtrl[lCp].mTotal : MoxVector4();
                if (lPv >= 0 && lPv < static_cast<int>(lNormals.size())) lNormals[lPv] = Record{lValue, 1};
            }
        }
        pMesh.EndGetMeshEdgeVertices();
        pMesh.EndGetMeshEdgeIndexForPolygon();
    }
    // InitNormals(0, ...) sizes the element per control point, all zero, and nothing is written.
    if (pMesh.GetPolygonVertexCount() == 0)
        return std::vector<MoxVector4>(static_cast<size_t>(pMesh.GetControlPointsCount()), MoxVector4());
    std::vector<MoxVector4> lOut;
    lOut.reserve(pMesh.GetPolygonVertexCount());
    for (int i = 0; i < pMesh.GetPolygonVertexCount(); ++i)
        lOut.push_back(Averaged(i < static_cast<int>(lNormals.size()) ? lNormals[i] : Record{}));
    return lOut;
}

// ConformNormalsTo comparing every pair at every control point into an ordered set, on plain copies of the
// element values; returns the expected direct values of every normal element of pMesh.
inline std::vector<std::vector<MoxVector4>> PlainConform(MoxMesh& pMesh, const MoxMesh& pReference)
{
    std::vector<std::vector<MoxVector4>> lResult;
    for (int i = 0; i < pMesh.GetElementNormalCount(); ++i) {
        const MoxLayerElementNormal* lElement = pMesh.GetElementNormal(i);
        std::vector<MoxVector4> lValues;
        lValues.reserve(lElement->mDirectArray->GetCount());
        for (int j = 0; j < lElement->mDirectArray->GetCount(); ++j)
            lValues.push_back(lElement->mDirectArray->GetAt(j));
        lResult.push_back(lValues);
    }
    MoxMesh::ControlPointToVerticesMap lGroups;
    pMesh.ComputeControlPointToVerticesMap(lGroups);
    const bool lSelf = &pMesh == &pReference;
    for (int i = 0; i < pMesh.GetElementNormalCount(); ++i) {
        const MoxLayerElementNormal* lElement = pMesh.GetElementNormal(i);
        const MoxLayerElement::EMappingMode lMapping = lElement->GetMappingMode();
        if (lMapping != MoxLayerElement::eByControlPoint && lMapping != MoxLayerElement::eByPolygonVertex) continue;
        std::vector<MoxVector4> lReference;
        const MoxLayerElementNormal* lRefElement = pReference.GetElementNormal(i);
        lReference.reserve(lRefElement->mDirectArray->GetCount());
        for (int j = 0; j < lRefElement->mDirectArray->GetCount(); ++j)
            lReference.push_back(lRefElement->mDirectArray->GetAt(j));
        std::vector<MoxVector4>& lValues = lResult[static_cast<size_t>(i)];
        const bool lIndexed = lElement->GetReferenceMode() != MoxLayerElement::eDirect;
        for (int q = 0; q < lGroups.GetCount(); ++q) {
            const int lCount = lGroups.GetCount(q);
            if (lCount <= 2) continue;
            std::set<int> lSet;
            for (int a = 0; a < lCount; ++a)
                for (int b = a + 1; b < lCount; ++b) {
                    int lA = lGroups.GetVertex(q, a);
                    int lB = lGroups.GetVertex(q, b);
                    if (lIndexed) {
                        lA = ValueAt(*lElement->mIndexArray, lA);
                        lB = ValueAt(*lElement->mIndexArray, lB);
                    }
                    const int lRefCount = static_cast<int>(lReference.size());
                    if (lA < 0 || lB < 0 || lA >= lRefCount || lB >= lRefCount) continue;
                    const std::vector<MoxVector4>& lSource = lSelf ? lValues : lReference;
                    if (moxsdk::MoxEqual(lSource[lA], lSource[lB], 1e-06)) {
                        lSet.insert(lA);
                        lSet.insert(lB);
                    }
                }
            if (lSet.empty()) continue;
            MoxVector4 lSum;
            for (int lIndex : lSet) lSum += lValues[lIndex];
            const MoxVector4 lAverage = Normalised(lSum / static_cast<double>(lSet.size()));
            for (int lIndex : lSet) lValues[lIndex] = lAverage;
        }
    }
    return lResult;
}

}  // namespace moxnormalstest
