#include "io/objreader.h"

#include <gtest/gtest.h>

#include "io/managedmesh.h"
#include "io/toolerror.h"
#include "tooltestsupport.h"

using namespace moxmeshtool;
using moxtooltest::TempDir;
using moxtooltest::WriteFile;

namespace {

// Parses pText as an OBJ file; pMtl, when given, is its material library "m.mtl".
MeshData Parse(const std::string& pText, std::vector<std::string>* pNotes = nullptr, const std::string& pMtl = "")
{
    TempDir lDir;
    WriteFile(lDir.File("m.obj"), pText);
    if (!pMtl.empty()) WriteFile(lDir.File("m.mtl"), pMtl);
    MeshData lData;
    std::vector<std::string> lNotes;
    ParseObj(lDir.File("m.obj"), lData, pNotes ? *pNotes : lNotes);
    return lData;
}

// The problem of the ToolError that parsing pText throws (empty when it does not).
std::string ProblemOf(const std::string& pText)
{
    try {
        Parse(pText);
    } catch (const ToolError& lError) {
        return lError.Problem();
    }
    return {};
}

const char* const sgQuadAndTriangle =
    "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 2 0 0\n"
    "vt 0 0\nvt 1 0\nvt 1 1\n"
    "vn 0 0 1\n"
    "f 1/1/1 2/2/1 3/3/1 4/1/1\n"
    "f 2/2/1 5/3/1 3/1/1\n";

TEST(ObjReader, KeepsPolygonsAndTheFileOwnIndices)
{
    const MeshData lData = Parse(sgQuadAndTriangle);
    EXPECT_EQ(lData.ControlPointCount(), 5u);
    EXPECT_EQ(lData.mPolygonSizes, (MeshArray<int>{4, 3}));
    EXPECT_EQ(lData.mPolygonVertices, (MeshArray<int>{0, 1, 2, 3, 1, 4, 2}));
    ASSERT_EQ(lData.mUVSets.size(), 1u);
    EXPECT_EQ(lData.mUVSets[0].mName, "uv0");
    EXPECT_EQ(lData.mUVSets[0].ValueCount(), 3);
    EXPECT_EQ(lData.mUVSets[0].mIndices, (MeshArray<int>{0, 1, 2, 0, 1, 2, 0}));
    EXPECT_EQ(lData.mNormals.ValueCount(), 1);
    EXPECT_EQ(lData.mNormals.mIndices, (MeshArray<int>(7, 0)));
    EXPECT_TRUE(lData.mMaterialNames.empty());
    EXPECT_TRUE(lData.mPolygonMaterials.empty());
}

TEST(ObjReader, ReadIntoMeshKeepsQuadAndIndexToDirectElements)
{
    TempDir lDir;
    WriteFile(lDir.File("m.obj"), sgQuadAndTriangle);
    ManagedMesh lMesh;
    ReadObj(lDir.File("m.obj"), lMesh);
    moxsdk::MoxMesh& lMoxMesh = lMesh.Mesh();
    EXPECT_EQ(lMesh.mFormat, "OBJ (tinyobjloader)");
    ASSERT_EQ(lMoxMesh.GetPolygonCount(), 2);
    EXPECT_EQ(lMoxMesh.GetPolygonSize(0), 4);
    EXPECT_EQ(lMoxMesh.GetPolygonVertex(1, 1), 4);
    const auto* lUVs = lMoxMesh.GetLayer(0)->GetUVs();
    ASSERT_NE(lUVs, nullptr);
    EXPECT_EQ(lUVs->GetMappingMode(), moxsdk::MoxLayerElement::eByPolygonVertex);
    EXPECT_EQ(lUVs->GetReferenceMode(), moxsdk::MoxLayerElement::eIndexToDirect);
    EXPECT_EQ(lUVs->mIndexArray->GetAt(5), 2);
    EXPECT_EQ(lUVs->mDirectArray->GetAt(1), moxsdk::MoxVector2(1, 0));
    const auto* lNormals = lMoxMesh.GetLayer(0)->GetNormals();
    ASSERT_NE(lNormals, nullptr);
    EXPECT_EQ(lNormals->GetReferenceMode(), moxsdk::MoxLayerElement::eIndexToDirect);
    EXPECT_EQ(lNormals->mDirectArray->GetCount(), 1);
    EXPECT_EQ(lNormals->mIndexArray->GetCount(), 7);
}

TEST(ObjReader, UsemtlGroupsBecomePolygonMaterialsOfTheLibrary)
{
    const MeshData lData = Parse(
        "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\n"
        "usemtl blue\nf 1 2 3\nusemtl red\nf 2 4 3\nf 1 2 4\nusemtl blue\nf 1 3 4\n",
        nullptr, "newmtl red\nKd 1 0 0\nnewmtl blue\nKd 0 0 1\n");
    EXPECT_EQ(lData.mMaterialNames, (std::vector<std::string>{"red", "blue"}));
    EXPECT_EQ(lData.mPolygonMaterials, (MeshArray<int>{1, 0, 0, 1}));
}

TEST(ObjReader, MaterialMissingFromTheLibraryIsANote)
{
    std::vector<std::string> lNotes;
    const MeshData lData = Parse("v 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl ghost\nf 1 2 3\n", &lNotes);
    EXPECT_TRUE(lData.mMaterialNames.empty());
    EXPECT_TRUE(lData.mPolygonMaterials.empty());
    ASSERT_EQ(lNotes.size(), 1u);
    EXPECT_EQ(lNotes[0], "tinyobjloader: material [ 'ghost' ] not found in .mtl");
}

TEST(ObjReader, RelativeIndicesCountFromTheEnd)
{
    const MeshData lData = Parse("v 0 0 0\nv 1 0 0\nv 0 1 0\nf -3 -2 -1\n");
    EXPECT_EQ(lData.mPolygonVertices, (MeshArray<int>{0, 1, 2}));
}

TEST(ObjReader, NormalsMissingAtSomeCornersAreLeftOut)
{
    std::vector<std::string> lNotes;
    const MeshData lData = Parse("v 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 0 1\nf 1//1 2//1 3\n", &lNotes);
    EXPECT_TRUE(lData.mNormals.IsEmpty());
    ASSERT_EQ(lNotes.size(), 1u);
    EXPECT_EQ(lNotes[0], "1 of 3 polygon vertices have no normal: the file's normals are left out");
}

TEST(ObjReader, UVsMissingAtSomeCornersStayUnmapped)
{
    const MeshData lData = Parse("v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0.5 0.5\nf 1/1 2/1 3\n");
    ASSERT_EQ(lData.mUVSets.size(), 1u);
    EXPECT_EQ(lData.mUVSets[0].mIndices, (MeshArray<int>{0, 0, -1}));
}

TEST(ObjReader, LinesAndPointsAreLeftOutWithANote)
{
    std::vector<std::string> lNotes;
    const MeshData lData = Parse("v 0 0 0\nv 1 0 0\nv 0 1 0\nl 1 2\np 3\nf 1 2 3\n", &lNotes);
    EXPECT_EQ(lData.PolygonCount(), 1u);
    ASSERT_FALSE(lNotes.empty());
    EXPECT_EQ(lNotes.back(), "not polygons, left out: 1 line, 1 point");
}

TEST(ObjReader, VertexIndexOutOfRangeIsAnError)
{
    EXPECT_EQ(ProblemOf("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\nf 1 3 9\n"),
              "index out of range: polygon 2 uses vertex 9, but there are 3 vertices");
    EXPECT_EQ(ProblemOf("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 -4\n"),
              "index out of range: polygon 1 uses vertex 0, but there are 3 vertices");
}

TEST(ObjReader, UVAndNormalIndexOutOfRangeAreErrors)
{
    EXPECT_EQ(ProblemOf("v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nf 1/1 2/1 3/2\n"),
              "index out of range: polygon 1 uses texture coordinate 2, but there are 1");
    EXPECT_EQ(ProblemOf("v 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 0 1\nf 1//1 2//1 3//5\n"),
              "index out of range: polygon 1 uses normal 5, but there are 1");
}

TEST(ObjReader, ZeroIndexIsMalformed)
{
    EXPECT_EQ(ProblemOf("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 0 1 2\n"),
              "malformed OBJ file: Failed parse `f' line(e.g. zero value for face index. line 4.)");
}

TEST(ObjReader, FileWithoutFacesHasNoPolygons)
{
    EXPECT_EQ(ProblemOf("v 0 0 0\nv 1 0 0\n"), "no polygons: the file has 2 vertices and no faces");
    EXPECT_EQ(ProblemOf(""), "no polygons: the file has 0 vertices and no faces");
}

// pText (ASCII) as UTF-16 with its byte order mark.
std::string Utf16(const std::string& pText, bool pBigEndian)
{
    std::string lText = pBigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char lChar : pText) {
        lText += pBigEndian ? std::string(1, '\0') + lChar : std::string(1, lChar) + '\0';
    }
    return lText;
}

