#include "io/objtext.h"

#include <cstdio>
#include <cstring>
#include <random>
#include <sstream>

#include <gtest/gtest.h>
#include <tiny_obj_loader.h>

using namespace moxmeshtool;

namespace {

// pText as tinyobjloader reads it (polygons kept), in the same arrays; false when it fails.
bool ByTinyObjLoader(const std::string& pText, ObjArrays& pArrays)
{
    tinyobj::attrib_t lAttrib;
    std::vector<tinyobj::shape_t> lShapes;
    std::vector<tinyobj::material_t> lMaterials;
    std::string lWarning;
    std::string lError;
    std::istringstream lStream(pText);
    if (!tinyobj::LoadObj(&lAttrib, &lShapes, &lMaterials, &lWarning, &lError, &lStream, nullptr, false, false))
        return false;
    EXPECT_EQ(lWarning, "");
    pArrays = ObjArrays();
    pArrays.mPositions.assign(lAttrib.vertices.begin(), lAttrib.vertices.end());
    pArrays.mNormals.assign(lAttrib.normals.begin(), lAttrib.normals.end());
    pArrays.mUVs.assign(lAttrib.texcoords.begin(), lAttrib.texcoords.end());
    for (const tinyobj::shape_t& lShape : lShapes) {
        for (const unsigned char lSize : lShape.mesh.num_face_vertices) pArrays.mPolygonSizes.push_back(lSize);
        for (const tinyobj::index_t& lIndex : lShape.mesh.indices) {
            pArrays.mVertices.push_back(lIndex.vertex_index);
            pArrays.mNormalIndices.push_back(lIndex.normal_index);
            pArrays.mUVIndices.push_back(lIndex.texcoord_index);
        }
    }
    return true;
}

bool ByPlainText(const std::string& pText, ObjArrays& pArrays)
{
    return ParsePlainObj(pText.data(), pText.data() + pText.size(), pArrays);
}

// Doubles compared bit for bit (a sign of zero included).
void ExpectSameBits(const MeshArray<double>& pActual, const MeshArray<double>& pExpected, const std::string& pText)
{
    ASSERT_EQ(pActual.size(), pExpected.size()) << pText;
    for (size_t i = 0; i < pActual.size(); ++i)
        // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): the bits are compared on purpose
        EXPECT_EQ(std::memcmp(&pActual[i], &pExpected[i], sizeof(double)), 0)
            << pText << ": value " << i << " is " << pActual[i] << ", tinyobjloader reads " << pExpected[i];
}

// An index array as the plain reader gives it: empty when every index is -1.
MeshArray<int> WithoutUnset(const MeshArray<int>& pIndices)
{
    for (const int lIndex : pIndices)
        if (lIndex >= 0) return pIndices;
    return {};
}

// pText is read here, and exactly as tinyobjloader reads it.
void ExpectReadAsTinyObjLoader(const std::string& pText)
{
    ObjArrays lPlain;
    ObjArrays lReference;
    ASSERT_TRUE(ByPlainText(pText, lPlain)) << pText;
    ASSERT_TRUE(ByTinyObjLoader(pText, lReference)) << pText;
    ExpectSameBits(lPlain.mPositions, lReference.mPositions, pText);
    ExpectSameBits(lPlain.mNormals, lReference.mNormals, pText);
    ExpectSameBits(lPlain.mUVs, lReference.mUVs, pText);
    EXPECT_EQ(lPlain.mPolygonSizes, lReference.mPolygonSizes) << pText;
    EXPECT_EQ(lPlain.mVertices, lReference.mVertices) << pText;
    EXPECT_EQ(lPlain.mNormalIndices, WithoutUnset(lReference.mNormalIndices)) << pText;
    EXPECT_EQ(lPlain.mUVIndices, WithoutUnset(lReference.mUVIndices)) << pText;
}

TEST(ObjText, ReadsTheUsualStatements)
{
    const std::string lText =
        "# a quad and a triangle\n"
        "o thing\ng part one\ns 1\n"
        "v 0 0 0\nv 1 0 0\n\tv  1 1 0 \nv 0 1 0\nv 2 0 0\n"
        "vt 0 0\nvt 1 0\nvt 1 1\nvn 0 0 1\n"
        "f 1/1/1 2/2/1 3/3/1 4/1/1\n"
        "\n"
        "s off\n"
        "f 2//1 5//1 3//1\n"
        "f 1/1 2/2 3/3\n"
        "f 3 4 5";
    ObjArrays lArrays;
    ASSERT_TRUE(ByPlainText(lText, lArrays));
    EXPECT_EQ(lArrays.mPositions, (MeshArray<double>{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 2, 0, 0}));
    EXPECT_EQ(lArrays.mUVs, (MeshArray<double>{0, 0, 1, 0, 1, 1}));
    EXPECT_EQ(lArrays.mNormals, (MeshArray<double>{0, 0, 1}));
    EXPECT_EQ(lArrays.mPolygonSizes, (MeshArray<int>{4, 3, 3, 3}));
    EXPECT_EQ(lArrays.mVertices, (MeshArray<int>{0, 1, 2, 3, 1, 4, 2, 0, 1, 2, 2, 3, 4}));
    EXPECT_EQ(lArrays.mUVIndices, (MeshArray<int>{0, 1, 2, 0, -1, -1, -1, 0, 1, 2, -1, -1, -1}));
    EXPECT_EQ(lArrays.mNormalIndices, (MeshArray<int>{0, 0, 0, 0, 0, 0, 0, -1, -1, -1, -1, -1, -1}));
    ExpectReadAsTinyObjLoader(lText);
}

// An index array stays empty until a face gives such an index; the corners before it get -1.
TEST(ObjText, IndexArraysStartAtTheFirstIndexGiven)
{
    const std::string lText = "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nf 1 2 3\nf 3 2 1\nf 1/1 2/1 3/1\n";
    ObjArrays lArrays;
    ASSERT_TRUE(ByPlainText(lText, lArrays));
    EXPECT_EQ(lArrays.mUVIndices, (MeshArray<int>{-1, -1, -1, -1, -1, -1, 0, 0, 0}));
    EXPECT_TRUE(lArrays.mNormalIndices.empty());
    ExpectReadAsTinyObjLoader(lText);
    ExpectReadAsTinyObjLoader("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
}

// Numbers take tinyobjloader's steps, not strtod's correctly rounded ones: "0.3" is 0 + 3 x 0.1, one
// unit in the last place above the double nearest to 0.3.
TEST(ObjText, NumbersReadAsTinyObjLoaderReadsThem)
{
    ObjArrays lArrays;
    ASSERT_TRUE(ByPlainText("v 0.3 -2.5e3 .5\n", lArrays));
    EXPECT_EQ(lArrays.mPositions, (MeshArray<double>{3 * 0.1, -2500.0, 0.5}));
    EXPECT_NE(lArrays.mPositions[0], 0.3);
    for (const char* lNumbers : {"0.3 1.000000001 -0.123456789012", "1e3 1E-3 -1.5e+2", "+.5 -. 1.", "-0 +0 00012.5000",
                                 "123456789012345678901234 1e-320 9.999999e307", "0.1234567 0.12345678 0.000000012345"})
        ExpectReadAsTinyObjLoader(std::string("v ") + lNumbers + "\n");
}

TEST(ObjText, LinesEndAsTinyObjLoaderEndsThem)
{
    for (const char* lText : {"v 1 2 3\r\nv 4 5 6\r\nv 7 8 9\r\nf 1 2 3\r\n", "v 1 2 3\rv 4 5 6\rv 7 8 9\rf 1 2 3\r",
                              "v 1 2 3\n\r\nv 4 5 6\n\n\nv 7 8 9\nf 1 2 3", "  \t\n# only a comment\n"})
        ExpectReadAsTinyObjLoader(lText);
}

TEST(ObjText, LeavesEverythingElseToTinyObjLoader)
{
    const std::string lTriangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvn 0 0 1\n";
    for (const char* lOther : {"usemtl red\nf 1 2 3\n",
                               "mtllib m.mtl\nf 1 2 3\n",
                               "l 1 2\n",
                               "p 1\n",
                               "f -3 -2 -1\n",
                               "f 0 1 2\n",
                               "f 1 2\n",
                               "f 1 2 4\n",
                               "f 1/2 2/1 3/1\n",
                               "f 1//2 2//1 3//1\n",
                               "f 1/ 2/ 3/\n",
                               "f 1/1/ 2 3\n",
                               "f 1x 2 3\n",
                               "v 1 2 3 1 1 1\n",
                               "v 1 2\n",
                               "vt 1 2 3\n",
                               "vn 1 2 3 4\n",
                               "v 1.5x 2 3\n",
                               "v 1e 2 3\n",
                               "g\n",
                               "o \n",
                               "s\n",
                               "vp 1 2\n",
                               "curv 1 2\n",
                               "f 1 2 1234567890\n"}) {
        ObjArrays lArrays;
        EXPECT_FALSE(ByPlainText(lTriangle + lOther, lArrays)) << lOther;
    }
    ObjArrays lArrays;
    EXPECT_FALSE(ByPlainText(lTriangle + std::string("f 1 2 3\0\n", 9), lArrays));
    std::string lLargeFace = "f";
    for (int i = 0; i < 256; ++i) lLargeFace += " " + std::to_string(i % 3 + 1);
    EXPECT_FALSE(ByPlainText(lTriangle + lLargeFace + "\n", lArrays));
}

// A number in one of the forms files use, at random.
std::string RandomNumber(std::mt19937& pRandom)
{
    std::uniform_real_distribution<double> lValue(-1000.0, 1000.0);
    const double lX = lValue(pRandom);
    char lText[64];
    switch (pRandom() % 6) {
        case 0:
            std::snprintf(lText, sizeof lText, "%.6f", lX);
            break;
        case 1:
            std::snprintf(lText, sizeof lText, "%g", lX);
            break;
        case 2:
            std::snprintf(lText, sizeof lText, "%.17g", lX);
            break;
        case 3:
            std::snprintf(lText, sizeof lText, "%e", lX / 1e5);
            break;
        case 4:
            std::snprintf(lText, sizeof lText, "%.12f", lX / 1e3);
            break;
        default:
            std::snprintf(lText, sizeof lText, "%d", static_cast<int>(lX));
    }
    return lText;
}

// Oracle: random plain texts read bit for bit as tinyobjloader reads them.
TEST(ObjText, RandomTextsReadAsTinyObjLoaderReadsThem)
{
    std::mt19937 lRandom(20261124);
    for (int lRun = 0; lRun < 200; ++lRun) {
        const int lPoints = 3 + static_cast<int>(lRandom() % 20);
        std::string lText;
        for (int i = 0; i < lPoints; ++i)
            lText += "v " + RandomNumber(lRandom) + " " + RandomNumber(lRandom) + "\t" + RandomNumber(lRandom) + "\n";
        for (int i = 0; i < lPoints; ++i) lText += "vt " + RandomNumber(lRandom) + " " + RandomNumber(lRandom) + "\r\n";
        for (int i = 0; i < 2; ++i)
            lText += "vn " + RandomNumber(lRandom) + " " + RandomNumber(lRandom) + " " + RandomNumber(lRandom) + "\n";
        const int lForm = static_cast<int>(lRandom() % 4);
        for (int lFace = 0; lFace < 10; ++lFace) {
            lText += lFace % 4 == 0 ? "g group" + std::to_string(lFace) + "\nf" : "f";
            const int lSize = 3 + static_cast<int>(lRandom() % 4);
            for (int k = 0; k < lSize; ++k) {
                const std::string lPoint = std::to_string(1 + lRandom() % lPoints);
                const std::string lNormal = std::to_string(1 + lRandom() % 2);
                lText.append(" ").append(lPoint);
                if (lForm == 1) lText.append("/").append(lPoint);
                if (lForm == 2) lText.append("//").append(lNormal);
                if (lForm == 3) lText.append("/").append(lPoint).append("/").append(lNormal);
            }
            lText += "\n";
        }
        ExpectReadAsTinyObjLoader(lText);
    }
}

}  // namespace
