#pragma once
// The tangent frame of a triangle, one triangle at a time or several side by side. Library-internal:
// this header is not installed.

#include "moxsdk/core/math/moxvector2.h"
#include "moxsdk/core/math/moxvector4.h"

namespace moxsdk {

// Per-corner tangents and binormals of the triangle (pPositions[0..2], pNormals[0..2], pUVs[0..2]).
//
// For each axis i (x, y, z) the plane through the three points (P[i], u, v) gives the derivatives of
// that position component along u and v: with n the normalised plane normal, dP[i]/du = -n[1] / n[0]
// and dP[i]/dv = -n[2] / n[0]. When |n[0]| <= 1e-06 (the UVs are degenerate for this axis) n[0] is
// taken as 1.0, so the derivatives are -n[1] and -n[2] rather than a division by almost zero. The
// negations flip sign bits, so a zero derivative carries the sign that flip gives it.
//
// Every corner starts from the same raw tangent dP/du, made perpendicular to its own normal (one
// Gram-Schmidt step) and normalised. The handedness is one vote over the triangle: s, the sum over the
// corners of ((T x dP/dv) . N), gives every tangent w = +1.0 when s >= 0.0 and -1.0 otherwise (a NaN
// sum gives -1.0). The binormal of a corner is N x T normalised, with x, y and z negated when s < 0.0
// (a NaN sum leaves them as they are); its w is the cross product's 0.0.
//
// Writes only the three tangents and three binormals; nothing is reported. Degenerate input gives what
// the arithmetic gives (MoxVector4::Normalize leaves a zero vector as it is).
// NOLINTNEXTLINE(readability-identifier-naming): the tangent pass's own name for it; not part of the API.
void ComputeTangentsForTriangle(MoxVector4* pTangents, MoxVector4* pBinormals, const MoxVector4* pPositions,
                                const MoxVector4* pNormals, const MoxVector2* pUVs);

namespace detail {

// Triangles computed side by side, one per lane.
constexpr int sgTangentLanes = 8;

// The inputs of up to sgTangentLanes triangles, component by component (lane l holds triangle l), and
// their frames. Lanes the caller does not fill are computed too, from whatever they hold.
struct MoxTangentBatch {
    double mPositions[3][3][sgTangentLanes] = {};  // [corner][x, y, z][lane]
    double mNormals[3][3][sgTangentLanes] = {};    // [corner][x, y, z][lane]
    double mUVs[3][2][sgTangentLanes] = {};        // [corner][u, v][lane]
    MoxVector4 mTangents[sgTangentLanes][3];       // [lane][corner]
    MoxVector4 mBinormals[sgTangentLanes][3];      // [lane][corner]

    void SetCorner(int pLane, int pCorner, const MoxVector4& pPosition, const MoxVector4& pNormal,
                   const MoxVector2& pUV)
    {
        for (int i = 0; i < 3; ++i) {
            mPositions[pCorner][i][pLane] = pPosition[i];
            mNormals[pCorner][i][pLane] = pNormal[i];
        }
        mUVs[pCorner][0][pLane] = pUV[0];
        mUVs[pCorner][1][pLane] = pUV[1];
    }
};

// The frames of every lane's triangle, each exactly as ComputeTangentsForTriangle gives them.
void MoxComputeTangentBatch(MoxTangentBatch& pBatch);

}  // namespace detail
}  // namespace moxsdk
