#include "scene/geometry/detail/moxtangentbasis.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>

#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

struct Frames {
    MoxVector4 mTangents[3];
    MoxVector4 mBinormals[3];
};

Frames Compute(const MoxVector4 (&pPositions)[3], const MoxVector4 (&pNormals)[3], const MoxVector2 (&pUVs)[3])
{
    Frames lFrames;
    ComputeTangentsForTriangle(lFrames.mTangents, lFrames.mBinormals, pPositions, pNormals, pUVs);
    return lFrames;
}

using moxtest::ExpectVector;

const MoxVector4 sgRightTriangle[3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
const MoxVector4 sgUpNormals[3] = {{0, 0, 1}, {0, 0, 1}, {0, 0, 1}};

TEST(MoxTangentBasis, UnitTriangleWithMatchingUVsGivesAxisFrame)
{
    const MoxVector2 lUVs[3] = {{0, 0}, {1, 0}, {0, 1}};
    const Frames lFrames = Compute(sgRightTriangle, sgUpNormals, lUVs);
    for (int k = 0; k < 3; ++k) {
        ExpectVector(lFrames.mTangents[k], 1, 0, 0, 1);
        // The binormal's w is the cross product's.
        ExpectVector(lFrames.mBinormals[k], 0, 1, 0, 0);
    }
}

TEST(MoxTangentBasis, MirroredUGivesLeftHandedFrameWithNegatedBinormal)
{
    const MoxVector2 lUVs[3] = {{0, 0}, {-1, 0}, {0, 1}};
    const Frames lFrames = Compute(sgRightTriangle, sgUpNormals, lUVs);
    for (int k = 0; k < 3; ++k) {
        ExpectVector(lFrames.mTangents[k], -1, 0, 0, -1);
        // N x T = (0, -1, 0), negated.
        ExpectVector(lFrames.mBinormals[k], 0, 1, 0, 0);
        EXPECT_TRUE(std::signbit(lFrames.mBinormals[k][0]));
    }
}

TEST(MoxTangentBasis, TiltedCornerNormalsGiveOwnPerpendicularTangents)
{
    MoxVector4 lNormals[3] = {{0.3, 0, 1}, {-0.2, 0.1, 1}, {0, 0.4, 1}};
    for (MoxVector4& lNormal : lNormals) lNormal.Normalize();
    const MoxVector2 lUVs[3] = {{0, 0}, {1, 0}, {0, 1}};
    const Frames lFrames = Compute(sgRightTriangle, lNormals, lUVs);
    for (int k = 0; k < 3; ++k) {
        // The shared raw tangent (1, 0, 0), less its part along this corner's normal, normalised.
        MoxVector4 lExpected = MoxVector4(1, 0, 0, 0) - lNormals[k] * lNormals[k][0];
        lExpected.Normalize();
        EXPECT_DOUBLE_EQ(lFrames.mTangents[k][0], lExpected[0]);
        EXPECT_DOUBLE_EQ(lFrames.mTangents[k][1], lExpected[1]);
        EXPECT_DOUBLE_EQ(lFrames.mTangents[k][2], lExpected[2]);
        EXPECT_EQ(lFrames.mTangents[k][3], 1.0);
        EXPECT_NEAR(lFrames.mTangents[k].DotProduct(lNormals[k]), 0.0, 1e-15);
        EXPECT_NEAR(lFrames.mTangents[k].Length(), 1.0, 1e-15);
        EXPECT_NEAR(lFrames.mBinormals[k].DotProduct(lNormals[k]), 0.0, 1e-15);
        EXPECT_NEAR(lFrames.mBinormals[k].DotProduct(lFrames.mTangents[k]), 0.0, 1e-15);
    }
    EXPECT_NE(lFrames.mTangents[0], lFrames.mTangents[1]);
    EXPECT_NE(lFrames.mTangents[1], lFrames.mTangents[2]);
    EXPECT_NE(lFrames.mTangents[0], lFrames.mTangents[2]);
}

// For the z axis the plane through (z, u, v) is (-1, 0, 1e7) / L: its u-v component is below 1e-06 after
// normalisation, so it is taken as 1.0 and dz/du = -n[1] = -0.0, dz/dv = -n[2] = -1e7 / L (the true
// derivatives are 0 and +1e7). That flips the handedness the vote sees: without the guard the frame would be
// left-handed with binormal (0, 0, 1).
TEST(MoxTangentBasis, VerticalPlaneAxisUsesNegatedPlaneComponents)
{
    const MoxVector4 lPositions[3] = {{0, 0, 0}, {0, 1, 1e7}, {1, 0, 0}};
    const MoxVector4 lNormals[3] = {{0, 1, 0}, {0, 1, 0}, {0, 1, 0}};
    const MoxVector2 lUVs[3] = {{0, 0}, {0, 1}, {1, 0}};
    const Frames lFrames = Compute(lPositions, lNormals, lUVs);
    for (int k = 0; k < 3; ++k) {
        ExpectVector(lFrames.mTangents[k], 1, 0, 0, 1);
        // -n[1] with n[1] = +0.0: the sign bit flipped, not 0.0 - n[1].
        EXPECT_TRUE(std::signbit(lFrames.mTangents[k][2]));
        ExpectVector(lFrames.mBinormals[k], 0, 0, -1, 0);
    }
}

TEST(MoxTangentBasis, EqualUVsGiveZeroTangents)
{
    const MoxVector2 lUVs[3] = {{0.5, 0.5}, {0.5, 0.5}, {0.5, 0.5}};
    const Frames lFrames = Compute(sgRightTriangle, sgUpNormals, lUVs);
    for (int k = 0; k < 3; ++k) {
        ExpectVector(lFrames.mTangents[k], 0, 0, 0, 1);
        ExpectVector(lFrames.mBinormals[k], 0, 0, 0, 0);
    }
}

TEST(MoxTangentBasis, TangentAlongTheNormalBecomesZero)
{
    // Collinear along z: dP/du = (0, 0, 1), which is the normal.
    const MoxVector4 lPositions[3] = {{0, 0, 0}, {0, 0, 1}, {0, 0, 2}};
    const MoxVector2 lUVs[3] = {{0, 0}, {1, 0}, {0, 1}};
    const Frames lFrames = Compute(lPositions, sgUpNormals, lUVs);
    for (const auto& lTangent : lFrames.mTangents) {
        EXPECT_EQ(lTangent[0], 0.0);
        EXPECT_EQ(lTangent[1], 0.0);
        EXPECT_EQ(lTangent[2], 0.0);
    }
}

TEST(MoxTangentBasis, ZeroHandednessSumCountsAsRightHanded)
{
    // Votes +1, -1 and 0.
    const MoxVector4 lNormals[3] = {{0, 0, 1}, {0, 0, -1}, {0, 1, 0}};
    const MoxVector2 lUVs[3] = {{0, 0}, {1, 0}, {0, 1}};
    const Frames lFrames = Compute(sgRightTriangle, lNormals, lUVs);
    for (const auto& lTangent : lFrames.mTangents) ExpectVector(lTangent, 1, 0, 0, 1);
    ExpectVector(lFrames.mBinormals[0], 0, 1, 0, 0);
    ExpectVector(lFrames.mBinormals[1], 0, -1, 0, 0);
    ExpectVector(lFrames.mBinormals[2], 0, 0, -1, 0);
    EXPECT_FALSE(std::signbit(lFrames.mBinormals[2][0]));
}

TEST(MoxTangentBasis, NaNHandednessGivesMinusOneButKeepsBinormals)
{
    // dP/dv = (0, 1e5, 0); the votes of corners 0 and 1 overflow to +inf and -inf, and their sum is NaN.
    const MoxVector4 lNormals[3] = {{0, 0, 1e305}, {0, 0, -1e305}, {0, 0, 1}};
    const MoxVector2 lUVs[3] = {{0, 0}, {1, 0}, {0, 1e-5}};
    const Frames lFrames = Compute(sgRightTriangle, lNormals, lUVs);
    for (const auto& lTangent : lFrames.mTangents) ExpectVector(lTangent, 1, 0, 0, -1);
    // Corner 2: N x T = (0, 1, 0), not negated. Corners 0 and 1: N x T, whose length overflows, normalised to
    // zeros that keep the signs the cross product gave them.
    ExpectVector(lFrames.mBinormals[2], 0, 1, 0, 0);
    EXPECT_FALSE(std::signbit(lFrames.mBinormals[2][0]));
    for (int k = 0; k < 2; ++k) {
        MoxVector4 lAsMade = lNormals[k].CrossProduct(lFrames.mTangents[k]);
        lAsMade.Normalize();
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(lFrames.mBinormals[k][i], 0.0);
            EXPECT_EQ(std::signbit(lFrames.mBinormals[k][i]), std::signbit(lAsMade[i])) << k << " " << i;
        }
    }
}

