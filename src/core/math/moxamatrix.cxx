#include "moxsdk/core/math/moxamatrix.h"

#include <cmath>

namespace moxsdk {
namespace {

constexpr double sgDegreesToRadians = 3.14159265358979323846 / 180.0;

void Multiply(const double pA[4][4], const double pB[4][4], double pOut[4][4])
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) {
            double lSum = 0.0;
            for (int k = 0; k < 4; ++k) lSum += pA[r][k] * pB[k][c];
            pOut[r][c] = lSum;
        }
}

void SetIdentityMatrix(double pM[4][4])
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) pM[r][c] = r == c ? 1.0 : 0.0;
}

// Rotation about one axis (0 x, 1 y, 2 z) by pDegrees, row-vector convention.
void AxisRotation(int pAxis, double pDegrees, double pOut[4][4])
{
    SetIdentityMatrix(pOut);
    const double lC = std::cos(pDegrees * sgDegreesToRadians);
    const double lS = std::sin(pDegrees * sgDegreesToRadians);
    const int lA = (pAxis + 1) % 3;
    const int lB = (pAxis + 2) % 3;
    pOut[lA][lA] = lC;
    pOut[lA][lB] = lS;
    pOut[lB][lA] = -lS;
    pOut[lB][lB] = lC;
}

}  // namespace

MoxAMatrix::MoxAMatrix()
{
    SetIdentityMatrix(mData);
}

void MoxAMatrix::SetIdentity()
{
    mTranslation = MoxVector4(0.0, 0.0, 0.0, 1.0);
    mRotation = MoxVector4(0.0, 0.0, 0.0, 1.0);
    mScale = MoxVector4(1.0, 1.0, 1.0, 1.0);
    SetIdentityMatrix(mData);
}

void MoxAMatrix::SetT(const MoxVector4& pTranslation)
{
    mTranslation = pTranslation;
    Rebuild();
}

void MoxAMatrix::SetR(const MoxVector4& pRotationDegrees)
{
    mRotation = pRotationDegrees;
    Rebuild();
}

void MoxAMatrix::SetS(const MoxVector4& pScale)
{
    mScale = pScale;
    Rebuild();
}

void MoxAMatrix::SetTRS(const MoxVector4& pT, const MoxVector4& pR, const MoxVector4& pS)
{
    mTranslation = pT;
    mRotation = pR;
    mScale = pS;
    Rebuild();
}

MoxVector4 MoxAMatrix::GetT() const
{
    return MoxVector4(mData[3][0], mData[3][1], mData[3][2], 1.0);
}

MoxVector4 MoxAMatrix::MultT(const MoxVector4& pPoint) const
{
    MoxVector4 lOut(0.0, 0.0, 0.0, 0.0);
    for (int c = 0; c < 4; ++c)
        for (int k = 0; k < 4; ++k) lOut[c] += pPoint[k] * mData[k][c];
    return lOut;
}

bool MoxAMatrix::operator==(const MoxAMatrix& pOther) const
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            if (mData[r][c] != pOther.mData[r][c]) return false;
    return true;
}

// Scale, then rotation about X, Y and Z, then translation.
void MoxAMatrix::Rebuild()
{
    double lM[4][4];
    SetIdentityMatrix(lM);
    for (int i = 0; i < 3; ++i) lM[i][i] = mScale[i];
    for (int lAxis = 0; lAxis < 3; ++lAxis) {
        double lR[4][4];
        double lTmp[4][4];
        AxisRotation(lAxis, mRotation[lAxis], lR);
        Multiply(lM, lR, lTmp);
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) lM[r][c] = lTmp[r][c];
    }
    for (int c = 0; c < 3; ++c) lM[3][c] = mTranslation[c];
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) mData[r][c] = lM[r][c];
}

}  // namespace moxsdk
