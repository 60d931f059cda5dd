#pragma once
// The tangent frame of one triangle. Library-internal: this header is not installed.

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

}  // namespace moxsdk
