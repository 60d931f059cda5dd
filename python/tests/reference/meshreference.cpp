// The library's own results for a mesh given on stdin, for the Python tests to compare with bit for bit.
//
// Input (whitespace-separated): the control point count, then x y z per control point; the polygon count,
// then per polygon its size and its control points; then 0, or the polygon-vertex count followed by u v
// per polygon vertex (the UV set "map1", direct).
// The mesh is made with the library's calls alone (no tool code), then: BuildMeshEdgeArray,
// GenerateNormals (overwrite), GenerateTangentsDataForAllUVSets (overwrite) when there are UVs.
// Output: per polygon vertex one line "normal x y z" then, with UVs, "tangent x y z w" and
// "binormal x y z", every number in C99 hexadecimal floating point (exact).

#include <cstdio>
#include <iostream>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "moxsdk/scene/moxmanager.h"

using namespace moxsdk;

namespace {

void ReadPolygons(MoxMesh& pMesh)
{
    int lPointCount = 0;
    std::cin >> lPointCount;
    pMesh.InitControlPoints(lPointCount);
    for (int i = 0; i < lPointCount; ++i) {
        double lX, lY, lZ;
        std::cin >> lX >> lY >> lZ;
        pMesh.SetControlPointAt(MoxVector4(lX, lY, lZ), i);
    }
    int lPolygonCount = 0;
    std::cin >> lPolygonCount;
    for (int p = 0; p < lPolygonCount; ++p) {
        int lSize = 0;
        std::cin >> lSize;
        pMesh.BeginPolygon(-1, -1, -1, false);
        for (int k = 0; k < lSize; ++k) {
            int lIndex = 0;
            std::cin >> lIndex;
            pMesh.AddPolygon(lIndex);
        }
        pMesh.EndPolygon();
    }
}

bool ReadUVs(MoxMesh& pMesh)
{
    int lCount = 0;
    std::cin >> lCount;
    if (lCount == 0) return false;
    MoxLayerElementUV* lUVs = MoxLayerElementUV::Create(&pMesh, "map1");
    pMesh.GetLayer(0)->SetUVs(lUVs, MoxLayerElement::eTextureChannel0);
    lUVs->SetMappingMode(MoxLayerElement::eByPolygonVertex);
    lUVs->SetReferenceMode(MoxLayerElement::eDirect);
    for (int i = 0; i < lCount; ++i) {
        double lU, lV;
        std::cin >> lU >> lV;
        lUVs->mDirectArray->Add(MoxVector2(lU, lV));
    }
    return true;
}

void Print(const char* pName, const MoxVector4& pValue, int pComponents)
{
    std::printf("%s", pName);
    for (int c = 0; c < pComponents; ++c) std::printf(" %a", pValue[c]);
    std::printf("\n");
}

}  // namespace

int main()
{
    MoxManager* lManager = MoxManager::Create();
    MoxMesh* lMesh = MoxMesh::Create(lManager, "");
    ReadPolygons(*lMesh);
    const bool lHasUVs = ReadUVs(*lMesh);
    lMesh->BuildMeshEdgeArray();
    lMesh->GenerateNormals(true, false, false);
    if (lHasUVs) lMesh->GenerateTangentsDataForAllUVSets(true);
    const MoxLayer* lLayer = lMesh->GetLayer(0);
    for (int p = 0; p < lMesh->GetPolygonCount(); ++p)
        for (int i = 0; i < lMesh->GetPolygonSize(p); ++i) {
            MoxVector4 lValue;
            lMesh->GetPolygonVertexNormal(p, i, lValue);
            Print("normal", lValue, 3);
            if (!lHasUVs) continue;
            lMesh->GetPolygonVertexLayerElementValue(lLayer->GetTangents(), p, i, lValue, false);
            Print("tangent", lValue, 4);
            lMesh->GetPolygonVertexLayerElementValue(lLayer->GetBinormals(), p, i, lValue, false);
            Print("binormal", lValue, 3);
        }
    lManager->Destroy();
    return 0;
}
