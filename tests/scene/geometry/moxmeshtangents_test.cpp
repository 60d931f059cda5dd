#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "moxsdk/core/math/moxmath.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/scene/geometry/moxmesh.h"
#include "scene/geometry/detail/moxtangentbasis.h"
#include "support/moxpatternedmemory.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

typedef MoxLayerElementArrayTemplate<MoxVector4> VectorArray;

const char* const sgMeshFile = "scene/geometry/moxmesh";
const char* const sgWorker = "GenerateTangentsData";

// ---- Fixture helpers ----------------------------------------------------------------------------------

// Layer 0 normals, one direct value per polygon vertex.
void SetCornerNormals(MoxMesh& pMesh, const std::vector<MoxVector4>& pNormals)
{
    pMesh.InitNormals(static_cast<int>(pNormals.size()));
    VectorArray* lArray = nullptr;
    ASSERT_TRUE(pMesh.GetNormals(&lArray));
    for (size_t i = 0; i < pNormals.size(); ++i) lArray->SetAt(static_cast<int>(i), pNormals[i]);
}

// The same normal at every polygon vertex.
void SetUniformNormals(MoxMesh& pMesh, const MoxVector4& pNormal)
{
    SetCornerNormals(pMesh, std::vector<MoxVector4>(pMesh.GetPolygonVertexCount(), pNormal));
}

// A UV set on layer pLayer (created when missing), channel pChannel: per polygon vertex, index to direct.
MoxLayerElementUV* AddUVSet(MoxMesh& pMesh, const std::vector<MoxVector2>& pValues, const std::vector<int>& pIndices,
                            const char* pName = "", int pLayer = 0,
                            MoxLayerElement::EType pChannel = MoxLayerElement::eTextureChannel0)
{
    while (pMesh.GetLayerCount() <= pLayer) pMesh.CreateLayer();
    MoxLayerElementUV* lUVs = MoxLayerElementUV::Create(&pMesh, pName);
    lUVs->SetMappingMode(MoxLayerElement::eByPolygonVertex);
    lUVs->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    for (const MoxVector2& lValue : pValues) lUVs->mDirectArray->Add(lValue);
    for (int lIndex : pIndices) lUVs->mIndexArray->Add(lIndex);
    pMesh.GetLayer(pLayer)->SetUVs(lUVs, pChannel);
    return lUVs;
}

std::vector<MoxVector4> Values(const VectorArray* pArray)
{
    std::vector<MoxVector4> lValues;
    for (int i = 0; pArray && i < pArray->GetCount(); ++i) lValues.push_back(pArray->GetAt(i));
    return lValues;
}

std::vector<MoxVector4> Tangents(const MoxMesh& pMesh, int pLayer = 0)
{
    VectorArray* lArray = nullptr;
    pMesh.GetTangents(&lArray, pLayer);
    return Values(lArray);
}

std::vector<MoxVector4> Binormals(const MoxMesh& pMesh, int pLayer = 0)
{
    VectorArray* lArray = nullptr;
    pMesh.GetBinormals(&lArray, pLayer);
    return Values(lArray);
}

bool SameBits(const MoxVector4& pA, const MoxVector4& pB)
{
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): the bits are compared on purpose
    return std::memcmp(pA.mData, pB.mData, sizeof(pA.mData)) == 0;
}

using moxtest::ExpectVector;

// A welded result: the sum normalised, w from the sign of the summed w.
MoxVector4 Finished(MoxVector4 pSum)
{
    pSum.Normalize();
    pSum[3] = pSum[3] < 0.0 ? -1.0 : 1.0;
    return pSum;
}

struct TriangleFrames {
    MoxVector4 mTangents[3];
    MoxVector4 mBinormals[3];
};

TriangleFrames FramesOf(const MoxVector4 (&pPositions)[3], const MoxVector4 (&pNormals)[3], const MoxVector2 (&pUVs)[3])
{
    TriangleFrames lFrames;
    ComputeTangentsForTriangle(lFrames.mTangents, lFrames.mBinormals, pPositions, pNormals, pUVs);
    return lFrames;
}

// ---- The literal algorithm, as the oracle ------------------------------------------------------------

struct OracleRecord {
    bool mPending = false;
    int mGroup = -1;
    int mPolygon = -1;
    int mPolygonVertex = -1;
    int mUVIndex = -1;
    int mControlPoint = -1;
    MoxVector4 mNormal, mTangent, mBinormal;
};

// The worker exactly as written, with the working-memory decisions of the library: records of a control
// point outside the list range are dropped, results outside the locked arrays are not written. Lists are
// welded by the pairwise group assignment, later matches overwriting earlier ones.
class OracleWorker {
public:
    OracleWorker(MoxMesh& pMesh, MoxLayerElementUV* pUVSet) : mMesh(pMesh), mUVSet(pUVSet) {}

    bool Run(int pLayer, bool pOverwrite, bool pIgnoreHandedness)
    {
        MoxLayer* lLayer0 = mMesh.GetLayer(0);
        if (!mUVSet || !lLayer0 || !lLayer0->GetNormals()) return false;
        if (!pOverwrite && lLayer0->GetTangents()) return true;
        mLists.assign(mMesh.GetControlPointsCount(), {});
        if (!(mMesh.IsTriangleMesh() ? TrianglePass() : FanPass())) return false;
        const int lCount = mMesh.GetPolygonVertexCount();
        mMesh.InitTangents(lCount, pLayer, mUVSet->GetName());
        VectorArray* lTangentArray = nullptr;
        mMesh.GetTangents(&lTangentArray, pLayer);
        mMesh.InitBinormals(lCount, pLayer, mUVSet->GetName());
        VectorArray* lBinormalArray = nullptr;
        mMesh.GetBinormals(&lBinormalArray, pLayer);
        for (std::vector<OracleRecord>& lList : mLists) Weld(lList, pIgnoreHandedness, lTangentArray, lBinormalArray);
        return true;
    }

private:
    bool ReadCorner(int pPolygon, int pCorner, MoxVector4& pPosition, MoxVector4& pNormal, MoxVector2& pUV)
    {
        const int lControlPoint = mMesh.GetPolygonVertex(pPolygon, pCorner);
        if (lControlPoint < 0) {
            _MoxAssert(sgMeshFile, sgWorker, __LINE__, "pv >= 0");
            return false;
        }
        pPosition = mMesh.GetControlPointAt(lControlPoint);
        pNormal = MoxVector4();
        mMesh.GetPolygonVertexNormal(pPolygon, pCorner, pNormal);
        mMesh.GetPolygonVertexLayerElementIndex(mUVSet, pPolygon, pCorner, mUVIndex);
        pUV = MoxVector2();
        bool lUnmapped = false;
        mMesh.GetPolygonVertexUV(pPolygon, pCorner, mUVSet->GetName(), pUV, lUnmapped);
        if (lUnmapped) pUV = MoxVector2();
        return true;
    }

    void AddRecord(const OracleRecord& pRecord)
    {
        if (pRecord.mControlPoint >= 0 && pRecord.mControlPoint < static_cast<int>(mLists.size()))
            mLists[pRecord.mControlPoint].push_back(pRecord);
    }

    bool TrianglePass()
    {
        std::vector<MoxVector4> lRawTangents(mMesh.GetPolygonVertexCount());
        std::vector<MoxVector4> lRawBinormals(mMesh.GetPolygonVertexCount());
        int k = 0;
        for (int p = 0; p < mMesh.GetPolygonCount(); ++p) {
            MoxVector4 lPositions[3];
            MoxVector4 lNormals[3];
            MoxVector2 lUVs[3];
            OracleRecord lRecords[3];
            for (int j = 0; j < 3; ++j) {
                if (!ReadCorner(p, j, lPositions[j], lNormals[j], lUVs[j])) return false;
                lRecords[j].mPending = true;
                lRecords[j].mPolygon = p;
                lRecords[j].mPolygonVertex = k;
                lRecords[j].mUVIndex = mUVIndex;
                lRecords[j].mControlPoint = mMesh.mPolygonVertices[k];
                ++k;
            }
            MoxVector4 lLocalTangents[3];
            MoxVector4 lLocalBinormals[3];
            const bool lInRaw = k <= mMesh.GetPolygonVertexCount();
            MoxVector4* lTangents = lInRaw ? &lRawTangents[k - 3] : lLocalTangents;
            MoxVector4* lBinormals = lInRaw ? &lRawBinormals[k - 3] : lLocalBinormals;
            ComputeTangentsForTriangle(lTangents, lBinormals, lPositions, lNormals, lUVs);
            for (int j = 0; j < 3; ++j) {
                lRecords[j].mNormal = lNormals[j];
                lRecords[j].mTangent = lTangents[j];
                lRecords[j].mBinormal = lBinormals[j];
                AddRecord(lRecords[j]);
            }
        }
        return true;
    }

