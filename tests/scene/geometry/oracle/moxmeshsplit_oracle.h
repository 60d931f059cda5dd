#pragma once
// Plain, step-by-step versions of point splitting and vertex merging: per-control-point lists of records,
// a linear search of the edge array per polygon vertex, all pairs for the merge list, a linear search of
// the polygon vertices per control point, an edge lookup per edge, one control point removed at a time.
// The tests compare the library with them. Where the plain reading would touch memory outside an
// allocation, they take the same defensive choices as the library (documented in moxmesh.h).

#include <algorithm>
#include <cstring>

#include "moxsdk/core/moxassert.h"
#include "moxsdk/scene/geometry/moxmesh.h"
#include "moxsdk/scene/moxblendshape.h"
#include "moxsdk/scene/moxblendshapechannel.h"
#include "moxsdk/scene/moxcluster.h"
#include "moxsdk/scene/moxshape.h"
#include "moxsdk/scene/moxskin.h"

namespace moxoracle {

using namespace moxsdk;

inline void SplitReport(const char* pMessage)
{
    _MoxAssert("scene/geometry/moxmesh", "SplitPoints", 0, pMessage);
}

inline void MergeReport(const char* pMessage)
{
    _MoxAssert("scene/geometry/moxmesh", "MergePointsForPolygonVerteNormals", 0, pMessage);
}

typedef MoxArray<MoxMesh::DuplicateVertex> DuplicateList;

inline void DeleteLists(MoxArray<DuplicateList*>& pLists)
{
    MoxArrayDelete(pLists);
}

template <class VISIT>
void ForEachShape(MoxMesh& pMesh, void (*pReport)(const char*), VISIT pVisit)
{
    for (int b = 0; b < pMesh.GetDeformerCount(MoxDeformer::eBlendShape); ++b) {
        MoxBlendShape* lBlend = static_cast<MoxBlendShape*>(pMesh.GetDeformer(b, MoxDeformer::eBlendShape));
        for (int c = 0; c < lBlend->GetBlendShapeChannelCount(); ++c) {
            MoxBlendShapeChannel* lChannel = lBlend->GetBlendShapeChannel(c);
            for (int s = 0; s < lChannel->GetTargetShapeCount(); ++s) {
                MoxShape* lShape = lChannel->GetTargetShape(s);
                if (!lShape) {
                    pReport("lCurrentShape != NULL");
                    continue;
                }
                pVisit(*lShape);
            }
        }
    }
}

inline bool SplitPoints(MoxMesh& pMesh, MoxLayerElement::EType pType)
{
    // Phase 1.
    MoxLayer* lLayer = pMesh.GetLayer(0);
    if (!lLayer) return false;
    const int lOld = pMesh.GetControlPointsCount();
    int lNext = lOld;
    MoxArray<DuplicateList*> lDuplicates;
    for (int c = 0; c < lOld; ++c) lDuplicates.Add(MoxNew<DuplicateList>());
    MoxLayerElementUV* lUVs = lLayer->GetUVs(pType);
    const MoxLayerElement::EMappingMode lUVMode = lUVs ? lUVs->GetMappingMode() : MoxLayerElement::eByMesh;
    MoxLayerElementNormal* lNormalElement = lLayer->GetNormals();
    MoxMesh::DuplicateVertex lRecord;
    int lCounter = 0;
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        for (int i = 0; i < pMesh.GetPolygonSize(p); ++i) {
            const int v = pMesh.GetPolygonVertex(p, i);
            if (v < 0) {
                SplitReport("lCurrentVertexIndex >= 0");
                DeleteLists(lDuplicates);
                return false;
            }
            if (!lNormalElement) {
                lRecord.mNormal = MoxVector4(0, 0, 0, 0);
            } else if (lNormalElement->GetMappingMode() == MoxLayerElement::eByPolygonVertex) {
                pMesh.GetPolygonVertexNormal(p, i, lRecord.mNormal);
            } else if (lNormalElement->GetMappingMode() == MoxLayerElement::eByControlPoint) {
                int lIndex = v;
                if (lNormalElement->GetReferenceMode() != MoxLayerElement::eDirect) {
                    lIndex = lNormalElement->GetIndexArray().GetAt(v);
                    if (lIndex < 0 || lIndex >= lNormalElement->GetDirectArray().GetCount())
                        SplitReport("index >= 0 && index < GetLayer(0)->GetNormals()->GetDirectArray().GetCount()");
                }
                lRecord.mNormal = lNormalElement->GetDirectArray().GetAt(lIndex);
            }
            if (lUVMode == MoxLayerElement::eByPolygonVertex) {
                const int u = pMesh.GetTextureUVIndex(p, i, pType);
                if (u == -1) SplitReport("-1 != lUVindex");
                lRecord.mUV = lUVs->GetDirectArray().GetAt(u);
            } else if (lUVMode == MoxLayerElement::eByControlPoint) {
                lRecord.mUV = lUVs->GetDirectArray().GetAt(v);
            }
            lRecord.mVertexPolyIndex = lCounter++;
            if (v >= lOld) {
                SplitReport("dva != NULL");
                continue;
            }
            DuplicateList* lList = lDuplicates[v];
            lRecord.mNewVertexIndex = lList->GetCount() == 0 ? v : lNext++;
            lRecord.mEdgeIndex = -1;
            for (int e = 0; e < pMesh.mEdgeArray.GetCount(); ++e) {
                if (pMesh.mEdgeArray[e] == lRecord.mVertexPolyIndex) {
                    lRecord.mEdgeIndex = e;
                    break;
                }
            }
            if (lRecord.mEdgeIndex == -1) lRecord.mEdgeIndex = pMesh.GetMeshEdgeIndexForPolygon(p, i);
            lList->Add(lRecord);
        }
    }

