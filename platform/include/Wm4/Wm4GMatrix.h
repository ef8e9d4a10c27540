// Matrix of run-time size.
#pragma once

#include <vector>

#include "Wm4/Wm4GVector.h"

namespace Wm4 {

/// Dense rows x columns matrix stored row-major in one contiguous block
/// (entry (r, c) at r * columns + c); entries zero-initialised.
template <typename Real>
class GMatrix {
public:
    /// iRows x iCols zero matrix (both >= 0).
    GMatrix(int iRows = 0, int iCols = 0)
        : m_iRows(iRows), m_iCols(iCols), m_kEntry(static_cast<size_t>(iRows) * iCols, Real(0))
    {}
    /// Matrix holding a copy of iRows * iCols row-major values.
    GMatrix(int iRows, int iCols, const Real* afEntry)
        : m_iRows(iRows), m_iCols(iCols), m_kEntry(afEntry, afEntry + static_cast<size_t>(iRows) * iCols)
    {}

    /// Resizes to iRows x iCols, all entries set to zero.
    void SetSize(int iRows, int iCols)
    {
        m_iRows = iRows;
        m_iCols = iCols;
        m_kEntry.assign(static_cast<size_t>(iRows) * iCols, Real(0));
    }
    int GetRows() const { return m_iRows; }
    int GetColumns() const { return m_iCols; }
    /// Number of entries, rows * columns.
    int GetQuantity() const { return static_cast<int>(m_kEntry.size()); }

    /// Entry (row, column); unchecked.
    Real& operator()(int iRow, int iCol) { return m_kEntry[Index(iRow, iCol)]; }
    Real operator()(int iRow, int iCol) const { return m_kEntry[Index(iRow, iCol)]; }
    /// Pointer to the first entry of a row, so M[r][c] == M(r, c).
    Real* operator[](int iRow) { return m_kEntry.data() + Index(iRow, 0); }
    const Real* operator[](int iRow) const { return m_kEntry.data() + Index(iRow, 0); }
    /// Row-major entry block.
    Real* GetData() { return m_kEntry.data(); }
    const Real* GetData() const { return m_kEntry.data(); }

    GVector<Real> GetRow(int iRow) const { return GVector<Real>(m_iCols, (*this)[iRow]); }
    void SetRow(int iRow, const GVector<Real>& rkV)
    {
        for (int c = 0; c < m_iCols; ++c)
            (*this)(iRow, c) = rkV[c];
    }
    GVector<Real> GetColumn(int iCol) const
    {
        GVector<Real> kV(m_iRows);
        for (int r = 0; r < m_iRows; ++r)
            kV[r] = (*this)(r, iCol);
        return kV;
    }
    void SetColumn(int iCol, const GVector<Real>& rkV)
    {
        for (int r = 0; r < m_iRows; ++r)
            (*this)(r, iCol) = rkV[r];
    }

    /// Exact equality of shape and entries.
    bool operator==(const GMatrix& rkM) const
    {
        return m_iRows == rkM.m_iRows && m_iCols == rkM.m_iCols && m_kEntry == rkM.m_kEntry;
    }
    bool operator!=(const GMatrix& rkM) const { return !(*this == rkM); }

    /// Transposed copy (columns x rows).
    GMatrix Transpose() const
    {
        GMatrix kT(m_iCols, m_iRows);
        for (int r = 0; r < m_iRows; ++r)
            for (int c = 0; c < m_iCols; ++c)
                kT(c, r) = (*this)(r, c);
        return kT;
    }

    /// Matrix product; precondition: GetColumns() == rkM.GetRows(). O(r*c*k).
    GMatrix operator*(const GMatrix& rkM) const
    {
        GMatrix kProd(m_iRows, rkM.m_iCols);
        for (int r = 0; r < m_iRows; ++r)
            for (int k = 0; k < m_iCols; ++k) {
                const Real fA = (*this)(r, k);
                for (int c = 0; c < rkM.m_iCols; ++c)
                    kProd(r, c) += fA * rkM(k, c);
            }
        return kProd;
    }

    /// Matrix times column vector; precondition: rkV.GetSize() == GetColumns().
    GVector<Real> operator*(const GVector<Real>& rkV) const
    {
        GVector<Real> kProd(m_iRows);
        for (int r = 0; r < m_iRows; ++r) {
            Real fSum = Real(0);
            for (int c = 0; c < m_iCols; ++c)
                fSum += (*this)(r, c) * rkV[c];
            kProd[r] = fSum;
        }
        return kProd;
    }

private:
    size_t Index(int iRow, int iCol) const
    {
        return static_cast<size_t>(iRow) * static_cast<size_t>(m_iCols) + static_cast<size_t>(iCol);
    }

    int m_iRows;
    int m_iCols;
    std::vector<Real> m_kEntry;
};

typedef GMatrix<float> GMatrixf;
typedef GMatrix<double> GMatrixd;

}  // namespace Wm4
