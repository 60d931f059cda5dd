#pragma once
// Reads a fuzzer's input as a stream of small numbers. Past the end every read yields 0, so any input
// decodes to a finite, valid sequence of operations.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace moxfuzz {

class Input {
public:
    Input(const uint8_t* pData, size_t pSize) : mData(pData), mSize(pSize) {}

    bool Empty() const { return mPosition >= mSize; }
    uint8_t Byte() { return mPosition < mSize ? mData[mPosition++] : 0; }
    bool Bool() { return (Byte() & 1) != 0; }
    // A value in [0, pCount); 0 for pCount <= 0.
    int Below(int pCount) { return pCount <= 0 ? 0 : static_cast<int>(Word() % static_cast<uint32_t>(pCount)); }
    // A value in [pLow, pHigh].
    int Range(int pLow, int pHigh) { return pLow + Below(pHigh - pLow + 1); }
    uint32_t Word()
    {
        uint32_t lValue = 0;
        for (int i = 0; i < 4; ++i) lValue = (lValue << 8) | Byte();
        return lValue;
    }
    // A small index, mostly in range, sometimes negative or far past pCount.
    int Index(int pCount)
    {
        switch (Byte() % 8) {
            case 0:
                return -1 - Below(3);
            case 1:
                return pCount + Below(3);
            default:
                return Below(pCount > 0 ? pCount : 1);
        }
    }
    double Coordinate() { return (static_cast<int>(Byte()) - 128) / 16.0; }

private:
    const uint8_t* mData;
    size_t mSize;
    size_t mPosition = 0;
};

}  // namespace moxfuzz
