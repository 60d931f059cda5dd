#include "io/meshwriter.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/meshbuilder.h"
#include "io/meshreader.h"
#include "io/toolerror.h"
#include "moxsdk/scene/moxsurfacematerial.h"
#include "tooltestsupport.h"

using namespace moxmeshtool;
using moxtooltest::CornerValues;
using moxtooltest::TempDir;

namespace {

// A quad and a triangle sharing side 1-2, with materials, normals and one UV set.
MeshData QuadAndTriangle()
{
    MeshData lData;
    lData.mPositions = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 2, 0, 0.5};
    lData.mPolygonSizes = {4, 3};
    lData.mPolygonVertices = {0, 1, 2, 3, 1, 4, 2};
    lData.mMaterialNames = {"wood", "metal"};
    lData.mPolygonMaterials = {0, 1};
    lData.mNormals = AttributeChannel{"", 3, {0, 0, 1, 0, 0.6, 0.8}, {0, 0, 0, 0, 1, 1, 1}};
    lData.mUVSets.push_back(AttributeChannel{"uv0", 2, {0, 0, 1, 0, 1, 1, 0, 1}, {0, 1, 2, 3, 1, 0, 2}});
    return lData;
}

std::string ErrorOf(moxsdk::MoxMesh& pMesh, const std::string& pPath)
{
    try {
        WriteMesh(pMesh, pPath);
    } catch (const ToolError& lError) {
        return lError.what();
    }
    return {};
}

bool Near(double pA, double pB)
{
    return std::fabs(pA - pB) <= 1e-5 * std::max(1.0, std::fabs(pA));
}

// The corners agree value by value (positions, normals and UVs as floats can hold them; a value missing
// on both sides agrees).
void ExpectSameCorners(const std::vector<CornerValues>& pExpected, const std::vector<CornerValues>& pActual)
{
    ASSERT_EQ(pExpected.size(), pActual.size());
    for (size_t i = 0; i < pExpected.size(); ++i) {
        const CornerValues& lA = pExpected[i];
        const CornerValues& lB = pActual[i];
        for (int c = 0; c < 3; ++c) {
            EXPECT_TRUE(Near(lA.mPosition[c], lB.mPosition[c])) << "corner " << i;
            EXPECT_TRUE(Near(lA.mNormal[c], lB.mNormal[c]) || (std::isnan(lA.mNormal[c]) && std::isnan(lB.mNormal[c])))
                << "corner " << i;
        }
        for (int c = 0; c < 2; ++c)
            EXPECT_TRUE(Near(lA.mUV[c], lB.mUV[c]) || (std::isnan(lA.mUV[c]) && std::isnan(lB.mUV[c])))
                << "corner " << i;
        if (::testing::Test::HasFailure()) return;
    }
}

// pMesh's corners in the order the writer puts the polygons: grouped by material in material order
// (polygons without one last), in their own order within a group.
std::vector<CornerValues> CornersInWrittenOrder(moxsdk::MoxMesh& pMesh)
{
    const std::vector<CornerValues> lCorners = moxtooltest::ReadCorners(pMesh);
    const auto* lMaterials = pMesh.GetLayer(0)->GetMaterials();
    std::vector<int> lOrder(pMesh.GetPolygonCount());
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) lOrder[p] = p;
    const auto lGroupOf = [&](int pPolygon) {
        const int lSlot = lMaterials ? lMaterials->mIndexArray->GetAt(pPolygon) : -1;
        return lSlot >= 0 ? lSlot : 1 << 30;
    };
    std::stable_sort(lOrder.begin(), lOrder.end(), [&](int pA, int pB) { return lGroupOf(pA) < lGroupOf(pB); });
    std::vector<CornerValues> lSorted;
    for (int p : lOrder)
        for (int k = 0; k < pMesh.GetPolygonSize(p); ++k)
            lSorted.push_back(lCorners[pMesh.GetPolygonVertexIndex(p) + k]);
    return lSorted;
}

// The polygon vertices whose normal has zero length.
int ZeroNormals(moxsdk::MoxMesh& pMesh)
{
    int lCount = 0;
    for (const CornerValues& lCorner : moxtooltest::ReadCorners(pMesh))
        lCount += lCorner.mNormal[0] == 0.0 && lCorner.mNormal[1] == 0.0 && lCorner.mNormal[2] == 0.0 ? 1 : 0;
    return lCount;
}

// Every normal has unit length.
void ExpectUnitNormals(moxsdk::MoxMesh& pMesh)
{
    EXPECT_EQ(ZeroNormals(pMesh), 0);
    for (const CornerValues& lCorner : moxtooltest::ReadCorners(pMesh)) {
        const double lLength =
            std::sqrt(lCorner.mNormal[0] * lCorner.mNormal[0] + lCorner.mNormal[1] * lCorner.mNormal[1] +
                      lCorner.mNormal[2] * lCorner.mNormal[2]);
        if (lLength != 0.0) {
            ASSERT_NEAR(lLength, 1.0, 1e-4);
        }
    }
}

