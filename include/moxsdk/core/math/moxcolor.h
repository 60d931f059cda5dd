#pragma once

namespace moxsdk {

// An RGBA colour of four doubles; opaque black by default.
class MoxColor {
public:
    MoxColor() = default;
    MoxColor(double pRed, double pGreen, double pBlue, double pAlpha = 1.0)
        : mRed(pRed), mGreen(pGreen), mBlue(pBlue), mAlpha(pAlpha)
    {}
    bool operator==(const MoxColor& pC) const
    {
        return mRed == pC.mRed && mGreen == pC.mGreen && mBlue == pC.mBlue && mAlpha == pC.mAlpha;
    }
    bool operator!=(const MoxColor& pC) const { return !(*this == pC); }

    double mRed = 0.0;
    double mGreen = 0.0;
    double mBlue = 0.0;
    double mAlpha = 1.0;
};

}  // namespace moxsdk