    // Phase 2.
    if (pMesh.GetDeformerCount(MoxDeformer::eSkin) > 0) {
        MoxSkin* lSkin = static_cast<MoxSkin*>(pMesh.GetDeformer(0, MoxDeformer::eSkin));
        for (int k = 0; k < lSkin->GetClusterCount(); ++k) {
            MoxCluster* lCluster = lSkin->GetCluster(k);
            const int lCount = lCluster->GetControlPointIndicesCount();
            for (int i = 0; i < lCount; ++i) {
                const int c = lCluster->GetControlPointIndices()[i];
                const double w = lCluster->GetControlPointWeights()[i];
                DuplicateList* lList = c >= 0 && c < lOld ? lDuplicates[c] : nullptr;
                if (!lList) {
                    SplitReport("dva != NULL");
                    continue;
                }
                for (int r = 1; r < lList->GetCount(); ++r)
                    lCluster->AddControlPointIndex((*lList)[r].mNewVertexIndex, w);
            }
        }
    }

    // Phase 3.
    const bool lHasEdges = pMesh.mEdgeArray.GetCount() > 0 && pMesh.mPolygonVertices.GetCount() > 0;
    MoxArray<MoxMesh::SplitEdgeData> lSplitEdges;
    if (lHasEdges) {
        lSplitEdges.Resize(pMesh.mPolygonVertices.GetCount());
        std::memset(static_cast<void*>(lSplitEdges.GetArray()), 0,
                    sizeof(MoxMesh::SplitEdgeData) * size_t(lSplitEdges.GetCount()));
    }
    lNormalElement = lLayer->GetNormals();
    const MoxLayerElement::EMappingMode lMode =
        lNormalElement ? lNormalElement->GetMappingMode() : MoxLayerElement::eByControlPoint;
    const MoxLayerElement::EReferenceMode lReference =
        lNormalElement ? lNormalElement->GetReferenceMode() : MoxLayerElement::eIndexToDirect;
    MoxLayerElementArrayTemplate<MoxVector4>* lNormals = nullptr;
    const bool lValid = pMesh.GetNormals(&lNormals);
    if (!lValid || !lNormals) {
        SplitReport("isvalid && lNormals");
        lNormals = nullptr;
    }
    MoxLayerElementArrayTemplate<int>* lIndices = nullptr;
    if (lReference == MoxLayerElement::eIndexToDirect) pMesh.GetNormalsIndices(&lIndices);
    MoxLayerElementArrayTemplate<MoxVector2>* lUVDirect = lUVs ? &lUVs->GetDirectArray() : nullptr;
    if (lUVDirect && lUVDirect->GetCount() > 0) lUVDirect->Clear();
    if (lNext >= pMesh.GetControlPointsCount()) pMesh.SetControlPointCount(lNext);
    if (lUVDirect && lUVDirect->GetCount() <= lNext) lUVDirect->SetCount(lNext);
    auto lMark = [&](const MoxMesh::DuplicateVertex& pRecord) {
        MoxMesh::SplitEdgeData& lData = lSplitEdges[pRecord.mVertexPolyIndex];
        if (pMesh.mEdgeArray[pRecord.mEdgeIndex] == pRecord.mVertexPolyIndex) {
            lData.mNewEdge = false;
        } else {
            lData.mNewEdge = true;
            lData.mEdgeIndex = pRecord.mEdgeIndex;
        }
    };
    auto lWriteUV = [&](int pIndex, const MoxVector2& pUV) {
        if (!lUVDirect) return;
        if (lUVDirect->GetCount() < pIndex + 1) lUVDirect->SetCount(pIndex + 1);
        lUVDirect->SetAt(pIndex, pUV);
    };
    for (int c = 0; c < lOld; ++c) {
        DuplicateList& lList = *lDuplicates[c];
        if (lList.GetCount() == 0) continue;
        const MoxMesh::DuplicateVertex& lFirst = lList[0];
        if (lNormals && lMode == MoxLayerElement::eByControlPoint) {
            int lTarget = c;
            if (lReference != MoxLayerElement::eDirect) {
                lTarget = lIndices ? lIndices->GetAt(c) : 0;
                if (lTarget < 0) SplitReport("index >= 0");
            }
            lNormals->SetAt(lTarget, lFirst.mNormal);
        } else if (lNormals && lMode == MoxLayerElement::eByPolygonVertex) {
            if (lReference != MoxLayerElement::eDirect && lIndices) {
                if (lIndices->GetCount() < lOld) lIndices->SetCount(lOld);
                lIndices->SetAt(lFirst.mNewVertexIndex, lFirst.mNewVertexIndex);
            }
            lNormals->SetAt(lFirst.mNewVertexIndex, lFirst.mNormal);
        }
        lWriteUV(c, lFirst.mUV);
        if (lHasEdges) lMark(lFirst);
        for (int r = 1; r < lList.GetCount(); ++r) {
            const MoxMesh::DuplicateVertex& lRec = lList[r];
            const MoxVector4 lPosition = pMesh.GetControlPointAt(c);
            if (lMode == MoxLayerElement::eByPolygon)
                pMesh.SetControlPointAt(lPosition, lRec.mNewVertexIndex);
            else
                pMesh.SetControlPointAt(lPosition, lRec.mNormal, lRec.mNewVertexIndex, false);
            lWriteUV(lRec.mNewVertexIndex, lRec.mUV);
            pMesh.mPolygonVertices[lRec.mVertexPolyIndex] = lRec.mNewVertexIndex;
            if (lHasEdges) lMark(lRec);
        }
    }

