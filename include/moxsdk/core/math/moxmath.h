#pragma once
// Tolerant comparisons of values.

#include "moxsdk/core/math/moxvector2.h"
#include "moxsdk/core/math/moxvector4.h"

namespace moxsdk {

// |pA - pB| <= pTolerance.
bool MoxEqual(double pA, double pB, double pTolerance);
// Every component within the tolerance.
bool MoxEqual(const MoxVector2& pA, const MoxVector2& pB, double pTolerance);
// All four components within the tolerance.
bool MoxEqual(const MoxVector4& pA, const MoxVector4& pB, double pTolerance);

}  // namespace moxsdk
