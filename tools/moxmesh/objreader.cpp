#include "objreader.h"

#include <cstdio>
#include <set>
#include <sstream>

#include <tiny_obj_loader.h>

#include "meshbuilder.h"
#include "toolerror.h"

namespace moxmeshtool {
namespace {

// How many of the reader's warnings become notes; the rest are counted.
constexpr size_t sgMaxWarnings = 5;

// The reader's warnings, each once, as notes.
void AddWarnings(const std::string& pWarnings, std::vector<std::string>& pNotes)
{
    std::istringstream lLines(pWarnings);
    std::set<std::string> lSeen;
    std::string lLine;
    size_t lMore = 0;
    while (std::getline(lLines, lLine)) {
        lLine = ToolError::OneLine(lLine);
        if (lLine.empty() || lLine == "." || !lSeen.insert(lLine).second) continue;
        if (lSeen.size() > sgMaxWarnings) {
            ++lMore;
            continue;
        }
        pNotes.push_back("tinyobjloader: " + lLine);
    }
    if (lMore > 0) pNotes.push_back("tinyobjloader: " + std::to_string(lMore) + " more warnings");
}

// Polygons, their control points and materials, shape after shape.
void CopyFaces(const tinyobj::ObjReader& pReader, MeshData& pData)
{
    const int lMaterialCount = static_cast<int>(pReader.GetMaterials().size());
    for (const tinyobj::shape_t& lShape : pReader.GetShapes()) {
        const tinyobj::mesh_t& lMesh = lShape.mesh;
        for (size_t lFace = 0; lFace < lMesh.num_face_vertices.size(); ++lFace) {
            pData.mPolygonSizes.push_back(lMesh.num_face_vertices[lFace]);
            const int lMaterial = lFace < lMesh.material_ids.size() ? lMesh.material_ids[lFace] : -1;
            pData.mPolygonMaterials.push_back(lMaterial >= 0 && lMaterial < lMaterialCount ? lMaterial : -1);
        }
        for (const tinyobj::index_t& lIndex : lMesh.indices) pData.mPolygonVertices.push_back(lIndex.vertex_index);
    }
    for (const tinyobj::material_t& lMaterial : pReader.GetMaterials()) pData.mMaterialNames.push_back(lMaterial.name);
    if (pData.mMaterialNames.empty()) pData.mPolygonMaterials.clear();
}

// One per-polygon-vertex channel from the faces' normal or texture coordinate indices (pIndexOf picks
// which). False when no polygon vertex has one.
template <class INDEX_OF>
bool CopyChannel(const tinyobj::ObjReader& pReader, const std::vector<tinyobj::real_t>& pValues, int pComponents,
                 INDEX_OF pIndexOf, AttributeChannel& pChannel, size_t& pMissing)
{
    pChannel.mComponents = pComponents;
    pChannel.mValues.assign(pValues.begin(), pValues.end());
    pMissing = 0;
    for (const tinyobj::shape_t& lShape : pReader.GetShapes())
        for (const tinyobj::index_t& lIndex : lShape.mesh.indices) {
            pChannel.mIndices.push_back(pIndexOf(lIndex));
            if (pChannel.mIndices.back() < 0) ++pMissing;
        }
    if (pMissing == pChannel.mIndices.size()) pChannel = AttributeChannel();
    return !pChannel.IsEmpty();
}

// Normals are kept only when every polygon vertex has one: a mesh's normals cannot leave corners out.
void CopyNormals(const tinyobj::ObjReader& pReader, MeshData& pData, std::vector<std::string>& pNotes)
{
    size_t lMissing = 0;
    const auto lIndexOf = [](const tinyobj::index_t& pIndex) { return pIndex.normal_index; };
    if (!CopyChannel(pReader, pReader.GetAttrib().normals, 3, lIndexOf, pData.mNormals, lMissing)) return;
    if (lMissing == 0) return;
    pNotes.push_back(std::to_string(lMissing) + " of " + std::to_string(pData.mNormals.mIndices.size()) +
                     " polygon vertices have no normal: the file's normals are left out");
    pData.mNormals = AttributeChannel();
}

// Texture coordinates may leave polygon vertices out: those stay unmapped (index -1).
void CopyUVs(const tinyobj::ObjReader& pReader, MeshData& pData)
{
    size_t lMissing = 0;
    AttributeChannel lUVs;
    const auto lIndexOf = [](const tinyobj::index_t& pIndex) { return pIndex.texcoord_index; };
    if (!CopyChannel(pReader, pReader.GetAttrib().texcoords, 2, lIndexOf, lUVs, lMissing)) return;
    lUVs.mName = "uv0";
    pData.mUVSets.push_back(std::move(lUVs));
}

void NoteIgnoredPrimitives(const tinyobj::ObjReader& pReader, std::vector<std::string>& pNotes)
{
    size_t lLines = 0;
    size_t lPoints = 0;
    for (const tinyobj::shape_t& lShape : pReader.GetShapes()) {
        lLines += lShape.lines.num_line_vertices.size();
        lPoints += lShape.points.indices.size();
    }
    if (lLines + lPoints > 0)
        pNotes.push_back("not polygons, left out: " + std::to_string(lLines) + (lLines == 1 ? " line, " : " lines, ") +
                         std::to_string(lPoints) + (lPoints == 1 ? " point" : " points"));
}

// tinyobjloader reads bytes: a UTF-16 file would come out as an empty mesh, so it is named for what it is.
void RejectUTF16(const std::string& pPath)
{
    unsigned char lStart[2] = {0, 0};
    std::FILE* lFile = std::fopen(pPath.c_str(), "rb");
    const size_t lRead = lFile ? std::fread(lStart, 1, 2, lFile) : 0;
    if (lFile) std::fclose(lFile);
    if (lRead == 2 && ((lStart[0] == 0xFE && lStart[1] == 0xFF) || (lStart[0] == 0xFF && lStart[1] == 0xFE)))
        throw ToolError(pPath, "malformed OBJ file: UTF-16 text; moxmesh reads OBJ files in ASCII or UTF-8");
}

}  // namespace

void ParseObj(const std::string& pPath, MeshData& pData, std::vector<std::string>& pNotes)
{
    RejectUTF16(pPath);
    tinyobj::ObjReaderConfig lConfig;
    lConfig.triangulate = false;
    lConfig.vertex_color = false;
    tinyobj::ObjReader lReader;
    if (!lReader.ParseFromFile(pPath, lConfig))
        throw ToolError(pPath, "malformed OBJ file: " + ToolError::OneLine(lReader.Error()));
    AddWarnings(lReader.Warning(), pNotes);

    pData = MeshData();
    pData.mPositions.assign(lReader.GetAttrib().vertices.begin(), lReader.GetAttrib().vertices.end());
    CopyFaces(lReader, pData);
    if (pData.mPolygonSizes.empty())
        throw ToolError(
            pPath, "no polygons: the file has " + std::to_string(pData.ControlPointCount()) + " vertices and no faces");
    // tinyobjloader counts the vertices of a face in one byte.
    size_t lSum = 0;
    for (int lSize : pData.mPolygonSizes) lSum += static_cast<size_t>(lSize);
    if (lSum != pData.PolygonVertexCount())
        throw ToolError(pPath, "a face has more than 255 vertices, more than tinyobjloader can read");
    CopyNormals(lReader, pData, pNotes);
    CopyUVs(lReader, pData);
    NoteIgnoredPrimitives(lReader, pNotes);

    const std::string lProblem = FindInconsistency(pData);
    if (!lProblem.empty()) throw ToolError(pPath, lProblem);
}

void ReadObj(const std::string& pPath, ManagedMesh& pTarget)
{
    MeshData lData;
    ParseObj(pPath, lData, pTarget.mNotes);
    BuildMesh(lData, pTarget);
    pTarget.mFormat = "OBJ (tinyobjloader)";
}

}  // namespace moxmeshtool