    // Phase 4.
    if (lHasEdges) {
        const int lEdgeCount = pMesh.mEdgeArray.GetCount();
        const int lVertexCount = pMesh.mPolygonVertices.GetCount();
        if (lVertexCount - lEdgeCount > 0) {
            pMesh.mEdgeArray.Grow(lVertexCount - lEdgeCount);
            for (int e = lEdgeCount; e < lVertexCount; ++e) pMesh.mEdgeArray[e] = 0;
        }
        int lPosition = lEdgeCount;
        for (int v = 0; v < lSplitEdges.GetCount(); ++v)
            if (lSplitEdges[v].mNewEdge) pMesh.mEdgeArray[lPosition++] = v;
        MoxLayer* lSmoothingLayer = pMesh.GetLayer(0, MoxLayerElement::eSmoothing);
        if (lSmoothingLayer) lSmoothingLayer->SetSmoothing(nullptr);
    }

    // Phase 5.
    const int lNewCount = pMesh.GetControlPointsCount();
    ForEachShape(pMesh, &SplitReport, [&](MoxShape& pShape) {
        const int m = pShape.GetControlPointsCount();
        const int lSize = std::max(m, lOld);
        MoxArray<MoxVector4> lPoints;
        MoxArray<MoxVector4> lShapeNormals;
        MoxArray<MoxVector2> lShapeUVs;
        lPoints.Resize(lSize);
        lShapeNormals.Resize(lSize);
        for (int i = 0; i < m; ++i) lPoints[i] = pShape.GetControlPoints()[i];
        MoxLayerElementArrayTemplate<MoxVector4>* lDirect = nullptr;
        bool lOk = pShape.GetNormals(&lDirect);
        if (!lOk || !lDirect) SplitReport("isvalid && direct");
        if (lDirect && lDirect->GetCount() != m)
            SplitReport("direct->GetCount() == lCurrentShape->GetControlPointsCount()");
        for (int i = 0; lDirect && i < std::min(m, lDirect->GetCount()); ++i) lShapeNormals[i] = lDirect->GetAt(i);
        MoxLayer* lShapeLayer = pShape.GetLayer(0);
        MoxLayerElementUV* lOldUVs = lShapeLayer ? lShapeLayer->GetUVs(pType) : nullptr;
        if (lOldUVs) {
            lShapeUVs.Resize(lSize);
            const size_t lBytes = std::min(size_t(m), sizeof(MoxVector2) * size_t(lOldUVs->mDirectArray->GetCount()));
            if (lBytes > 0) {
                MoxVector2* lData = lOldUVs->mDirectArray->GetLocked(MoxLayerElementArray::eReadLock);
                std::memcpy(static_cast<void*>(lShapeUVs.GetArray()), lData, lBytes);
                lOldUVs->mDirectArray->Release(&lData);
            }
        }
        pShape.InitControlPoints(lNewCount);
        pShape.InitNormals();
        MoxLayerElementUV* lNewUVs = nullptr;
        if (lOldUVs) {
            lNewUVs = MoxLayerElementUV::Create(&pMesh, "");
            lShapeLayer->SetUVs(lNewUVs, pType);
            lNewUVs->mDirectArray->Resize(lNewCount);
        }
        lOk = pShape.GetNormals(&lDirect);
        if (!lOk || !lDirect) SplitReport("isvalid && direct");
        auto lWrite = [&](int pTarget, int pSource) {
            pShape.GetControlPoints()[pTarget] = lPoints[pSource];
            lDirect->SetAt(pTarget, lShapeNormals[pSource]);
            if (lNewUVs) lNewUVs->mDirectArray->SetAt(pTarget, lShapeUVs[pSource]);
        };
        for (int c = 0; c < lOld; ++c) {
            lWrite(c, c);
            for (int r = 1; r < lDuplicates[c]->GetCount(); ++r) lWrite((*lDuplicates[c])[r].mNewVertexIndex, c);
        }
    });