    // The per-corner averages the fan pass keeps in its raw arrays never reach the result; left out.
    bool FanPass()
    {
        int k = 0;
        for (int p = 0; p < mMesh.GetPolygonCount(); ++p) {
            const int n = mMesh.GetPolygonSize(p) > 0 ? mMesh.GetPolygonSize(p) : 0;
            for (int t = 0; t < n - 2; ++t) {
                const int lCorners[3] = {0, t + 1, t + 2};
                MoxVector4 lPositions[3];
                MoxVector4 lNormals[3];
                MoxVector4 lTangents[3];
                MoxVector4 lBinormals[3];
                MoxVector2 lUVs[3];
                int lUVIndices[3];
                for (int c = 0; c < 3; ++c) {
                    if (!ReadCorner(p, lCorners[c], lPositions[c], lNormals[c], lUVs[c])) return false;
                    lUVIndices[c] = mUVIndex;
                }
                ComputeTangentsForTriangle(lTangents, lBinormals, lPositions, lNormals, lUVs);
                for (int c = 0; c < 3; ++c) {
                    if (t > 0 && c < 2) continue;
                    OracleRecord lRecord;
                    lRecord.mPending = true;
                    lRecord.mPolygon = p;
                    lRecord.mPolygonVertex = k + lCorners[c];
                    lRecord.mUVIndex = lUVIndices[c];
                    lRecord.mControlPoint = mMesh.mPolygonVertices[k + lCorners[c]];
                    lRecord.mNormal = lNormals[c];
                    lRecord.mTangent = lTangents[c];
                    lRecord.mBinormal = lBinormals[c];
                    AddRecord(lRecord);
                }
            }
            k += n - 2 > 0 ? n - 2 : 0;
            k += 2;
        }
        return true;
    }

    static void Weld(std::vector<OracleRecord>& pRecords, bool pIgnoreHandedness, VectorArray* pTangents,
                     VectorArray* pBinormals)
    {
        const int m = static_cast<int>(pRecords.size());
        int g = 0;
        for (int i = 0; i < m; ++i) {
            OracleRecord& a = pRecords[i];
            if (a.mGroup == -1) a.mGroup = g;
            for (int j = i + 1; j < m; ++j) {
                OracleRecord& b = pRecords[j];
                if (MoxEqual(a.mNormal, b.mNormal, 1e-06) && a.mUVIndex == b.mUVIndex &&
                    (a.mTangent[3] == b.mTangent[3] || pIgnoreHandedness))
                    b.mGroup = a.mGroup;
                if (b.mGroup == -1) b.mGroup = ++g;
            }
        }
        for (int i = 0; i < m; ++i) {
            OracleRecord& d = pRecords[i];
            if (!d.mPending) continue;
            MoxVector4 lTangent = d.mTangent;
            MoxVector4 lBinormal = d.mBinormal;
            for (int j = i + 1; j < m; ++j) {
                if (pRecords[j].mGroup != d.mGroup) continue;
                lTangent += pRecords[j].mTangent;
                lBinormal += pRecords[j].mBinormal;
                pRecords[j].mPending = false;
            }
            lTangent = Finished(lTangent);
            lBinormal = Finished(lBinormal);
            for (int j = i; j < m; ++j) {
                if (j > i && pRecords[j].mGroup != d.mGroup) continue;
                if (pTangents && pRecords[j].mPolygonVertex < pTangents->GetCount())
                    pTangents->SetAt(pRecords[j].mPolygonVertex, lTangent);
                if (pBinormals && pRecords[j].mPolygonVertex < pBinormals->GetCount())
                    pBinormals->SetAt(pRecords[j].mPolygonVertex, lBinormal);
            }
        }
    }

    MoxMesh& mMesh;
    MoxLayerElementUV* mUVSet;
    int mUVIndex = -1;
    std::vector<std::vector<OracleRecord>> mLists;
};

bool OracleForAllUVSets(MoxMesh& pMesh, bool pOverwrite, bool pIgnoreHandedness)
{
    bool lResult = pMesh.GetLayerCount() > 0;
    for (int i = 0; i < pMesh.GetLayerCount(); ++i)
        for (int c = MoxLayerElement::eTextureChannel0; c <= MoxLayerElement::eTextureChannel16; ++c) {
            MoxLayerElementUV* lUVs = pMesh.GetLayer(i)->GetUVs(static_cast<MoxLayerElement::EType>(c));
            if (!lUVs) continue;
            lResult = OracleWorker(pMesh, lUVs).Run(i, pOverwrite, pIgnoreHandedness);
            if (!lResult) break;
        }
    return lResult;
}

bool OracleByName(MoxMesh& pMesh, const char* pName, bool pOverwrite, bool pIgnoreHandedness)
{
    for (int i = 0; i < pMesh.GetLayerCount(); ++i)
        for (int c = MoxLayerElement::eTextureChannel0; c <= MoxLayerElement::eTextureChannel16; ++c) {
            MoxLayerElementUV* lUVs = pMesh.GetLayer(i)->GetUVs(static_cast<MoxLayerElement::EType>(c));
            if (lUVs && std::strcmp(lUVs->GetName(), pName ? pName : "") == 0)
                return OracleWorker(pMesh, lUVs).Run(i, pOverwrite, pIgnoreHandedness);
        }
    return false;
}

// ---- Random scenarios ---------------------------------------------------------------------------------

struct Scenario {
    moxtest::RandomMeshOptions mMeshOptions;
    int mCall = 0;  // 0 all UV sets, 1 by name, 2 by layer index, 3 worker with a UV set and a layer
    const char* mName = "";
    int mLayer = 0;
    int mUVLayer = 0;
    MoxLayerElement::EType mUVChannel = MoxLayerElement::eTextureChannel0;
    bool mOverwrite = true;
    bool mIgnoreHandedness = false;
};

// Normal components that sit close to one another: a few bases, steps of 2^-20 (weld) and 2^-19 (no
// weld), exact +-1e-06 offsets, cell borders, huge values and non-finite ones.
double RandomComponent(std::mt19937& pRandom, int pStyle)
{
    auto lPick = [&pRandom](int pCount) { return std::uniform_int_distribution<int>(0, pCount - 1)(pRandom); };
    static const double sgBases[] = {0.0, 1.0, -1.0, 0.6, 0.8, 0.5 - 0.5 / 262144.0, 3.0 / 262144.0};
    double lValue = sgBases[lPick(7)];
    switch (lPick(pStyle == 0 ? 4 : 8)) {
        case 0:
            break;
        case 1:
            lValue += (lPick(7) - 3) * std::ldexp(1.0, -20);
            break;
        case 2:
            lValue += (lPick(3) - 1) * 1e-06;
            break;
        case 3:
            lValue += (lPick(5) - 2) * 0.5e-06;
            break;
        case 4:
            lValue = 17179869184.0 + (lPick(3) - 1) * std::ldexp(1.0, -18);
            break;
        case 5:
            lValue = std::ldexp(1.0, 34) - std::ldexp(1.0, -19) * lPick(3);
            break;
        case 6:
            lValue = lPick(2) ? std::nan("") : HUGE_VAL;
            break;
        default:
            lValue = std::uniform_real_distribution<double>(-1.0, 1.0)(pRandom);
            break;
    }
    return lValue;
}

MoxVector4 RandomNormal(std::mt19937& pRandom, int pStyle)
{
    return MoxVector4(RandomComponent(pRandom, pStyle), RandomComponent(pRandom, pStyle),
                      RandomComponent(pRandom, pStyle), std::uniform_int_distribution<int>(0, 9)(pRandom) ? 1.0 : 0.0);
}

// Normals on layer 0, in one of several modes (some of them make the lookups fail and report).
void AddRandomNormals(MoxMesh& pMesh, std::mt19937& pRandom, int pStyle)
{
    auto lPick = [&pRandom](int pCount) { return std::uniform_int_distribution<int>(0, pCount - 1)(pRandom); };
    const int lMode = lPick(10);
    std::vector<MoxVector4> lPalette;
    // Later entries are often an earlier one moved by a step near the tolerance: chains of near-equal normals.
    for (int i = 0, n = 1 + lPick(6); i < n; ++i) {
        if (i == 0 || lPick(2)) {
            lPalette.push_back(RandomNormal(pRandom, pStyle));
            continue;
        }
        MoxVector4 lNormal = lPalette[lPick(i)];
        lNormal[lPick(4)] += lPick(2) ? (lPick(5) - 2) * std::ldexp(1.0, -20) : (lPick(3) - 1) * 1e-06;
        lPalette.push_back(lNormal);
    }
    const int lVertexCount = pMesh.GetPolygonVertexCount();
    if (lMode == 9) return;  // no normals: every worker fails
    pMesh.InitNormals(lVertexCount > 0 ? lVertexCount : 1);
    MoxLayerElementNormal* lNormals = pMesh.GetLayer(0)->GetNormals();
    lNormals->mDirectArray->Clear();
    if (lMode <= 5) {  // per polygon vertex, direct
        for (int i = 0; i < lVertexCount; ++i) lNormals->mDirectArray->Add(lPalette[lPick(int(lPalette.size()))]);
    } else if (lMode == 6) {  // per control point, direct, maybe short
        lNormals->SetMappingMode(MoxLayerElement::eByControlPoint);
        for (int i = 0, n = pMesh.GetControlPointsCount() - lPick(2); i < n; ++i)
            lNormals->mDirectArray->Add(lPalette[lPick(int(lPalette.size()))]);
    } else if (lMode == 7) {  // per polygon vertex through indices, some invalid
        lNormals->SetReferenceMode(MoxLayerElement::eIndexToDirect);
        for (const MoxVector4& lNormal : lPalette) lNormals->mDirectArray->Add(lNormal);
        for (int i = 0, n = lVertexCount - lPick(2); i < n; ++i)
            lNormals->mIndexArray->Add(lPick(12) == 0 ? lPick(3) - 1 + (lPick(2) ? int(lPalette.size()) + 1 : 0)
                                                      : lPick(int(lPalette.size())));
    } else {  // by mesh: unsupported
        lNormals->SetMappingMode(MoxLayerElement::eByMesh);
        lNormals->mDirectArray->Add(lPalette[0]);
    }
}

