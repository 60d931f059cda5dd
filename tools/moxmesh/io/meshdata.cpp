#include "io/meshdata.h"

#include <climits>
#include <cstdint>

namespace moxmeshtool {
namespace {

std::string PolygonOf(const MeshData& pData, size_t pPolygonVertex)
{
    size_t lStart = 0;
    for (size_t lPolygon = 0; lPolygon < pData.mPolygonSizes.size(); ++lPolygon) {
        lStart += static_cast<size_t>(pData.mPolygonSizes[lPolygon]);
        if (pPolygonVertex < lStart) return "polygon " + std::to_string(lPolygon + 1);
    }
    return "polygon " + std::to_string(pData.mPolygonSizes.size());
}

// The sizes: none negative, their sum the polygon-vertex count, every count within 32-bit indices.
std::string CheckCounts(const MeshData& pData)
{
    if (pData.mPositions.size() % 3 != 0) return "positions are not x, y, z triples";
    const size_t lLimit = static_cast<size_t>(INT_MAX);
    if (pData.ControlPointCount() > lLimit || pData.PolygonCount() > lLimit || pData.PolygonVertexCount() > lLimit)
        return "too large: more than " + std::to_string(INT_MAX) + " control points, polygons or polygon vertices";
    size_t lSum = 0;
    for (size_t i = 0; i < pData.mPolygonSizes.size(); ++i) {
        if (pData.mPolygonSizes[i] < 0) return "polygon " + std::to_string(i + 1) + " has a negative size";
        lSum += static_cast<size_t>(pData.mPolygonSizes[i]);
    }
    if (lSum != pData.PolygonVertexCount()) return "polygon sizes do not add up to the polygon vertices";
    return {};
}

// Every polygon vertex names an existing control point.
std::string CheckControlPoints(const MeshData& pData)
{
    const size_t lCount = pData.ControlPointCount();
    for (size_t i = 0; i < pData.mPolygonVertices.size(); ++i) {
        const int lPoint = pData.mPolygonVertices[i];
        if (lPoint < 0 || static_cast<size_t>(lPoint) >= lCount)
            return "index out of range: " + PolygonOf(pData, i) + " uses vertex " +
                   std::to_string(int64_t(lPoint) + 1) + ", but there are " + std::to_string(lCount) + " vertices";
    }
    return {};
}

std::string CheckMaterials(const MeshData& pData)
{
    if (pData.mPolygonMaterials.empty()) return {};
    if (pData.mPolygonMaterials.size() != pData.PolygonCount()) return "not one material per polygon";
    const int lCount = static_cast<int>(pData.mMaterialNames.size());
    for (size_t i = 0; i < pData.mPolygonMaterials.size(); ++i)
        if (pData.mPolygonMaterials[i] < -1 || pData.mPolygonMaterials[i] >= lCount)
            return "material out of range: polygon " + std::to_string(i + 1) + " uses material " +
                   std::to_string(pData.mPolygonMaterials[i] + 1) + " of " + std::to_string(lCount);
    return {};
}

// One index per polygon vertex, each -1 or a value of the channel.
std::string CheckChannel(const MeshData& pData, const AttributeChannel& pChannel, const std::string& pWhat)
{
    if (pChannel.IsEmpty()) return {};
    if (pChannel.mComponents <= 0 || pChannel.mValues.size() % pChannel.mComponents != 0)
        return pWhat + " values are incomplete";
    if (pChannel.mIndices.size() != pData.PolygonVertexCount()) return "not one " + pWhat + " index per polygon vertex";
    if (pChannel.mValues.size() / pChannel.mComponents > static_cast<size_t>(INT_MAX)) return "too many " + pWhat + "s";
    const int lCount = pChannel.ValueCount();
    for (size_t i = 0; i < pChannel.mIndices.size(); ++i) {
        const int lIndex = pChannel.mIndices[i];
        if (lIndex < -1 || lIndex >= lCount)
            return "index out of range: " + PolygonOf(pData, i) + " uses " + pWhat + " " +
                   std::to_string(int64_t(lIndex) + 1) + ", but there are " + std::to_string(lCount);
    }
    return {};
}

}  // namespace

std::string FindInconsistency(const MeshData& pData)
{
    std::string lProblem = CheckCounts(pData);
    if (lProblem.empty()) lProblem = CheckControlPoints(pData);
    if (lProblem.empty()) lProblem = CheckMaterials(pData);
    if (lProblem.empty()) lProblem = CheckChannel(pData, pData.mNormals, "normal");
    for (const AttributeChannel& lUVs : pData.mUVSets)
        if (lProblem.empty()) lProblem = CheckChannel(pData, lUVs, "texture coordinate");
    if (lProblem.empty()) lProblem = CheckChannel(pData, pData.mTangents, "tangent");
    return lProblem;
}

}  // namespace moxmeshtool
