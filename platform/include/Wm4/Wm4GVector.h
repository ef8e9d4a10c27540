// Vector of run-time size.
#pragma once

#include <cmath>
#include <vector>

namespace Wm4 {

/// Dense vector whose size is chosen at run time; entries zero-initialised.
template <typename Real>
class GVector {
public:
    /// Vector of iSize zeros (iSize >= 0).
    explicit GVector(int iSize = 0) : m_kTuple(static_cast<size_t>(iSize), Real(0)) {}
    /// Vector holding a copy of iSize contiguous values (precondition:
    /// afTuple points to at least iSize values).
    GVector(int iSize, const Real* afTuple) : m_kTuple(afTuple, afTuple + iSize) {}

    /// Resizes to iSize entries, all set to zero.
    void SetSize(int iSize) { m_kTuple.assign(static_cast<size_t>(iSize), Real(0)); }
    int GetSize() const { return static_cast<int>(m_kTuple.size()); }

    /// Entry i (0 <= i < GetSize(); unchecked).
    Real& operator[](int i) { return m_kTuple[static_cast<size_t>(i)]; }
    Real operator[](int i) const { return m_kTuple[static_cast<size_t>(i)]; }

    /// Contiguous entries (nullptr for an empty vector is possible).
    Real* GetData() { return m_kTuple.data(); }
    const Real* GetData() const { return m_kTuple.data(); }

    /// Dot product. Precondition: equal sizes. O(n).
    Real Dot(const GVector& rkV) const
    {
        Real fDot = Real(0);
        for (size_t i = 0; i < m_kTuple.size(); ++i)
            fDot += m_kTuple[i] * rkV.m_kTuple[i];
        return fDot;
    }
    Real SquaredLength() const { return Dot(*this); }
    Real Length() const { return std::sqrt(SquaredLength()); }

    /// Exact entry-wise equality (sizes must match too).
    bool operator==(const GVector& rkV) const { return m_kTuple == rkV.m_kTuple; }
    bool operator!=(const GVector& rkV) const { return !(*this == rkV); }

    /// Entry-wise sum and difference; precondition: equal sizes.
    GVector operator+(const GVector& rkV) const
    {
        GVector kSum(*this);
        for (size_t i = 0; i < m_kTuple.size(); ++i)
            kSum.m_kTuple[i] += rkV.m_kTuple[i];
        return kSum;
    }
    GVector operator-(const GVector& rkV) const { return *this + rkV * Real(-1); }
    GVector operator*(Real fScalar) const
    {
        GVector kProd(*this);
        for (Real& rfV : kProd.m_kTuple)
            rfV *= fScalar;
        return kProd;
    }

private:
    std::vector<Real> m_kTuple;
};

typedef GVector<float> GVectorf;
typedef GVector<double> GVectord;

}  // namespace Wm4
