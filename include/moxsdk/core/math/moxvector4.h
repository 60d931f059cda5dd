#pragma once

#include <cmath>

namespace moxsdk {

// Four doubles (x, y, z, w). Arithmetic and comparison cover all four components; the geometric
// operations (length, dot, cross, distance, normalisation) work on x, y, z only.
class MoxVector4 {
public:
    MoxVector4() : mData{0.0, 0.0, 0.0, 0.0} {}
    MoxVector4(double pX, double pY, double pZ, double pW = 1.0) : mData{pX, pY, pZ, pW} {}

    double& operator[](int pIndex) { return mData[pIndex]; }
    const double& operator[](int pIndex) const { return mData[pIndex]; }

    MoxVector4 operator+(const MoxVector4& pV) const
    {
        return {mData[0] + pV.mData[0], mData[1] + pV.mData[1], mData[2] + pV.mData[2], mData[3] + pV.mData[3]};
    }
    MoxVector4 operator-(const MoxVector4& pV) const
    {
        return {mData[0] - pV.mData[0], mData[1] - pV.mData[1], mData[2] - pV.mData[2], mData[3] - pV.mData[3]};
    }
    MoxVector4 operator*(double pS) const { return {mData[0] * pS, mData[1] * pS, mData[2] * pS, mData[3] * pS}; }
    MoxVector4 operator/(double pS) const { return {mData[0] / pS, mData[1] / pS, mData[2] / pS, mData[3] / pS}; }
    MoxVector4 operator-() const { return {-mData[0], -mData[1], -mData[2], -mData[3]}; }
    MoxVector4& operator+=(const MoxVector4& pV) { return *this = *this + pV; }
    MoxVector4& operator-=(const MoxVector4& pV) { return *this = *this - pV; }
    bool operator==(const MoxVector4& pV) const
    {
        return mData[0] == pV.mData[0] && mData[1] == pV.mData[1] && mData[2] == pV.mData[2] && mData[3] == pV.mData[3];
    }
    bool operator!=(const MoxVector4& pV) const { return !(*this == pV); }

    double SquareLength() const { return mData[0] * mData[0] + mData[1] * mData[1] + mData[2] * mData[2]; }
    double Length() const { return std::sqrt(SquareLength()); }
    double DotProduct(const MoxVector4& pV) const
    {
        return mData[0] * pV.mData[0] + mData[1] * pV.mData[1] + mData[2] * pV.mData[2];
    }
    // x, y, z of the cross product; w = 0.
    MoxVector4 CrossProduct(const MoxVector4& pV) const
    {
        return {mData[1] * pV.mData[2] - mData[2] * pV.mData[1], mData[2] * pV.mData[0] - mData[0] * pV.mData[2],
                mData[0] * pV.mData[1] - mData[1] * pV.mData[0], 0.0};
    }
    double Distance(const MoxVector4& pV) const { return (*this - pV).Length(); }
    // Scales x, y, z to unit length and keeps w; returns the old length. A zero-length vector is left
    // unchanged, so no NaN is ever produced.
    double Normalize()
    {
        const double lLength = Length();
        if (lLength != 0.0) {
            mData[0] /= lLength;
            mData[1] /= lLength;
            mData[2] /= lLength;
        }
        return lLength;
    }

    double mData[4];
};

}  // namespace moxsdk