TEST(ObjReader, UTF16AndUTF8WithByteOrderMarkReadAsTheirText)
{
    const std::string lTriangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
    for (const std::string& lText : {Utf16(lTriangle, true), Utf16(lTriangle, false), "\xEF\xBB\xBF" + lTriangle}) {
        const MeshData lData = Parse(lText);
        EXPECT_EQ(lData.mPositions, (MeshArray<double>{0, 0, 0, 1, 0, 0, 0, 1, 0}));
        EXPECT_EQ(lData.mPolygonSizes, (MeshArray<int>{3}));
        EXPECT_EQ(lData.mPolygonVertices, (MeshArray<int>{0, 1, 2}));
    }
}

TEST(ObjReader, UTF16SampleReadsAsTheBox)
{
    const std::string lPath = moxtooltest::SampleModel("OBJ/box_UTF16BE.obj");
    if (lPath.empty()) GTEST_SKIP() << "assimp-testmodels is not installed";
    ManagedMesh lMesh;
    ReadObj(lPath, lMesh);
    EXPECT_EQ(lMesh.Mesh().GetControlPointsCount(), 8);
    EXPECT_EQ(moxtooltest::PolygonSizes(lMesh.Mesh()), (std::vector<int>{4, 4, 4, 4, 4, 4}));
}

