// tinygltf compiles its implementation where this macro of its own is defined.
#define TINYGLTF_IMPLEMENTATION  // NOLINT(readability-identifier-naming)
#include "io/gltfwriter.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <sstream>
#include <type_traits>

#include <tiny_gltf.h>
#include <nlohmann/json.hpp>

#include "io/toolerror.h"

namespace moxmeshtool {
namespace {

using moxsdk::MoxMesh;
using moxsdk::MoxVector4;

constexpr size_t sgChunkElements = 1 << 16;

// One array of the buffer: pCount elements of mComponents floats or unsigned integers, produced by mFill
// in chunks (first element, count, destination) so that the buffer is never held whole in memory.
struct BufferArray {
    size_t mCount = 0;
    int mComponents = 1;
    bool mFloat = true;
    std::function<void(size_t, size_t, void*)> mFill;

    size_t Bytes() const { return mCount * static_cast<size_t>(mComponents) * 4; }
};

template <class T>
void AddBounds(const T* pValues, size_t pCount, int pComponents, std::vector<double>& pMin, std::vector<double>& pMax)
{
    for (size_t i = 0; i < pCount; ++i)
        for (int c = 0; c < pComponents; ++c) {
            const double lValue = pValues[i * pComponents + c];
            pMin[c] = std::min(pMin[c], lValue);
            pMax[c] = std::max(pMax[c], lValue);
        }
}

// The model of a mesh: accessors and buffer views over one buffer, whose bytes are produced only when
// written (WriteBuffer). The mesh and its vertices must outlive the builder.
class GltfBuilder {
public:
    GltfBuilder(const MoxMesh& pMesh, const MeshVertices& pVertices, const std::string& pName)
        : mMesh(pMesh), mVertices(pVertices), mScratch(sgChunkElements * 4 * 4)
    {
        mModel.asset.version = "2.0";
        mModel.asset.generator = "moxmesh";
        mModel.buffers.resize(1);
        tinygltf::Mesh lMesh;
        lMesh.name = Utf8OrLatin1(pName);
        mTriangles.reserve(pVertices.mParts.size());  // the arrays' fills point into it
        for (const VertexPart& lPart : pVertices.mParts) {
            tinygltf::Material lMaterial;
            lMaterial.name = Utf8OrLatin1(pVertices.mMaterialNames[static_cast<size_t>(lPart.mMaterial)]);
            mModel.materials.push_back(lMaterial);
            lMesh.primitives.push_back(BuildPrimitive(lPart));
            lMesh.primitives.back().material = static_cast<int>(mModel.materials.size() - 1);
        }
        mModel.meshes.push_back(lMesh);
        tinygltf::Node lNode;
        lNode.mesh = 0;
        lNode.name = lMesh.name;
        mModel.nodes.push_back(lNode);
        tinygltf::Scene lScene;
        lScene.nodes.push_back(0);
        mModel.scenes.push_back(lScene);
        mModel.defaultScene = 0;
    }

    const tinygltf::Model& Model() const { return mModel; }
    size_t Bytes() const { return mBytes; }

    // The buffer's bytes, array after array.
    void WriteBuffer(std::ostream& pOut)
    {
        for (const BufferArray& lArray : mArrays)
            ForEachChunk(lArray, [&](const void* pData, size_t pCount) {
                pOut.write(static_cast<const char*>(pData),
                           static_cast<std::streamsize>(pCount * static_cast<size_t>(lArray.mComponents) * 4));
            });
    }

private:
    template <class VISIT>
    void ForEachChunk(const BufferArray& pArray, VISIT pVisit)
    {
        for (size_t lFirst = 0; lFirst < pArray.mCount; lFirst += sgChunkElements) {
            const size_t lCount = std::min(sgChunkElements, pArray.mCount - lFirst);
            pArray.mFill(lFirst, lCount, mScratch.data());
            pVisit(mScratch.data(), lCount);
        }
    }

    // Adds pArray as a buffer view and an accessor with its min and max; returns the accessor.
    int Add(BufferArray pArray, int pTarget)
    {
        tinygltf::BufferView lView;
        lView.buffer = 0;
        lView.byteOffset = mBytes;
        lView.byteLength = pArray.Bytes();
        lView.target = pTarget;
        mBytes += pArray.Bytes();
        mModel.bufferViews.push_back(lView);

        tinygltf::Accessor lAccessor;
        lAccessor.bufferView = static_cast<int>(mModel.bufferViews.size() - 1);
        lAccessor.componentType = pArray.mFloat ? TINYGLTF_COMPONENT_TYPE_FLOAT : TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT;
        lAccessor.count = pArray.mCount;
        lAccessor.type = pArray.mComponents == 1   ? TINYGLTF_TYPE_SCALAR
                         : pArray.mComponents == 2 ? TINYGLTF_TYPE_VEC2
                         : pArray.mComponents == 3 ? TINYGLTF_TYPE_VEC3
                                                   : TINYGLTF_TYPE_VEC4;
        lAccessor.minValues.assign(pArray.mComponents, std::numeric_limits<double>::infinity());
        lAccessor.maxValues.assign(pArray.mComponents, -std::numeric_limits<double>::infinity());
        ForEachChunk(pArray, [&](const void* pData, size_t pCount) {
            if (pArray.mFloat)
                AddBounds(static_cast<const float*>(pData), pCount, pArray.mComponents, lAccessor.minValues,
                          lAccessor.maxValues);
            else
                AddBounds(static_cast<const unsigned*>(pData), pCount, 1, lAccessor.minValues, lAccessor.maxValues);
        });
        mModel.accessors.push_back(lAccessor);
        mArrays.push_back(std::move(pArray));
        return static_cast<int>(mModel.accessors.size() - 1);
    }

