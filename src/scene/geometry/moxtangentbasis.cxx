#include "scene/geometry/detail/moxtangentbasis.h"

#include <cmath>

#include "moxsdk/core/math/moxmath.h"

namespace moxsdk {
namespace {

// Below this magnitude the plane's u-v component counts as zero.
constexpr double sgVerticalPlaneTolerance = 1e-06;

// pValue with its sign bit flipped: 0.0 becomes -0.0 and the other way round, and a NaN changes sign too.
double FlipSign(double pValue)
{
    return std::copysign(pValue, std::signbit(pValue) ? 1.0 : -1.0);
}

// dP/du into component pAxis of every tangent and dP/dv into component pAxis of pDerivativeV, from the
// plane through the corners in (position component, u, v) space. pEdge1 and pEdge2 arrive with their u
// and v differences set; their first component is filled here.
void SolveAxis(int pAxis, const MoxVector4* pPositions, MoxVector4& pEdge1, MoxVector4& pEdge2, MoxVector4* pTangents,
               MoxVector4& pDerivativeV)
{
    pEdge1[0] = pPositions[1][pAxis] - pPositions[0][pAxis];
    pEdge2[0] = pPositions[2][pAxis] - pPositions[0][pAxis];
    MoxVector4 lPlane = pEdge1.CrossProduct(pEdge2);
    lPlane.Normalize();
    if (MoxEqual(lPlane[0], 0.0, sgVerticalPlaneTolerance)) lPlane[0] = 1.0;
    const double lDerivativeU = FlipSign(lPlane[1]) / lPlane[0];
    for (int k = 0; k < 3; ++k) pTangents[k][pAxis] = lDerivativeU;
    pDerivativeV[pAxis] = FlipSign(lPlane[2]) / lPlane[0];
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): see the header.
void ComputeTangentsForTriangle(MoxVector4* pTangents, MoxVector4* pBinormals, const MoxVector4* pPositions,
                                const MoxVector4* pNormals, const MoxVector2* pUVs)
{
    // The u and v differences are the same for the three axes.
    MoxVector4 lEdge1(0.0, pUVs[1][0] - pUVs[0][0], pUVs[1][1] - pUVs[0][1]);
    MoxVector4 lEdge2(0.0, pUVs[2][0] - pUVs[0][0], pUVs[2][1] - pUVs[0][1]);
    MoxVector4 lDerivativeV;
    for (int lAxis = 0; lAxis < 3; ++lAxis) SolveAxis(lAxis, pPositions, lEdge1, lEdge2, pTangents, lDerivativeV);

    // Each corner: the raw tangent made perpendicular to its own normal; then the handedness vote.
    double lHandedness = 0.0;
    for (int k = 0; k < 3; ++k) {
        const double lAlongNormal = pTangents[k].DotProduct(pNormals[k]);
        pTangents[k] -= pNormals[k] * lAlongNormal;
        pTangents[k].Normalize();
        lHandedness += pTangents[k].CrossProduct(lDerivativeV).DotProduct(pNormals[k]);
    }

    // The two comparisons differ on purpose for a NaN vote: w becomes -1.0, the binormals stay as made.
    const bool lRightHanded = lHandedness >= 0.0;
    const bool lMirrored = lHandedness < 0.0;
    for (int k = 0; k < 3; ++k) {
        pTangents[k][3] = lRightHanded ? 1.0 : -1.0;
        pBinormals[k] = pNormals[k].CrossProduct(pTangents[k]);
        pBinormals[k].Normalize();
        if (lMirrored)
            for (int i = 0; i < 3; ++i) pBinormals[k][i] = FlipSign(pBinormals[k][i]);
    }
}

}  // namespace moxsdk
