// Operations shared by the square matrices Matrix3 and Matrix4.
#pragma once

#include <cmath>

#include "Wm4/Wm4Math.h"

namespace Wm4 {

/// Base of the square row-major matrices, written once through CRTP.
/// Derived holds the only data member, `Real m_afEntry[N * N]` (entry (r, c)
/// at index r * N + c), has a `Derived(bool bZero)` constructor, and declares
/// this base a friend. Vec is the matching N-component vector type.
/// Vectors are columns: M * v transforms v, v * M is the row-vector product.
template <typename Derived, typename Real, int N, typename Vec>
class MatrixBase {
public:
    /// Entry at (row, column); no bounds check.
    Real& operator()(int iRow, int iCol) { return Data()[iRow * N + iCol]; }
    Real operator()(int iRow, int iCol) const { return Data()[iRow * N + iCol]; }

    /// Pointer to the N entries of a row, so M[r][c] == M(r, c).
    Real* operator[](int iRow) { return Data() + iRow * N; }
    const Real* operator[](int iRow) const { return Data() + iRow * N; }

    /// Row-major entry array (N * N contiguous values).
    Real* GetData() { return Data(); }
    const Real* GetData() const { return Data(); }

    void SetRow(int iRow, const Vec& rkV)
    {
        for (int c = 0; c < N; ++c)
            (*this)(iRow, c) = rkV[c];
    }
    Vec GetRow(int iRow) const
    {
        Vec kV;
        for (int c = 0; c < N; ++c)
            kV[c] = (*this)(iRow, c);
        return kV;
    }
    void SetColumn(int iCol, const Vec& rkV)
    {
        for (int r = 0; r < N; ++r)
            (*this)(r, iCol) = rkV[r];
    }
    Vec GetColumn(int iCol) const
    {
        Vec kV;
        for (int r = 0; r < N; ++r)
            kV[r] = (*this)(r, iCol);
        return kV;
    }

    /// Sets all entries to 0.
    void MakeZero() { Self() = Derived(true); }
    /// Sets the identity.
    void MakeIdentity() { Self() = Derived(false); }

    /// Exact entry-wise equality.
    bool operator==(const Derived& rkM) const
    {
        for (int i = 0; i < N * N; ++i)
            if (!(Data()[i] == rkM.m_afEntry[i]))
                return false;
        return true;
    }
    bool operator!=(const Derived& rkM) const { return !(*this == rkM); }

    Derived& operator+=(const Derived& rkM)
    {
        for (int i = 0; i < N * N; ++i)
            Data()[i] += rkM.m_afEntry[i];
        return Self();
    }
    Derived& operator-=(const Derived& rkM)
    {
        for (int i = 0; i < N * N; ++i)
            Data()[i] -= rkM.m_afEntry[i];
        return Self();
    }
    Derived& operator*=(Real fScalar)
    {
        for (int i = 0; i < N * N; ++i)
            Data()[i] *= fScalar;
        return Self();
    }
    /// Entry-wise true division by a scalar.
    Derived& operator/=(Real fScalar)
    {
        for (int i = 0; i < N * N; ++i)
            Data()[i] /= fScalar;
        return Self();
    }
    /// this = this * rkM.
    Derived& operator*=(const Derived& rkM) { return Self() = (*this) * rkM; }

    Derived operator+(const Derived& rkM) const { return Derived(Self()) += rkM; }
    Derived operator-(const Derived& rkM) const { return Derived(Self()) -= rkM; }
    Derived operator*(Real fScalar) const { return Derived(Self()) *= fScalar; }
    Derived operator/(Real fScalar) const { return Derived(Self()) /= fScalar; }
    Derived operator-() const { return Derived(Self()) *= Real(-1); }