TEST(MeshWriter, FormatFollowsTheExtension)
{
    EXPECT_EQ(OutputFormatOf("a/b.OBJ"), EOutputFormat::eObj);
    EXPECT_EQ(OutputFormatOf("b.gltf"), EOutputFormat::eGltf);
    EXPECT_EQ(OutputFormatOf("b.Glb"), EOutputFormat::eGlb);
    try {
        OutputFormatOf("out.xyz");
        FAIL() << "accepted";
    } catch (const ToolError& lError) {
        EXPECT_STREQ(lError.what(), "out.xyz: unknown output format \".xyz\": moxmesh writes .obj, .gltf and .glb");
    }
}

TEST(MeshWriter, ObjKeepsPolygonsAndReadsBackAsWritten)
{
    TempDir lDir;
    ManagedMesh lMesh;
    BuildMesh(QuadAndTriangle(), lMesh);
    const WriteSummary lSummary = WriteMesh(lMesh.Mesh(), lDir.File("out.obj"));
    EXPECT_EQ(lSummary.mFiles, (std::vector<std::string>{lDir.File("out.obj"), lDir.File("out.mtl")}));
    EXPECT_EQ(lDir.Entries(), (std::vector<std::string>{"out.mtl", "out.obj"}));
    EXPECT_EQ(lSummary.mScene.mPolygons, 2);
    EXPECT_EQ(lSummary.mScene.mVertices, 7u);

    const auto lBack = ReadMesh(lDir.File("out.obj"));
    EXPECT_EQ(moxtooltest::PolygonSizes(lBack->Mesh()), (std::vector<int>{4, 3}));
    EXPECT_EQ(lBack->Mesh().GetControlPointsCount(), 5);
    ExpectSameCorners(moxtooltest::ReadCorners(lMesh.Mesh()), moxtooltest::ReadCorners(lBack->Mesh()));
    const auto* lMaterials = lBack->Mesh().GetLayer(0)->GetMaterials();
    ASSERT_NE(lMaterials, nullptr);
    ASSERT_EQ(lMaterials->mDirectArray->GetCount(), 2);
    EXPECT_STREQ(lMaterials->mDirectArray->GetAt(1)->GetName(), "metal");
    EXPECT_EQ(lMaterials->mIndexArray->GetAt(1), 1);
}

TEST(MeshWriter, MeshWithoutNormalsIsWrittenWithoutNormals)
{
    TempDir lDir;
    ManagedMesh lMesh;
    MeshData lData = QuadAndTriangle();
    lData.mNormals = AttributeChannel();
    BuildMesh(lData, lMesh);
    WriteMesh(lMesh.Mesh(), lDir.File("out.obj"));
    const std::string lText = moxtooltest::ReadFile(lDir.File("out.obj"));
    EXPECT_EQ(lText.find("\nvn "), std::string::npos) << lText;
    EXPECT_NE(lText.find("f  1/1 2/2 3/3 4/4\n"), std::string::npos) << lText;
    EXPECT_EQ(ReadMesh(lDir.File("out.obj"))->Mesh().GetLayer(0)->GetNormals(), nullptr);
}

TEST(MeshWriter, GltfIsTriangulatedWithTangents)
{
    for (const char* lName : {"out.gltf", "out.glb"}) {
        TempDir lDir;
        ManagedMesh lMesh;
        MeshData lData = QuadAndTriangle();
        lData.mTangents = AttributeChannel{"", 4, {1, 0, 0, 1, 0, 1, 0, -1}, {0, 0, 0, 0, 1, 1, 1}};
        BuildMesh(lData, lMesh);
        const WriteSummary lSummary = WriteMesh(lMesh.Mesh(), lDir.File(lName));
        EXPECT_TRUE(lSummary.mScene.mTangents);
        const std::string lBin = std::string(lName) == "out.gltf" ? "out.bin" : "";
        EXPECT_EQ(lDir.Entries().size(), lBin.empty() ? 1u : 2u) << lName;

        const auto lBack = ReadMesh(lDir.File(lName));
        EXPECT_EQ(moxtooltest::PolygonSizes(lBack->Mesh()), std::vector<int>(3, 3)) << lName;
        ExpectUnitNormals(lBack->Mesh());
        const auto* lTangents = lBack->Mesh().GetLayer(0)->GetTangents();
        ASSERT_NE(lTangents, nullptr) << lName;
        moxsdk::MoxVector4 lFirst = lTangents->mDirectArray->GetAt(lTangents->mIndexArray->GetAt(0));
        EXPECT_NEAR(lFirst[0], 1.0, 1e-6);
        EXPECT_EQ(std::fabs(lFirst[3]), 1.0);
    }
}