TEST(MoxTangentBasis, HandednessFollowsUVOrientationOnRandomTriangles)
{
    unsigned lSeed = 12345;
    auto lNext = [&lSeed]() {
        lSeed = lSeed * 1103515245u + 12345u;
        return double((lSeed >> 8) & 0xFFFF) / 65536.0 - 0.5;
    };
    for (int lCase = 0; lCase < 500; ++lCase) {
        const MoxVector4 lPositions[3] = {
            {lNext(), lNext(), lNext()}, {lNext(), lNext(), lNext()}, {lNext(), lNext(), lNext()}};
        const MoxVector2 lUVs[3] = {{lNext(), lNext()}, {lNext(), lNext()}, {lNext(), lNext()}};
        MoxVector4 lFace = (lPositions[1] - lPositions[0]).CrossProduct(lPositions[2] - lPositions[0]);
        const double lUVArea = (lUVs[1][0] - lUVs[0][0]) * (lUVs[2][1] - lUVs[0][1]) -
                               (lUVs[1][1] - lUVs[0][1]) * (lUVs[2][0] - lUVs[0][0]);
        if (lFace.Length() < 1e-3 || std::fabs(lUVArea) < 1e-3) continue;
        lFace.Normalize();
        // dP/du and dP/dv of the triangle, solved from its two edges.
        const MoxVector4 lEdge1 = lPositions[1] - lPositions[0];
        const MoxVector4 lEdge2 = lPositions[2] - lPositions[0];
        const MoxVector4 lAlongU =
            (lEdge1 * (lUVs[2][1] - lUVs[0][1]) - lEdge2 * (lUVs[1][1] - lUVs[0][1])) * (1.0 / lUVArea);
        const MoxVector4 lAlongV =
            (lEdge2 * (lUVs[1][0] - lUVs[0][0]) - lEdge1 * (lUVs[2][0] - lUVs[0][0])) * (1.0 / lUVArea);
        const MoxVector4 lNormals[3] = {lFace, lFace, lFace};
        const Frames lFrames = Compute(lPositions, lNormals, lUVs);
        for (int k = 0; k < 3; ++k) {
            EXPECT_EQ(lFrames.mTangents[k][3], lUVArea > 0 ? 1.0 : -1.0);
            EXPECT_NEAR(lFrames.mTangents[k].Length(), 1.0, 1e-12);
            EXPECT_NEAR(lFrames.mTangents[k].DotProduct(lFace), 0.0, 1e-12);
            EXPECT_NEAR(lFrames.mBinormals[k].Length(), 1.0, 1e-12);
            EXPECT_GT(lFrames.mTangents[k].DotProduct(lAlongU), 0.0);
            EXPECT_GT(lFrames.mBinormals[k].DotProduct(lAlongV), 0.0);
        }
    }
}