    tinygltf::Primitive BuildPrimitive(const VertexPart& pPart)
    {
        const size_t lCount = pPart.mPoints.size();
        const MoxVector4* lPoints = mMesh.GetControlPoints();
        tinygltf::Primitive lPrimitive;
        lPrimitive.mode = TINYGLTF_MODE_TRIANGLES;
        BufferArray lPositions{lCount, 3, true, [&pPart, lPoints](size_t pFirst, size_t pCount, void* pOut) {
                                   float* lOut = static_cast<float*>(pOut);
                                   for (size_t v = pFirst; v < pFirst + pCount; ++v)
                                       for (int i = 0; i < 3; ++i)
                                           *lOut++ = static_cast<float>(lPoints[pPart.mPoints[v]][i]);
                               }};
        lPrimitive.attributes["POSITION"] = Add(std::move(lPositions), TINYGLTF_TARGET_ARRAY_BUFFER);
        const size_t lStride = static_cast<size_t>(mVertices.mLayout.Stride());
        size_t lOffset = 0;
        const auto lAddColumn = [&](const std::string& pName, int pWidth) {
            BufferArray lColumn{lCount, pWidth, true,
                                [&pPart, lStride, lOffset, pWidth](size_t pFirst, size_t pCount, void* pOut) {
                                    const float* lValues = pPart.mValues.data() + lOffset;
                                    float* lOut = static_cast<float*>(pOut);
                                    for (size_t v = pFirst; v < pFirst + pCount; ++v, lOut += pWidth)
                                        std::memcpy(lOut, lValues + v * lStride, pWidth * sizeof(float));
                                }};
            lPrimitive.attributes[pName] = Add(std::move(lColumn), TINYGLTF_TARGET_ARRAY_BUFFER);
            lOffset += static_cast<size_t>(pWidth);
        };
        if (mVertices.mLayout.mNormals) lAddColumn("NORMAL", 3);
        for (int c = 0; c < mVertices.mLayout.mUVSets; ++c) lAddColumn("TEXCOORD_" + std::to_string(c), 2);
        if (mVertices.mLayout.mTangents) lAddColumn("TANGENT", 4);
        const MeshArray<unsigned>& lIndices = TriangleIndices(pPart);
        BufferArray lIndexArray{lIndices.size(), 1, false, [&lIndices](size_t pFirst, size_t pCount, void* pOut) {
                                    std::memcpy(pOut, lIndices.data() + pFirst, pCount * sizeof(unsigned));
                                }};
        lPrimitive.indices = Add(std::move(lIndexArray), TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER);
        return lPrimitive;
    }

    // The vertices of the part's triangles: its corners themselves when every polygon is a triangle (each
    // has 3 or more), else the fans kept in mTriangles.
    const MeshArray<unsigned>& TriangleIndices(const VertexPart& pPart)
    {
        if (pPart.mCorners.size() == 3 * pPart.mPolygons.size()) return pPart.mCorners;
        mTriangles.push_back(Triangles(pPart));
        return mTriangles.back();
    }

    // The triangles of the part's polygons, fans from each polygon's first vertex.
    MeshArray<unsigned> Triangles(const VertexPart& pPart) const
    {
        MeshArray<unsigned> lIndices;
        lIndices.reserve(3 * (pPart.mCorners.size() - 2 * pPart.mPolygons.size()));
        size_t lCorner = 0;
        for (int lPolygon : pPart.mPolygons) {
            const int lSize = mMesh.GetPolygonSize(lPolygon);
            const unsigned* lCorners = &pPart.mCorners[lCorner];
            for (int k = 1; k + 1 < lSize; ++k)
                lIndices.insert(lIndices.end(), {lCorners[0], lCorners[k], lCorners[k + 1]});
            lCorner += static_cast<size_t>(lSize);
        }
        return lIndices;
    }

