#include "io/objreader.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <type_traits>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <tiny_obj_loader.h>
#include <unistd.h>

#include "io/meshbuilder.h"
#include "io/objtext.h"
#include "io/toolerror.h"

namespace moxmeshtool {
namespace {

// What tinyobjloader read.
struct ObjContent {
    tinyobj::attrib_t mAttrib;
    std::vector<tinyobj::shape_t> mShapes;
    std::vector<tinyobj::material_t> mMaterials;
    std::string mWarning;
    std::string mError;

    size_t CornerCount() const
    {
        size_t lCount = 0;
        for (const tinyobj::shape_t& lShape : mShapes) lCount += lShape.mesh.indices.size();
        return lCount;
    }
};

// The reader's values are taken as they are (tinyobjloader is built with double coordinates).
static_assert(std::is_same<tinyobj::real_t, double>::value, "tinyobjloader must read doubles");

// pFrom's values copied into pTo, then pFrom's storage released, so that one array at a time is held twice.
void TakeValues(std::vector<double>& pFrom, MeshArray<double>& pTo)
{
    pTo.assign(pFrom.begin(), pFrom.end());
    std::vector<double>().swap(pFrom);
}

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

// Polygons with their control points, normal and UV indices and materials, shape after shape; each
// shape's arrays are released once taken.
void TakeFaces(ObjContent& pObj, ObjArrays& pArrays, MeshData& pData)
{
    const int lMaterialCount = static_cast<int>(pObj.mMaterials.size());
    size_t lFaces = 0;
    for (const tinyobj::shape_t& lShape : pObj.mShapes) lFaces += lShape.mesh.num_face_vertices.size();
    const size_t lCorners = pObj.CornerCount();
    pArrays.mPolygonSizes.reserve(lFaces);
    pData.mPolygonMaterials.reserve(lFaces);
    pArrays.mVertices.reserve(lCorners);
    pArrays.mNormalIndices.reserve(lCorners);
    pArrays.mUVIndices.reserve(lCorners);
    for (tinyobj::shape_t& lShape : pObj.mShapes) {
        const tinyobj::mesh_t& lMesh = lShape.mesh;
        for (size_t lFace = 0; lFace < lMesh.num_face_vertices.size(); ++lFace) {
            pArrays.mPolygonSizes.push_back(lMesh.num_face_vertices[lFace]);
            const int lMaterial = lFace < lMesh.material_ids.size() ? lMesh.material_ids[lFace] : -1;
            pData.mPolygonMaterials.push_back(lMaterial >= 0 && lMaterial < lMaterialCount ? lMaterial : -1);
        }
        for (const tinyobj::index_t& lIndex : lMesh.indices) {
            pArrays.mVertices.push_back(lIndex.vertex_index);
            pArrays.mNormalIndices.push_back(lIndex.normal_index);
            pArrays.mUVIndices.push_back(lIndex.texcoord_index);
        }
        lShape.mesh = tinyobj::mesh_t();
    }
    for (const tinyobj::material_t& lMaterial : pObj.mMaterials) pData.mMaterialNames.push_back(lMaterial.name);
    if (pData.mMaterialNames.empty()) pData.mPolygonMaterials.clear();
}

// A per-polygon-vertex channel of pComponents values per entry, both arrays moved in; empty when no
// polygon vertex has a value. pMissing: the polygon vertices without one.
AttributeChannel TakeChannel(MeshArray<double>& pValues, MeshArray<int>& pIndices, int pComponents, size_t& pMissing)
{
    pMissing = 0;
    for (const int lIndex : pIndices) pMissing += lIndex < 0 ? 1 : 0;
    AttributeChannel lChannel;
    if (pMissing == pIndices.size()) return lChannel;
    lChannel.mComponents = pComponents;
    lChannel.mValues = std::move(pValues);
    lChannel.mIndices = std::move(pIndices);
    return lChannel;
}

// Normals are kept only when every polygon vertex has one: a mesh's normals cannot leave corners out.
void TakeNormals(ObjArrays& pArrays, MeshData& pData, std::vector<std::string>& pNotes)
{
    size_t lMissing = 0;
    pData.mNormals = TakeChannel(pArrays.mNormals, pArrays.mNormalIndices, 3, lMissing);
    if (pData.mNormals.IsEmpty() || lMissing == 0) return;
    pNotes.push_back(std::to_string(lMissing) + " of " + std::to_string(pData.mNormals.mIndices.size()) +
                     " polygon vertices have no normal: the file's normals are left out");
    pData.mNormals = AttributeChannel();
}

// Texture coordinates may leave polygon vertices out: those stay unmapped (index -1).
void TakeUVs(ObjArrays& pArrays, MeshData& pData)
{
    size_t lMissing = 0;
    AttributeChannel lUVs = TakeChannel(pArrays.mUVs, pArrays.mUVIndices, 2, lMissing);
    if (lUVs.IsEmpty()) return;
    lUVs.mName = "uv0";
    pData.mUVSets.push_back(std::move(lUVs));
}

// "not polygons, left out: 1 line, 2 points"; empty when the file has neither.
std::string IgnoredPrimitives(const ObjContent& pObj)
{
    size_t lLines = 0;
    size_t lPoints = 0;
    for (const tinyobj::shape_t& lShape : pObj.mShapes) {
        lLines += lShape.lines.num_line_vertices.size();
        lPoints += lShape.points.indices.size();
    }
    if (lLines + lPoints == 0) return {};
    return "not polygons, left out: " + std::to_string(lLines) + (lLines == 1 ? " line, " : " lines, ") +
           std::to_string(lPoints) + (lPoints == 1 ? " point" : " points");
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
        const unsigned lA = static_cast<unsigned char>(pText[pAt]);
        const unsigned lB = static_cast<unsigned char>(pText[pAt + 1]);
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

bool IsUtf16(const std::string& pStart)
{
    return pStart.compare(0, 2, "\xfe\xff") == 0 || pStart.compare(0, 2, "\xff\xfe") == 0;
}

bool HasUtf8Mark(const std::string& pStart)
{
    return pStart.compare(0, 3, "\xef\xbb\xbf") == 0;
}

// pText as UTF-8 without a byte order mark: UTF-16 (either byte order, with its mark) is converted, a
// UTF-8 mark removed. tinyobjloader reads bytes and would see no statement in UTF-16 text.
std::string WithoutByteOrderMark(std::string pText)
{
    if (HasUtf8Mark(pText)) return pText.substr(3);
    if (IsUtf16(pText)) return Utf16ToUtf8(pText, pText[0] == '\xfe');
    return pText;
}

// The file's first bytes (up to 3), enough to see its byte order mark. Throws ToolError when it cannot be
// read.
std::string FirstBytes(const std::string& pPath)
{
    std::FILE* lFile = std::fopen(pPath.c_str(), "rb");
    if (!lFile) throw ToolError(pPath, std::string("cannot read: ") + std::strerror(errno));
    char lStart[3];
    const size_t lRead = std::fread(lStart, 1, sizeof lStart, lFile);
    std::fclose(lFile);
    return std::string(lStart, lRead);
}

// The stream tinyobjloader reads: the file itself, past a UTF-8 byte order mark, or the text of a
// UTF-16 file converted to UTF-8 (the only case that holds the whole text in memory).
class ObjStream {
public:
    explicit ObjStream(const std::string& pPath)
    {
        const std::string lStart = FirstBytes(pPath);
        if (IsUtf16(lStart)) {
            mText = std::make_unique<std::istringstream>(WithoutByteOrderMark(ReadText(pPath)));
            return;
        }
        mFile = std::make_unique<std::ifstream>(pPath, std::ios::binary);
        if (!*mFile) throw ToolError(pPath, std::string("cannot read: ") + std::strerror(errno));
        if (HasUtf8Mark(lStart)) mFile->seekg(3);
    }

    std::istream& Stream() { return mText ? static_cast<std::istream&>(*mText) : *mFile; }

private:
    std::unique_ptr<std::istringstream> mText;
    std::unique_ptr<std::ifstream> mFile;
};

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
// when they agree with what was read (the file is read again for them: such faces are rare).
void RestoreLargeFaces(const std::string& pPath, ObjArrays& pArrays)
{
    size_t lSum = 0;
    for (int lSize : pArrays.mPolygonSizes) lSum += static_cast<size_t>(lSize);
    if (lSum == pArrays.mVertices.size()) return;
    const std::vector<int> lCounts = CountFaceVertices(WithoutByteOrderMark(ReadText(pPath)));
    bool lAgree = lCounts.size() == pArrays.mPolygonSizes.size();
    size_t lCountSum = 0;
    for (size_t f = 0; lAgree && f < lCounts.size(); ++f) {
        lAgree = lCounts[f] % 256 == pArrays.mPolygonSizes[f] % 256;
        lCountSum += static_cast<size_t>(lCounts[f]);
    }
    if (!lAgree || lCountSum != pArrays.mVertices.size())
        throw ToolError(pPath, "a face has more than 255 vertices and its size cannot be recovered");
    pArrays.mPolygonSizes.assign(lCounts.begin(), lCounts.end());
}

// What tinyobjloader reads from pPath. Throws ToolError for a file it finds malformed.
void LoadContent(const std::string& pPath, ObjContent& pObj)
{
    ObjStream lStream(pPath);
    const size_t lSlash = pPath.find_last_of('/');
    tinyobj::MaterialFileReader lMaterials(lSlash == std::string::npos ? std::string() : pPath.substr(0, lSlash));
    if (!tinyobj::LoadObj(&pObj.mAttrib, &pObj.mShapes, &pObj.mMaterials, &pObj.mWarning, &pObj.mError,
                          &lStream.Stream(), &lMaterials, false, false))
        throw ToolError(pPath, "malformed OBJ file: " + ToolError::OneLine(pObj.mError));
}

// The file's bytes mapped for reading; empty for an empty file. Throws ToolError when it cannot be read.
class MappedFile {
public:
    explicit MappedFile(const std::string& pPath)
    {
        const int lFile = open(pPath.c_str(), O_RDONLY | O_CLOEXEC);
        if (lFile < 0) throw ToolError(pPath, std::string("cannot read: ") + std::strerror(errno));
        struct stat lStatus;
        if (fstat(lFile, &lStatus) == 0 && lStatus.st_size > 0) {
            mSize = static_cast<size_t>(lStatus.st_size);
            void* lBytes = mmap(nullptr, mSize, PROT_READ, MAP_PRIVATE, lFile, 0);
            mBytes = lBytes == MAP_FAILED ? nullptr : static_cast<const char*>(lBytes);
        }
        const int lError = errno;
        close(lFile);
        if (mSize > 0 && !mBytes) throw ToolError(pPath, std::string("cannot read: ") + std::strerror(lError));
        if (mBytes) madvise(const_cast<char*>(mBytes), mSize, MADV_SEQUENTIAL);
    }
    ~MappedFile()
    {
        if (mBytes) munmap(const_cast<char*>(mBytes), mSize);
    }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    const char* Begin() const { return mBytes; }
    const char* End() const { return mBytes + mSize; }

private:
    const char* mBytes = nullptr;
    size_t mSize = 0;
};

// The file read straight from its bytes when it is plain OBJ text (objtext.h): UTF-8, with or without
// a byte order mark. False when tinyobjloader must read it.
bool ReadPlainText(const std::string& pPath, ObjArrays& pArrays)
{
    const MappedFile lFile(pPath);
    const std::string lStart(lFile.Begin(), std::min<size_t>(lFile.End() - lFile.Begin(), 3));
    if (IsUtf16(lStart)) return false;
    return ParsePlainObj(lFile.Begin() + (HasUtf8Mark(lStart) ? 3 : 0), lFile.End(), pArrays);
}

// The file read by tinyobjloader: its polygons into pArrays, its materials into pData, its warnings into
// pNotes (whatever pArrays held is replaced); the note on lines and points left out is returned, to
// come last.
std::string ReadWithTinyObjLoader(const std::string& pPath, ObjArrays& pArrays, MeshData& pData,
                                  std::vector<std::string>& pNotes)
{
    pArrays = ObjArrays();
    ObjContent lObj;
    LoadContent(pPath, lObj);
    AddWarnings(lObj.mWarning, pNotes);
    TakeValues(lObj.mAttrib.vertices, pArrays.mPositions);
    TakeValues(lObj.mAttrib.normals, pArrays.mNormals);
    TakeValues(lObj.mAttrib.texcoords, pArrays.mUVs);
    TakeFaces(lObj, pArrays, pData);
    if (!pArrays.mPolygonSizes.empty()) RestoreLargeFaces(pPath, pArrays);
    return IgnoredPrimitives(lObj);
}

}  // namespace

void ParseObj(const std::string& pPath, MeshData& pData, std::vector<std::string>& pNotes)
{
    pData = MeshData();
    ObjArrays lArrays;
    std::string lIgnored;
    if (!ReadPlainText(pPath, lArrays)) lIgnored = ReadWithTinyObjLoader(pPath, lArrays, pData, pNotes);
    pData.mPositions = std::move(lArrays.mPositions);
    if (lArrays.mPolygonSizes.empty())
        throw ToolError(
            pPath, "no polygons: the file has " + std::to_string(pData.ControlPointCount()) + " vertices and no faces");
    pData.mPolygonSizes = std::move(lArrays.mPolygonSizes);
    pData.mPolygonVertices = std::move(lArrays.mVertices);
    TakeNormals(lArrays, pData, pNotes);
    TakeUVs(lArrays, pData);
    if (!lIgnored.empty()) pNotes.push_back(lIgnored);

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
