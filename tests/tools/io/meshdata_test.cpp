#include "io/meshdata.h"

#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

using namespace moxmeshtool;

namespace {

// A unit quad, polygon (0, 1, 2, 3).
MeshData Quad()
{
    MeshData lData;
    lData.mPositions = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
    lData.mPolygonSizes = {4};
    lData.mPolygonVertices = {0, 1, 2, 3};
    return lData;
}

size_t sgHandlerBytes = 0;

void* CountingMalloc(size_t pSize)
{
    sgHandlerBytes += pSize;
    return std::malloc(pSize);
}

void* FailingMalloc(size_t /*pSize*/)
{
    return nullptr;
}

TEST(MeshArray, TakesItsStorageFromTheLibrarysMemoryServices)
{
    sgHandlerBytes = 0;
    moxsdk::MoxSetMallocHandler(CountingMalloc);
    {
        MeshArray<double> lValues;
        lValues.reserve(100);
        lValues.push_back(1.5);
        EXPECT_EQ(lValues[0], 1.5);
    }
    moxsdk::MoxSetMallocHandler(nullptr);
    EXPECT_EQ(sgHandlerBytes, 100 * sizeof(double));
}

TEST(MeshArray, ThrowsBadAllocWhenTheLibraryHasNoMemory)
{
    moxsdk::MoxSetMallocHandler(FailingMalloc);
    MeshArray<int> lIndices;
    EXPECT_THROW(lIndices.reserve(10), std::bad_alloc);
    moxsdk::MoxSetMallocHandler(nullptr);
    EXPECT_TRUE(lIndices.empty());
}

TEST(MeshData, ConsistentQuadHasNoProblem)
{
    EXPECT_EQ(FindInconsistency(Quad()), "");
}

TEST(MeshData, VertexOutOfRangeNamesPolygonAndVertexCountingFromOne)
{
    MeshData lData = Quad();
    lData.mPolygonSizes = {3, 3};
    lData.mPolygonVertices = {0, 1, 2, 0, 2, 7};
    EXPECT_EQ(FindInconsistency(lData), "index out of range: polygon 2 uses vertex 8, but there are 4 vertices");
}

TEST(MeshData, NegativeVertexIsOutOfRange)
{
    MeshData lData = Quad();
    lData.mPolygonVertices[1] = -3;
    EXPECT_EQ(FindInconsistency(lData), "index out of range: polygon 1 uses vertex -2, but there are 4 vertices");
}

TEST(MeshData, SizesMustAddUpToThePolygonVertices)
{
    MeshData lData = Quad();
    lData.mPolygonSizes = {3};
    EXPECT_EQ(FindInconsistency(lData), "polygon sizes do not add up to the polygon vertices");
    lData.mPolygonSizes = {-1, 5};
    EXPECT_EQ(FindInconsistency(lData), "polygon 1 has a negative size");
}

TEST(MeshData, MaterialsOnePerPolygonWithinTheNames)
{
    MeshData lData = Quad();
    lData.mMaterialNames = {"a"};
    lData.mPolygonMaterials = {-1};
    EXPECT_EQ(FindInconsistency(lData), "");
    lData.mPolygonMaterials = {1};
    EXPECT_EQ(FindInconsistency(lData), "material out of range: polygon 1 uses material 2 of 1");
    lData.mPolygonMaterials = {0, 0};
    EXPECT_EQ(FindInconsistency(lData), "not one material per polygon");
}

TEST(MeshData, ChannelIndicesOnePerPolygonVertexAndInRange)
{
    MeshData lData = Quad();
    AttributeChannel lUVs;
    lUVs.mComponents = 2;
    lUVs.mValues = {0, 0, 1, 1};
    lUVs.mIndices = {0, 1, -1, 1};
    lData.mUVSets.push_back(lUVs);
    EXPECT_EQ(FindInconsistency(lData), "");
    lData.mUVSets[0].mIndices[3] = 2;
    EXPECT_EQ(FindInconsistency(lData), "index out of range: polygon 1 uses texture coordinate 3, but there are 2");
    lData.mUVSets[0].mIndices.pop_back();
    EXPECT_EQ(FindInconsistency(lData), "not one texture coordinate index per polygon vertex");
}

TEST(MeshData, IncompleteValuesAreReported)
{
    MeshData lData = Quad();
    lData.mNormals.mComponents = 3;
    lData.mNormals.mValues = {0, 0};
    lData.mNormals.mIndices = {0, 0, 0, 0};
    EXPECT_EQ(FindInconsistency(lData), "normal values are incomplete");
    lData = Quad();
    lData.mPositions.pop_back();
    EXPECT_EQ(FindInconsistency(lData), "positions are not x, y, z triples");
}

}  // namespace
