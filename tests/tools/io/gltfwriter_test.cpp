#include "io/gltfwriter.h"

#include <cstring>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "io/managedmesh.h"
#include "io/meshbuilder.h"

using namespace moxmeshtool;

namespace {

// A quad (0) and a triangle (1) sharing side 1-2; the quad lies in the plane z = 0. Every polygon vertex
// has a normal: the quad's first is (0, 0, 0), the triangle's are (0, 0, 2).
MeshData QuadAndTriangleWithAZeroNormal()
{
    MeshData lData;
    lData.mPositions = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 2, 0, 0.5};
    lData.mPolygonSizes = {4, 3};
    lData.mPolygonVertices = {0, 1, 2, 3, 1, 4, 2};
    lData.mMaterialNames = {"Terraind\xe6k", "metal"};
    lData.mPolygonMaterials = {0, 1};
    lData.mNormals = AttributeChannel{"", 3, {0, 0, 0, 0, 0, 1, 0, 0, 2}, {0, 1, 1, 1, 2, 2, 2}};
    return lData;
}

// The JSON chunk of a .glb.
nlohmann::json JsonOfGlb(const std::string& pGlb)
{
    std::uint32_t lLength = 0;
    std::memcpy(&lLength, pGlb.data() + 12, sizeof lLength);
    return nlohmann::json::parse(pGlb.begin() + 20, pGlb.begin() + 20 + lLength);
}

TEST(GltfWriter, Utf8OrLatin1)
{
    EXPECT_EQ(Utf8OrLatin1("plain"), "plain");
    EXPECT_EQ(Utf8OrLatin1("Terraind\xc3\xa6k"), "Terraind\xc3\xa6k");
    EXPECT_EQ(Utf8OrLatin1("Terraind\xe6k"), "Terraind\xc3\xa6k");
    EXPECT_EQ(Utf8OrLatin1("\xed\xa0\x80"), "\xc3\xad\xc2\xa0\xc2\x80");  // a surrogate is not UTF-8
    EXPECT_EQ(Utf8OrLatin1("\xc3"), "\xc3\x83");
}

TEST(GltfWriter, GlbHoldsOnePrimitivePerMaterialWithValidNormals)
{
    ManagedMesh lMesh;
    BuildMesh(QuadAndTriangleWithAZeroNormal(), lMesh);
    std::ostringstream lOut;
    SceneSummary lSummary;
    WriteGlb(lMesh.Mesh(), "two", lOut, lSummary);
    EXPECT_EQ(lSummary.mPolygons, 2);
    EXPECT_EQ(lSummary.mTriangles, 3);
    EXPECT_EQ(lSummary.mReplacedNormals, 1u);
    EXPECT_EQ(lSummary.mVertices, 7u);

    const std::string lGlb = lOut.str();
    ASSERT_GT(lGlb.size(), 20u);
    EXPECT_EQ(lGlb.substr(0, 4), "glTF");
    const nlohmann::json lJson = JsonOfGlb(lGlb);
    EXPECT_EQ(lJson.count("extensionsUsed"), 0u);
    EXPECT_EQ(lJson["materials"][0]["name"], "Terraind\xc3\xa6k");
    EXPECT_EQ(lJson["materials"][1]["name"], "metal");
    const nlohmann::json& lPrimitives = lJson["meshes"][0]["primitives"];
    ASSERT_EQ(lPrimitives.size(), 2u);
    EXPECT_EQ(lPrimitives[0]["material"], 0);
    EXPECT_EQ(lPrimitives[1]["material"], 1);
    // The quad: 4 vertices, 2 triangles; its zero normal became the quad's own (0, 0, 1).
    const nlohmann::json& lQuadNormals = lJson["accessors"][lPrimitives[0]["attributes"]["NORMAL"].get<int>()];
    EXPECT_EQ(lQuadNormals["min"], nlohmann::json::parse("[0, 0, 1]"));
    EXPECT_EQ(lQuadNormals["max"], nlohmann::json::parse("[0, 0, 1]"));
    EXPECT_EQ(lJson["accessors"][lPrimitives[0]["indices"].get<int>()]["count"], 6);
    // The triangle's (0, 0, 2) normals are made unit.
    const nlohmann::json& lTriangleNormals = lJson["accessors"][lPrimitives[1]["attributes"]["NORMAL"].get<int>()];
    EXPECT_EQ(lTriangleNormals["max"], nlohmann::json::parse("[0, 0, 1]"));
    const nlohmann::json& lPositions = lJson["accessors"][lPrimitives[1]["attributes"]["POSITION"].get<int>()];
    EXPECT_EQ(lPositions["min"], nlohmann::json::parse("[1, 0, 0]"));
    EXPECT_EQ(lPositions["max"], nlohmann::json::parse("[2, 1, 0.5]"));
    // The binary chunk is the buffer, its length as declared.
    const size_t lJsonLength = lGlb.size() - 20 - 8 - lJson["buffers"][0]["byteLength"].get<size_t>();
    EXPECT_EQ(lJsonLength % 4, 0u);
}

TEST(GltfWriter, GltfTextNamesItsBuffer)
{
    ManagedMesh lMesh;
    BuildMesh(QuadAndTriangleWithAZeroNormal(), lMesh);
    std::ostringstream lJsonText;
    std::ostringstream lBin;
    SceneSummary lSummary;
    WriteGltfText(lMesh.Mesh(), "two", "two.bin", lJsonText, lBin, lSummary);
    const nlohmann::json lJson = nlohmann::json::parse(lJsonText.str());
    EXPECT_EQ(lJson["buffers"][0]["uri"], "two.bin");
    EXPECT_EQ(lJson["buffers"][0]["byteLength"], lBin.str().size());
    // 7 vertices of position and normal, 3 triangles.
    EXPECT_EQ(lBin.str().size(), 7u * 24 + 9 * 4);
}

}  // namespace