// A UV set in one of several modes.
void AddRandomUVSet(MoxMesh& pMesh, std::mt19937& pRandom, int pLayer, MoxLayerElement::EType pChannel)
{
    auto lPick = [&pRandom](int pCount) { return std::uniform_int_distribution<int>(0, pCount - 1)(pRandom); };
    static const char* const sgNames[] = {"", "map1", "map2"};
    std::vector<MoxVector2> lValues;
    for (int i = 0, n = 1 + lPick(8); i < n; ++i) lValues.emplace_back(lPick(5) * 0.25, lPick(5) * 0.25);
    const int lVertexCount = pMesh.GetPolygonVertexCount();
    std::vector<int> lIndices;
    const int lMode = lPick(8);
    for (int i = 0, n = lVertexCount - (lMode == 5 ? 1 : 0); i < n; ++i)
        lIndices.push_back(lPick(15) == 0 ? (lPick(2) ? -1 : int(lValues.size())) : lPick(int(lValues.size())));
    MoxLayerElementUV* lUVs = AddUVSet(pMesh, lValues, lIndices, sgNames[lPick(3)], pLayer, pChannel);
    if (lMode == 6) {
        lUVs->SetMappingMode(MoxLayerElement::eByControlPoint);
        lUVs->SetReferenceMode(MoxLayerElement::eDirect);
    } else if (lMode == 7) {
        lUVs->SetMappingMode(lPick(2) ? MoxLayerElement::eByPolygon : MoxLayerElement::eByMesh);
    }
}

// Occasional user edits that leave mIndex and mSize inconsistent.
void DisturbTopology(MoxMesh& pMesh, std::mt19937& pRandom)
{
    auto lPick = [&pRandom](int pCount) { return std::uniform_int_distribution<int>(0, pCount - 1)(pRandom); };
    if (pMesh.GetPolygonCount() == 0 || lPick(6) != 0) return;
    MoxMesh::PolygonDef& lPolygon = pMesh.mPolygons[lPick(pMesh.GetPolygonCount())];
    if (lPick(2))
        lPolygon.mSize += lPick(5) - 2;
    else
        lPolygon.mIndex += lPick(5) - 2;
}

// Builds the same scenario for the same seed; returns the call to make.
Scenario BuildScenario(MoxMesh& pMesh, unsigned pSeed)
{
    std::mt19937 lRandom(pSeed);
    auto lPick = [&lRandom](int pCount) { return std::uniform_int_distribution<int>(0, pCount - 1)(lRandom); };
    Scenario lScenario;
    moxtest::RandomMeshOptions& lOptions = lScenario.mMeshOptions;
    const int lShape = lPick(4);
    if (lShape == 0) {  // triangles only
        lOptions.mDegenerate = false;
        lOptions.mMaxPolygonSize = 3;
        lOptions.mMinPoints = 3;
    } else if (lShape == 1) {  // few points, many polygons: long lists per control point
        lOptions.mMinPoints = 3;
        lOptions.mMaxPoints = 6;
        lOptions.mMinPolygons = 60;
        lOptions.mMaxPolygons = 250;
        lOptions.mDegenerate = lPick(2) == 0;
        lOptions.mMaxPolygonSize = lPick(2) ? 3 : 5;
    }
    lOptions.mInvalidIndices = lPick(5) == 0;
    moxtest::MakeRandomMesh(pMesh, lRandom, lOptions);
    DisturbTopology(pMesh, lRandom);
    // Reads past the end then reach the array's zero scratch element rather than uninitialised capacity.
    pMesh.mPolygonVertices.Compact();
    const int lStyle = lPick(3);
    AddRandomNormals(pMesh, lRandom, lStyle);
    AddRandomUVSet(pMesh, lRandom, 0, MoxLayerElement::eTextureChannel0);
    if (lPick(3) == 0) AddRandomUVSet(pMesh, lRandom, 0, MoxLayerElement::eTextureChannel3);
    if (lPick(3) == 0) AddRandomUVSet(pMesh, lRandom, 1, MoxLayerElement::eTextureChannel0);
    if (lPick(6) == 0) pMesh.InitTangents(1, 0, "old");
    lScenario.mCall = lPick(4);
    static const char* const sgNames[] = {"", "map1", "map2", "none"};
    lScenario.mName = sgNames[lPick(4)];
    lScenario.mLayer = lPick(3);
    lScenario.mUVLayer = lPick(pMesh.GetLayerCount());
    lScenario.mUVChannel = lPick(2) ? MoxLayerElement::eTextureChannel0 : MoxLayerElement::eTextureChannel3;
    lScenario.mOverwrite = lPick(4) != 0;
    lScenario.mIgnoreHandedness = lPick(3) == 0;
    return lScenario;
}

bool RunLibrary(MoxMesh& pMesh, const Scenario& pScenario)
{
    switch (pScenario.mCall) {
        case 0:
            return pMesh.GenerateTangentsDataForAllUVSets(pScenario.mOverwrite, pScenario.mIgnoreHandedness);
        case 1:
            return pMesh.GenerateTangentsData(pScenario.mName, pScenario.mOverwrite, pScenario.mIgnoreHandedness);
        case 2:
            return pMesh.GenerateTangentsData(pScenario.mLayer, pScenario.mOverwrite, pScenario.mIgnoreHandedness);
        default:
            return pMesh.GenerateTangentsData(pMesh.GetLayer(pScenario.mUVLayer)->GetUVs(pScenario.mUVChannel),
                                              pScenario.mLayer, pScenario.mOverwrite, pScenario.mIgnoreHandedness);
    }
}

bool RunOracle(MoxMesh& pMesh, const Scenario& pScenario)
{
    switch (pScenario.mCall) {
        case 0:
            return OracleForAllUVSets(pMesh, pScenario.mOverwrite, pScenario.mIgnoreHandedness);
        case 1:
            return OracleByName(pMesh, pScenario.mName, pScenario.mOverwrite, pScenario.mIgnoreHandedness);
        case 2: {
            MoxLayer* lLayer = pMesh.GetLayer(pScenario.mLayer);
            return OracleWorker(pMesh, lLayer ? lLayer->GetUVs() : nullptr)
                .Run(pScenario.mLayer, pScenario.mOverwrite, pScenario.mIgnoreHandedness);
        }
        default:
            return OracleWorker(pMesh, pMesh.GetLayer(pScenario.mUVLayer)->GetUVs(pScenario.mUVChannel))
                .Run(pScenario.mLayer, pScenario.mOverwrite, pScenario.mIgnoreHandedness);
    }
}

struct Outcome {
    bool mResult = false;
    std::vector<std::string> mReports;   // file | function | message
    std::vector<std::string> mElements;  // per layer: tangent and binormal names, modes and counts
    std::vector<MoxVector4> mValues;
};

std::string ElementSummary(const MoxLayerElementTemplate<MoxVector4>* pElement)
{
    if (!pElement) return "none";
    return std::string(pElement->GetName()) + "/" + std::to_string(pElement->GetMappingMode()) + "/" +
           std::to_string(pElement->GetReferenceMode()) + "/" + std::to_string(pElement->mDirectArray->GetCount());
}

Outcome Capture(const MoxMesh& pMesh, bool pResult, const moxtest::ReportCapture& pReports)
{
    Outcome lOutcome;
    lOutcome.mResult = pResult;
    for (const moxtest::Report& lReport : pReports.Reports())
        lOutcome.mReports.push_back(lReport.mFile + "|" + lReport.mFunction + "|" + lReport.mMessage);
    for (int i = 0; i < pMesh.GetLayerCount(); ++i) {
        const MoxLayer* lLayer = pMesh.GetLayer(i);
        lOutcome.mElements.push_back(ElementSummary(lLayer->GetTangents()) + " " +
                                     ElementSummary(lLayer->GetBinormals()));
        for (const MoxVector4& lValue : Tangents(pMesh, i)) lOutcome.mValues.push_back(lValue);
        for (const MoxVector4& lValue : Binormals(pMesh, i)) lOutcome.mValues.push_back(lValue);
    }
    return lOutcome;
}

// The scenario's call on the library's mesh and on the oracle's, with the same outcome; a mesh well-formed
// before the call is still well-formed after it.
void CompareCall(MoxMesh& pMesh, MoxMesh& pOracleMesh, const Scenario& pScenario, const std::string& pWhat)
{
    Outcome lLibrary;
    Outcome lOracle;
    const bool lWellFormed = pMesh.IsWellFormed();
    {
        const moxtest::PatternedMalloc lPattern;
        moxtest::ReportCapture lReports;
        const bool lResult = RunLibrary(pMesh, pScenario);
        lLibrary = Capture(pMesh, lResult, lReports);
    }
    EXPECT_TRUE(!lWellFormed || pMesh.IsWellFormed()) << pWhat;
    {
        moxtest::ReportCapture lReports;
        const bool lResult = RunOracle(pOracleMesh, pScenario);
        lOracle = Capture(pOracleMesh, lResult, lReports);
    }
    EXPECT_EQ(lLibrary.mResult, lOracle.mResult) << pWhat;
    EXPECT_EQ(lLibrary.mReports, lOracle.mReports) << pWhat;
    EXPECT_EQ(lLibrary.mElements, lOracle.mElements) << pWhat;
    ASSERT_EQ(lLibrary.mValues.size(), lOracle.mValues.size()) << pWhat;
    for (size_t i = 0; i < lLibrary.mValues.size(); ++i)
        ASSERT_TRUE(SameBits(lLibrary.mValues[i], lOracle.mValues[i])) << pWhat << " value " << i;
}

