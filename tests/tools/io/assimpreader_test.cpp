#include "io/assimpreader.h"

#include <gtest/gtest.h>

#include "io/toolerror.h"
#include "tooltestsupport.h"

using namespace moxmeshtool;
using moxtooltest::TempDir;
using moxtooltest::WriteFile;

namespace {

MeshData Parse(const std::string& pName, const std::string& pText, std::vector<std::string>* pNotes = nullptr)
{
    TempDir lDir;
    WriteFile(lDir.File(pName), pText);
    MeshData lData;
    std::vector<std::string> lNotes;
    ParseWithAssimp(lDir.File(pName), "TEST", lData, pNotes ? *pNotes : lNotes);
    return lData;
}

std::string Facet(const std::string& pA, const std::string& pB, const std::string& pC)
{
    return "facet normal 0 0 1\nouter loop\nvertex " + pA + "\nvertex " + pB + "\nvertex " + pC +
           "\nendloop\nendfacet\n";
}

const char* const sgQuadPly =
    "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\nproperty float z\n"
    "property float nx\nproperty float ny\nproperty float nz\nproperty float s\nproperty float t\n"
    "element face 1\nproperty list uchar int vertex_indices\nend_header\n"
    "0 0 0 0 0 1 0 0\n1 0 0 0 0 1 1 0\n1 1 0 0 0 1 1 1\n0 1 0 0 0 1 0 1\n4 0 1 2 3\n";

TEST(AssimpReader, StlTrianglesAreWeldedByPosition)
{
    const MeshData lData = Parse(
        "t.stl", "solid t\n" + Facet("0 0 0", "1 0 0", "0 1 0") + Facet("1 0 0", "1 1 0", "0 1 0") + "endsolid t\n");
    EXPECT_EQ(lData.ControlPointCount(), 4u);
    EXPECT_EQ(lData.mPolygonSizes, (MeshArray<int>{3, 3}));
    EXPECT_EQ(lData.mPolygonVertices, (MeshArray<int>{0, 1, 2, 1, 3, 2}));
    // The normals stay per polygon vertex, over Assimp's six vertices.
    EXPECT_EQ(lData.mNormals.ValueCount(), 6);
    EXPECT_EQ(lData.mNormals.mIndices, (MeshArray<int>{0, 1, 2, 3, 4, 5}));
    EXPECT_TRUE(lData.mUVSets.empty());
}

TEST(AssimpReader, EmptySolidAmongGoodOnesIsLeftOutWithANote)
{
    std::vector<std::string> lNotes;
    const MeshData lData = Parse("t.stl",
                                 "solid good\n" + Facet("0 0 0", "1 0 0", "0 1 0") +
                                     "endsolid good\nsolid hollow\nendsolid hollow\nsolid more\n" +
                                     Facet("1 0 0", "1 1 0", "0 1 0") + "endsolid more\n",
                                 &lNotes);
    EXPECT_EQ(lData.mPolygonSizes, (MeshArray<int>{3, 3}));
    EXPECT_EQ(lData.ControlPointCount(), 4u);
    EXPECT_EQ(lNotes, (std::vector<std::string>{"empty part left out: \"hollow\""}));
}

TEST(AssimpReader, EmptySolidSampleKeepsItsTriangle)
{
    const std::string lPath = moxtooltest::SampleModel("STL/triangle_with_empty_solid.stl");
    if (lPath.empty()) GTEST_SKIP() << "assimp-testmodels is not installed";
    ManagedMesh lMesh;
    ReadWithAssimp(lPath, "STL", lMesh);
    EXPECT_EQ(lMesh.Mesh().GetPolygonCount(), 1);
    EXPECT_EQ(lMesh.mNotes, (std::vector<std::string>{"empty part left out: \"emptySolid\""}));
}

TEST(AssimpReader, NegativeZeroWeldsWithZero)
{
    const MeshData lData = Parse(
        "t.stl", "solid t\n" + Facet("0 0 0", "1 0 0", "0 1 0") + Facet("1 0 0", "1 1 0", "-0 1 -0") + "endsolid t\n");
    EXPECT_EQ(lData.ControlPointCount(), 4u);
    EXPECT_EQ(lData.mPolygonVertices[5], 2);
}

TEST(AssimpReader, PlyQuadKeepsItsSizeNormalsAndUVs)
{
    const MeshData lData = Parse("q.ply", sgQuadPly);
    EXPECT_EQ(lData.mPolygonSizes, (MeshArray<int>{4}));
    EXPECT_EQ(lData.mPolygonVertices, (MeshArray<int>{0, 1, 2, 3}));
    ASSERT_EQ(lData.mUVSets.size(), 1u);
    EXPECT_EQ(lData.mUVSets[0].mName, "uv0");
    EXPECT_EQ(lData.mUVSets[0].mIndices, (MeshArray<int>{0, 1, 2, 3}));
    EXPECT_DOUBLE_EQ(lData.mUVSets[0].mValues[4], 1.0);
    EXPECT_DOUBLE_EQ(lData.mUVSets[0].mValues[5], 1.0);
    EXPECT_EQ(lData.mNormals.ValueCount(), 4);
    ASSERT_EQ(lData.mMaterialNames.size(), 1u);
    EXPECT_EQ(lData.mPolygonMaterials, (MeshArray<int>{0}));
}

TEST(AssimpReader, MalformedFileNamesTheFormatAndAssimpsReason)
{
    TempDir lDir;
    WriteFile(lDir.File("bad.ply"), "ply\nformat ascii 1.0\nelement vertex 2\nend_header\n1 2\n");
    MeshData lData;
    std::vector<std::string> lNotes;
    try {
        ParseWithAssimp(lDir.File("bad.ply"), "PLY", lData, lNotes);
        FAIL() << "a malformed file was read";
    } catch (const ToolError& lError) {
        EXPECT_EQ(lError.File(), lDir.File("bad.ply"));
        EXPECT_EQ(lError.Problem().rfind("malformed PLY file: ", 0), 0u) << lError.Problem();
        EXPECT_EQ(lError.Problem().find('\n'), std::string::npos);
    }
}

TEST(AssimpReader, ReadsAssimpExtensions)
{
    EXPECT_TRUE(AssimpReadsExtension(".ply"));
    EXPECT_TRUE(AssimpReadsExtension(".STL"));
    EXPECT_TRUE(AssimpReadsExtension(".glb"));
    EXPECT_FALSE(AssimpReadsExtension(".txt"));
}

TEST(AssimpReader, CubeUVSampleHasEightPointsAndSixQuads)
{
    const std::string lPath = moxtooltest::SampleModel("PLY/cube_uv.ply");
    if (lPath.empty()) GTEST_SKIP() << "assimp-testmodels is not installed";
    ManagedMesh lMesh;
    ReadWithAssimp(lPath, "PLY", lMesh);
    EXPECT_EQ(lMesh.mFormat, "PLY (Assimp)");
    EXPECT_EQ(lMesh.Mesh().GetControlPointsCount(), 8);
    EXPECT_EQ(moxtooltest::PolygonSizes(lMesh.Mesh()), std::vector<int>(6, 4));
    EXPECT_EQ(lMesh.Mesh().GetLayer(0)->GetUVs()->mDirectArray->GetCount(), 24);
}

TEST(AssimpReader, SpiderStlSampleIsWelded)
{
    const std::string lPath = moxtooltest::SampleModel("STL/Spider_binary.stl");
    if (lPath.empty()) GTEST_SKIP() << "assimp-testmodels is not installed";
    ManagedMesh lMesh;
    ReadWithAssimp(lPath, "STL", lMesh);
    EXPECT_EQ(lMesh.Mesh().GetControlPointsCount(), 722);
    EXPECT_EQ(lMesh.Mesh().GetPolygonCount(), 1368);
    EXPECT_EQ(lMesh.Mesh().GetLayer(0)->GetNormals()->mDirectArray->GetCount(), 4104);
}

}  // namespace