// ---- The steps as the header states them, one vector operation at a time, as the oracle -------------

double Negated(double pValue)
{
    return std::copysign(pValue, std::signbit(pValue) ? 1.0 : -1.0);
}

void LiteralFrames(MoxVector4* pTangents, MoxVector4* pBinormals, const MoxVector4* pPositions,
                   const MoxVector4* pNormals, const MoxVector2* pUVs)
{
    MoxVector4 lDerivativeV;
    for (int lAxis = 0; lAxis < 3; ++lAxis) {
        const MoxVector4 lEdge1(pPositions[1][lAxis] - pPositions[0][lAxis], pUVs[1][0] - pUVs[0][0],
                                pUVs[1][1] - pUVs[0][1]);
        const MoxVector4 lEdge2(pPositions[2][lAxis] - pPositions[0][lAxis], pUVs[2][0] - pUVs[0][0],
                                pUVs[2][1] - pUVs[0][1]);
        MoxVector4 lPlane = lEdge1.CrossProduct(lEdge2);
        lPlane.Normalize();
        if (std::fabs(lPlane[0] - 0.0) <= 1e-06) lPlane[0] = 1.0;
        for (int k = 0; k < 3; ++k) pTangents[k][lAxis] = Negated(lPlane[1]) / lPlane[0];
        lDerivativeV[lAxis] = Negated(lPlane[2]) / lPlane[0];
    }
    double lVote = 0.0;
    for (int k = 0; k < 3; ++k) {
        pTangents[k] -= pNormals[k] * pTangents[k].DotProduct(pNormals[k]);
        pTangents[k].Normalize();
        lVote += pTangents[k].CrossProduct(lDerivativeV).DotProduct(pNormals[k]);
    }
    for (int k = 0; k < 3; ++k) {
        pTangents[k][3] = lVote >= 0.0 ? 1.0 : -1.0;
        pBinormals[k] = pNormals[k].CrossProduct(pTangents[k]);
        pBinormals[k].Normalize();
        if (lVote < 0.0)
            for (int i = 0; i < 3; ++i) pBinormals[k][i] = Negated(pBinormals[k][i]);
    }
}

// The same bits in every component, or NaN in both: which NaN an operation on two NaNs gives depends on
// the order in which the compiler takes its operands.
bool SameValues(const MoxVector4& pA, const MoxVector4& pB)
{
    for (int i = 0; i < 4; ++i) {
        const bool lBothNaN = std::isnan(pA[i]) && std::isnan(pB[i]);
        // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): the bits are compared on purpose
        if (!lBothNaN && std::memcmp(&pA.mData[i], &pB.mData[i], sizeof(double)) != 0) return false;
    }
    return true;
}

