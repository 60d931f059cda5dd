// Builds a textured, multi-material mesh through the public API and prints its polygons, layers and
// elements.
//
// The mesh is a small house: a box of four walls and a floor under a four-sided roof. Walls and floor use
// the material "plaster", the roof "tiles"; walls carry the texture "brick.png", the roof "slate.png",
// the floor none. Every corner gets a UV index into the default UV set ("diffuse"); a second UV set
// ("lightmap", channel 1) is filled afterwards with SetTextureUVIndex. The floor is marked as a hole and
// the roof's apex carries a vertex crease.
#include <cstdio>

#include "moxsdk.h"

using namespace moxsdk;

namespace {

const char* MappingName(MoxLayerElement::EMappingMode pMode)
{
    switch (pMode) {
        case MoxLayerElement::eNone:
            return "none";
        case MoxLayerElement::eByControlPoint:
            return "by control point";
        case MoxLayerElement::eByPolygonVertex:
            return "by polygon vertex";
        case MoxLayerElement::eByPolygon:
            return "by polygon";
        case MoxLayerElement::eByEdge:
            return "by edge";
        case MoxLayerElement::eByMesh:
            return "by mesh";
    }
    return "?";
}

const char* ReferenceName(MoxLayerElement::EReferenceMode pMode)
{
    switch (pMode) {
        case MoxLayerElement::eDirect:
            return "direct";
        case MoxLayerElement::eIndex:
            return "index";
        case MoxLayerElement::eIndexToDirect:
            return "index to direct";
    }
    return "?";
}

// One line per element: kind, name, modes and the sizes of both arrays.
template <class T>
void PrintElement(const char* pKind, const MoxLayerElementTemplate<T>* pElement)
{
    if (!pElement) return;
    std::printf("    %-22s \"%s\": %s, %s, %d values, %d indices\n", pKind, pElement->GetName(),
                MappingName(pElement->GetMappingMode()), ReferenceName(pElement->GetReferenceMode()),
                pElement->mDirectArray->GetCount(), pElement->mIndexArray->GetCount());
}

// The control points: a 2 x 2 x 1.5 box (0 .. 7) and the roof's apex (8).
void SetControlPoints(MoxMesh& pMesh)
{
    const double lPoints[9][3] = {{0, 0, 0},   {2, 0, 0},   {2, 2, 0},   {0, 2, 0},  {0, 0, 1.5},
                                  {2, 0, 1.5}, {2, 2, 1.5}, {0, 2, 1.5}, {1, 1, 2.5}};
    pMesh.InitControlPoints(9);
    for (int i = 0; i < 9; ++i) pMesh.SetControlPointAt(MoxVector4(lPoints[i][0], lPoints[i][1], lPoints[i][2]), i);
}

// The default UV set: indexed per polygon vertex, with the five UVs that the polygons refer to.
void PrepareDiffuseUVs(MoxMesh& pMesh)
{
    pMesh.InitTextureUVIndices(MoxLayerElement::eByPolygonVertex);
    pMesh.InitTextureUV(0);
    const double lUVs[5][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}, {0.5, 1}};
    for (const auto& lUV : lUVs) pMesh.AddTextureUV(MoxVector2(lUV[0], lUV[1]));
    pMesh.GetLayer(0)->GetUVs()->SetName("diffuse");
}

// Materials and textures per polygon; their direct arrays hold the objects the indices select.
void PrepareMaterialsAndTextures(MoxMesh& pMesh, MoxManager& pManager)
{
    pMesh.InitMaterialIndices(MoxLayerElement::eByPolygon);
    MoxLayerElementMaterial* lMaterials = pMesh.GetLayer(0)->GetMaterials();
    lMaterials->GetDirectArray().Add(MoxSurfaceMaterial::Create(&pManager, "plaster"));
    lMaterials->GetDirectArray().Add(MoxSurfaceMaterial::Create(&pManager, "tiles"));
    pMesh.InitTextureIndices(MoxLayerElement::eByPolygon);
    MoxLayerElementTexture* lTextures = pMesh.GetLayer(0)->GetTextures(MoxLayerElement::eTextureChannel0);
    lTextures->GetDirectArray().Add(MoxTexture::Create(&pManager, "brick.png"));
    lTextures->GetDirectArray().Add(MoxTexture::Create(&pManager, "slate.png"));
}