    // Phase 6.
    if (lLayer->GetNormals() && lLayer->GetNormals()->GetMappingMode() != MoxLayerElement::eByPolygon)
        lLayer->GetNormals()->SetMappingMode(MoxLayerElement::eByControlPoint);
    if (lLayer->GetUVs(pType)) {
        lLayer->GetUVs(pType)->SetMappingMode(MoxLayerElement::eByControlPoint);
        lLayer->GetUVs(pType)->SetReferenceMode(MoxLayerElement::eDirect);
    }
    DeleteLists(lDuplicates);
    return lOld > 0;
}

inline bool BuildMergeList(MoxMesh& pMesh, MoxArray<int>& pMergeList)
{
    const int n = pMesh.GetControlPointsCount();
    pMergeList.Resize(n);
    for (int i = 0; i < n; ++i) pMergeList[i] = -1;
    bool lMerged = false;
    const MoxVector4* lPoints = pMesh.GetControlPoints();
    for (int i = 0; i < n; ++i) {
        if (pMergeList[i] == -1) pMergeList[i] = i;
        for (int j = i + 1; j < n; ++j) {
            if (lPoints[j].Distance(lPoints[i]) < 0.0001) {
                pMergeList[j] = j >= pMergeList[i] ? pMergeList[i] : i;
                lMerged = true;
            }
        }
    }
    return lMerged;
}