// Every tangent and binormal value of pMesh, and the storage past them, filled with the pattern.
void FillOutputsWithPattern(MoxMesh& pMesh)
{
    for (int i = 0; i < pMesh.GetLayerCount(); ++i) {
        VectorArray* lArray = nullptr;
        pMesh.GetTangents(&lArray, i);
        moxtest::FillWithPattern(lArray);
        lArray = nullptr;
        pMesh.GetBinormals(&lArray, i);
        moxtest::FillWithPattern(lArray);
    }
}

// Library and oracle on two meshes built from the same seed; then the same call once more, which writes
// over the elements the first one left, their values and the storage past them first filled with a
// pattern on both meshes (the library's calls also take fresh blocks filled with it): a value that the
// library leaves unwritten where the oracle writes one keeps the pattern.
void CompareWithOracle(unsigned pSeed)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh("library");
    MoxMesh* lOracleMesh = lScope.NewMesh("oracle");
    const Scenario lScenario = BuildScenario(*lMesh, pSeed);
    BuildScenario(*lOracleMesh, pSeed);
    CompareCall(*lMesh, *lOracleMesh, lScenario, "seed " + std::to_string(pSeed));
    if (::testing::Test::HasFatalFailure()) return;
    FillOutputsWithPattern(*lMesh);
    FillOutputsWithPattern(*lOracleMesh);
    CompareCall(*lMesh, *lOracleMesh, lScenario, "seed " + std::to_string(pSeed) + ", again");
}

TEST(MoxMeshTangents, MatchesLiteralAlgorithmOnRandomMeshes)
{
    for (unsigned lSeed = 1; lSeed <= 600; ++lSeed) {
        CompareWithOracle(lSeed);
        if (HasFatalFailure()) return;
    }
}

// ---- Fans around one apex (long lists) ---------------------------------------------------------------

// pCount triangles (0, i, i + 1) around apex 0; apex normals from pApexNormal, rim normals (0, 0, 1); UV
// index of the apex from pApexUV.
template <class NORMAL, class UV>
void MakeApexFan(MoxMesh& pMesh, int pCount, NORMAL pApexNormal, UV pApexUV)
{
    std::vector<moxtest::Point> lPoints{{0, 0, 0}};
    std::vector<std::vector<int>> lPolygons;
    for (int i = 0; i <= pCount; ++i) {
        const double lAngle = 6.0 * i / pCount;
        lPoints.push_back({std::cos(lAngle), std::sin(lAngle), 0.1 * std::sin(7.0 * lAngle)});
    }
    for (int i = 1; i <= pCount; ++i) lPolygons.push_back({0, i, i + 1});
    moxtest::BuildMesh(pMesh, lPoints, lPolygons);
    std::vector<MoxVector4> lNormals;
    std::vector<MoxVector2> lUVValues;
    std::vector<int> lUVIndices;
    for (int i = 0; i <= pCount + 1; ++i) lUVValues.emplace_back(lPoints[i].mX, lPoints[i].mY * (i % 5 ? 1 : -1));
    for (int t = 0; t < pCount; ++t) {
        lNormals.push_back(pApexNormal(t));
        lNormals.emplace_back(0, 0, 1);
        lNormals.emplace_back(0, 0, 1);
        lUVIndices.push_back(pApexUV(t));
        lUVIndices.push_back(t + 1);
        lUVIndices.push_back(t + 2);
    }
    SetCornerNormals(pMesh, lNormals);
    AddUVSet(pMesh, lUVValues, lUVIndices);
}

// Apex normals of one of three kinds, all built so that welds are order-dependent and not transitive:
// 0 a chain 2^-20 apart along x with jumps of 1e-06 along y; 1 a lattice around a grid-cell border with
// spacings of 0.9e-06, 1e-06 and 1.1e-06; 2 huge components (near 2^34) and a few non-finite ones.
MoxVector4 RandomApexNormal(std::mt19937& pRandom, int pKind)
{
    auto lPick = [&pRandom](int pCount) { return std::uniform_int_distribution<int>(0, pCount - 1)(pRandom); };
    if (pKind == 0) return MoxVector4(0.25 + (lPick(13) - 6) * std::ldexp(1.0, -20), lPick(4) * 1e-06, 1.0, 1.0);
    if (pKind == 1) {
        static const double sgSpacings[] = {0.9e-06, 1e-06, 1.1e-06};
        const double lBorder = 0.5 / 262144.0;  // a cell border of the weld grid
        MoxVector4 lNormal(lBorder, 1.0 - lBorder, 0.0, 1.0);
        for (int i = 0; i < 3; ++i) lNormal[i] += (lPick(7) - 3) * sgSpacings[lPick(3)];
        return lNormal;
    }
    const double lHuge = std::ldexp(1.0, 34);
    MoxVector4 lNormal(lHuge + (lPick(3) - 1) * std::ldexp(1.0, -18), lHuge - lPick(3) * std::ldexp(1.0, -19),
                       lPick(3) * 1e-06, 1.0);
    if (lPick(20) == 0) lNormal[lPick(4)] = lPick(2) ? std::nan("") : -HUGE_VAL;
    return lNormal;
}

void CompareFanWithOracle(int pCount, unsigned pSeed, bool pIgnoreHandedness)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMeshes[2] = {lScope.NewMesh("library"), lScope.NewMesh("oracle")};
    for (MoxMesh* lMesh : lMeshes) {
        std::mt19937 lRandom(pSeed);
        auto lNormal = [&lRandom, pSeed](int) { return RandomApexNormal(lRandom, static_cast<int>(pSeed % 3)); };
        auto lUV = [&lRandom](int) { return std::uniform_int_distribution<int>(0, 2)(lRandom) ? 0 : 1; };
        MakeApexFan(*lMesh, pCount, lNormal, lUV);
    }
    ASSERT_TRUE(lMeshes[0]->IsWellFormed());
    ASSERT_TRUE(lMeshes[0]->GenerateTangentsDataForAllUVSets(true, pIgnoreHandedness));
    EXPECT_TRUE(lMeshes[0]->IsWellFormed());
    ASSERT_TRUE(OracleForAllUVSets(*lMeshes[1], true, pIgnoreHandedness));
    const std::vector<MoxVector4> lTangents = Tangents(*lMeshes[0]);
    const std::vector<MoxVector4> lOracleTangents = Tangents(*lMeshes[1]);
    const std::vector<MoxVector4> lBinormals = Binormals(*lMeshes[0]);
    const std::vector<MoxVector4> lOracleBinormals = Binormals(*lMeshes[1]);
    ASSERT_EQ(lTangents.size(), lOracleTangents.size());
    for (size_t i = 0; i < lTangents.size(); ++i) {
        ASSERT_TRUE(SameBits(lTangents[i], lOracleTangents[i])) << pSeed << " " << i;
        ASSERT_TRUE(SameBits(lBinormals[i], lOracleBinormals[i])) << pSeed << " " << i;
    }
}

// Apex lists of 1 to 40 corners (scanned directly) and of 41 to 540 (through the grid).
TEST(MoxMeshTangents, ApexListsMatchLiteralAlgorithm)
{
    for (unsigned lSeed = 1; lSeed <= 300; ++lSeed) {
        const int lCount = lSeed <= 150 ? 1 + static_cast<int>(lSeed % 40) : 41 + static_cast<int>(lSeed * 37 % 500);
        CompareFanWithOracle(lCount, lSeed, lSeed % 5 == 0);
        if (HasFatalFailure()) return;
    }
}

// ---- Edge cases ---------------------------------------------------------------------------------------

TEST(MoxMeshTangents, UnitSquareGetsAxisFrameAtEveryCorner)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    SetUniformNormals(*lMesh, MoxVector4(0, 0, 1));
    AddUVSet(*lMesh, {{0, 0}, {1, 0}, {1, 1}, {0, 1}}, {0, 1, 2, 3}, "map");
    ASSERT_TRUE(lMesh->GenerateTangentsData("map"));
    const std::vector<MoxVector4> lTangents = Tangents(*lMesh);
    const std::vector<MoxVector4> lBinormals = Binormals(*lMesh);
    ASSERT_EQ(lTangents.size(), 4u);
    ASSERT_EQ(lBinormals.size(), 4u);
    for (int i = 0; i < 4; ++i) {
        ExpectVector(lTangents[i], 1, 0, 0, 1);
        ExpectVector(lBinormals[i], 0, 1, 0, 1);
    }
    const MoxLayerElementTangent* lElement = lMesh->GetLayer(0)->GetTangents();
    EXPECT_STREQ(lElement->GetName(), "map");
    EXPECT_EQ(lElement->GetMappingMode(), MoxLayerElement::eByPolygonVertex);
    EXPECT_EQ(lElement->GetReferenceMode(), MoxLayerElement::eDirect);
    EXPECT_STREQ(lMesh->GetLayer(0)->GetBinormals()->GetName(), "map");
}

