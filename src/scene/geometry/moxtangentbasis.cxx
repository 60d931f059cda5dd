#include "scene/geometry/detail/moxtangentbasis.h"

#include <cmath>

#include "moxsdk/core/math/moxmath.h"

// The steps of the header, written component by component over small arrays so that the compiler can do
// the many divisions and products of the three axes and of the three corners side by side: every value is
// the one the vector operations give, bit for bit (no operation is reordered or fused).

namespace moxsdk {
namespace {

// Below this magnitude the plane's u-v component counts as zero.
constexpr double sgVerticalPlaneTolerance = 1e-06;

// What MoxVector4::Normalize divides x, y and z by: the length, or 1.0 for a zero length, which leaves
// every value as it is (x / 1.0 is x) without a branch around the divisions.
double NormalizeDivisor(double pX, double pY, double pZ)
{
    const double lLength = std::sqrt(pX * pX + pY * pY + pZ * pZ);
    return lLength != 0.0 ? lLength : 1.0;
}

// dP/du and dP/dv of each position component pAxis, from the plane through the corners in (component, u,
// v) space: the cross product of the two edges, normalised.
void SolveAxes(const MoxVector4* pPositions, const MoxVector2* pUVs, double* pDerivativeU, double* pDerivativeV)
{
    const double lU1 = pUVs[1][0] - pUVs[0][0];
    const double lV1 = pUVs[1][1] - pUVs[0][1];
    const double lU2 = pUVs[2][0] - pUVs[0][0];
    const double lV2 = pUVs[2][1] - pUVs[0][1];
    // The plane's first component involves only the UVs: the same for the three axes.
    const double lPlaneX = lU1 * lV2 - lV1 * lU2;
    double lPlaneY[3];
    double lPlaneZ[3];
    double lDivisor[3];
    for (int a = 0; a < 3; ++a) {
        const double lEdge1 = pPositions[1][a] - pPositions[0][a];
        const double lEdge2 = pPositions[2][a] - pPositions[0][a];
        lPlaneY[a] = lV1 * lEdge2 - lEdge1 * lV2;
        lPlaneZ[a] = lEdge1 * lU2 - lU1 * lEdge2;
        lDivisor[a] = NormalizeDivisor(lPlaneX, lPlaneY[a], lPlaneZ[a]);
    }
    double lX[3];
    for (int a = 0; a < 3; ++a) {
        lX[a] = lPlaneX / lDivisor[a];
        lPlaneY[a] /= lDivisor[a];
        lPlaneZ[a] /= lDivisor[a];
    }
    for (int a = 0; a < 3; ++a)
        if (MoxEqual(lX[a], 0.0, sgVerticalPlaneTolerance)) lX[a] = 1.0;
    // Negation flips the sign bit, a NaN's too.
    for (int a = 0; a < 3; ++a) {
        pDerivativeU[a] = -lPlaneY[a] / lX[a];
        pDerivativeV[a] = -lPlaneZ[a] / lX[a];
    }
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): see the header.
void ComputeTangentsForTriangle(MoxVector4* pTangents, MoxVector4* pBinormals, const MoxVector4* pPositions,
                                const MoxVector4* pNormals, const MoxVector2* pUVs)
{
    double lDerivativeU[3];
    double lDerivativeV[3];
    SolveAxes(pPositions, pUVs, lDerivativeU, lDerivativeV);

    // Each corner: the raw tangent made perpendicular to its own normal, normalised. T[i][k] is component
    // i of corner k's tangent, N[i][k] of its normal.
    double N[3][3];
    double T[3][3];
    for (int k = 0; k < 3; ++k)
        for (int i = 0; i < 3; ++i) N[i][k] = pNormals[k][i];
    double lAlongNormal[3];
    for (int k = 0; k < 3; ++k)
        lAlongNormal[k] = lDerivativeU[0] * N[0][k] + lDerivativeU[1] * N[1][k] + lDerivativeU[2] * N[2][k];
    for (int i = 0; i < 3; ++i)
        for (int k = 0; k < 3; ++k) T[i][k] = lDerivativeU[i] - N[i][k] * lAlongNormal[k];
    double lDivisor[3];
    for (int k = 0; k < 3; ++k) lDivisor[k] = NormalizeDivisor(T[0][k], T[1][k], T[2][k]);
    for (int i = 0; i < 3; ++i)
        for (int k = 0; k < 3; ++k) T[i][k] /= lDivisor[k];

    // The handedness vote, summed corner after corner.
    double lVotes[3];
    for (int k = 0; k < 3; ++k)
        lVotes[k] = (T[1][k] * lDerivativeV[2] - T[2][k] * lDerivativeV[1]) * N[0][k] +
                    (T[2][k] * lDerivativeV[0] - T[0][k] * lDerivativeV[2]) * N[1][k] +
                    (T[0][k] * lDerivativeV[1] - T[1][k] * lDerivativeV[0]) * N[2][k];
    double lHandedness = 0.0;
    for (int k = 0; k < 3; ++k) lHandedness += lVotes[k];

    // Binormals N x T, normalised. The two comparisons differ on purpose for a NaN vote: w becomes -1.0,
    // the binormals stay as made.
    double B[3][3];
    for (int k = 0; k < 3; ++k) {
        B[0][k] = N[1][k] * T[2][k] - N[2][k] * T[1][k];
        B[1][k] = N[2][k] * T[0][k] - N[0][k] * T[2][k];
        B[2][k] = N[0][k] * T[1][k] - N[1][k] * T[0][k];
    }
    for (int k = 0; k < 3; ++k) lDivisor[k] = NormalizeDivisor(B[0][k], B[1][k], B[2][k]);
    for (int i = 0; i < 3; ++i)
        for (int k = 0; k < 3; ++k) B[i][k] /= lDivisor[k];
    const bool lRightHanded = lHandedness >= 0.0;
    const bool lMirrored = lHandedness < 0.0;
    for (int k = 0; k < 3; ++k) {
        pTangents[k] = MoxVector4(T[0][k], T[1][k], T[2][k], lRightHanded ? 1.0 : -1.0);
        pBinormals[k] =
            lMirrored ? MoxVector4(-B[0][k], -B[1][k], -B[2][k], 0.0) : MoxVector4(B[0][k], B[1][k], B[2][k], 0.0);
    }
}

}  // namespace moxsdk
