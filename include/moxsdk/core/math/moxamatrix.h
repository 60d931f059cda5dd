#pragma once

#include "moxsdk/core/math/moxvector4.h"

namespace moxsdk {

// A 4x4 affine transform of doubles, row-vector convention: mData[3] holds the translation.
// Identity by default. The setters rebuild the matrix from translation, rotation (Euler angles in
// degrees, applied X then Y then Z) and scale kept beside it.
class MoxAMatrix {
public:
    MoxAMatrix();

    void SetIdentity();
    void SetT(const MoxVector4& pTranslation);
    void SetR(const MoxVector4& pRotationDegrees);
    void SetS(const MoxVector4& pScale);
    void SetTRS(const MoxVector4& pT, const MoxVector4& pR, const MoxVector4& pS);
    MoxVector4 GetT() const;
    MoxVector4 GetR() const { return mRotation; }
    MoxVector4 GetS() const { return mScale; }

    double Get(int pRow, int pColumn) const { return mData[pRow][pColumn]; }
    MoxVector4 MultT(const MoxVector4& pPoint) const;

    bool operator==(const MoxAMatrix& pOther) const;
    bool operator!=(const MoxAMatrix& pOther) const { return !(*this == pOther); }

    double mData[4][4];

private:
    void Rebuild();

    MoxVector4 mTranslation{0.0, 0.0, 0.0, 1.0};
    MoxVector4 mRotation{0.0, 0.0, 0.0, 1.0};
    MoxVector4 mScale{1.0, 1.0, 1.0, 1.0};
};

}  // namespace moxsdk