// Quads A (0, 1, 4, 3) with u = x and B (1, 2, 5, 4) with u = 2 - x share the edge 1-4 and the UV values
// (and indices) along it; only the handedness tells them apart.
void MakeMirroredQuads(MoxMesh& pMesh)
{
    moxtest::BuildMesh(pMesh, {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {0, 1, 0}, {1, 1, 0}, {2, 1, 0}},
                       {{0, 1, 4, 3}, {1, 2, 5, 4}});
    SetUniformNormals(pMesh, MoxVector4(0, 0, 1));
    // UV values: 0 (0,0), 1 (1,0), 2 (1,1), 3 (0,1).
    AddUVSet(pMesh, {{0, 0}, {1, 0}, {1, 1}, {0, 1}}, {0, 1, 2, 3, 1, 0, 3, 2});
}

TEST(MoxMeshTangents, MirroredQuadsKeepTwoTangentsAtSharedPoints)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakeMirroredQuads(*lMesh);
    ASSERT_TRUE(lMesh->GenerateTangentsData(0));
    const std::vector<MoxVector4> lTangents = Tangents(*lMesh);
    const std::vector<MoxVector4> lBinormals = Binormals(*lMesh);
    for (int i = 0; i < 4; ++i) ExpectVector(lTangents[i], 1, 0, 0, 1);
    for (int i = 4; i < 8; ++i) ExpectVector(lTangents[i], -1, 0, 0, -1);
    for (int i = 0; i < 8; ++i) ExpectVector(lBinormals[i], 0, 1, 0, 1);
}

TEST(MoxMeshTangents, MirroredQuadsIgnoringHandednessAverageToZeroSumWithPlusOne)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakeMirroredQuads(*lMesh);
    ASSERT_TRUE(lMesh->GenerateTangentsData(0, true, true));
    const std::vector<MoxVector4> lTangents = Tangents(*lMesh);
    const std::vector<MoxVector4> lBinormals = Binormals(*lMesh);
    // Polygon vertices 1, 2 (quad A) and 4, 7 (quad B) sit on the shared points 1 and 4: (1,0,0,1) and
    // (-1,0,0,-1) sum to zero, which Normalize leaves as it is, and a summed w of 0 counts as +1.0.
    for (int i : {1, 2, 4, 7}) ExpectVector(lTangents[i], 0, 0, 0, 1);
    for (int i : {0, 3}) ExpectVector(lTangents[i], 1, 0, 0, 1);
    for (int i : {5, 6}) ExpectVector(lTangents[i], -1, 0, 0, -1);
    for (int i = 0; i < 8; ++i) ExpectVector(lBinormals[i], 0, 1, 0, 1);
}

TEST(MoxMeshTangents, IgnoredHandednessTakesSignOfSummedW)
{
    // Three triangles around point 0, the third with mirrored u; all share point 0's UV index 0.
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {0, -1, 0}},
                       {{0, 1, 2}, {0, 2, 3}, {0, 4, 1}});
    SetUniformNormals(*lMesh, MoxVector4(0, 0, 1));
    // u = x, v = y, except triangle 2 with u = -x.
    AddUVSet(*lMesh, {{0, 0}, {1, 0}, {0, 1}, {-1, 0}, {0, -1}}, {0, 1, 2, 0, 2, 3, 0, 4, 3});
    ASSERT_TRUE(lMesh->GenerateTangentsData(0, true, true));
    const std::vector<MoxVector4> lTangents = Tangents(*lMesh);
    // At point 0: (1,0,0,1) twice and (-1,0,0,-1): x sums to 1, w to 1.
    for (int i : {0, 3, 6}) ExpectVector(lTangents[i], 1, 0, 0, 1);
    ASSERT_TRUE(lMesh->GenerateTangentsData(0, true, false));
    ExpectVector(Tangents(*lMesh)[6], -1, 0, 0, -1);
}

TEST(MoxMeshTangents, ExistingTangentsOnLayerZeroStopEveryCallWithoutOverwrite)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    SetUniformNormals(*lMesh, MoxVector4(0, 0, 1));
    AddUVSet(*lMesh, {{0, 0}, {1, 0}, {1, 1}, {0, 1}}, {0, 1, 2, 3}, "first");
    AddUVSet(*lMesh, {{0, 0}, {1, 0}, {1, 1}, {0, 1}}, {0, 1, 2, 3}, "second", 0, MoxLayerElement::eTextureChannel2);
    AddUVSet(*lMesh, {{0, 0}, {1, 0}, {1, 1}, {0, 1}}, {0, 1, 2, 3}, "third", 1);
    ASSERT_TRUE(lMesh->GenerateTangentsDataForAllUVSets(false));
    // Only the first UV set was used; the others found tangents on layer 0 and returned true.
    EXPECT_STREQ(lMesh->GetLayer(0)->GetTangents()->GetName(), "first");
    EXPECT_EQ(lMesh->GetLayer(1)->GetTangents(), nullptr);
    EXPECT_EQ(lMesh->GetLayer(1)->GetBinormals(), nullptr);

    // Asked for layer 1 by name, still true and nothing changes.
    EXPECT_TRUE(lMesh->GenerateTangentsData("third", false));
    EXPECT_EQ(lMesh->GetLayer(1)->GetTangents(), nullptr);
    EXPECT_TRUE(lMesh->GenerateTangentsData(lMesh->GetLayer(1)->GetUVs(), 1, false));
    EXPECT_EQ(lMesh->GetLayer(1)->GetTangents(), nullptr);

    // With overwrite the same call fills layer 1.
    EXPECT_TRUE(lMesh->GenerateTangentsData("third", true));
    EXPECT_STREQ(lMesh->GetLayer(1)->GetTangents()->GetName(), "third");
    EXPECT_EQ(lMesh->GetLayer(1)->GetTangents()->mDirectArray->GetCount(), 4);
}

TEST(MoxMeshTangents, UnknownUVSetNameGivesFalse)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    SetUniformNormals(*lMesh, MoxVector4(0, 0, 1));
    AddUVSet(*lMesh, {{0, 0}}, {0, 0, 0, 0}, "map");
    EXPECT_FALSE(lMesh->GenerateTangentsData("other", true));
    EXPECT_EQ(lMesh->GetLayer(0)->GetTangents(), nullptr);
    // A null name compares as the empty name.
    EXPECT_FALSE(lMesh->GenerateTangentsData(static_cast<const char*>(nullptr), true));
    lMesh->GetLayer(0)->GetUVs()->SetName("");
    EXPECT_TRUE(lMesh->GenerateTangentsData(static_cast<const char*>(nullptr), true));
}

