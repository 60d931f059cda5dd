#include "io/meshvertices.h"

#include <cmath>
#include <cstring>
#include <map>

#include "moxsdk/scene/geometry/moxlayerelementreader.h"
#include "moxsdk/scene/moxsurfacematerial.h"

namespace moxmeshtool {
namespace {

using moxsdk::MoxLayer;
using moxsdk::MoxLayerElement;
using moxsdk::MoxMesh;
using moxsdk::MoxVector2;
using moxsdk::MoxVector4;

// The elements read per polygon vertex (an absent reader: the vertices have no such value).
struct CornerSources {
    moxsdk::MoxLayerElementReader<MoxVector4> mNormals;
    std::vector<moxsdk::MoxLayerElementReader<MoxVector2>> mUVSets;
    moxsdk::MoxLayerElementReader<MoxVector4> mTangents;

    VertexLayout Layout() const
    {
        return VertexLayout{mNormals.IsPresent(), static_cast<int>(mUVSets.size()), mTangents.IsPresent()};
    }
};

CornerSources OpenSources(const MoxMesh& pMesh, const VertexOptions& pOptions)
{
    CornerSources lSources;
    const MoxLayer* lLayer0 = pMesh.GetLayer(0);
    if (lLayer0) lSources.mNormals.Bind(lLayer0->GetNormals());
    // A tangent means nothing without a normal (and glTF refuses it).
    if (lLayer0 && pOptions.mTangents && lSources.mNormals.IsPresent()) lSources.mTangents.Bind(lLayer0->GetTangents());
    for (int l = 0; l < pMesh.GetLayerCount(); ++l) {
        const MoxLayer* lLayer = pMesh.GetLayer(l);
        if (!lLayer) continue;
        for (int c = MoxLayerElement::eTextureChannel0; c <= MoxLayerElement::eTextureChannel16; ++c) {
            const moxsdk::MoxLayerElementUV* lUVs = lLayer->GetUVs(static_cast<MoxLayerElement::EType>(c));
            if (lUVs && static_cast<int>(lSources.mUVSets.size()) < pOptions.mMaxUVSets)
                lSources.mUVSets.emplace_back(lUVs);
        }
    }
    return lSources;
}

// Materials: the material names and, per polygon, its place in that list (-1: none).
struct MaterialTable {
    std::vector<std::string> mNames;
    std::vector<int> mMaterialOf;
};

// Material slots come from layer 0's material element: the direct array holds the materials (their
// names), the index array (or, in direct mode, the component itself) a polygon's slot. Slots past the
// direct array (an element without materials) get generic names and keep their order.
MaterialTable ReadMaterials(MoxMesh& pMesh)
{
    MaterialTable lTable;
    const int lPolygonCount = pMesh.GetPolygonCount();
    lTable.mMaterialOf.assign(lPolygonCount, -1);
    MoxLayer* lLayer0 = pMesh.GetLayer(0);
    moxsdk::MoxLayerElementMaterial* lElement = lLayer0 ? lLayer0->GetMaterials() : nullptr;
    if (!lElement) return lTable;

    const MoxLayerElement::EMappingMode lMapping = lElement->GetMappingMode();
    const bool lIndexed = lElement->GetReferenceMode() != MoxLayerElement::eDirect;
    const int lDirectCount = lElement->mDirectArray->GetCount();
    const int lIndexCount = lElement->mIndexArray->GetCount();
    std::map<int, int> lExtraSlots;
    for (int p = 0; p < lPolygonCount; ++p) {
        const int lComponent = lMapping == MoxLayerElement::eByPolygon ? p
                               : lMapping == MoxLayerElement::eByMesh  ? 0
                                                                       : -1;
        int lSlot = lComponent;
        if (lIndexed)
            lSlot = lComponent >= 0 && lComponent < lIndexCount ? lElement->mIndexArray->GetAt(lComponent) : -1;
        if (lSlot < 0) continue;
        if (lSlot >= lDirectCount) lExtraSlots.emplace(lSlot, 0);
        lTable.mMaterialOf[p] = lSlot;
    }
    for (int s = 0; s < lDirectCount; ++s) {
        const moxsdk::MoxSurfaceMaterial* lMaterial = lElement->mDirectArray->GetAt(s);
        const char* lName = lMaterial ? lMaterial->GetName() : "";
        lTable.mNames.push_back(*lName ? lName : "material" + std::to_string(s + 1));
    }
    for (auto& lExtra : lExtraSlots) {
        lExtra.second = static_cast<int>(lTable.mNames.size());
        lTable.mNames.push_back("material" + std::to_string(lExtra.first + 1));
    }
    for (int& lSlot : lTable.mMaterialOf)
        if (lSlot >= lDirectCount) lSlot = lExtraSlots[lSlot];
    return lTable;
}

// True when polygon p can be written: 3 or more vertices, every control point in range and finite.
bool IsWritable(const MoxMesh& pMesh, int pPolygon)
{
    const int lSize = pMesh.GetPolygonSize(pPolygon);
    const int lStart = pMesh.GetPolygonVertexIndex(pPolygon);
    if (lSize < 3 || lStart < 0 || lStart + lSize > pMesh.GetPolygonVertexCount()) return false;
    const int* lVertices = pMesh.GetPolygonVertices();
    const MoxVector4* lPoints = pMesh.GetControlPoints();
    for (int k = 0; k < lSize; ++k) {
        const int lPoint = lVertices[lStart + k];
        if (lPoint < 0 || lPoint >= pMesh.GetControlPointsCount()) return false;
        for (int i = 0; i < 3; ++i)
            if (!std::isfinite(lPoints[lPoint][i])) return false;
    }
    return true;
}

// Makes pVector (3 components) of unit length; false when it is zero or not finite.
bool Normalize(double* pVector)
{
    const double lLength = std::sqrt(pVector[0] * pVector[0] + pVector[1] * pVector[1] + pVector[2] * pVector[2]);
    if (!(lLength > 1e-30) || !std::isfinite(lLength)) return false;
    for (int i = 0; i < 3; ++i) pVector[i] /= lLength;
    return true;
}

// The unit normal of polygon p by Newell's method; the z axis when it has none (collinear points).
void PolygonNormal(const MoxMesh& pMesh, int pPolygon, double* pNormal)
{
    const int lSize = pMesh.GetPolygonSize(pPolygon);
    const int* lVertices = pMesh.GetPolygonVertices() + pMesh.GetPolygonVertexIndex(pPolygon);
    const MoxVector4* lPoints = pMesh.GetControlPoints();
    pNormal[0] = pNormal[1] = pNormal[2] = 0.0;
    for (int k = 0; k < lSize; ++k) {
        const MoxVector4& lA = lPoints[lVertices[k]];
        const MoxVector4& lB = lPoints[lVertices[(k + 1) % lSize]];
        pNormal[0] += (lA[1] - lB[1]) * (lA[2] + lB[2]);
        pNormal[1] += (lA[2] - lB[2]) * (lA[0] + lB[0]);
        pNormal[2] += (lA[0] - lB[0]) * (lA[1] + lB[1]);
    }
    if (Normalize(pNormal)) return;
    pNormal[0] = pNormal[1] = 0.0;
    pNormal[2] = 1.0;
}

// A unit vector orthogonal to the unit vector pNormal: its cross product with the axis it is least
// aligned with.
void Orthogonal(const double* pNormal, double* pOut)
{
    const double lX = std::fabs(pNormal[0]);
    const double lY = std::fabs(pNormal[1]);
    const double lZ = std::fabs(pNormal[2]);
    const int lAxis = lX <= lY && lX <= lZ ? 0 : lY <= lZ ? 1 : 2;
    double lUnit[3] = {0.0, 0.0, 0.0};
    lUnit[lAxis] = 1.0;
    pOut[0] = pNormal[1] * lUnit[2] - pNormal[2] * lUnit[1];
    pOut[1] = pNormal[2] * lUnit[0] - pNormal[0] * lUnit[2];
    pOut[2] = pNormal[0] * lUnit[1] - pNormal[1] * lUnit[0];
    Normalize(pOut);
}

// Reads the values of polygon vertices, one after the other, into a vertex's floats.
class CornerReader {
public:
    CornerReader(const MoxMesh& pMesh, const CornerSources& pSources, const VertexOptions& pOptions,
                 SceneSummary& pSummary)
        : mMesh(pMesh), mSources(pSources), mValid(pOptions.mValidValues), mSummary(pSummary)
    {}

