// 3x3 row-major matrix: rotations, covariances, quadrics.
#pragma once

#include "Wm4/Wm4MatrixBase.h"
#include "Wm4/Wm4Vector3.h"

namespace Wm4 {

/// 3x3 matrix stored row-major as `Real m_afEntry[9]`; vectors are columns
/// (M * v). Shared arithmetic, products and transposes come from MatrixBase.
template <typename Real>
class Matrix3 : public MatrixBase<Matrix3<Real>, Real, 3, Vector3<Real>> {
    using Base = MatrixBase<Matrix3<Real>, Real, 3, Vector3<Real>>;

public:
    /// Zero matrix when bZero is true (the default), identity otherwise.
    constexpr Matrix3(bool bZero = true) : m_afEntry{}
    {
        if (!bZero)
            m_afEntry[0] = m_afEntry[4] = m_afEntry[8] = Real(1);
    }
    /// From all entries, row by row.
    constexpr Matrix3(Real fM00, Real fM01, Real fM02, Real fM10, Real fM11, Real fM12, Real fM20, Real fM21,
                      Real fM22)
        : m_afEntry{fM00, fM01, fM02, fM10, fM11, fM12, fM20, fM21, fM22}
    {}
    /// From 9 contiguous entries in row-major order (precondition: non-null).
    explicit Matrix3(const Real* afEntry)
    {
        for (int i = 0; i < 9; ++i)
            m_afEntry[i] = afEntry[i];
    }
    /// Diagonal matrix diag(d0, d1, d2).
    constexpr Matrix3(Real fD0, Real fD1, Real fD2)
        : m_afEntry{fD0, Real(0), Real(0), Real(0), fD1, Real(0), Real(0), Real(0), fD2}
    {}
    constexpr Matrix3(const Matrix3&) = default;
    Matrix3& operator=(const Matrix3&) = default;

    /// Sets this = rkU * rkV^T (the outer product) and returns *this.
    Matrix3& MakeTensorProduct(const Vector3<Real>& rkU, const Vector3<Real>& rkV)
    {
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                m_afEntry[3 * r + c] = rkU[r] * rkV[c];
        return *this;
    }

    /// Sets this = diag(d0, d1, d2) and returns *this.
    Matrix3& MakeDiagonal(Real fD0, Real fD1, Real fD2) { return *this = Matrix3(fD0, fD1, fD2); }

    /// Sets the rotation by fAngle radians (counter-clockwise, right hand)
    /// about rkAxis, which must be unit length; returns *this.
    Matrix3& FromAxisAngle(const Vector3<Real>& rkAxis, Real fAngle)
    {
        const Real fCos = std::cos(fAngle), fSin = std::sin(fAngle);
        const Real fOneMinusCos = Real(1) - fCos;
        const Real fX = rkAxis.X(), fY = rkAxis.Y(), fZ = rkAxis.Z();
        *this = Matrix3(fX * fX * fOneMinusCos + fCos, fX * fY * fOneMinusCos - fZ * fSin,
                        fX * fZ * fOneMinusCos + fY * fSin, fX * fY * fOneMinusCos + fZ * fSin,
                        fY * fY * fOneMinusCos + fCos, fY * fZ * fOneMinusCos - fX * fSin,
                        fX * fZ * fOneMinusCos - fY * fSin, fY * fZ * fOneMinusCos + fX * fSin,
                        fZ * fZ * fOneMinusCos + fCos);
        return *this;
    }

    /// Determinant by cofactor expansion along the first row.
    Real Determinant() const
    {
        const Real* m = m_afEntry;
        return m[0] * (m[4] * m[8] - m[5] * m[7]) + m[1] * (m[5] * m[6] - m[3] * m[8]) +
               m[2] * (m[3] * m[7] - m[4] * m[6]);
    }

    /// Inverse by cofactors (adjugate / determinant). Returns ZERO for a
    /// singular matrix: |det| <= ZERO_TOLERANCE * (product of row lengths).
    Matrix3 Inverse() const
    {
        const Real* m = m_afEntry;
        Matrix3 kAdj(m[4] * m[8] - m[5] * m[7], m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],
                     m[5] * m[6] - m[3] * m[8], m[0] * m[8] - m[2] * m[6], m[2] * m[3] - m[0] * m[5],
                     m[3] * m[7] - m[4] * m[6], m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[1] * m[3]);
        const Real fDet = m[0] * kAdj.m_afEntry[0] + m[1] * kAdj.m_afEntry[3] + m[2] * kAdj.m_afEntry[6];
        return Base::FinishInverse(kAdj, fDet);
    }

    static const Matrix3 ZERO;
    static const Matrix3 IDENTITY;

private:
    friend Base;
    Real m_afEntry[9];
};

template <typename Real>
const Matrix3<Real> Matrix3<Real>::ZERO(true);
template <typename Real>
const Matrix3<Real> Matrix3<Real>::IDENTITY(false);

typedef Matrix3<float> Matrix3f;
typedef Matrix3<double> Matrix3d;

}  // namespace Wm4
