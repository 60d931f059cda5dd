#include "objreader.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <set>
#include <sstream>

#include <tiny_obj_loader.h>

#include "meshbuilder.h"
#include "toolerror.h"

namespace moxmeshtool {
namespace {

// What tinyobjloader read.
struct ObjContent {
    tinyobj::attrib_t mAttrib;
    std::vector<tinyobj::shape_t> mShapes;
    std::vector<tinyobj::material_t> mMaterials;
    std::string mWarning;
    std::string mError;
};

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
void CopyFaces(const ObjContent& pObj, MeshData& pData)
{
    const int lMaterialCount = static_cast<int>(pObj.mMaterials.size());
    for (const tinyobj::shape_t& lShape : pObj.mShapes) {
        const tinyobj::mesh_t& lMesh = lShape.mesh;
        for (size_t lFace = 0; lFace < lMesh.num_face_vertices.size(); ++lFace) {
            pData.mPolygonSizes.push_back(lMesh.num_face_vertices[lFace]);
            const int lMaterial = lFace < lMesh.material_ids.size() ? lMesh.material_ids[lFace] : -1;
            pData.mPolygonMaterials.push_back(lMaterial >= 0 && lMaterial < lMaterialCount ? lMaterial : -1);
        }
        for (const tinyobj::index_t& lIndex : lMesh.indices) pData.mPolygonVertices.push_back(lIndex.vertex_index);
    }
    for (const tinyobj::material_t& lMaterial : pObj.mMaterials) pData.mMaterialNames.push_back(lMaterial.name);
    if (pData.mMaterialNames.empty()) pData.mPolygonMaterials.clear();
}

// One per-polygon-vertex channel from the faces' normal or texture coordinate indices (pIndexOf picks
// which). False when no polygon vertex has one.
template <class INDEX_OF>
bool CopyChannel(const ObjContent& pObj, const std::vector<tinyobj::real_t>& pValues, int pComponents,
                 INDEX_OF pIndexOf, AttributeChannel& pChannel, size_t& pMissing)
{
    pChannel.mComponents = pComponents;
    pChannel.mValues.assign(pValues.begin(), pValues.end());
    pMissing = 0;
    for (const tinyobj::shape_t& lShape : pObj.mShapes)
        for (const tinyobj::index_t& lIndex : lShape.mesh.indices) {
            pChannel.mIndices.push_back(pIndexOf(lIndex));
            if (pChannel.mIndices.back() < 0) ++pMissing;
        }
    if (pMissing == pChannel.mIndices.size()) pChannel = AttributeChannel();
    return !pChannel.IsEmpty();
}

// Normals are kept only when every polygon vertex has one: a mesh's normals cannot leave corners out.
void CopyNormals(const ObjContent& pObj, MeshData& pData, std::vector<std::string>& pNotes)
{
    size_t lMissing = 0;
    const auto lIndexOf = [](const tinyobj::index_t& pIndex) { return pIndex.normal_index; };
    if (!CopyChannel(pObj, pObj.mAttrib.normals, 3, lIndexOf, pData.mNormals, lMissing)) return;
    if (lMissing == 0) return;
    pNotes.push_back(std::to_string(lMissing) + " of " + std::to_string(pData.mNormals.mIndices.size()) +
                     " polygon vertices have no normal: the file's normals are left out");
    pData.mNormals = AttributeChannel();
}

// Texture coordinates may leave polygon vertices out: those stay unmapped (index -1).
void CopyUVs(const ObjContent& pObj, MeshData& pData)
{
    size_t lMissing = 0;
    AttributeChannel lUVs;
    const auto lIndexOf = [](const tinyobj::index_t& pIndex) { return pIndex.texcoord_index; };
    if (!CopyChannel(pObj, pObj.mAttrib.texcoords, 2, lIndexOf, lUVs, lMissing)) return;
    lUVs.mName = "uv0";
    pData.mUVSets.push_back(std::move(lUVs));
}

void NoteIgnoredPrimitives(const ObjContent& pObj, std::vector<std::string>& pNotes)
{
    size_t lLines = 0;
    size_t lPoints = 0;
    for (const tinyobj::shape_t& lShape : pObj.mShapes) {
        lLines += lShape.lines.num_line_vertices.size();
        lPoints += lShape.points.indices.size();
    }
    if (lLines + lPoints > 0)
        pNotes.push_back("not polygons, left out: " + std::to_string(lLines) + (lLines == 1 ? " line, " : " lines, ") +
                         std::to_string(lPoints) + (lPoints == 1 ? " point" : " points"));
}

// The whole file. Throws ToolError when it cannot be read.
std::string ReadText(const std::string& pPath)
{
    std::FILE* lFile = std::fopen(pPath.c_str(), "rb");
    if (!lFile) throw ToolError(pPath, std::string("cannot read: ") + std::strerror(errno));
    std::string lText;
    char lChunk[1 << 16];
    size_t lRead = 0;
    while ((lRead = std::fread(lChunk, 1, sizeof lChunk, lFile)) > 0) lText.append(lChunk, lRead);
    const bool lFailed = std::ferror(lFile) != 0;
    std::fclose(lFile);
    if (lFailed) throw ToolError(pPath, "cannot read: read error");
    return lText;
}

void AppendUtf8(std::uint32_t pCodePoint, std::string& pOut)
{
    if (pCodePoint < 0x80) {
        pOut += static_cast<char>(pCodePoint);
    } else if (pCodePoint < 0x800) {
        pOut += static_cast<char>(0xc0 | (pCodePoint >> 6));
        pOut += static_cast<char>(0x80 | (pCodePoint & 0x3f));
    } else if (pCodePoint < 0x10000) {
        pOut += static_cast<char>(0xe0 | (pCodePoint >> 12));
        pOut += static_cast<char>(0x80 | ((pCodePoint >> 6) & 0x3f));
        pOut += static_cast<char>(0x80 | (pCodePoint & 0x3f));
    } else {
        pOut += static_cast<char>(0xf0 | (pCodePoint >> 18));
        pOut += static_cast<char>(0x80 | ((pCodePoint >> 12) & 0x3f));
        pOut += static_cast<char>(0x80 | ((pCodePoint >> 6) & 0x3f));
        pOut += static_cast<char>(0x80 | (pCodePoint & 0x3f));
    }
}

// UTF-16 text after its byte order mark as UTF-8 (an unpaired surrogate becomes U+FFFD).
std::string Utf16ToUtf8(const std::string& pText, bool pBigEndian)
{
    std::string lText;
    lText.reserve(pText.size() / 2);
    const auto lUnit = [&](size_t pAt) {
        const unsigned lA = static_cast<unsigned char>(pText[pAt]), lB = static_cast<unsigned char>(pText[pAt + 1]);
        return pBigEndian ? (lA << 8) | lB : (lB << 8) | lA;
    };
    for (size_t i = 2; i + 1 < pText.size(); i += 2) {
        std::uint32_t lCode = lUnit(i);
        if (lCode >= 0xd800 && lCode <= 0xdbff && i + 3 < pText.size() && lUnit(i + 2) >= 0xdc00 &&
            lUnit(i + 2) <= 0xdfff) {
            lCode = 0x10000 + ((lCode - 0xd800) << 10) + (lUnit(i + 2) - 0xdc00);
            i += 2;
        } else if (lCode >= 0xd800 && lCode <= 0xdfff) {
            lCode = 0xfffd;
        }
        AppendUtf8(lCode, lText);
    }
    return lText;
}

// pText as UTF-8 without a byte order mark: UTF-16 (either byte order, with its mark) is converted, a
// UTF-8 mark removed. tinyobjloader reads bytes and would see no statement in UTF-16 text.
std::string WithoutByteOrderMark(std::string pText)
{
    if (pText.compare(0, 3, "\xef\xbb\xbf") == 0) return pText.substr(3);
    if (pText.compare(0, 2, "\xfe\xff") == 0) return Utf16ToUtf8(pText, true);
    if (pText.compare(0, 2, "\xff\xfe") == 0) return Utf16ToUtf8(pText, false);
    return pText;
}

// The number of vertices of each face statement (`f`) of pText with 3 or more, in file order.
std::vector<int> CountFaceVertices(const std::string& pText)
{
    std::vector<int> lCounts;
    std::istringstream lLines(pText);
    std::string lLine;
    while (std::getline(lLines, lLine)) {
        std::istringstream lTokens(lLine);
        std::string lToken;
        if (!(lTokens >> lToken) || lToken != "f") continue;
        int lCount = 0;
        while (lTokens >> lToken) ++lCount;
        if (lCount >= 3) lCounts.push_back(lCount);
    }
    return lCounts;
}

// tinyobjloader counts the vertices of a face in one byte: a face of more than 255 comes out with its
// size modulo 256 (its indices are all there). The sizes are taken from the file's face statements then,
// when they agree with what was read.
void RestoreLargeFaces(const std::string& pPath, const std::string& pText, MeshData& pData)
{
    size_t lSum = 0;
    for (int lSize : pData.mPolygonSizes) lSum += static_cast<size_t>(lSize);
    if (lSum == pData.PolygonVertexCount()) return;
    const std::vector<int> lCounts = CountFaceVertices(pText);
    bool lAgree = lCounts.size() == pData.mPolygonSizes.size();
    size_t lCountSum = 0;
    for (size_t f = 0; lAgree && f < lCounts.size(); ++f) {
        lAgree = lCounts[f] % 256 == pData.mPolygonSizes[f] % 256;
        lCountSum += static_cast<size_t>(lCounts[f]);
    }
    if (!lAgree || lCountSum != pData.PolygonVertexCount())
        throw ToolError(pPath, "a face has more than 255 vertices and its size cannot be recovered");
    pData.mPolygonSizes = lCounts;
}

}  // namespace

void ParseObj(const std::string& pPath, MeshData& pData, std::vector<std::string>& pNotes)
{
    const std::string lText = WithoutByteOrderMark(ReadText(pPath));
    ObjContent lObj;
    {
        std::istringstream lStream(lText);
        const size_t lSlash = pPath.find_last_of('/');
        tinyobj::MaterialFileReader lMaterials(lSlash == std::string::npos ? std::string() : pPath.substr(0, lSlash));
        if (!tinyobj::LoadObj(&lObj.mAttrib, &lObj.mShapes, &lObj.mMaterials, &lObj.mWarning, &lObj.mError, &lStream,
                              &lMaterials, false, false))
            throw ToolError(pPath, "malformed OBJ file: " + ToolError::OneLine(lObj.mError));
    }
    AddWarnings(lObj.mWarning, pNotes);

    pData = MeshData();
    pData.mPositions.assign(lObj.mAttrib.vertices.begin(), lObj.mAttrib.vertices.end());
    CopyFaces(lObj, pData);
    if (pData.mPolygonSizes.empty())
        throw ToolError(
            pPath, "no polygons: the file has " + std::to_string(pData.ControlPointCount()) + " vertices and no faces");
    RestoreLargeFaces(pPath, lText, pData);
    CopyNormals(lObj, pData, pNotes);
    CopyUVs(lObj, pData);
    NoteIgnoredPrimitives(lObj, pNotes);

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