    // The floats of polygon vertex pPolygonVertex (of polygon pPolygon, at control point pPoint). A
    // missing value is written as zeros and counted; with mValidValues, bad values are replaced.
    void Read(int pPolygon, int pPolygonVertex, int pPoint, float* pOut)
    {
        double lNormal[3] = {0.0, 0.0, 1.0};
        if (mSources.mNormals.IsPresent()) {
            ReadNormal(pPolygon, pPolygonVertex, pPoint, lNormal);
            for (const double lValue : lNormal) *pOut++ = static_cast<float>(lValue);
        }
        for (const auto& lUVSet : mSources.mUVSets) {
            MoxVector2 lUV;
            if (!lUVSet.Get(pPolygon, pPolygonVertex, pPoint, lUV)) ++mSummary.mMissingValues;
            for (int i = 0; i < 2; ++i) *pOut++ = mValid && !std::isfinite(lUV[i]) ? 0.0f : static_cast<float>(lUV[i]);
        }
        if (mSources.mTangents.IsPresent()) ReadTangent(pPolygon, pPolygonVertex, pPoint, lNormal, pOut);
    }

private:
    void ReadNormal(int pPolygon, int pPolygonVertex, int pPoint, double* pNormal)
    {
        MoxVector4 lValue;
        if (!mSources.mNormals.Get(pPolygon, pPolygonVertex, pPoint, lValue)) ++mSummary.mMissingValues;
        for (int i = 0; i < 3; ++i) pNormal[i] = lValue[i];
        if (!mValid || Normalize(pNormal)) return;
        PolygonNormal(mMesh, pPolygon, pNormal);
        ++mSummary.mReplacedNormals;
    }

