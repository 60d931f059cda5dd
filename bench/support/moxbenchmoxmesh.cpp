#include "support/moxbenchmoxmesh.h"

namespace moxbench {

using namespace moxsdk;

void FillMoxMesh(MoxMesh& pMesh, const MeshData& pData, bool pWithUVs)
{
    pMesh.Reset();
    const int lPointCount = pData.ControlPointCount();
    pMesh.InitControlPoints(lPointCount);
    MoxVector4* lPoints = pMesh.GetControlPoints();
    for (int i = 0; i < lPointCount; ++i)
        lPoints[i] = MoxVector4(pData.mPositions[3 * size_t(i)], pData.mPositions[3 * size_t(i) + 1],
                                pData.mPositions[3 * size_t(i) + 2]);
    if (pWithUVs) {
        pMesh.InitTextureUV(pData.UVCount());
        MoxLayerElementArrayTemplate<MoxVector2>* lUVs = nullptr;
        pMesh.GetTextureUV(&lUVs);
        for (int i = 0; i < pData.UVCount(); ++i)
            lUVs->SetAt(i, MoxVector2(pData.mUVs[2 * size_t(i)], pData.mUVs[2 * size_t(i) + 1]));
    }
    pMesh.mPolygons.Reserve(pData.PolygonCount());
    pMesh.mPolygonVertices.Reserve(pData.CornerCount());
    int lCorner = 0;
    for (int lSize : pData.mPolygonSizes) {
        pMesh.BeginPolygon(-1, -1, -1, false);
        for (int k = 0; k < lSize; ++k, ++lCorner)
            pMesh.AddPolygon(pData.mPolygonVertices[lCorner], pWithUVs ? pData.mUVIndices[lCorner] : -1);
        pMesh.EndPolygon();
    }
}

}  // namespace moxbench