TEST(ObjReader, FacesOfAnySize)
{
    std::string lText;
    std::string lFace = "f";
    for (int i = 0; i < 300; ++i) {
        lText += "v " + std::to_string(i) + " 0 0\n";
        lFace += " " + std::to_string(i + 1);
    }
    const MeshData lData = Parse(lText + "f 1 2 3\n" + lFace + "\nf 3 2 1\n" + lFace + " 1 2\n");
    EXPECT_EQ(lData.mPolygonSizes, (MeshArray<int>{3, 300, 3, 302}));
    ASSERT_EQ(lData.mPolygonVertices.size(), 608u);
    EXPECT_EQ(lData.mPolygonVertices[3 + 299], 299);
    EXPECT_EQ(lData.mPolygonVertices[3 + 300], 2);
}

TEST(ObjReader, LongLineSampleKeepsItsLargeFace)
{
    const std::string lPath = moxtooltest::SampleModel("OBJ/box_longline.obj");
    if (lPath.empty()) GTEST_SKIP() << "assimp-testmodels is not installed";
    ManagedMesh lMesh;
    ReadObj(lPath, lMesh);
    EXPECT_EQ(moxtooltest::PolygonSizes(lMesh.Mesh()), (std::vector<int>{936, 4, 4, 4, 4, 4}));
}

TEST(ObjReader, SpiderSampleKeepsItsCounts)
{
    const std::string lPath = moxtooltest::SampleModel("OBJ/spider.obj");
    if (lPath.empty()) GTEST_SKIP() << "assimp-testmodels is not installed";
    ManagedMesh lMesh;
    ReadObj(lPath, lMesh);
    EXPECT_EQ(lMesh.Mesh().GetControlPointsCount(), 762);
    EXPECT_EQ(lMesh.Mesh().GetPolygonCount(), 1368);
    EXPECT_EQ(lMesh.Mesh().GetPolygonVertexCount(), 4104);
    EXPECT_EQ(lMesh.Mesh().GetLayer(0)->GetUVs()->mDirectArray->GetCount(), 302);
    EXPECT_EQ(lMesh.Mesh().GetLayer(0)->GetNormals()->mDirectArray->GetCount(), 747);
    EXPECT_EQ(lMesh.Mesh().GetLayer(0)->GetMaterials()->mDirectArray->GetCount(), 5);
}

TEST(ObjReader, ConcavePolygonSampleStaysOnePolygon)
{
    const std::string lPath = moxtooltest::SampleModel("OBJ/concave_polygon.obj");
    if (lPath.empty()) GTEST_SKIP() << "assimp-testmodels is not installed";
    ManagedMesh lMesh;
    ReadObj(lPath, lMesh);
    EXPECT_EQ(lMesh.Mesh().GetPolygonCount(), 1);
    EXPECT_EQ(lMesh.Mesh().GetPolygonSize(0), 66);
}

}  // namespace

// A statement that only tinyobjloader reads ("vp", which it ignores) sends the whole file to it: both
// ways give the same data.
TEST(ObjReader, PlainTextAndTinyObjLoaderGiveTheSameData)
{
    const std::string lText =
        "v 0.1 0.2 0.3\nv 1.7 0 -0.25\nv 0 1e-3 0\nvt 0.3 0.7\nvn 0 0 1\n"
        "f 1/1/1 2/1/1 3/1/1\nf 3//1 2//1 1//1\n";
    std::vector<std::string> lPlainNotes;
    std::vector<std::string> lNotes;
    const MeshData lPlain = Parse(lText, &lPlainNotes);
    const MeshData lRead = Parse(lText + "vp 0.5 0.5\n", &lNotes);
    EXPECT_EQ(lPlain.mPositions, lRead.mPositions);
    EXPECT_EQ(lPlain.mPolygonSizes, lRead.mPolygonSizes);
    EXPECT_EQ(lPlain.mPolygonVertices, lRead.mPolygonVertices);
    EXPECT_EQ(lPlain.mNormals.mValues, lRead.mNormals.mValues);
    EXPECT_EQ(lPlain.mNormals.mIndices, lRead.mNormals.mIndices);
    ASSERT_EQ(lPlain.mUVSets.size(), 1u);
    ASSERT_EQ(lRead.mUVSets.size(), 1u);
    EXPECT_EQ(lPlain.mUVSets[0].mValues, lRead.mUVSets[0].mValues);
    EXPECT_EQ(lPlain.mUVSets[0].mIndices, lRead.mUVSets[0].mIndices);
    EXPECT_EQ(lPlainNotes, lNotes);
    EXPECT_EQ(lNotes, (std::vector<std::string>{}));
}
