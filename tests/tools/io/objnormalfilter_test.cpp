#include "io/objnormalfilter.h"

#include <algorithm>

#include <gtest/gtest.h>

using namespace moxmeshtool;

namespace {

std::string FilterAll(const std::string& pText, size_t pPiece)
{
    ObjNormalFilter lFilter;
    std::string lOut;
    for (size_t i = 0; i < pText.size(); i += pPiece)
        lOut += lFilter.Feed(pText.data() + i, std::min(pPiece, pText.size() - i));
    return lOut + lFilter.Finish();
}

const char* const sgObj =
    "# 2 vertex positions\nv 0 0 0\nv 1 0 0\n\n# 2 vertex normals\nvn 0 0 1\nvn 0 1 0\n"
    "f  1/1/1 2/2/1 3/3/2\nf  1//1 2//2 3//1\nf 1/4 2/5 3\n# the end";

TEST(ObjNormalFilter, DropsNormalLinesAndFaceNormalIndices)
{
    EXPECT_EQ(FilterAll(sgObj, 1000),
              "# 2 vertex positions\nv 0 0 0\nv 1 0 0\n\n"
              "f  1/1 2/2 3/3\nf  1 2 3\nf 1/4 2/5 3\n# the end");
}

TEST(ObjNormalFilter, PiecesOfAnySizeGiveTheSameText)
{
    const std::string lWhole = FilterAll(sgObj, 1000);
    for (size_t lPiece : {1u, 2u, 3u, 7u, 16u}) EXPECT_EQ(FilterAll(sgObj, lPiece), lWhole) << lPiece;
}

TEST(ObjNormalFilter, KeepsWindowsLineEnds)
{
    EXPECT_EQ(FilterAll("vn 0 0 1\r\nf 1//1 2//1 3//1\r\n", 4), "f 1 2 3\r\n");
}

}  // namespace
