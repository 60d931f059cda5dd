#include "moxsdk/core/math/moxmath.h"

#include <cmath>

namespace moxsdk {

bool MoxEqual(double pA, double pB, double pTolerance)
{
    return std::fabs(pA - pB) <= pTolerance;
}

bool MoxEqual(const MoxVector2& pA, const MoxVector2& pB, double pTolerance)
{
    return MoxEqual(pA[0], pB[0], pTolerance) && MoxEqual(pA[1], pB[1], pTolerance);
}

bool MoxEqual(const MoxVector4& pA, const MoxVector4& pB, double pTolerance)
{
    for (int i = 0; i < 4; ++i)
        if (!MoxEqual(pA[i], pB[i], pTolerance)) return false;
    return true;
}

}  // namespace moxsdk