    void ReadTangent(int pPolygon, int pPolygonVertex, int pPoint, const double* pNormal, float* pOut)
    {
        MoxVector4 lValue;
        if (!mSources.mTangents.Get(pPolygon, pPolygonVertex, pPoint, lValue)) ++mSummary.mMissingValues;
        double lTangent[3] = {lValue[0], lValue[1], lValue[2]};
        double lHandedness = lValue[3];
        if (mValid) {
            if (!Normalize(lTangent)) {
                Orthogonal(pNormal, lTangent);
                ++mSummary.mReplacedTangents;
            }
            lHandedness = lHandedness < 0.0 ? -1.0 : 1.0;
        }
        for (int i = 0; i < 3; ++i) pOut[i] = static_cast<float>(lTangent[i]);
        pOut[3] = static_cast<float>(lHandedness);
    }

    const MoxMesh& mMesh;
    const CornerSources& mSources;
    bool mValid;
    SceneSummary& mSummary;
};

// The vertices of one part: distinct (control point, values) pairs, found through a chain of the
// vertices of each control point. pFirstOfPoint (one entry per control point, all -1) is shared scratch,
// left all -1 again.
void FillPart(const MoxMesh& pMesh, CornerReader& pReader, int pStride, MeshArray<int>& pFirstOfPoint,
              VertexPart& pPart)
{
    MeshArray<int> lNext;  // per vertex: the next vertex of the same control point
    std::vector<float> lValues(static_cast<size_t>(pStride) + 1);
    const size_t lBytes = static_cast<size_t>(pStride) * sizeof(float);
    const int* lVertices = pMesh.GetPolygonVertices();
    size_t lCorners = 0;
    for (int lPolygon : pPart.mPolygons) lCorners += static_cast<size_t>(pMesh.GetPolygonSize(lPolygon));
    pPart.mCorners.reserve(lCorners);
    pPart.mPoints.reserve(lCorners);  // at most one vertex per polygon vertex
    pPart.mValues.reserve(lCorners * static_cast<size_t>(pStride));
    lNext.reserve(lCorners);
    for (int lPolygon : pPart.mPolygons) {
        const int lStart = pMesh.GetPolygonVertexIndex(lPolygon);
        for (int k = 0; k < pMesh.GetPolygonSize(lPolygon); ++k) {
            const int lPoint = lVertices[lStart + k];
            pReader.Read(lPolygon, lStart + k, lPoint, lValues.data());
            int lVertex = pFirstOfPoint[lPoint];
            // Without values (no normals, no UVs) a control point has one vertex.
            while (lVertex >= 0 && lBytes != 0 &&
                   std::memcmp(pPart.mValues.data() + lVertex * size_t(pStride), lValues.data(), lBytes) != 0)
                lVertex = lNext[lVertex];
            if (lVertex < 0) {
                lVertex = static_cast<int>(pPart.mPoints.size());
                pPart.mPoints.push_back(lPoint);
                pPart.mValues.insert(pPart.mValues.end(), lValues.begin(), lValues.begin() + pStride);
                lNext.push_back(pFirstOfPoint[lPoint]);
                pFirstOfPoint[lPoint] = lVertex;
            }
            pPart.mCorners.push_back(static_cast<unsigned>(lVertex));
        }
    }
    for (int lPoint : pPart.mPoints) pFirstOfPoint[lPoint] = -1;
}

}  // namespace

MeshVertices GatherVertices(MoxMesh& pMesh, const VertexOptions& pOptions, SceneSummary& pSummary)
{
    pSummary = SceneSummary();
    const CornerSources lSources = OpenSources(pMesh, pOptions);
    MaterialTable lMaterials = ReadMaterials(pMesh);
    MeshVertices lVertices;
    lVertices.mLayout = lSources.Layout();

    // Polygons by material, the polygons without one last (under a default material).
    const int lMaterialCount = static_cast<int>(lMaterials.mNames.size());
    std::vector<VertexPart> lParts(lMaterialCount + 1);
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        if (!IsWritable(pMesh, p)) {
            ++pSummary.mSkippedPolygons;
            continue;
        }
        const int lMaterial = lMaterials.mMaterialOf[p];
        lParts[lMaterial >= 0 ? lMaterial : lMaterialCount].mPolygons.push_back(p);
        ++pSummary.mPolygons;
        pSummary.mTriangles += pMesh.GetPolygonSize(p) - 2;
    }
    if (!lParts.back().mPolygons.empty()) lMaterials.mNames.emplace_back("default");

    CornerReader lReader(pMesh, lSources, pOptions, pSummary);
    MeshArray<int> lFirstOfPoint(static_cast<size_t>(pMesh.GetControlPointsCount()), -1);
    for (size_t m = 0; m < lParts.size(); ++m) {
        if (lParts[m].mPolygons.empty()) continue;
        lParts[m].mMaterial = static_cast<int>(m);
        FillPart(pMesh, lReader, lVertices.mLayout.Stride(), lFirstOfPoint, lParts[m]);
        pSummary.mVertices += lParts[m].mPoints.size();
        lVertices.mParts.push_back(std::move(lParts[m]));
    }
    lVertices.mMaterialNames = std::move(lMaterials.mNames);

    pSummary.mMaterials = static_cast<int>(lVertices.mMaterialNames.size());
    pSummary.mNormals = lVertices.mLayout.mNormals;
    pSummary.mUVSets = lVertices.mLayout.mUVSets;
    pSummary.mTangents = lVertices.mLayout.mTangents;
    return lVertices;
}

}  // namespace moxmeshtool
