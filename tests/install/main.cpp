// Uses the installed (or add_subdirectory'd) library the way an outside program would: through the
// umbrella header and the moxsdk::moxsdk target. Exits non-zero when a value is not as expected.
#include <cstdio>
#include <cstring>

#include <moxsdk.h>

int main()
{
    using namespace moxsdk;
    int lFailures = 0;
    auto lExpect = [&lFailures](bool pOk, const char* pWhat) {
        if (!pOk) {
            std::fprintf(stderr, "moxsdk consumer: %s failed\n", pWhat);
            ++lFailures;
        }
    };

    MoxArray<int> lNumbers;
    for (int i = 0; i < 100; ++i) lNumbers.Add(i * i);
    lExpect(lNumbers.GetCount() == 100, "MoxArray::Add count");
    lExpect(lNumbers[99] == 9801, "MoxArray element");
    lExpect(lNumbers.Find(49) == 7, "MoxArray::Find");

    MoxString lName("torus");
    lExpect(std::strcmp(lName.Buffer(), "torus") == 0, "MoxString::Buffer");
    lExpect(lName == MoxString("torus") && lName != "cube", "MoxString comparison");

    MoxVector4 lAxis = MoxVector4(1, 0, 0).CrossProduct(MoxVector4(0, 1, 0));
    lExpect(MoxEqual(lAxis, MoxVector4(0, 0, 1, 0), 0.0), "MoxVector4::CrossProduct");

    if (lFailures == 0) std::printf("moxsdk consumer: ok\n");
    return lFailures == 0 ? 0 : 1;
}
