// The moxmesh tool's own code between the reading libraries and the writer. The first byte picks a path:
// - OBJ: the rest of the input is an OBJ file's text, read through tinyobjloader and the tool's OBJ
//   reader (encodings, face sizes, the consistency check);
// - Assimp scene: the rest decodes into a scene as Assimp would hand it over (meshes with positions that
//   may repeat, normals, UVs, faces of any size with any indices, materials), welded into control points
//   with the consistency check.
// Whatever is read is built into a mesh (the mesh builder) and written as .glb and as .gltf into memory.
// The sanitizers are the oracle: nothing may crash, leak or read out of bounds; ToolError is a fine end.
#include <unistd.h>
#include <cstdint>
#include <cstdio>
#include <sstream>
#include <string>

#include "io/assimpreader.h"
#include "io/gltfwriter.h"
#include "io/managedmesh.h"
#include "io/meshbuilder.h"
#include "io/objreader.h"
#include "io/toolerror.h"
#include "support/moxfuzzinput.h"

namespace {

using moxfuzz::Input;
using namespace moxmeshtool;

// The OBJ file the text goes through (the reader takes a path), one per process.
const std::string& ObjPath()
{
    static const std::string sgPath = "/tmp/moxmesh_tool_fuzz_" + std::to_string(getpid()) + ".obj";
    return sgPath;
}

bool ParseObjText(const uint8_t* pData, size_t pSize, MeshData& pMesh)
{
    std::FILE* lFile = std::fopen(ObjPath().c_str(), "wb");
    if (!lFile) return false;
    std::fwrite(pData, 1, pSize, lFile);
    std::fclose(lFile);
    std::vector<std::string> lNotes;
    ParseObj(ObjPath(), pMesh, lNotes);
    return true;
}

// A coordinate: mostly small integers (so that positions repeat and weld), sometimes fractions, zero of
// either sign, or values that are not finite.
float AnyFloat(Input& pInput)
{
    const uint8_t lKind = pInput.Byte();
    if (lKind == 255) return 1.0f / 0.0f;
    if (lKind == 254) return 0.0f / 0.0f;
    if (lKind == 253) return -0.0f;
    return static_cast<float>(static_cast<int>(lKind % 8) - 3) / ((lKind & 64) ? 4.0f : 1.0f);
}

aiMesh* AnyMesh(Input& pInput, unsigned pMaterials)
{
    auto* lMesh = new aiMesh();
    lMesh->mNumVertices = static_cast<unsigned>(pInput.Below(24));
    lMesh->mVertices = new aiVector3D[lMesh->mNumVertices];
    const bool lNormals = pInput.Bool();
    const bool lUVs = pInput.Bool();
    if (lNormals) lMesh->mNormals = new aiVector3D[lMesh->mNumVertices];
    if (lUVs) {
        lMesh->mTextureCoords[0] = new aiVector3D[lMesh->mNumVertices];
        lMesh->mNumUVComponents[0] = 2;
    }
    for (unsigned v = 0; v < lMesh->mNumVertices; ++v) {
        lMesh->mVertices[v] = aiVector3D(AnyFloat(pInput), AnyFloat(pInput), AnyFloat(pInput));
        if (lNormals) lMesh->mNormals[v] = aiVector3D(AnyFloat(pInput), AnyFloat(pInput), AnyFloat(pInput));
        if (lUVs) lMesh->mTextureCoords[0][v] = aiVector3D(AnyFloat(pInput), AnyFloat(pInput), 0.0f);
    }
    lMesh->mNumFaces = static_cast<unsigned>(pInput.Below(16));
    lMesh->mFaces = new aiFace[lMesh->mNumFaces];
    for (unsigned f = 0; f < lMesh->mNumFaces; ++f) {
        aiFace& lFace = lMesh->mFaces[f];
        lFace.mNumIndices = static_cast<unsigned>(pInput.Below(7));
        lFace.mIndices = new unsigned[lFace.mNumIndices];
        for (unsigned k = 0; k < lFace.mNumIndices; ++k)
            lFace.mIndices[k] = static_cast<unsigned>(pInput.Below(static_cast<int>(lMesh->mNumVertices) + 2));
    }
    lMesh->mMaterialIndex = static_cast<unsigned>(pInput.Below(static_cast<int>(pMaterials) + 2));
    return lMesh;
}

void ParseAnyScene(Input& pInput, MeshData& pMesh)
{
    aiScene lScene;
    lScene.mNumMaterials = static_cast<unsigned>(pInput.Below(3));
    lScene.mMaterials = new aiMaterial*[lScene.mNumMaterials];
    for (unsigned i = 0; i < lScene.mNumMaterials; ++i) {
        lScene.mMaterials[i] = new aiMaterial();
        const aiString lName(pInput.Bool() ? std::string("m\xe6") + std::to_string(i) : std::string());
        lScene.mMaterials[i]->AddProperty(&lName, AI_MATKEY_NAME);
    }
    lScene.mNumMeshes = static_cast<unsigned>(pInput.Range(1, 3));
    lScene.mMeshes = new aiMesh*[lScene.mNumMeshes];
    for (unsigned m = 0; m < lScene.mNumMeshes; ++m) lScene.mMeshes[m] = AnyMesh(pInput, lScene.mNumMaterials);
    std::vector<std::string> lNotes;
    ParseScene(lScene, "scene", pMesh, lNotes);
}

void WriteIntoMemory(const MeshData& pData)
{
    ManagedMesh lMesh;
    BuildMesh(pData, lMesh);
    SceneSummary lSummary;
    std::ostringstream lGlb;
    WriteGlb(lMesh.Mesh(), "fuzz", lGlb, lSummary);
    std::ostringstream lJson;
    std::ostringstream lBin;
    WriteGltfText(lMesh.Mesh(), "fuzz", "fuzz.bin", lJson, lBin, lSummary);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t pSize)
{
    if (pSize == 0) return 0;
    MeshData lMesh;
    try {
        if (pData[0] % 2 == 0) {
            if (!ParseObjText(pData + 1, pSize - 1, lMesh)) return 0;
        } else {
            Input lInput(pData + 1, pSize - 1);
            ParseAnyScene(lInput, lMesh);
        }
        WriteIntoMemory(lMesh);
    } catch (const ToolError&) {}
    return 0;
}