TEST(MoxMeshTangents, TriangleMeshGivesOneRecordPerCorner)
{
    // Triangles (0, 1, 2) and (2, 1, 3) share points 1 and 2 and their UV indices; normals agree.
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    ASSERT_TRUE(lMesh->IsTriangleMesh());
    SetUniformNormals(*lMesh, MoxVector4(0, 0, 1));
    const std::vector<MoxVector2> lUVs{{0, 0}, {1, 0}, {0, 1}, {1.5, 1}};
    AddUVSet(*lMesh, lUVs, {0, 1, 2, 2, 1, 3});
    ASSERT_TRUE(lMesh->GenerateTangentsData(0));

    const MoxVector4 lN[3] = {{0, 0, 1}, {0, 0, 1}, {0, 0, 1}};
    const TriangleFrames lA = FramesOf({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, lN, {lUVs[0], lUVs[1], lUVs[2]});
    const TriangleFrames lB = FramesOf({{0, 1, 0}, {1, 0, 0}, {1, 1, 0}}, lN, {lUVs[2], lUVs[1], lUVs[3]});
    const std::vector<MoxVector4> lTangents = Tangents(*lMesh);
    const std::vector<MoxVector4> lBinormals = Binormals(*lMesh);
    EXPECT_TRUE(SameBits(lTangents[0], Finished(lA.mTangents[0])));
    EXPECT_TRUE(SameBits(lTangents[1], Finished(lA.mTangents[1] + lB.mTangents[1])));
    EXPECT_TRUE(SameBits(lTangents[4], lTangents[1]));
    EXPECT_TRUE(SameBits(lTangents[2], Finished(lA.mTangents[2] + lB.mTangents[0])));
    EXPECT_TRUE(SameBits(lTangents[3], lTangents[2]));
    EXPECT_TRUE(SameBits(lTangents[5], Finished(lB.mTangents[2])));
    EXPECT_TRUE(SameBits(lBinormals[1], Finished(lA.mBinormals[1] + lB.mBinormals[1])));
    EXPECT_FALSE(SameBits(lTangents[0], lTangents[5]));
}

// Polygons of 0, 1 or 2 vertices make no records; the running index still moves by 2.
class SmallPolygonTest : public ::testing::TestWithParam<int> {};

TEST_P(SmallPolygonTest, RunningIndexMovesByTwo)
{
    const int lSize = GetParam();
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    std::vector<int> lSmall;
    lSmall.reserve(lSize);
    for (int i = 0; i < lSize; ++i) lSmall.push_back(i);
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}, {lSmall, {1, 3, 2}});
    lMesh->mPolygonVertices.Compact();
    // Tilted corner normals, so the triangle's three corners get different tangents.
    std::vector<MoxVector4> lNormals(lSize, MoxVector4(0, 0, 1));
    const MoxVector4 lTilted[3] = {{0.3, 0, 1}, {0, 0.3, 1}, {-0.3, 0, 1}};
    for (MoxVector4 lNormal : lTilted) {
        lNormal.Normalize();
        lNormals.push_back(lNormal);
    }
    SetCornerNormals(*lMesh, lNormals);
    std::vector<int> lUVIndices(lSize, 0);
    for (int i : {1, 3, 2}) lUVIndices.push_back(i);
    const std::vector<MoxVector2> lUVs{{0, 0}, {1, 0}, {0, 1}, {1, 1}};
    AddUVSet(*lMesh, lUVs, lUVIndices);

    moxtest::ReportCapture lReports;
    ASSERT_TRUE(lMesh->GenerateTangentsData(0));
    const MoxVector4 lNormalsOfTriangle[3] = {lNormals[lSize], lNormals[lSize + 1], lNormals[lSize + 2]};
    const TriangleFrames lFrames =
        FramesOf({{1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, lNormalsOfTriangle, {lUVs[1], lUVs[3], lUVs[2]});
    const std::vector<MoxVector4> lTangents = Tangents(*lMesh);
    ASSERT_EQ(static_cast<int>(lTangents.size()), lSize + 3);
    // The triangle's corners land at 2, 3, 4; with a polygon of 2 that is where they belong.
    for (int i = 0; i < 2 && i < lSize + 3; ++i) ExpectVector(lTangents[i], 0, 0, 0, 0);
    for (int c = 0; c < 3 && 2 + c < lSize + 3; ++c)
        EXPECT_TRUE(SameBits(lTangents[2 + c], Finished(lFrames.mTangents[c]))) << c;
    // Indices from lSize + 3 to 4 are past mPolygonVertices: their control point is read through the checked
    // access (0 from the scratch element), and their result is not written.
    const std::vector<std::string> lExpected(lSize < 2 ? 2 - lSize : 0, "Index is out of range!");
    EXPECT_EQ(lReports.Messages(), lExpected);
    for (const moxtest::Report& lReport : lReports.Reports()) {
        EXPECT_EQ(lReport.mFile, "core/base/moxarray");
        EXPECT_EQ(lReport.mFunction, "operator[]");
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, SmallPolygonTest, ::testing::Values(0, 1, 2));

TEST(MoxMeshTangents, NegativeControlPointReportsAndWritesNothing)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}, {{0, 1, 2, 3}, {1, 3, -2}});
    SetUniformNormals(*lMesh, MoxVector4(0, 0, 1));
    AddUVSet(*lMesh, {{0, 0}}, std::vector<int>(7, 0));
    moxtest::AllocationTracker lTracker;
    {
        moxtest::ReportCapture lReports;
        EXPECT_FALSE(lMesh->GenerateTangentsData(0, true));
        EXPECT_TRUE(lReports.HasOnly(sgMeshFile, sgWorker, "pv >= 0"));
    }
    EXPECT_EQ(lMesh->GetLayer(0)->GetTangents(), nullptr);
    EXPECT_EQ(lMesh->GetLayer(0)->GetBinormals(), nullptr);
    EXPECT_EQ(lTracker.Live(), 0);
    // The same through the triangle pass.
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}, {1, -1, 2}});
    SetUniformNormals(*lMesh, MoxVector4(0, 0, 1));
    AddUVSet(*lMesh, {{0, 0}}, std::vector<int>(6, 0));
    {
        moxtest::ReportCapture lReports;
        EXPECT_FALSE(lMesh->GenerateTangentsDataForAllUVSets(true));
        EXPECT_TRUE(lReports.HasOnly(sgMeshFile, sgWorker, "pv >= 0"));
    }
}

TEST(MoxMeshTangents, MissingInputsGiveFalse)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    EXPECT_FALSE(lMesh->GenerateTangentsDataForAllUVSets(true));  // no layer at all
    EXPECT_FALSE(lMesh->GenerateTangentsData(0, true));           // no layer 0
    moxtest::MakeQuad(*lMesh);                                    // makes layer 0
    EXPECT_TRUE(lMesh->GenerateTangentsDataForAllUVSets(true));   // no UV set: the initial true
    MoxLayerElementUV* lUVs = AddUVSet(*lMesh, {{0, 0}}, {0, 0, 0, 0});
    EXPECT_FALSE(lMesh->GenerateTangentsData(lUVs, 0, true));  // no normals
    EXPECT_FALSE(lMesh->GenerateTangentsDataForAllUVSets(true));
    SetUniformNormals(*lMesh, MoxVector4(0, 0, 1));
    EXPECT_FALSE(lMesh->GenerateTangentsData(nullptr, 0, true));
    EXPECT_FALSE(lMesh->GenerateTangentsData(1, true));  // no layer 1
    EXPECT_EQ(lMesh->GetLayer(0)->GetTangents(), nullptr);
    EXPECT_TRUE(lMesh->GenerateTangentsData(0, true));
}

// Without polygon vertices the outputs hold no value, however the inputs are mapped: the count of 0
// asks for no values, not for one per control point.
TEST(MoxMeshTangents, MeshWithoutPolygonVerticesGetsEmptyOutputs)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->InitControlPoints(3);
    lMesh->InitNormals(0);
    VectorArray* lNormals = nullptr;
    ASSERT_TRUE(lMesh->GetNormals(&lNormals));
    for (int i = 0; i < 3; ++i) lNormals->SetAt(i, MoxVector4(0, 0, 1));
    MoxLayerElementUV* lUVs = MoxLayerElementUV::Create(lMesh, "map1");
    lUVs->SetMappingMode(MoxLayerElement::eByControlPoint);
    lUVs->SetReferenceMode(MoxLayerElement::eDirect);
    for (int i = 0; i < 3; ++i) lUVs->mDirectArray->Add(MoxVector2(i, 0));
    lMesh->GetLayer(0)->SetUVs(lUVs, MoxLayerElement::eTextureChannel0);
    moxtest::ReportCapture lReports;
    EXPECT_TRUE(lMesh->GenerateTangentsData(lUVs, 0, true, false));
    EXPECT_EQ(lReports.Count(), 0u);
    const MoxLayerElementTangent* lTangents = lMesh->GetLayer(0)->GetTangents();
    const MoxLayerElementBinormal* lBinormals = lMesh->GetLayer(0)->GetBinormals();
    ASSERT_NE(lTangents, nullptr);
    ASSERT_NE(lBinormals, nullptr);
    typedef const MoxLayerElementTemplate<MoxVector4>* VectorElement;
    for (VectorElement lElement : {VectorElement(lTangents), VectorElement(lBinormals)}) {
        EXPECT_STREQ(lElement->GetName(), "map1");
        EXPECT_EQ(lElement->GetMappingMode(), MoxLayerElement::eByPolygonVertex);
        EXPECT_EQ(lElement->GetReferenceMode(), MoxLayerElement::eDirect);
        EXPECT_EQ(lElement->GetDirectArray().GetCount(), 0);
    }
}

TEST(MoxMeshTangents, AllUVSetsResultRules)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    SetUniformNormals(*lMesh, MoxVector4(0, 0, 1));
    // Layers without UV sets: the initial true.
    lMesh->CreateLayer();
    EXPECT_TRUE(lMesh->GenerateTangentsDataForAllUVSets(true));
    EXPECT_EQ(lMesh->GetLayer(0)->GetTangents(), nullptr);

    AddUVSet(*lMesh, {{0, 0}, {1, 0}, {1, 1}, {0, 1}}, {0, 1, 2, 3}, "a");
    AddUVSet(*lMesh, {{0, 0}, {1, 0}, {1, 1}, {0, 1}}, {0, 1, 2, 3}, "b", 0, MoxLayerElement::eTextureChannel1);
    AddUVSet(*lMesh, {{0, 0}, {1, 0}, {1, 1}, {0, 1}}, {0, 1, 2, 3}, "c", 1);
    // The first worker fails: the rest of layer 0 is skipped, layer 1 is still done, and its result counts.
    moxtest::AllocationTracker lTracker;
    moxtest::ReportCapture lReports;
    lTracker.FailAt(1);
    EXPECT_TRUE(lMesh->GenerateTangentsDataForAllUVSets(true));
    EXPECT_TRUE(lReports.HasOnly(sgMeshFile, sgWorker, "lTangents"));
    EXPECT_EQ(lMesh->GetLayer(0)->GetTangents(), nullptr);
    EXPECT_STREQ(lMesh->GetLayer(1)->GetTangents()->GetName(), "c");
    // Without failure every UV set runs in order: layer 0 ends with "b".
    EXPECT_TRUE(lMesh->GenerateTangentsDataForAllUVSets(true));
    EXPECT_STREQ(lMesh->GetLayer(0)->GetTangents()->GetName(), "b");
}

TEST(MoxMeshTangents, FailedAllocationsReportTheirArrayAndLeakNothing)
{
    const char* const lMessages[] = {"lTangents", "lBinormals", "lData", "lData", "lData"};
    for (int n = 1; n <= 5; ++n) {
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        // A fan of 40 triangles: the apex list is long enough to need the weld grid (the fifth allocation).
        MakeApexFan(
            *lMesh, 40, [](int) { return MoxVector4(0, 0, 1); }, [](int) { return 0; });
        moxtest::AllocationTracker lTracker;
        {
            moxtest::ReportCapture lReports;
            lTracker.FailAt(n);
            EXPECT_FALSE(lMesh->GenerateTangentsData(0, true)) << n;
            EXPECT_TRUE(lReports.HasOnly(sgMeshFile, sgWorker, lMessages[n - 1])) << n;
        }
        EXPECT_EQ(lMesh->GetLayer(0)->GetTangents(), nullptr);
        EXPECT_EQ(lTracker.Live(), 0) << n;
    }
}

