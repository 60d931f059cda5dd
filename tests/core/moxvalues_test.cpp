#include <gtest/gtest.h>

#include <cmath>

#include "moxsdk/core/math/moxamatrix.h"
#include "moxsdk/core/math/moxcolor.h"
#include "moxsdk/core/math/moxmath.h"
#include "moxsdk/core/moxpair.h"
#include "moxsdk/core/moxstring.h"
#include "moxsdk/core/moxtypes.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

TEST(MoxValues, TypeCodesHaveTheirFixedNumbers)
{
    EXPECT_EQ(eMoxBool, 9);
    EXPECT_EQ(eMoxInt, 10);
    EXPECT_EQ(eMoxFloat, 11);
    EXPECT_EQ(eMoxDouble, 12);
    EXPECT_EQ(eMoxDouble2, 13);
    EXPECT_EQ(eMoxDouble3, 14);
    EXPECT_EQ(eMoxDouble4, 15);
    EXPECT_EQ(eMoxReference, 20);
    EXPECT_EQ(MoxDataType().GetType(), eMoxUndefined);
    EXPECT_EQ(MoxDataType(eMoxDouble).GetType(), eMoxDouble);
}

TEST(MoxValues, Vector4DefaultsAndArithmetic)
{
    EXPECT_EQ(MoxVector4(), MoxVector4(0, 0, 0, 0));
    EXPECT_EQ(MoxVector4(1, 2, 3)[3], 1.0);
    MoxVector4 lA(1, 2, 3, 4);
    MoxVector4 lB(4, 5, 6, 7);
    EXPECT_EQ(lA + lB, MoxVector4(5, 7, 9, 11));
    EXPECT_EQ(lB - lA, MoxVector4(3, 3, 3, 3));
    EXPECT_EQ(lA * 2.0, MoxVector4(2, 4, 6, 8));
    EXPECT_EQ(lA / 2.0, MoxVector4(0.5, 1, 1.5, 2));
    EXPECT_EQ(-lA, MoxVector4(-1, -2, -3, -4));
    lA += lB;
    EXPECT_EQ(lA, MoxVector4(5, 7, 9, 11));
    lA -= lB;
    EXPECT_EQ(lA, MoxVector4(1, 2, 3, 4));
    EXPECT_NE(lA, lB);
}

TEST(MoxValues, Vector4GeometryUsesXyzOnly)
{
    MoxVector4 lA(3, 4, 0, 9);
    EXPECT_EQ(lA.Length(), 5.0);
    EXPECT_EQ(lA.SquareLength(), 25.0);
    EXPECT_EQ(lA.DotProduct(MoxVector4(1, 1, 1, 100)), 7.0);
    EXPECT_EQ(MoxVector4(1, 0, 0, 5).CrossProduct(MoxVector4(0, 1, 0, 5)), MoxVector4(0, 0, 1, 0));
    EXPECT_EQ(MoxVector4(0, 0, 0, 3).Distance(MoxVector4(0, 3, 4, 8)), 5.0);
    EXPECT_EQ(lA.Normalize(), 5.0);
    EXPECT_EQ(lA, MoxVector4(0.6, 0.8, 0, 9));
}

TEST(MoxValues, NormalizingZeroVectorLeavesItUnchanged)
{
    MoxVector4 lZero(0, 0, 0, 1);
    EXPECT_EQ(lZero.Normalize(), 0.0);
    EXPECT_EQ(lZero, MoxVector4(0, 0, 0, 1));
    EXPECT_FALSE(std::isnan(lZero[0]));
}

TEST(MoxValues, Vector2IsComponentwise)
{
    EXPECT_EQ(MoxVector2(), MoxVector2(0, 0));
    MoxVector2 lA(1, 2);
    EXPECT_EQ(lA + MoxVector2(3, 4), MoxVector2(4, 6));
    EXPECT_EQ(lA - MoxVector2(3, 4), MoxVector2(-2, -2));
    EXPECT_EQ(lA * MoxVector2(3, 4), MoxVector2(3, 8));
    EXPECT_EQ(MoxVector2(3, 8) / MoxVector2(3, 4), MoxVector2(1, 2));
    EXPECT_EQ(lA * 2.0, MoxVector2(2, 4));
    EXPECT_EQ(lA / 2.0, MoxVector2(0.5, 1));
    lA += MoxVector2(1, 1);
    lA -= MoxVector2(0, 1);
    EXPECT_EQ(lA, MoxVector2(2, 2));
}

