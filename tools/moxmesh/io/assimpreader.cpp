#include "io/assimpreader.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdint>
#include <cstring>
#include <unordered_map>

#include <sys/stat.h>

#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <assimp/Importer.hpp>

#include "io/memorybudget.h"
#include "io/meshbuilder.h"
#include "io/toolerror.h"

namespace moxmeshtool {
namespace {

// A position's exact bit pattern, -0 taken as +0, so that equal coordinates weld and nothing else does.
struct PositionKey {
    uint32_t mBits[3];
    bool operator==(const PositionKey& pOther) const { return std::memcmp(mBits, pOther.mBits, sizeof mBits) == 0; }
};

struct PositionKeyHash {
    size_t operator()(const PositionKey& pKey) const
    {
        uint64_t lHash = 1469598103934665603ull;
        for (uint32_t lBits : pKey.mBits) lHash = (lHash ^ lBits) * 1099511628211ull;
        return static_cast<size_t>(lHash ^ (lHash >> 29));
    }
};

PositionKey KeyOf(const aiVector3D& pPosition)
{
    PositionKey lKey;
    const float lCoordinates[3] = {pPosition.x + 0.0f, pPosition.y + 0.0f, pPosition.z + 0.0f};  // -0 + 0 is +0
    std::memcpy(lKey.mBits, lCoordinates, sizeof lKey.mBits);
    return lKey;
}

// The scene's meshes with the place of their first vertex in the run of all vertices, mesh after mesh.
struct SceneVertices {
    std::vector<const aiMesh*> mMeshes;
    std::vector<size_t> mFirstVertex;
    size_t mCount = 0;
};

SceneVertices ListVertices(const aiScene& pScene)
{
    SceneVertices lVertices;
    for (unsigned i = 0; i < pScene.mNumMeshes; ++i) {
        if (!pScene.mMeshes[i]) continue;
        lVertices.mMeshes.push_back(pScene.mMeshes[i]);
        lVertices.mFirstVertex.push_back(lVertices.mCount);
        lVertices.mCount += pScene.mMeshes[i]->mNumVertices;
    }
    return lVertices;
}

// Control points: the distinct positions, in order of first appearance; pPointOf gets each vertex's.
void WeldPositions(const SceneVertices& pVertices, MeshData& pData, std::vector<int>& pPointOf)
{
    std::unordered_map<PositionKey, int, PositionKeyHash> lPoints;
    lPoints.reserve(pVertices.mCount);
    pPointOf.resize(pVertices.mCount);
    for (size_t m = 0; m < pVertices.mMeshes.size(); ++m) {
        const aiMesh& lMesh = *pVertices.mMeshes[m];
        for (unsigned v = 0; v < lMesh.mNumVertices; ++v) {
            const aiVector3D& lPosition = lMesh.mVertices[v];
            const auto lFound = lPoints.emplace(KeyOf(lPosition), static_cast<int>(lPoints.size()));
            if (lFound.second) pData.mPositions.insert(pData.mPositions.end(), {lPosition.x, lPosition.y, lPosition.z});
            pPointOf[pVertices.mFirstVertex[m] + v] = lFound.first->second;
        }
    }
}

// Polygons of 3 or more vertices, with their control points and materials; pCornerVertex gets the
// vertex (in the run of all vertices) of every polygon vertex. Returns the number of point and line
// primitives left out. Throws ToolError for a face index past its mesh's vertices.
size_t CopyFaces(const std::string& pPath, const aiScene& pScene, const SceneVertices& pVertices,
                 const std::vector<int>& pPointOf, MeshData& pData, std::vector<int>& pCornerVertex)
{
    size_t lSkipped = 0;
    for (size_t m = 0; m < pVertices.mMeshes.size(); ++m) {
        const aiMesh& lMesh = *pVertices.mMeshes[m];
        const int lMaterial = lMesh.mMaterialIndex < pScene.mNumMaterials ? static_cast<int>(lMesh.mMaterialIndex) : -1;
        for (unsigned f = 0; f < lMesh.mNumFaces; ++f) {
            const aiFace& lFace = lMesh.mFaces[f];
            if (lFace.mNumIndices < 3 || !lFace.mIndices) {
                ++lSkipped;
                continue;
            }
            for (unsigned k = 0; k < lFace.mNumIndices; ++k) {
                const unsigned lVertex = lFace.mIndices[k];
                if (lVertex >= lMesh.mNumVertices)
                    throw ToolError(pPath, "index out of range: a face of mesh " + std::to_string(m + 1) +
                                               " uses vertex " + std::to_string(uint64_t(lVertex) + 1) + " of " +
                                               std::to_string(lMesh.mNumVertices));
                pCornerVertex.push_back(static_cast<int>(pVertices.mFirstVertex[m] + lVertex));
                pData.mPolygonVertices.push_back(pPointOf[pCornerVertex.back()]);
            }
            pData.mPolygonSizes.push_back(static_cast<int>(lFace.mNumIndices));
            pData.mPolygonMaterials.push_back(lMaterial);
        }
    }
    return lSkipped;
}

// True when every mesh that has polygons satisfies pHas.
template <class HAS>
bool AllPolygonMeshes(const SceneVertices& pVertices, HAS pHas)
{
    return std::all_of(pVertices.mMeshes.begin(), pVertices.mMeshes.end(),
                       [&pHas](const aiMesh* pMesh) { return pMesh->mNumFaces == 0 || pHas(*pMesh); });
}

// A channel over all vertices: pWrite(mesh, vertex, out) writes the value of a vertex of a mesh that
// pHas accepts (the others keep zeros); a polygon vertex of such a mesh uses its vertex, the others none.
template <class HAS, class WRITE>
AttributeChannel MakeChannel(const SceneVertices& pVertices, const std::vector<int>& pCornerVertex, int pComponents,
                             HAS pHas, WRITE pWrite)
{
    AttributeChannel lChannel;
    lChannel.mComponents = pComponents;
    lChannel.mValues.assign(pVertices.mCount * pComponents, 0.0);
    std::vector<bool> lHasValue(pVertices.mCount, false);
    for (size_t m = 0; m < pVertices.mMeshes.size(); ++m) {
        const aiMesh& lMesh = *pVertices.mMeshes[m];
        if (!pHas(lMesh)) continue;
        for (unsigned v = 0; v < lMesh.mNumVertices; ++v) {
            const size_t lVertex = pVertices.mFirstVertex[m] + v;
            pWrite(lMesh, v, lChannel.mValues.data() + lVertex * pComponents);
            lHasValue[lVertex] = true;
        }
    }
    lChannel.mIndices.reserve(pCornerVertex.size());
    for (int lVertex : pCornerVertex) lChannel.mIndices.push_back(lHasValue[lVertex] ? lVertex : -1);
    return lChannel;
}

void CopyNormals(const SceneVertices& pVertices, const std::vector<int>& pCornerVertex, MeshData& pData,
                 std::vector<std::string>& pNotes)
{
    const auto lHas = [](const aiMesh& pMesh) { return pMesh.HasNormals(); };
    if (!AllPolygonMeshes(pVertices, lHas)) {
        if (!AllPolygonMeshes(pVertices, [](const aiMesh& pMesh) { return !pMesh.HasNormals(); }))
            pNotes.emplace_back("some meshes of the file have no normals: the file's normals are left out");
        return;
    }
    pData.mNormals = MakeChannel(pVertices, pCornerVertex, 3, lHas, [](const aiMesh& pMesh, unsigned pV, double* pOut) {
        const aiVector3D& lNormal = pMesh.mNormals[pV];
        pOut[0] = lNormal.x, pOut[1] = lNormal.y, pOut[2] = lNormal.z;
    });
}

// UV channel c of Assimp becomes UV set c, named after the file's name for it when there is one.
void CopyUVs(const SceneVertices& pVertices, const std::vector<int>& pCornerVertex, MeshData& pData)
{
    for (unsigned c = 0; c < AI_MAX_NUMBER_OF_TEXTURECOORDS; ++c) {
        const auto lHas = [c](const aiMesh& pMesh) { return pMesh.HasTextureCoords(c); };
        std::string lName = "uv" + std::to_string(c);
        bool lAny = false;
        for (const aiMesh* lMesh : pVertices.mMeshes) {
            if (!lHas(*lMesh)) continue;
            lAny = true;
            if (lMesh->mTextureCoordsNames && lMesh->mTextureCoordsNames[c] &&
                lMesh->mTextureCoordsNames[c]->length > 0)
                lName = lMesh->mTextureCoordsNames[c]->C_Str();
        }
        if (!lAny) break;
        pData.mUVSets.push_back(
            MakeChannel(pVertices, pCornerVertex, 2, lHas, [c](const aiMesh& pMesh, unsigned pV, double* pOut) {
                pOut[0] = pMesh.mTextureCoords[c][pV].x, pOut[1] = pMesh.mTextureCoords[c][pV].y;
            }));
        pData.mUVSets.back().mName = lName;
    }
}

// Tangents with their handedness in w: +1 when (normal x tangent) points along the bitangent.
void CopyTangents(const SceneVertices& pVertices, const std::vector<int>& pCornerVertex, MeshData& pData)
{
    const auto lHas = [](const aiMesh& pMesh) { return pMesh.HasNormals() && pMesh.HasTangentsAndBitangents(); };
    if (pData.mNormals.IsEmpty() || !AllPolygonMeshes(pVertices, lHas)) return;
    pData.mTangents =
        MakeChannel(pVertices, pCornerVertex, 4, lHas, [](const aiMesh& pMesh, unsigned pV, double* pOut) {
            const aiVector3D& lTangent = pMesh.mTangents[pV];
            const double lSide = (pMesh.mNormals[pV] ^ lTangent) * pMesh.mBitangents[pV];
            pOut[0] = lTangent.x, pOut[1] = lTangent.y, pOut[2] = lTangent.z, pOut[3] = lSide < 0.0 ? -1.0 : 1.0;
        });
}

void CopyMaterialNames(const aiScene& pScene, MeshData& pData)
{
    for (unsigned i = 0; i < pScene.mNumMaterials; ++i) {
        aiString lName;
        if (pScene.mMaterials[i]) pScene.mMaterials[i]->Get(AI_MATKEY_NAME, lName);
        pData.mMaterialNames.push_back(lName.length > 0 ? lName.C_Str() : "material" + std::to_string(i + 1));
    }
    if (pData.mMaterialNames.empty()) pData.mPolygonMaterials.clear();
}

// The memory Assimp may take to read a file of pBytes: far more than any honest file of that size needs.
constexpr size_t sgBudgetBase = size_t(2) << 30;
constexpr size_t sgBudgetPerByte = 64;

size_t FileSize(const std::string& pPath)
{
    struct stat lStatus;
    return stat(pPath.c_str(), &lStatus) == 0 ? static_cast<size_t>(lStatus.st_size) : 0;
}

// The part that Assimp's validation names in pError ("... The mesh NAME contains no vertices"); empty
// when pError is another complaint.
std::string EmptyPartOf(const std::string& pError)
{
    static const std::string sgBefore = "The mesh ";
    static const std::string sgAfter = " contains no vertices";
    const size_t lEnd = pError.find(sgAfter);
    const size_t lStart = pError.rfind(sgBefore, lEnd);
    if (lEnd == std::string::npos || lStart == std::string::npos) return {};
    return pError.substr(lStart + sgBefore.size(), lEnd - lStart - sgBefore.size());
}

// Assimp's reading, bounded by a memory budget (memorybudget.h); a file that asks for more is refused.
// Assimp's validation refuses a whole file for one empty part (an STL solid without facets, say): such
// a file is read again without it (reading leaves the empty parts out), with a note naming the part.
const aiScene* ReadScene(Assimp::Importer& pImporter, const std::string& pPath, const std::string& pFormat,
                         std::vector<std::string>& pNotes)
{
    const size_t lBudget = sgBudgetBase + sgBudgetPerByte * FileSize(pPath);
    const aiScene* lScene = nullptr;
    {
        MemoryBudget lLimit(lBudget);
        lScene = pImporter.ReadFile(pPath, aiProcess_PreTransformVertices | aiProcess_ValidateDataStructure);
        const std::string lEmptyPart = lScene ? std::string() : EmptyPartOf(pImporter.GetErrorString());
        if (!lEmptyPart.empty()) {
            lScene = pImporter.ReadFile(pPath, aiProcess_PreTransformVertices);
            if (lScene) pNotes.push_back("empty part left out: \"" + lEmptyPart + "\"");
        }
    }
    if (lScene) return lScene;
    const std::string lError = pImporter.GetErrorString();
    if (lError.find("bad_alloc") != std::string::npos)
        throw ToolError(pPath, "malformed " + pFormat + " file: it asks for more than " +
                                   std::to_string(lBudget >> 20) + " MiB of memory, more than a file of " +
                                   std::to_string(FileSize(pPath)) + " bytes can need");
    throw ToolError(pPath, "malformed " + pFormat + " file: " + lError);
}

}  // namespace

void ParseWithAssimp(const std::string& pPath, const std::string& pFormat, MeshData& pData,
                     std::vector<std::string>& pNotes)
{
    Assimp::Importer lImporter;
    ParseScene(*ReadScene(lImporter, pPath, pFormat, pNotes), pPath, pData, pNotes);
}

void ParseScene(const aiScene& pScene, const std::string& pPath, MeshData& pData, std::vector<std::string>& pNotes)
{
    const SceneVertices lVertices = ListVertices(pScene);
    if (lVertices.mCount > static_cast<size_t>(INT_MAX))
        throw ToolError(pPath, "too large: more than " + std::to_string(INT_MAX) + " vertices");
    pData = MeshData();
    std::vector<int> lPointOf;
    std::vector<int> lCornerVertex;
    WeldPositions(lVertices, pData, lPointOf);
    const size_t lSkipped = CopyFaces(pPath, pScene, lVertices, lPointOf, pData, lCornerVertex);
    if (lSkipped > 0)
        pNotes.push_back("not polygons, left out: " + std::to_string(lSkipped) +
                         (lSkipped == 1 ? " point or line primitive" : " point and line primitives"));
    if (pData.mPolygonSizes.empty())
        throw ToolError(pPath,
                        "no polygons: the file has " + std::to_string(lVertices.mCount) + " vertices and no faces");
    CopyNormals(lVertices, lCornerVertex, pData, pNotes);
    CopyUVs(lVertices, lCornerVertex, pData);
    CopyTangents(lVertices, lCornerVertex, pData);
    CopyMaterialNames(pScene, pData);

    const std::string lProblem = FindInconsistency(pData);
    if (!lProblem.empty()) throw ToolError(pPath, lProblem);
}

void ReadWithAssimp(const std::string& pPath, const std::string& pFormat, ManagedMesh& pTarget)
{
    MeshData lData;
    ParseWithAssimp(pPath, pFormat, lData, pTarget.mNotes);
    BuildMesh(lData, pTarget);
    pTarget.mFormat = pFormat + " (Assimp)";
}

bool AssimpReadsExtension(const std::string& pExtension)
{
    std::string lLower = pExtension;
    std::transform(lLower.begin(), lLower.end(), lLower.begin(),
                   [](unsigned char pChar) { return std::tolower(pChar); });
    return Assimp::Importer().IsExtensionSupported(lLower);
}

}  // namespace moxmeshtool