TEST(MoxMeshTangents, AnyFailedAllocationIsSafe)
{
    for (int n = 1; n <= 40; ++n) {
        moxtest::AllocationTracker lTracker;
        {
            moxtest::ManagerScope lScope;
            MoxMesh* lMesh = lScope.NewMesh();
            MakeApexFan(
                *lMesh, 40, [](int) { return MoxVector4(0, 0, 1); }, [](int) { return 0; });
            moxtest::ReportCapture lReports;
            lTracker.FailAt(n);
            lMesh->GenerateTangentsDataForAllUVSets(true);
        }
        EXPECT_EQ(lTracker.Live(), 0) << n;
    }
}

// A missing binormal array is skipped; the tangents are still written. The binormal element is made
// missing by failing, one after the other, the allocations of the call.
TEST(MoxMeshTangents, MissingBinormalArrayStillWritesTangents)
{
    int lFound = 0;
    for (int n = 1; n <= 60; ++n) {
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        MakeMirroredQuads(*lMesh);
        moxtest::AllocationTracker lTracker;
        moxtest::ReportCapture lReports;
        lTracker.FailAt(n);
        const bool lResult = lMesh->GenerateTangentsData(0, true);
        lTracker.FailAt(0);
        VectorArray* lBinormals = nullptr;
        if (!lResult || (lMesh->GetBinormals(&lBinormals) && lBinormals->GetCount() == 8)) continue;
        const std::vector<MoxVector4> lTangents = Tangents(*lMesh);
        if (lTangents.size() != 8u) continue;  // the tangent array itself was refused
        ++lFound;
        for (int i = 0; i < 4; ++i) ExpectVector(lTangents[i], 1, 0, 0, 1);
        for (int i = 4; i < 8; ++i) ExpectVector(lTangents[i], -1, 0, 0, -1);
    }
    EXPECT_GT(lFound, 0);
}

// An unmapped UV (index -1) reads as (0, 0).
TEST(MoxMeshTangents, UnmappedUVReadsAsZero)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lUnmapped = lScope.NewMesh();
    MoxMesh* lZero = lScope.NewMesh();
    for (MoxMesh* lMesh : {lUnmapped, lZero}) {
        moxtest::MakeQuad(*lMesh);
        SetUniformNormals(*lMesh, MoxVector4(0, 0, 1));
    }
    const std::vector<MoxVector2> lValues{{0.2, 0.1}, {1, 0}, {1, 1}, {0, 1}, {0, 0}};
    AddUVSet(*lUnmapped, lValues, {0, 1, 2, -1});
    AddUVSet(*lZero, lValues, {0, 1, 2, 4});
    moxtest::ReportCapture lReports;
    ASSERT_TRUE(lUnmapped->GenerateTangentsData(0));
    ASSERT_TRUE(lZero->GenerateTangentsData(0));
    EXPECT_EQ(lReports.Count(), 0u);
    const std::vector<MoxVector4> lA = Tangents(*lUnmapped);
    const std::vector<MoxVector4> lB = Tangents(*lZero);
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(SameBits(lA[i], lB[i])) << i;
}

// A failed normal lookup reports (from the lookup) and the corner takes the normal (0, 0, 0, 0).
TEST(MoxMeshTangents, FailedNormalLookupReadsAsZero)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lFailing = lScope.NewMesh();
    MoxMesh* lZero = lScope.NewMesh();
    for (MoxMesh* lMesh : {lFailing, lZero}) {
        moxtest::MakeQuad(*lMesh);
        AddUVSet(*lMesh, {{0, 0}, {1, 0}, {1, 1}, {0, 1}}, {0, 1, 2, 3});
    }
    SetCornerNormals(*lZero, {{0, 0, 1}, {0, 0, 1}, {0, 0, 0, 0}, {0, 0, 1}});
    lFailing->InitNormals(4);
    MoxLayerElementNormal* lNormals = lFailing->GetLayer(0)->GetNormals();
    lNormals->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    lNormals->mDirectArray->SetCount(1);
    lNormals->mDirectArray->SetAt(0, MoxVector4(0, 0, 1));
    for (int lIndex : {0, 0, -1, 0}) lNormals->mIndexArray->Add(lIndex);
    {
        moxtest::ReportCapture lReports;
        ASSERT_TRUE(lFailing->GenerateTangentsData(0));
        // Position 2 is read by both fan triangles.
        EXPECT_EQ(lReports.Messages(), std::vector<std::string>(2, "index into DirectArray out-of-range"));
        for (const moxtest::Report& lReport : lReports.Reports()) {
            EXPECT_EQ(lReport.mFile, sgMeshFile);
            EXPECT_EQ(lReport.mFunction, "GetPolygonVertexLayerElementValue");
        }
    }
    ASSERT_TRUE(lZero->GenerateTangentsData(0));
    const std::vector<MoxVector4> lA = Tangents(*lFailing);
    const std::vector<MoxVector4> lB = Tangents(*lZero);
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(SameBits(lA[i], lB[i])) << i;
}

// A UV set whose mapping the lookups do not support: every index and UV lookup reports and fails, every
// corner has UV index -1 and UV (0, 0).
TEST(MoxMeshTangents, UnsupportedUVMappingReportsPerLookup)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    SetUniformNormals(*lMesh, MoxVector4(0, 0, 1));
    AddUVSet(*lMesh, {{0.5, 0.5}}, {0, 0, 0, 0})->SetMappingMode(MoxLayerElement::eByMesh);
    moxtest::ReportCapture lReports;
    ASSERT_TRUE(lMesh->GenerateTangentsData(0));
    // Two fan triangles of three corners, two lookups per corner.
    EXPECT_EQ(lReports.Messages(), std::vector<std::string>(12, "MappingMode not supported"));
    // Equal UVs: zero tangents with w = +1 everywhere.
    for (const MoxVector4& lTangent : Tangents(*lMesh)) ExpectVector(lTangent, 0, 0, 0, 1);
}

// UV values come from the first UV set bearing the name; the UV index from the set asked for.
TEST(MoxMeshTangents, UVValuesComeFromFirstSetOfThatName)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    SetUniformNormals(*lMesh, MoxVector4(0, 0, 1));
    AddUVSet(*lMesh, {{0, 0}, {1, 0}, {1, 1}, {0, 1}}, {0, 1, 2, 3}, "same");
    // Layer 1's own values run u along y; they are not the ones read.
    MoxLayerElementUV* lSecond = AddUVSet(*lMesh, {{0, 0}, {0, 1}, {1, 1}, {1, 0}}, {0, 1, 2, 3}, "same", 1);
    ASSERT_TRUE(lMesh->GenerateTangentsData(lSecond, 1, true));
    for (const MoxVector4& lTangent : Tangents(*lMesh, 1)) ExpectVector(lTangent, 1, 0, 0, 1);
}

// ---- Seams, mirrored islands, non-planar quads ---------------------------------------------------------

// Two quads side by side, (0, 1, 4, 3) and (1, 2, 5, 4), with UVs equal to x and y; point 1 is lifted in y so
// that the two sides of the edge 1-4 have different tangents.
const MoxVector4 sgStripPoints[6] = {{0, 0, 0}, {1, 0.3, 0}, {2, 0, 0}, {0, 1, 0}, {1, 1, 0}, {2, 1, 0}};

void MakeStrip(MoxMesh& pMesh, bool pSeam)
{
    std::vector<moxtest::Point> lPoints;
    for (const MoxVector4& lPoint : sgStripPoints) lPoints.push_back({lPoint[0], lPoint[1], lPoint[2]});
    moxtest::BuildMesh(pMesh, lPoints, {{0, 1, 4, 3}, {1, 2, 5, 4}});
    SetUniformNormals(pMesh, MoxVector4(0, 0, 1));
    // With a seam the right quad has its own UV values (6 and 7, equal to 1 and 4) for points 1 and 4.
    const std::vector<MoxVector2> lValues{{0, 0}, {1, 0}, {2, 0}, {0, 1}, {1, 1}, {2, 1}, {1, 0}, {1, 1}};
    if (pSeam)
        AddUVSet(pMesh, lValues, {0, 1, 4, 3, 6, 2, 5, 7});
    else
        AddUVSet(pMesh, lValues, {0, 1, 4, 3, 1, 2, 5, 4});
}