TEST(MoxValues, EqualWithToleranceIsInclusive)
{
    EXPECT_TRUE(MoxEqual(1.0, 1.5, 0.5));
    EXPECT_FALSE(MoxEqual(1.0, 1.6, 0.5));
    EXPECT_TRUE(MoxEqual(MoxVector2(1, 1), MoxVector2(1.25, 0.75), 0.25));
    EXPECT_FALSE(MoxEqual(MoxVector4(0, 0, 0, 0), MoxVector4(0, 0, 0, 1), 0.5));
    EXPECT_TRUE(MoxEqual(MoxVector4(0, 0, 0, 0), MoxVector4(0, 0, 0, 0.5), 0.5));
}

TEST(MoxValues, ColorDefaultsToOpaqueBlack)
{
    MoxColor lColor;
    EXPECT_EQ(lColor, MoxColor(0, 0, 0, 1));
    EXPECT_EQ(MoxColor(0.1, 0.2, 0.3).mAlpha, 1.0);
}

TEST(MoxValues, MatrixIsIdentityByDefaultAndComposesTranslation)
{
    MoxAMatrix lMatrix;
    EXPECT_EQ(lMatrix, MoxAMatrix());
    EXPECT_EQ(lMatrix.Get(0, 0), 1.0);
    lMatrix.SetT(MoxVector4(1, 2, 3));
    EXPECT_NE(lMatrix, MoxAMatrix());
    EXPECT_EQ(lMatrix.GetT(), MoxVector4(1, 2, 3, 1));
    EXPECT_EQ(lMatrix.MultT(MoxVector4(1, 1, 1, 1)), MoxVector4(2, 3, 4, 1));
    lMatrix.SetIdentity();
    lMatrix.SetR(MoxVector4(0, 0, 90));
    const MoxVector4 lRotated = lMatrix.MultT(MoxVector4(1, 0, 0, 1));
    EXPECT_TRUE(MoxEqual(lRotated, MoxVector4(0, 1, 0, 1), 1e-12));
    lMatrix.SetIdentity();
    lMatrix.SetS(MoxVector4(2, 3, 4));
    EXPECT_EQ(lMatrix.MultT(MoxVector4(1, 1, 1, 1)), MoxVector4(2, 3, 4, 1));
}

TEST(MoxValues, StringOwnsAndComparesBySign)
{
    MoxString lEmpty;
    EXPECT_TRUE(lEmpty.IsEmpty());
    EXPECT_STREQ(lEmpty.Buffer(), "");
    MoxString lA("abc");
    MoxString lB(lA);
    EXPECT_EQ(lA, lB);
    EXPECT_EQ(lA.Compare("abd"), -1);
    EXPECT_EQ(lA.Compare("abb"), 1);
    EXPECT_EQ(lA.Compare(lB), 0);
    lB = "zz";
    EXPECT_NE(lA, lB);
    EXPECT_STREQ(lB.Buffer(), "zz");
    MoxString lMoved(std::move(lB));
    EXPECT_STREQ(lMoved.Buffer(), "zz");
    EXPECT_EQ(MoxString(nullptr), lEmpty);
}

TEST(MoxValues, StringWithoutMemoryIsEmptyAndReported)
{
    MoxString lName("kept");
    moxtest::ReportCapture lCapture;
    {
        moxtest::AllocationTracker lTracker;
        lTracker.FailAll(true);
        lName = "other";
        MoxString lEmpty("");  // nothing to copy: no request, no report
        EXPECT_TRUE(lEmpty.IsEmpty());
    }
    EXPECT_TRUE(lName.IsEmpty());
    EXPECT_TRUE(lCapture.HasOnly("core/moxstring", "Assign", "lData"));
}

TEST(MoxValues, PairHoldsTwoMembers)
{
    MoxPair<int, double> lPair(3, 4.5);
    EXPECT_EQ(lPair.mFirst, 3);
    EXPECT_EQ(lPair.mSecond, 4.5);
    EXPECT_EQ(lPair, (MoxPair<int, double>(3, 4.5)));
}

}  // namespace
