#include "scene/geometry/detail/moxtangentbasis.h"

#include <cmath>
#include <cstring>

// The steps of the header over several triangles at once, one per lane of a vector of doubles, so that
// the many divisions and square roots of the triangles go side by side through the vector units: every
// value is the one the vector operations of the header give, bit for bit (no operation is reordered or
// fused, and divisions and square roots are exact in any width). Where the processor has 256-bit or
// 512-bit registers, copies of the batch are compiled for them and one is chosen at load time; the
// 512-bit instructions include fused multiply-adds, which GCC would otherwise form from a product and a
// sum, so contraction is off in this file.

#if defined(__GNUC__) && defined(__x86_64__) && defined(__linux__) && !defined(__clang__)
#define MOX_TANGENT_BATCH_TARGETS __attribute__((target_clones("avx512f", "avx", "default")))
#else
#define MOX_TANGENT_BATCH_TARGETS
#endif
// The helpers work on whole vectors; they are inlined into each copy of the batch, so that the 256-bit
// copy runs them in 256-bit registers and no vector crosses a call (where its passing would depend on the
// copy).
#define MOX_LANE_HELPER __attribute__((always_inline)) inline
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wpsabi"
#pragma GCC optimize("fp-contract=off")
#endif

namespace moxsdk {
namespace detail {
namespace {

constexpr int sgLanes = sgTangentLanes;
// Below this magnitude the plane's u-v component counts as zero.
constexpr double sgVerticalPlaneTolerance = 1e-06;

// One double per lane, operated on lane by lane.
using Lanes = double __attribute__((vector_size(sgLanes * sizeof(double))));

struct VectorLanes {
    Lanes mX, mY, mZ;
};

MOX_LANE_HELPER Lanes Load(const double* pValues)
{
    Lanes lLanes;
    std::memcpy(&lLanes, pValues, sizeof(lLanes));
    return lLanes;
}

MOX_LANE_HELPER VectorLanes LoadVector(const double (&pComponents)[3][sgLanes])
{
    return {Load(pComponents[0]), Load(pComponents[1]), Load(pComponents[2])};
}

// What MoxVector4::Normalize does to x, y and z: each divided by the length, or by 1.0 for a zero length,
// which leaves it as it is (x / 1.0 is x) without a branch around the divisions.
MOX_LANE_HELPER VectorLanes Normalized(const VectorLanes& pVector)
{
    const Lanes lSquares = pVector.mX * pVector.mX + pVector.mY * pVector.mY + pVector.mZ * pVector.mZ;
    Lanes lDivisor;
    for (int l = 0; l < sgLanes; ++l) {
        const double lLength = std::sqrt(lSquares[l]);
        lDivisor[l] = lLength != 0.0 ? lLength : 1.0;
    }
    return {pVector.mX / lDivisor, pVector.mY / lDivisor, pVector.mZ / lDivisor};
}

// dP/du and dP/dv of each position component, from the plane through the corners in (component, u, v)
// space: the cross product of the two edges, normalised.
MOX_LANE_HELPER void SolveAxes(const MoxTangentBatch& pBatch, VectorLanes& pDerivativeU, VectorLanes& pDerivativeV)
{
    const Lanes lU0 = Load(pBatch.mUVs[0][0]);
    const Lanes lV0 = Load(pBatch.mUVs[0][1]);
    const Lanes lU1 = Load(pBatch.mUVs[1][0]) - lU0;
    const Lanes lV1 = Load(pBatch.mUVs[1][1]) - lV0;
    const Lanes lU2 = Load(pBatch.mUVs[2][0]) - lU0;
    const Lanes lV2 = Load(pBatch.mUVs[2][1]) - lV0;
    Lanes* lDerivativesU[3] = {&pDerivativeU.mX, &pDerivativeU.mY, &pDerivativeU.mZ};
    Lanes* lDerivativesV[3] = {&pDerivativeV.mX, &pDerivativeV.mY, &pDerivativeV.mZ};
    for (int a = 0; a < 3; ++a) {
        const Lanes lEdge1 = Load(pBatch.mPositions[1][a]) - Load(pBatch.mPositions[0][a]);
        const Lanes lEdge2 = Load(pBatch.mPositions[2][a]) - Load(pBatch.mPositions[0][a]);
        const VectorLanes lPlane =
            Normalized({lU1 * lV2 - lV1 * lU2, lV1 * lEdge2 - lEdge1 * lV2, lEdge1 * lU2 - lU1 * lEdge2});
        Lanes lX = lPlane.mX;
        for (int l = 0; l < sgLanes; ++l)
            if (std::fabs(lX[l]) <= sgVerticalPlaneTolerance) lX[l] = 1.0;
        // Negation flips the sign bit, a NaN's too.
        *lDerivativesU[a] = -lPlane.mY / lX;
        *lDerivativesV[a] = -lPlane.mZ / lX;
    }
}

// A corner's tangent: dP/du made perpendicular to the corner's normal, normalised.
MOX_LANE_HELPER VectorLanes CornerTangent(const VectorLanes& pDerivativeU, const VectorLanes& pNormal)
{
    const Lanes lAlongNormal =
        pDerivativeU.mX * pNormal.mX + pDerivativeU.mY * pNormal.mY + pDerivativeU.mZ * pNormal.mZ;
    return Normalized({pDerivativeU.mX - pNormal.mX * lAlongNormal, pDerivativeU.mY - pNormal.mY * lAlongNormal,
                       pDerivativeU.mZ - pNormal.mZ * lAlongNormal});
}

// A corner's vote, (T x dP/dv) . N.
MOX_LANE_HELPER Lanes Vote(const VectorLanes& pTangent, const VectorLanes& pDerivativeV, const VectorLanes& pNormal)
{
    return (pTangent.mY * pDerivativeV.mZ - pTangent.mZ * pDerivativeV.mY) * pNormal.mX +
           (pTangent.mZ * pDerivativeV.mX - pTangent.mX * pDerivativeV.mZ) * pNormal.mY +
           (pTangent.mX * pDerivativeV.mY - pTangent.mY * pDerivativeV.mX) * pNormal.mZ;
}

// N x T, normalised.
MOX_LANE_HELPER VectorLanes CornerBinormal(const VectorLanes& pNormal, const VectorLanes& pTangent)
{
    return Normalized({pNormal.mY * pTangent.mZ - pNormal.mZ * pTangent.mY,
                       pNormal.mZ * pTangent.mX - pNormal.mX * pTangent.mZ,
                       pNormal.mX * pTangent.mY - pNormal.mY * pTangent.mX});
}

}  // namespace

MOX_TANGENT_BATCH_TARGETS void MoxComputeTangentBatch(MoxTangentBatch& pBatch)
{
    VectorLanes lDerivativeU;
    VectorLanes lDerivativeV;
    SolveAxes(pBatch, lDerivativeU, lDerivativeV);

    VectorLanes lNormals[3];
    VectorLanes lTangents[3];
    // The votes summed corner after corner.
    Lanes lHandedness = {};
    for (int k = 0; k < 3; ++k) {
        lNormals[k] = LoadVector(pBatch.mNormals[k]);
        lTangents[k] = CornerTangent(lDerivativeU, lNormals[k]);
        lHandedness += Vote(lTangents[k], lDerivativeV, lNormals[k]);
    }
    for (int k = 0; k < 3; ++k) {
        const VectorLanes lBinormal = CornerBinormal(lNormals[k], lTangents[k]);
        const VectorLanes& lTangent = lTangents[k];
        // The two comparisons differ on purpose for a NaN vote: w becomes -1.0, the binormals stay as made.
        for (int l = 0; l < sgLanes; ++l) {
            pBatch.mTangents[l][k] =
                MoxVector4(lTangent.mX[l], lTangent.mY[l], lTangent.mZ[l], lHandedness[l] >= 0.0 ? 1.0 : -1.0);
            pBatch.mBinormals[l][k] = lHandedness[l] < 0.0
                                          ? MoxVector4(-lBinormal.mX[l], -lBinormal.mY[l], -lBinormal.mZ[l], 0.0)
                                          : MoxVector4(lBinormal.mX[l], lBinormal.mY[l], lBinormal.mZ[l], 0.0);
        }
    }
}

}  // namespace detail

// NOLINTNEXTLINE(readability-identifier-naming): see the header.
void ComputeTangentsForTriangle(MoxVector4* pTangents, MoxVector4* pBinormals, const MoxVector4* pPositions,
                                const MoxVector4* pNormals, const MoxVector2* pUVs)
{
    detail::MoxTangentBatch lBatch;
    for (int k = 0; k < 3; ++k) lBatch.SetCorner(0, k, pPositions[k], pNormals[k], pUVs[k]);
    detail::MoxComputeTangentBatch(lBatch);
    for (int k = 0; k < 3; ++k) {
        pTangents[k] = lBatch.mTangents[0][k];
        pBinormals[k] = lBatch.mBinormals[0][k];
    }
}

}  // namespace moxsdk
