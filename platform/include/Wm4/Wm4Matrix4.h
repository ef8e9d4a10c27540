// 4x4 row-major matrix: affine and projective transforms.
#pragma once

#include "Wm4/Wm4Matrix3.h"
#include "Wm4/Wm4MatrixBase.h"
#include "Wm4/Wm4Vector3.h"
#include "Wm4/Wm4Vector4.h"

namespace Wm4 {

/// 4x4 matrix stored row-major as `Real m_afEntry[16]`; vectors are columns
/// (M * v), so an affine transform has its translation in the last column.
/// Shared arithmetic, products and transposes come from MatrixBase.
template <typename Real>
class Matrix4 : public MatrixBase<Matrix4<Real>, Real, 4, Vector4<Real>> {
    using Base = MatrixBase<Matrix4<Real>, Real, 4, Vector4<Real>>;

public:
    /// Zero matrix when bZero is true (the default), identity otherwise.
    constexpr Matrix4(bool bZero = true) : m_afEntry{}
    {
        if (!bZero)
            m_afEntry[0] = m_afEntry[5] = m_afEntry[10] = m_afEntry[15] = Real(1);
    }
    /// From all entries, row by row.
    constexpr Matrix4(Real fM00, Real fM01, Real fM02, Real fM03, Real fM10, Real fM11, Real fM12, Real fM13,
                      Real fM20, Real fM21, Real fM22, Real fM23, Real fM30, Real fM31, Real fM32, Real fM33)
        : m_afEntry{fM00, fM01, fM02, fM03, fM10, fM11, fM12, fM13,
                    fM20, fM21, fM22, fM23, fM30, fM31, fM32, fM33}
    {}
    /// From 16 contiguous entries in row-major order (precondition: non-null).
    explicit Matrix4(const Real* afEntry)
    {
        for (int i = 0; i < 16; ++i)
            m_afEntry[i] = afEntry[i];
    }
    /// Affine transform p -> rkLinear * p + rkTranslation (last row 0 0 0 1).
    Matrix4(const Matrix3<Real>& rkLinear, const Vector3<Real>& rkTranslation) : Matrix4(false)
    {
        SetMatrix3(rkLinear);
        SetTranslation(rkTranslation);
    }
    constexpr Matrix4(const Matrix4&) = default;
    Matrix4& operator=(const Matrix4&) = default;

    /// Upper-left 3x3 block (the linear part of an affine transform).
    Matrix3<Real> GetMatrix3() const
    {
        Matrix3<Real> kM;
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                kM(r, c) = m_afEntry[4 * r + c];
        return kM;
    }
    /// Replaces the upper-left 3x3 block; the other entries are kept.
    void SetMatrix3(const Matrix3<Real>& rkM)
    {
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                m_afEntry[4 * r + c] = rkM(r, c);
    }
    /// First three entries of the last column (the translation).
    Vector3<Real> GetTranslation() const { return Vector3<Real>(m_afEntry[3], m_afEntry[7], m_afEntry[11]); }
    void SetTranslation(const Vector3<Real>& rkT)
    {
        m_afEntry[3] = rkT.X();
        m_afEntry[7] = rkT.Y();
        m_afEntry[11] = rkT.Z();
    }

    /// Transforms a point: M * (p, 1), divided by the resulting w unless w
    /// is 1 or 0 (an affine matrix gives exactly the affine image).
    Vector3<Real> TransformPoint(const Vector3<Real>& rkP) const
    {
        const Vector4<Real> kH = (*this) * Vector4<Real>(rkP.X(), rkP.Y(), rkP.Z(), Real(1));
        Vector3<Real> kResult(kH.X(), kH.Y(), kH.Z());
        if (kH.W() != Real(1) && kH.W() != Real(0))
            kResult /= kH.W();
        return kResult;
    }
    /// Transforms a direction: M * (v, 0), i.e. the 3x3 block only.
    Vector3<Real> TransformVector(const Vector3<Real>& rkV) const
    {
        const Vector4<Real> kH = (*this) * Vector4<Real>(rkV.X(), rkV.Y(), rkV.Z(), Real(0));
        return Vector3<Real>(kH.X(), kH.Y(), kH.Z());
    }

