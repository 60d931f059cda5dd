// Builds a small mesh and prints it.
#include <cstdio>

#include "moxsdk.h"

int main()
{
    using namespace moxsdk;
    MoxArray<MoxVector4> lPoints;
    lPoints.Add(MoxVector4(0, 0, 0));
    lPoints.Add(MoxVector4(1, 0, 0));
    lPoints.Add(MoxVector4(1, 1, 0));
    lPoints.Add(MoxVector4(0, 1, 0));
    for (const MoxVector4& lPoint : lPoints) std::printf("%g %g %g\n", lPoint[0], lPoint[1], lPoint[2]);
    return 0;
}