// A component drawn from ordinary values, exact zeros of both signs, values whose squares vanish or
// overflow, and non-finite ones.
double SpecialComponent(std::mt19937& pRandom)
{
    static const double sgSpecial[] = {0.0, -0.0, 1e-200, -1e-170, 1e200, 1e-06, 0.5, HUGE_VAL, -HUGE_VAL};
    const int lKind = std::uniform_int_distribution<int>(0, 19)(pRandom);
    if (lKind < 9) return sgSpecial[lKind];
    if (lKind == 9) return std::nan("");
    return std::uniform_real_distribution<double>(-1.0, 1.0)(pRandom);
}

// A triangle of ordinary values (multiples of 0.25) or, with pSpecial, of SpecialComponent's values.
struct RandomTriangle {
    MoxVector4 mPositions[3], mNormals[3];
    MoxVector2 mUVs[3];
};

RandomTriangle MakeRandomTriangle(std::mt19937& pRandom, bool pSpecial)
{
    auto lValue = [&]() {
        return pSpecial ? SpecialComponent(pRandom) : std::uniform_int_distribution<int>(-4, 4)(pRandom) * 0.25;
    };
    RandomTriangle lTriangle;
    for (int k = 0; k < 3; ++k) {
        lTriangle.mPositions[k] = MoxVector4(lValue(), lValue(), lValue(), lValue());
        lTriangle.mNormals[k] = MoxVector4(lValue(), lValue(), lValue(), lValue());
        lTriangle.mUVs[k] = MoxVector2(lValue(), lValue());
    }
    return lTriangle;
}

// pTangents and pBinormals are the literal steps' frames of pTriangle.
void ExpectLiteralFrames(const MoxVector4* pTangents, const MoxVector4* pBinormals, const RandomTriangle& pTriangle,
                         const std::string& pWhat)
{
    MoxVector4 lExpectedTangents[3];
    MoxVector4 lExpectedBinormals[3];
    LiteralFrames(lExpectedTangents, lExpectedBinormals, pTriangle.mPositions, pTriangle.mNormals, pTriangle.mUVs);
    for (int k = 0; k < 3; ++k) {
        ASSERT_TRUE(SameValues(pTangents[k], lExpectedTangents[k])) << pWhat << " corner " << k;
        ASSERT_TRUE(SameValues(pBinormals[k], lExpectedBinormals[k])) << pWhat << " corner " << k;
    }
}

// Bit for bit (NaN for NaN) the result of the literal steps, on ordinary and on degenerate triangles (equal
// points, equal UVs, axis-aligned edges, underflowing and non-finite components).
TEST(MoxTangentBasis, MatchesLiteralStepsBitForBit)
{
    std::mt19937 lRandom(7);
    for (int lCase = 0; lCase < 20000; ++lCase) {
        RandomTriangle lTriangle = MakeRandomTriangle(lRandom, lCase % 4 == 0);
        if (lCase % 3 == 0) lTriangle.mNormals[1] = lTriangle.mNormals[2] = lTriangle.mNormals[0];
        // Whatever the caller's arrays hold beforehand does not reach the result.
        MoxVector4 lTangents[3] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}};
        MoxVector4 lBinormals[3];
        ComputeTangentsForTriangle(lTangents, lBinormals, lTriangle.mPositions, lTriangle.mNormals, lTriangle.mUVs);
        ExpectLiteralFrames(lTangents, lBinormals, lTriangle, std::to_string(lCase));
        if (HasFatalFailure()) return;
    }
}

// Every lane of a full batch is its own triangle, bit for bit (NaN for NaN) the literal steps.
TEST(MoxTangentBasis, BatchLanesMatchLiteralStepsBitForBit)
{
    std::mt19937 lRandom(11);
    for (int lCase = 0; lCase < 5000; ++lCase) {
        detail::MoxTangentBatch lBatch;
        RandomTriangle lTriangles[detail::sgTangentLanes];
        for (int l = 0; l < detail::sgTangentLanes; ++l) {
            lTriangles[l] = MakeRandomTriangle(lRandom, (lCase + l) % 2 == 0);
            for (int k = 0; k < 3; ++k)
                lBatch.SetCorner(l, k, lTriangles[l].mPositions[k], lTriangles[l].mNormals[k], lTriangles[l].mUVs[k]);
        }
        detail::MoxComputeTangentBatch(lBatch);
        for (int l = 0; l < detail::sgTangentLanes; ++l) {
            ExpectLiteralFrames(lBatch.mTangents[l], lBatch.mBinormals[l], lTriangles[l],
                                std::to_string(lCase) + " lane " + std::to_string(l));
            if (HasFatalFailure()) return;
        }
    }
}

}  // namespace
