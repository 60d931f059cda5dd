#pragma once

namespace moxsdk {

// Two doubles, (0, 0) by default; every operator works componentwise.
class MoxVector2 {
public:
    MoxVector2() : mData{0.0, 0.0} {}
    MoxVector2(double pX, double pY) : mData{pX, pY} {}

    double& operator[](int pIndex) { return mData[pIndex]; }
    const double& operator[](int pIndex) const { return mData[pIndex]; }

    MoxVector2 operator+(const MoxVector2& pV) const { return {mData[0] + pV.mData[0], mData[1] + pV.mData[1]}; }
    MoxVector2 operator-(const MoxVector2& pV) const { return {mData[0] - pV.mData[0], mData[1] - pV.mData[1]}; }
    MoxVector2 operator*(const MoxVector2& pV) const { return {mData[0] * pV.mData[0], mData[1] * pV.mData[1]}; }
    MoxVector2 operator/(const MoxVector2& pV) const { return {mData[0] / pV.mData[0], mData[1] / pV.mData[1]}; }
    MoxVector2 operator*(double pS) const { return {mData[0] * pS, mData[1] * pS}; }
    MoxVector2 operator/(double pS) const { return {mData[0] / pS, mData[1] / pS}; }
    MoxVector2& operator+=(const MoxVector2& pV) { return *this = *this + pV; }
    MoxVector2& operator-=(const MoxVector2& pV) { return *this = *this - pV; }
    bool operator==(const MoxVector2& pV) const { return mData[0] == pV.mData[0] && mData[1] == pV.mData[1]; }
    bool operator!=(const MoxVector2& pV) const { return !(*this == pV); }

    double mData[2];
};

}  // namespace moxsdk