    /// Matrix product this * rkM. O(N^3).
    Derived operator*(const Derived& rkM) const
    {
        Derived kProd(true);
        for (int r = 0; r < N; ++r)
            for (int c = 0; c < N; ++c) {
                Real fSum = Real(0);
                for (int k = 0; k < N; ++k)
                    fSum += (*this)(r, k) * rkM(k, c);
                kProd(r, c) = fSum;
            }
        return kProd;
    }

    /// this * v with v a column vector.
    Vec operator*(const Vec& rkV) const
    {
        Vec kProd;
        for (int r = 0; r < N; ++r) {
            Real fSum = Real(0);
            for (int c = 0; c < N; ++c)
                fSum += (*this)(r, c) * rkV[c];
            kProd[r] = fSum;
        }
        return kProd;
    }

    /// Row vector times matrix: v^T * M (equal to M^T * v).
    friend Vec operator*(const Vec& rkV, const Derived& rkM)
    {
        Vec kProd;
        for (int c = 0; c < N; ++c) {
            Real fSum = Real(0);
            for (int r = 0; r < N; ++r)
                fSum += rkV[r] * rkM(r, c);
            kProd[c] = fSum;
        }
        return kProd;
    }

    /// scalar * matrix.
    friend Derived operator*(Real fScalar, const Derived& rkM) { return rkM * fScalar; }

    /// Transposed copy.
    Derived Transpose() const
    {
        Derived kT(true);
        for (int r = 0; r < N; ++r)
            for (int c = 0; c < N; ++c)
                kT(c, r) = (*this)(r, c);
        return kT;
    }
    /// this^T * rkM, without forming the transpose.
    Derived TransposeTimes(const Derived& rkM) const
    {
        Derived kProd(true);
        for (int r = 0; r < N; ++r)
            for (int c = 0; c < N; ++c) {
                Real fSum = Real(0);
                for (int k = 0; k < N; ++k)
                    fSum += (*this)(k, r) * rkM(k, c);
                kProd(r, c) = fSum;
            }
        return kProd;
    }
    /// this * rkM^T, without forming the transpose.
    Derived TimesTranspose(const Derived& rkM) const
    {
        Derived kProd(true);
        for (int r = 0; r < N; ++r)
            for (int c = 0; c < N; ++c) {
                Real fSum = Real(0);
                for (int k = 0; k < N; ++k)
                    fSum += (*this)(r, k) * rkM(c, k);
                kProd(r, c) = fSum;
            }
        return kProd;
    }

    /// Quadratic form u^T * this * v.
    Real QForm(const Vec& rkU, const Vec& rkV) const { return rkU.Dot((*this) * rkV); }

protected:
    Derived& Self() { return static_cast<Derived&>(*this); }
    const Derived& Self() const { return static_cast<const Derived&>(*this); }
    Real* Data() { return Self().m_afEntry; }
    const Real* Data() const { return Self().m_afEntry; }

    /// Finishes a cofactor inverse: returns adjugate / det, or ZERO when the
    /// matrix is singular. Singular means |det| <= ZERO_TOLERANCE times the
    /// product of the row lengths (Hadamard's bound on |det|), a scale-free
    /// test: a uniformly scaled well-conditioned matrix is never singular,
    /// rank-deficient ones with rounding noise in det are. A zero row, a
    /// non-finite det or a non-finite result also give ZERO.
    Derived FinishInverse(Derived kAdjugate, Real fDet) const
    {
        Real fRowProduct = Real(1);
        for (int r = 0; r < N; ++r)
            fRowProduct *= GetRow(r).Length();
        const bool bSingular =
            !(std::fabs(fDet) > Math<Real>::ZERO_TOLERANCE * fRowProduct) || !std::isfinite(fDet);
        if (bSingular)
            return Derived(true);
        kAdjugate /= fDet;
        for (int i = 0; i < N * N; ++i)
            if (!std::isfinite(kAdjugate.m_afEntry[i]))
                return Derived(true);
        return kAdjugate;
    }
};

}  // namespace Wm4