TEST(MeshWriter, MissingDirectoryLeavesNothing)
{
    TempDir lDir;
    ManagedMesh lMesh;
    BuildMesh(QuadAndTriangle(), lMesh);
    EXPECT_EQ(
        ErrorOf(lMesh.Mesh(), lDir.File("none/out.obj")),
        lDir.File("none/out.obj") + ": cannot write: directory " + lDir.File("none") + ": No such file or directory");
    EXPECT_TRUE(lDir.Entries().empty());
}

TEST(MeshWriter, DirectoryIsNotAnOutputFile)
{
    TempDir lDir;
    ManagedMesh lMesh;
    BuildMesh(QuadAndTriangle(), lMesh);
    mkdir(lDir.File("d.obj").c_str(), 0755);
    EXPECT_EQ(ErrorOf(lMesh.Mesh(), lDir.File("d.obj")), lDir.File("d.obj") + ": cannot write: is a directory");
}

TEST(MeshWriter, ReadOnlyDirectory)
{
    if (geteuid() == 0) GTEST_SKIP() << "root writes everywhere";
    TempDir lDir;
    ManagedMesh lMesh;
    BuildMesh(QuadAndTriangle(), lMesh);
    chmod(lDir.Path().c_str(), 0555);
    EXPECT_EQ(ErrorOf(lMesh.Mesh(), lDir.File("out.obj")),
              lDir.File("out.obj") + ": cannot write: directory " + lDir.Path() + ": Permission denied");
    chmod(lDir.Path().c_str(), 0755);
    EXPECT_TRUE(lDir.Entries().empty());
}

TEST(MeshWriter, NothingToWrite)
{
    TempDir lDir;
    ManagedMesh lMesh;
    MeshData lData;
    lData.mPositions = {0, 0, 0, 1, 0, 0};
    lData.mPolygonSizes = {2};
    lData.mPolygonVertices = {0, 1};
    BuildMesh(lData, lMesh);
    EXPECT_EQ(ErrorOf(lMesh.Mesh(), lDir.File("out.glb")),
              lDir.File("out.glb") + ": nothing to write: no polygon has 3 or more vertices with valid control points");
    EXPECT_TRUE(lDir.Entries().empty());
}

// Round trips on the sample models: read, write OBJ, read back (equal to what was written), then write
// glTF binary and read back (same polygon vertices, unit normals).
class SampleRoundTrip : public ::testing::TestWithParam<const char*> {};

TEST_P(SampleRoundTrip, CountsAndValuesSurvive)
{
    const std::string lPath = moxtooltest::SampleModel(GetParam());
    if (lPath.empty()) GTEST_SKIP() << "assimp-testmodels is not installed";
    TempDir lDir;
    const auto lOriginal = ReadMesh(lPath);
    moxsdk::MoxMesh& lMesh = lOriginal->Mesh();

    WriteMesh(lMesh, lDir.File("out.obj"));
    const auto lObj = ReadMesh(lDir.File("out.obj"));
    EXPECT_EQ(lObj->Mesh().GetPolygonCount(), lMesh.GetPolygonCount());
    EXPECT_EQ(lObj->Mesh().GetPolygonVertexCount(), lMesh.GetPolygonVertexCount());
    ExpectSameCorners(CornersInWrittenOrder(lMesh), moxtooltest::ReadCorners(lObj->Mesh()));

    const SceneSummary lGlbSummary = WriteMesh(lMesh, lDir.File("out.glb")).mScene;
    const auto lGlb = ReadMesh(lDir.File("out.glb"));
    int lTriangles = 0;
    for (int lSize : moxtooltest::PolygonSizes(lMesh)) lTriangles += lSize - 2;
    EXPECT_EQ(lGlb->Mesh().GetPolygonCount(), lTriangles);
    // glTF gets unit normals only: the file's zero normals are replaced, one per polygon vertex.
    if (lMesh.GetLayer(0)->GetNormals()) {
        ExpectUnitNormals(lGlb->Mesh());
        EXPECT_EQ(lGlbSummary.mReplacedNormals, static_cast<size_t>(ZeroNormals(lMesh)));
    }
    EXPECT_EQ(lDir.Entries(), (std::vector<std::string>{"out.glb", "out.mtl", "out.obj"}));
}

INSTANTIATE_TEST_SUITE_P(Samples, SampleRoundTrip,
                         ::testing::Values("OBJ/spider.obj", "OBJ/WusonOBJ.obj", "OBJ/cube_usemtl.obj",
                                           "PLY/cube_uv.ply", "PLY/Wuson.ply", "STL/Spider_binary.stl",
                                           "STL/sphereWithHole.stl", "OFF/Cube.off",
                                           "glTF2/BoxTextured-glTF/BoxTextured.gltf"));

}  // namespace