    /// Determinant by the Laplace expansion over the 2x2 minors of the
    /// first two and the last two rows.
    Real Determinant() const
    {
        Real afA[6], afB[6];
        Minors(afA, afB);
        return Combine(afA, afB);
    }

    /// Inverse by cofactors (adjugate / determinant). Returns ZERO for a
    /// singular matrix: |det| <= ZERO_TOLERANCE * (product of row lengths).
    Matrix4 Inverse() const
    {
        Real a[6], b[6];
        Minors(a, b);
        const Real* m = m_afEntry;
        Matrix4 kAdj(+m[5] * b[5] - m[6] * b[4] + m[7] * b[3], -m[1] * b[5] + m[2] * b[4] - m[3] * b[3],
                     +m[13] * a[5] - m[14] * a[4] + m[15] * a[3], -m[9] * a[5] + m[10] * a[4] - m[11] * a[3],
                     -m[4] * b[5] + m[6] * b[2] - m[7] * b[1], +m[0] * b[5] - m[2] * b[2] + m[3] * b[1],
                     -m[12] * a[5] + m[14] * a[2] - m[15] * a[1], +m[8] * a[5] - m[10] * a[2] + m[11] * a[1],
                     +m[4] * b[4] - m[5] * b[2] + m[7] * b[0], -m[0] * b[4] + m[1] * b[2] - m[3] * b[0],
                     +m[12] * a[4] - m[13] * a[2] + m[15] * a[0], -m[8] * a[4] + m[9] * a[2] - m[11] * a[0],
                     -m[4] * b[3] + m[5] * b[1] - m[6] * b[0], +m[0] * b[3] - m[1] * b[1] + m[2] * b[0],
                     -m[12] * a[3] + m[13] * a[1] - m[14] * a[0], +m[8] * a[3] - m[9] * a[1] + m[10] * a[0]);
        return Base::FinishInverse(kAdj, Combine(a, b));
    }

    static const Matrix4 ZERO;
    static const Matrix4 IDENTITY;

private:
    friend Base;

    // 2x2 minors of rows 0-1 (afA) and rows 2-3 (afB), columns in the order
    // (01, 02, 03, 12, 13, 23).
    void Minors(Real afA[6], Real afB[6]) const
    {
        const Real* m = m_afEntry;
        afA[0] = m[0] * m[5] - m[1] * m[4];
        afA[1] = m[0] * m[6] - m[2] * m[4];
        afA[2] = m[0] * m[7] - m[3] * m[4];
        afA[3] = m[1] * m[6] - m[2] * m[5];
        afA[4] = m[1] * m[7] - m[3] * m[5];
        afA[5] = m[2] * m[7] - m[3] * m[6];
        afB[0] = m[8] * m[13] - m[9] * m[12];
        afB[1] = m[8] * m[14] - m[10] * m[12];
        afB[2] = m[8] * m[15] - m[11] * m[12];
        afB[3] = m[9] * m[14] - m[10] * m[13];
        afB[4] = m[9] * m[15] - m[11] * m[13];
        afB[5] = m[10] * m[15] - m[11] * m[14];
    }
    // Determinant from the complementary minors.
    static Real Combine(const Real afA[6], const Real afB[6])
    {
        return afA[0] * afB[5] - afA[1] * afB[4] + afA[2] * afB[3] + afA[3] * afB[2] - afA[4] * afB[1] +
               afA[5] * afB[0];
    }

    Real m_afEntry[16];
};

template <typename Real>
const Matrix4<Real> Matrix4<Real>::ZERO(true);
template <typename Real>
const Matrix4<Real> Matrix4<Real>::IDENTITY(false);

typedef Matrix4<float> Matrix4f;
typedef Matrix4<double> Matrix4d;

}  // namespace Wm4