inline void MergePoints(MoxMesh& pMesh, MoxArray<int>& pMergeList)
{
    // Step 1 and 2.
    const int n = pMesh.GetControlPointsCount();
    MoxLayerElementArrayTemplate<MoxVector4>* lDirect = nullptr;
    const bool lValid = pMesh.GetNormals(&lDirect);
    if (!lValid || !lDirect) MergeReport("isvalid && direct != NULL");
    MoxVector4* lNormals = lDirect ? lDirect->GetLocked(MoxLayerElementArray::eReadWriteLock) : nullptr;
    const int lNormalCount = lNormals ? lDirect->GetCount() : 0;
    MoxArray<MoxVector4> lBuffer;
    lBuffer.Resize(n);
    for (int i = 0; i < n; ++i) {
        const int k = pMesh.mPolygonVertices.Find(i);
        if (k < 0) continue;
        if (k < n && i < lNormalCount) lBuffer[k] = lNormals[i];
        pMesh.mPolygonVertices[k] = pMergeList[i];
    }
    for (int i = 0; i < std::min(n, lNormalCount); ++i) lNormals[i] = lBuffer[i];
    if (lDirect) lDirect->Release(&lNormals);

    // Step 3.
    if (pMesh.mEdgeArray.GetCount() > 0) {
        if (pMesh.mEdgeArray.GetCount() != pMesh.mPolygonVertices.GetCount())
            MergeReport("mEdgeArray.GetCount() == mPolygonVertices.GetCount()");
        MoxArray<int> lKept;
        lKept.Add(pMesh.mEdgeArray[0]);
        for (int e = 1; e < pMesh.mEdgeArray.GetCount(); ++e) {
            int s = -1;
            int t = -1;
            pMesh.GetMeshEdgeVertices(e, s, t);
            bool lReversed = false;
            if (pMesh.GetMeshEdgeIndex(s, t, lReversed, -1) == e) lKept.Add(pMesh.mEdgeArray[e]);
        }
        pMesh.mEdgeArray = lKept;
    }

    // Step 4.
    if (pMesh.GetDeformerCount(MoxDeformer::eSkin) > 0) {
        MoxSkin* lSkin = static_cast<MoxSkin*>(pMesh.GetDeformer(0, MoxDeformer::eSkin));
        for (int k = 0; k < lSkin->GetClusterCount(); ++k) {
            MoxCluster* lCluster = lSkin->GetCluster(k);
            MoxArray<int> lIndices;
            MoxArray<double> lWeights;
            for (int i = 0; i < lCluster->GetControlPointIndicesCount(); ++i) {
                const int lIndex = lCluster->GetControlPointIndices()[i];
                if (pMergeList.Find(lIndex) != 0) {
                    lIndices.Add(lIndex);
                    lWeights.Add(lCluster->GetControlPointWeights()[i]);
                }
            }
            const MoxString lId = lCluster->GetUserDataID();
            const MoxString lData = lCluster->GetUserData();
            MoxNode* lAssociate = lCluster->GetAssociateModel();
            MoxNode* lLink = lCluster->GetLink();
            const MoxCluster::ELinkMode lLinkMode = lCluster->GetLinkMode();
            MoxAMatrix a;
            MoxAMatrix b;
            MoxAMatrix c;
            MoxAMatrix d;
            lCluster->GetTransformAssociateModelMatrix(a);
            lCluster->GetTransformLinkMatrix(b);
            lCluster->GetTransformMatrix(c);
            lCluster->GetTransformParentMatrix(d);
            lCluster->Reset();
            lCluster->SetUserData(lId, lData);
            lCluster->SetAssociateModel(lAssociate);
            lCluster->SetLink(lLink);
            lCluster->SetLinkMode(lLinkMode);
            lCluster->SetTransformAssociateModelMatrix(a);
            lCluster->SetTransformLinkMatrix(b);
            lCluster->SetTransformMatrix(c);
            lCluster->SetTransformParentMatrix(d);
            for (int i = 0; i < lIndices.GetCount(); ++i) lCluster->AddControlPointIndex(lIndices[i], lWeights[i]);
        }
    }

    // Step 5.
    int r = 0;
    bool lChanged = false;
    for (int i = 0; i < n; ++i) {
        if (pMergeList[i] == i) continue;
        const int lPosition = i - r;
        MoxVector4* lPoints = pMesh.GetControlPoints();
        const int lCount = pMesh.GetControlPointsCount();
        std::memmove(static_cast<void*>(lPoints + lPosition), lPoints + lPosition + 1,
                     sizeof(MoxVector4) * size_t(lCount - lPosition - 1));
        pMesh.SetControlPointCount(lCount - 1);
        for (int k = 0; k < pMesh.mPolygonVertices.GetCount(); ++k)
            if (pMesh.mPolygonVertices[k] > lPosition) --pMesh.mPolygonVertices[k];
        ++r;
        lChanged = true;
    }

    // Step 6.
    MoxArray<MoxVector4> lSavedPoints;
    MoxArray<MoxVector4> lSavedNormals;
    const int m = pMesh.GetControlPointsCount();
    ForEachShape(pMesh, &MergeReport, [&](MoxShape& pShape) {
        MoxLayerElementArrayTemplate<MoxVector4>* lShapeNormals = nullptr;
        bool lOk = pShape.GetNormals(&lShapeNormals);
        if (!lOk || !lShapeNormals) MergeReport("isvalid && direct != NULL");
        for (int i = 0; i < m; ++i) {
            lSavedPoints.Add(i < pShape.GetControlPointsCount() ? pShape.GetControlPoints()[i] : MoxVector4());
            lSavedNormals.Add(lShapeNormals && i < lShapeNormals->GetCount() ? lShapeNormals->GetAt(i) : MoxVector4());
        }
        pShape.InitControlPoints(m);
        pShape.InitNormals();
        lOk = pShape.GetNormals(&lShapeNormals);
        if (!lOk || !lShapeNormals) MergeReport("isvalid && direct != NULL");
        for (int i = 0; i < m; ++i) {
            pShape.GetControlPoints()[i] = lSavedPoints[i];
            lShapeNormals->SetAt(i, lSavedNormals[i]);
        }
    });

    // Step 7.
    MoxLayer* lLayer = pMesh.GetLayer(0);
    if (lChanged && lLayer && lLayer->GetNormals())
        lLayer->GetNormals()->SetMappingMode(MoxLayerElement::eByPolygonVertex);
}

}  // namespace moxoracle