// The polygons: floor, four walls (group 0), four roof triangles (group 1). Material, texture and UV
// indices are recorded as the polygons are built.
void BuildPolygons(MoxMesh& pMesh)
{
    struct Face {
        int mMaterial, mTexture, mGroup, mSize;
        int mCorners[4];
        int mUVs[4];
    };
    const Face lFaces[] = {
        {0, -1, -1, 4, {0, 3, 2, 1}, {0, 3, 2, 1}},  // floor
        {0, 0, 0, 4, {0, 1, 5, 4}, {0, 1, 2, 3}},   {0, 0, 0, 4, {1, 2, 6, 5}, {0, 1, 2, 3}},
        {0, 0, 0, 4, {2, 3, 7, 6}, {0, 1, 2, 3}},   {0, 0, 0, 4, {3, 0, 4, 7}, {0, 1, 2, 3}},
        {1, 1, 1, 3, {4, 5, 8, 0}, {0, 1, 4, 0}},   {1, 1, 1, 3, {5, 6, 8, 0}, {0, 1, 4, 0}},
        {1, 1, 1, 3, {6, 7, 8, 0}, {0, 1, 4, 0}},   {1, 1, 1, 3, {7, 4, 8, 0}, {0, 1, 4, 0}},
    };
    for (const Face& lFace : lFaces) {
        pMesh.BeginPolygon(lFace.mMaterial, lFace.mTexture, lFace.mGroup, true);
        for (int v = 0; v < lFace.mSize; ++v) pMesh.AddPolygon(lFace.mCorners[v], lFace.mUVs[v]);
        pMesh.EndPolygon();
    }
}

// A second UV set on channel 1, filled corner by corner after the polygons exist; the floor is left
// unmapped (-1).
void AddLightmapUVs(MoxMesh& pMesh)
{
    const MoxLayerElement::EType lChannel = MoxLayerElement::eTextureChannel1;
    pMesh.InitTextureUVIndices(MoxLayerElement::eByPolygonVertex, lChannel);
    pMesh.InitTextureUV(0, lChannel);
    pMesh.GetLayer(0)->GetUVs(lChannel)->SetName("lightmap");
    // Polygon p > 0 gets its own cell of a strip of eight.
    const double lCell[4][2] = {{0, 0}, {0.9, 0}, {0.9, 0.9}, {0, 0.9}};
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        for (int v = 0; v < pMesh.GetPolygonSize(p); ++v) {
            if (p == 0) {
                pMesh.SetTextureUVIndex(p, v, -1, lChannel);
                continue;
            }
            pMesh.SetTextureUVIndex(p, v, pMesh.GetTextureUVCount(lChannel), lChannel);
            pMesh.AddTextureUV(MoxVector2((p - 1 + lCell[v][0]) / 8.0, lCell[v][1]), lChannel);
        }
    }
}

// Subdivision data: the floor is a hole, the apex a sharp vertex.
void AddSubdivisionData(MoxMesh& pMesh)
{
    MoxLayerElementHole* lHoles = MoxLayerElementHole::Create(&pMesh, "holes");
    lHoles->SetMappingMode(MoxLayerElement::eByPolygon);
    lHoles->GetDirectArray().SetCount(pMesh.GetPolygonCount());
    pMesh.GetLayer(0)->SetHole(lHoles);
    pMesh.SetPolyHoleInfo(0, true);

    MoxLayerElementCrease* lCreases = MoxLayerElementCrease::Create(&pMesh, "vertex creases");
    lCreases->SetMappingMode(MoxLayerElement::eByControlPoint);
    lCreases->GetDirectArray().SetCount(pMesh.GetControlPointsCount());
    pMesh.GetLayer(0)->SetVertexCrease(lCreases);
    pMesh.SetVertexCreaseInfo(8, 1.0);

    pMesh.SetMeshSmoothness(MoxMesh::eMedium);
    pMesh.SetMeshPreviewDivisionLevels(1);
    pMesh.SetMeshRenderDivisionLevels(3);
    pMesh.SetDisplaySubdivisions(true);
}

void PrintControlPoints(MoxMesh& pMesh)
{
    std::printf("Control points:\n");
    for (int i = 0; i < pMesh.GetControlPointsCount(); ++i) {
        const MoxVector4 lPoint = pMesh.GetControlPointAt(i);
        std::printf("  %d: (%g, %g, %g)%s\n", i, lPoint[0], lPoint[1], lPoint[2],
                    pMesh.GetVertexCreaseInfo(i) > 0.0 ? "  (creased)" : "");
    }
}