TEST(MoxMeshTangents, UVSeamKeepsEachSideItsOwnTangent)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lSeamed = lScope.NewMesh();
    MoxMesh* lJoined = lScope.NewMesh();
    MakeStrip(*lSeamed, true);
    MakeStrip(*lJoined, false);
    ASSERT_TRUE(lSeamed->GenerateTangentsData(0));
    ASSERT_TRUE(lJoined->GenerateTangentsData(0));
    const MoxVector4 lN[3] = {{0, 0, 1}, {0, 0, 1}, {0, 0, 1}};
    const MoxVector4* lP = sgStripPoints;
    // Left triangle 0 (0, 1, 4) gives points 1 and 4 their left frames; right triangle 0 (1, 2, 5) gives point
    // 1 its right frame and right triangle 1 (1, 5, 4) point 4.
    const TriangleFrames lLeft = FramesOf({lP[0], lP[1], lP[4]}, lN, {{0, 0}, {1, 0}, {1, 1}});
    const TriangleFrames lRight0 = FramesOf({lP[1], lP[2], lP[5]}, lN, {{1, 0}, {2, 0}, {2, 1}});
    const TriangleFrames lRight1 = FramesOf({lP[1], lP[5], lP[4]}, lN, {{1, 0}, {2, 1}, {1, 1}});
    const std::vector<MoxVector4> lSeamedTangents = Tangents(*lSeamed);
    const std::vector<MoxVector4> lJoinedTangents = Tangents(*lJoined);
    EXPECT_TRUE(SameBits(lSeamedTangents[1], Finished(lLeft.mTangents[1])));
    EXPECT_TRUE(SameBits(lSeamedTangents[4], Finished(lRight0.mTangents[0])));
    EXPECT_TRUE(SameBits(lSeamedTangents[2], Finished(lLeft.mTangents[2])));
    EXPECT_TRUE(SameBits(lSeamedTangents[7], Finished(lRight1.mTangents[2])));
    EXPECT_GT(lSeamedTangents[1][1], 0.1);
    EXPECT_LT(lSeamedTangents[4][1], -0.1);
    // Without the seam points 1 and 4 average both sides.
    EXPECT_TRUE(SameBits(lJoinedTangents[1], Finished(lLeft.mTangents[1] + lRight0.mTangents[0])));
    EXPECT_TRUE(SameBits(lJoinedTangents[4], lJoinedTangents[1]));
    EXPECT_TRUE(SameBits(lJoinedTangents[2], Finished(lLeft.mTangents[2] + lRight1.mTangents[2])));
    EXPECT_TRUE(SameBits(lJoinedTangents[7], lJoinedTangents[2]));
}

TEST(MoxMeshTangents, HardEdgeKeepsEachSideItsOwnTangent)
{
    // A roof: two quads meeting at the ridge 1-4 with their own face normals at the ridge.
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 1}, {2, 0, 0}, {0, 1, 0}, {1, 1, 1}, {2, 1, 0}},
                       {{0, 1, 4, 3}, {1, 2, 5, 4}});
    const double s = std::sqrt(0.5);
    const MoxVector4 lLeft(-s, 0, s);
    const MoxVector4 lRight(s, 0, s);
    SetCornerNormals(*lMesh, {lLeft, lLeft, lLeft, lLeft, lRight, lRight, lRight, lRight});
    AddUVSet(*lMesh, {{0, 0}, {1, 0}, {2, 0}, {0, 1}, {1, 1}, {2, 1}}, {0, 1, 4, 3, 1, 2, 5, 4});
    ASSERT_TRUE(lMesh->GenerateTangentsData(0));
    const std::vector<MoxVector4> lTangents = Tangents(*lMesh);
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(lTangents[i][0], s, 1e-15);
        EXPECT_NEAR(lTangents[i][2], s, 1e-15);
        EXPECT_EQ(lTangents[i][3], 1.0);
    }
    for (int i = 4; i < 8; ++i) {
        EXPECT_NEAR(lTangents[i][0], s, 1e-15);
        EXPECT_NEAR(lTangents[i][2], -s, 1e-15);
        EXPECT_EQ(lTangents[i][3], 1.0);
    }
}

TEST(MoxMeshTangents, NonPlanarQuadTakesFanTriangleFrames)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    const MoxVector4 lP[4] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0.5}, {0, 1, 0}};
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {1, 1, 0.5}, {0, 1, 0}}, {{0, 1, 2, 3}});
    MoxVector4 lNormals[4] = {{0, 0, 1}, {-0.2, 0, 1}, {-0.3, -0.3, 1}, {0, -0.2, 1}};
    for (MoxVector4& lNormal : lNormals) lNormal.Normalize();
    SetCornerNormals(*lMesh, {lNormals[0], lNormals[1], lNormals[2], lNormals[3]});
    const MoxVector2 lUV[4] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    AddUVSet(*lMesh, {lUV[0], lUV[1], lUV[2], lUV[3]}, {0, 1, 2, 3});
    ASSERT_TRUE(lMesh->GenerateTangentsData(0));
    const TriangleFrames lFirst =
        FramesOf({lP[0], lP[1], lP[2]}, {lNormals[0], lNormals[1], lNormals[2]}, {lUV[0], lUV[1], lUV[2]});
    const TriangleFrames lSecond =
        FramesOf({lP[0], lP[2], lP[3]}, {lNormals[0], lNormals[2], lNormals[3]}, {lUV[0], lUV[2], lUV[3]});
    const std::vector<MoxVector4> lTangents = Tangents(*lMesh);
    const std::vector<MoxVector4> lBinormals = Binormals(*lMesh);
    for (int c = 0; c < 3; ++c) {
        EXPECT_TRUE(SameBits(lTangents[c], Finished(lFirst.mTangents[c]))) << c;
        EXPECT_TRUE(SameBits(lBinormals[c], Finished(lFirst.mBinormals[c]))) << c;
    }
    EXPECT_TRUE(SameBits(lTangents[3], Finished(lSecond.mTangents[2])));
    EXPECT_TRUE(SameBits(lBinormals[3], Finished(lSecond.mBinormals[2])));
    for (int i = 0; i < 4; ++i) EXPECT_NEAR(lTangents[i].DotProduct(lNormals[i]), 0.0, 1e-15);
}

// ---- Properties on random meshes ----------------------------------------------------------------------

TEST(MoxMeshTangents, RandomTriangleMeshesGiveUnitPerpendicularTangentsWithUVHandedness)
{
    std::mt19937 lRandom(77);
    for (int lCase = 0; lCase < 100; ++lCase) {
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        moxtest::RandomMeshOptions lOptions;
        lOptions.mDegenerate = false;
        lOptions.mMaxPolygonSize = 3;
        lOptions.mMinPoints = 3;
        lOptions.mCoincidentPoints = false;
        moxtest::MakeRandomMesh(*lMesh, lRandom, lOptions);
        const int lCount = lMesh->GetPolygonVertexCount();
        // Without polygon vertices the elements are sized per control point; nothing to check there.
        if (lCount == 0) continue;
        // Random UVs per corner (shared per control point half of the time), face normals per corner.
        std::vector<MoxVector2> lUVValues;
        lUVValues.reserve(lMesh->GetControlPointsCount());
        for (int i = 0; i < lMesh->GetControlPointsCount(); ++i)
            lUVValues.emplace_back(std::uniform_real_distribution<double>(-1, 1)(lRandom),
                                   std::uniform_real_distribution<double>(-1, 1)(lRandom));
        std::vector<int> lUVIndices;
        std::vector<MoxVector4> lNormals;
        std::vector<double> lUVAreas;
        const bool lShared = lCase % 2 == 0;
        for (int p = 0; p < lMesh->GetPolygonCount(); ++p) {
            MoxVector4 lPoints[3];
            MoxVector2 lUVs[3];
            for (int j = 0; j < 3; ++j) {
                const int lPoint = lMesh->GetPolygonVertex(p, j);
                lPoints[j] = lMesh->GetControlPointAt(lPoint);
                if (!lShared) {
                    lUVValues.emplace_back(std::uniform_real_distribution<double>(-1, 1)(lRandom),
                                           std::uniform_real_distribution<double>(-1, 1)(lRandom));
                }
                lUVIndices.push_back(lShared ? lPoint : static_cast<int>(lUVValues.size()) - 1);
                lUVs[j] = lUVValues[lUVIndices.back()];
            }
            MoxVector4 lFace = (lPoints[1] - lPoints[0]).CrossProduct(lPoints[2] - lPoints[0]);
            lFace.Normalize();
            for (int j = 0; j < 3; ++j) lNormals.push_back(lFace);
            const double lArea = (lUVs[1][0] - lUVs[0][0]) * (lUVs[2][1] - lUVs[0][1]) -
                                 (lUVs[1][1] - lUVs[0][1]) * (lUVs[2][0] - lUVs[0][0]);
            for (int j = 0; j < 3; ++j) lUVAreas.push_back(lArea);
        }
        SetCornerNormals(*lMesh, lNormals);
        AddUVSet(*lMesh, lUVValues, lUVIndices);
        ASSERT_TRUE(lMesh->GenerateTangentsData(0, true));
        const std::vector<MoxVector4> lTangents = Tangents(*lMesh);
        const std::vector<MoxVector4> lBinormals = Binormals(*lMesh);
        ASSERT_EQ(static_cast<int>(lTangents.size()), lCount);
        for (int i = 0; i < lCount; ++i) {
            // Corners weld only with equal UV index and normals within 1e-06: the result stays perpendicular to
            // the corner's normal within that.
            if (lNormals[i].Length() < 0.5 || std::fabs(lUVAreas[i]) < 1e-3) continue;
            if (lTangents[i].Length() < 1e-9) continue;  // opposite tangents of one group cancelled
            EXPECT_NEAR(lTangents[i].Length(), 1.0, 1e-12);
            EXPECT_NEAR(lTangents[i].DotProduct(lNormals[i]), 0.0, 2e-6);
            EXPECT_NEAR(lBinormals[i].Length(), 1.0, 1e-12);
            EXPECT_EQ(lTangents[i][3], lUVAreas[i] > 0 ? 1.0 : -1.0) << lCase << " " << i;
        }
    }
}

}  // namespace