    const MoxMesh& mMesh;
    const MeshVertices& mVertices;
    tinygltf::Model mModel;
    std::vector<MeshArray<unsigned>> mTriangles;
    std::vector<BufferArray> mArrays;
    std::vector<unsigned char> mScratch;
    size_t mBytes = 0;
};

MeshVertices GatherValidVertices(MoxMesh& pMesh, SceneSummary& pSummary)
{
    VertexOptions lOptions;
    lOptions.mValidValues = true;
    lOptions.mMaxUVSets = std::numeric_limits<int>::max();
    return GatherVertices(pMesh, lOptions, pSummary);
}

// The model's JSON as tinygltf writes it, with its buffer of pBytes bytes at pUri (none for a .glb, whose
// buffer is the file's binary chunk). tinygltf writes a buffer's bytes itself (a .gltf's as base64); the
// model holds none, so its JSON is taken from a .glb written in memory and the buffer completed here.
nlohmann::json GltfJson(const tinygltf::Model& pModel, size_t pBytes, const std::string& pUri, const std::string& pName)
{
    std::ostringstream lGlb;
    tinygltf::TinyGLTF lWriter;
    if (!lWriter.WriteGltfSceneToStream(&pModel, lGlb, false, true))
        throw ToolError(pName, "cannot write: tinygltf failed");
    const std::string lBytes = lGlb.str();
    // Header (12 bytes), then the JSON chunk: length, type and data.
    std::uint32_t lLength = 0;
    if (lBytes.size() >= 20) std::memcpy(&lLength, lBytes.data() + 12, sizeof lLength);
    if (lBytes.size() < 20 + size_t(lLength)) throw ToolError(pName, "cannot write: tinygltf wrote no JSON");
    nlohmann::json lJson = nlohmann::json::parse(lBytes.begin() + 20, lBytes.begin() + 20 + lLength);
    lJson["buffers"][0]["byteLength"] = pBytes;
    if (!pUri.empty()) lJson["buffers"][0]["uri"] = pUri;
    return lJson;
}

// The length of the UTF-8 sequence at pText[pAt], or 0 when none starts there.
size_t Utf8SequenceAt(const std::string& pText, size_t pAt)
{
    const auto lByte = [&](size_t pIndex) { return static_cast<unsigned char>(pText[pIndex]); };
    const unsigned char lLead = lByte(pAt);
    if (lLead < 0x80) return 1;
    const size_t lLength = lLead >= 0xc2 && lLead <= 0xdf   ? 2
                           : lLead >= 0xe0 && lLead <= 0xef ? 3
                           : lLead >= 0xf0 && lLead <= 0xf4 ? 4
                                                            : 0;
    if (lLength == 0 || pAt + lLength > pText.size()) return 0;
    for (size_t i = 1; i < lLength; ++i)
        if ((lByte(pAt + i) & 0xc0) != 0x80) return 0;
    // Overlong forms, surrogates and code points past U+10FFFF.
    if ((lLead == 0xe0 && lByte(pAt + 1) < 0xa0) || (lLead == 0xed && lByte(pAt + 1) > 0x9f) ||
        (lLead == 0xf0 && lByte(pAt + 1) < 0x90) || (lLead == 0xf4 && lByte(pAt + 1) > 0x8f))
        return 0;
    return lLength;
}

}  // namespace

std::string Utf8OrLatin1(const std::string& pText)
{
    for (size_t i = 0; i < pText.size();) {
        const size_t lLength = Utf8SequenceAt(pText, i);
        if (lLength == 0) {
            std::string lText;
            for (const char lChar : pText) {
                const unsigned char lByte = static_cast<unsigned char>(lChar);
                if (lByte < 0x80) {
                    lText += lChar;
                } else {
                    lText += static_cast<char>(0xc0 | (lByte >> 6));
                    lText += static_cast<char>(0x80 | (lByte & 0x3f));
                }
            }
            return lText;
        }
        i += lLength;
    }
    return pText;
}

void WriteGlb(MoxMesh& pMesh, const std::string& pName, std::ostream& pOut, SceneSummary& pSummary)
{
    const MeshVertices lVertices = GatherValidVertices(pMesh, pSummary);
    GltfBuilder lBuilder(pMesh, lVertices, pName);
    std::string lJson = GltfJson(lBuilder.Model(), lBuilder.Bytes(), std::string(), pName).dump();
    lJson.resize((lJson.size() + 3) / 4 * 4, ' ');
    const auto lWord = [&pOut](size_t pValue) {
        const std::uint32_t lValue = static_cast<std::uint32_t>(pValue);
        pOut.write(reinterpret_cast<const char*>(&lValue), sizeof lValue);
    };
    // Header (magic "glTF", version 2, length), the JSON chunk, the binary chunk.
    lWord(0x46546c67u);
    lWord(2);
    lWord(12 + 8 + lJson.size() + 8 + lBuilder.Bytes());
    lWord(lJson.size());
    lWord(0x4e4f534au);
    pOut.write(lJson.data(), static_cast<std::streamsize>(lJson.size()));
    lWord(lBuilder.Bytes());
    lWord(0x004e4942u);
    lBuilder.WriteBuffer(pOut);
}

void WriteGltfText(MoxMesh& pMesh, const std::string& pName, const std::string& pBinUri, std::ostream& pJson,
                   std::ostream& pBin, SceneSummary& pSummary)
{
    const MeshVertices lVertices = GatherValidVertices(pMesh, pSummary);
    GltfBuilder lBuilder(pMesh, lVertices, pName);
    pJson << GltfJson(lBuilder.Model(), lBuilder.Bytes(), pBinUri, pName).dump(2) << '\n';
    lBuilder.WriteBuffer(pBin);
}

}  // namespace moxmeshtool