// Each polygon with its group, material, texture and hole flag, then each corner: control point, UV
// index and UV of both sets (or "unmapped").
void PrintPolygons(MoxMesh& pMesh)
{
    MoxLayerElementArrayTemplate<int>* lMaterialIndices = nullptr;
    MoxLayerElementArrayTemplate<int>* lTextureIndices = nullptr;
    pMesh.GetMaterialIndices(&lMaterialIndices);
    pMesh.GetTextureIndices(&lTextureIndices);
    const MoxLayer* lLayer = pMesh.GetLayer(0);
    std::printf("Polygons:\n");
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        const int lMaterial = lMaterialIndices->GetAt(p);
        const int lTexture = lTextureIndices->GetAt(p);
        const MoxSurfaceMaterial* lMaterialObject = lLayer->GetMaterials()->mDirectArray->GetAt(lMaterial);
        const MoxTexture* lTextureObject =
            lLayer->GetTextures(MoxLayerElement::eTextureChannel0)->mDirectArray->GetAt(lTexture);
        std::printf("  polygon %d: %d corners from %d, group %d, material %d (%s), texture %d (%s)%s\n", p,
                    pMesh.GetPolygonSize(p), pMesh.GetPolygonVertexIndex(p), pMesh.GetPolygonGroup(p), lMaterial,
                    lMaterialObject ? lMaterialObject->GetName() : "-", lTexture,
                    lTextureObject ? lTextureObject->GetName() : "-", pMesh.GetPolyHoleInfo(p) ? ", hole" : "");
        for (int v = 0; v < pMesh.GetPolygonSize(p); ++v) {
            std::printf("    corner %d: point %d", v, pMesh.GetPolygonVertex(p, v));
            for (const char* lSet : {"diffuse", "lightmap"}) {
                MoxVector2 lUV;
                bool lUnmapped = false;
                if (!pMesh.GetPolygonVertexUV(p, v, lSet, lUV, lUnmapped)) continue;
                if (lUnmapped)
                    std::printf(", %s unmapped", lSet);
                else
                    std::printf(", %s (%g, %g)", lSet, lUV[0], lUV[1]);
            }
            std::printf("\n");
        }
    }
}

void PrintLayers(const MoxMesh& pMesh)
{
    std::printf("Layers: %d (%d with UV sets)\n", pMesh.GetLayerCount(), pMesh.GetUVLayerCount());
    for (int i = 0; i < pMesh.GetLayerCount(); ++i) {
        const MoxLayer* lLayer = pMesh.GetLayer(i);
        std::printf("  layer %d:\n", i);
        PrintElement("materials", lLayer->GetMaterials());
        for (int c = MoxLayerElement::eTextureChannel0; c <= MoxLayerElement::eTextureChannel16; ++c) {
            const MoxLayerElement::EType lChannel = static_cast<MoxLayerElement::EType>(c);
            char lKind[32];
            std::snprintf(lKind, sizeof(lKind), "textures, channel %d", c - MoxLayerElement::eTextureChannel0);
            PrintElement(lKind, lLayer->GetTextures(lChannel));
            std::snprintf(lKind, sizeof(lKind), "UV set, channel %d", c - MoxLayerElement::eTextureChannel0);
            PrintElement(lKind, lLayer->GetUVs(lChannel));
        }
        PrintElement("holes", lLayer->GetHole());
        PrintElement("vertex creases", lLayer->GetVertexCrease());
    }
}

// The whole-mesh lookup: one UV per corner, and the corners that have none.
void PrintUVSet(const MoxMesh& pMesh, const char* pName)
{
    MoxArray<MoxVector2> lUVs;
    MoxArray<int> lUnmapped;
    if (!pMesh.GetPolygonVertexUVs(pName, lUVs, &lUnmapped)) return;
    std::printf("UV set \"%s\": %d corners, %d unmapped", pName, lUVs.GetCount(), lUnmapped.GetCount());
    for (int i = 0; i < lUnmapped.GetCount(); ++i) std::printf("%s%d", i == 0 ? ": " : ", ", lUnmapped[i]);
    std::printf("\n");
}

}  // namespace

int main()
{
    MoxManager* lManager = MoxManager::Create();
    if (!lManager) return 1;
    MoxMesh* lMesh = MoxMesh::Create(lManager, "house");
    if (!lMesh) {
        lManager->Destroy();
        return 1;
    }

    SetControlPoints(*lMesh);
    PrepareDiffuseUVs(*lMesh);
    PrepareMaterialsAndTextures(*lMesh, *lManager);
    BuildPolygons(*lMesh);
    AddLightmapUVs(*lMesh);
    AddSubdivisionData(*lMesh);

    std::printf("Mesh \"%s\": %d control points, %d polygons, %d polygon vertices, %s\n", lMesh->GetName(),
                lMesh->GetControlPointsCount(), lMesh->GetPolygonCount(), lMesh->GetPolygonVertexCount(),
                lMesh->IsTriangleMesh() ? "all triangles" : "mixed polygon sizes");
    std::printf("Subdivision: smoothness %d, preview %d, render %d levels, displayed: %s\n",
                static_cast<int>(lMesh->GetMeshSmoothness()), lMesh->GetMeshPreviewDivisionLevels(),
                lMesh->GetMeshRenderDivisionLevels(), lMesh->GetDisplaySubdivisions() ? "yes" : "no");
    PrintControlPoints(*lMesh);
    PrintPolygons(*lMesh);
    PrintLayers(*lMesh);
    PrintUVSet(*lMesh, "diffuse");
    PrintUVSet(*lMesh, "lightmap");

    lManager->Destroy();  // destroys the mesh, the materials and the textures
    return 0;
}
