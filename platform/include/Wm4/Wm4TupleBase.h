// Component-wise arithmetic shared by the fixed-size tuples (vectors and colours).
#pragma once

#include <type_traits>

namespace Wm4 {

/// Base of the fixed-size tuple types (Vector2/3/4, ColorRGB/RGBA), written
/// once through CRTP. The base is empty: the derived class holds the only data
/// member, `Real m_afTuple[N]`, so the derived type stays standard-layout with
/// sizeof == N * sizeof(Real) and can alias interleaved arrays of Real.
/// The derived class must declare this base a friend.
template <typename Derived, typename Real, int N>
class TupleBase {
public:
    /// Component i (0 <= i < N; unchecked). Templated on the index type so
    /// that any integral index picks this operator rather than the built-in
    /// subscript through a pointer conversion of a derived vector.
    template <typename Index, typename std::enable_if<std::is_integral<Index>::value, int>::type = 0>
    Real& operator[](Index i)
    {
        return Data()[i];
    }
    template <typename Index, typename std::enable_if<std::is_integral<Index>::value, int>::type = 0>
    Real operator[](Index i) const
    {
        return Data()[i];
    }

    /// Component-wise equality of the values (so 0 == -0 and NaN != NaN).
    bool operator==(const Derived& rkT) const
    {
        for (int i = 0; i < N; ++i)
            if (!(Data()[i] == rkT.m_afTuple[i]))
                return false;
        return true;
    }
    bool operator!=(const Derived& rkT) const { return !(*this == rkT); }

    /// Lexicographic order on the component values (a strict weak order for
    /// NaN-free tuples), so tuples can be keys of std::map / std::set.
    bool operator<(const Derived& rkT) const
    {
        for (int i = 0; i < N; ++i) {
            if (Data()[i] < rkT.m_afTuple[i])
                return true;
            if (rkT.m_afTuple[i] < Data()[i])
                return false;
        }
        return false;
    }

    Derived operator+(const Derived& rkT) const { return Derived(Self()) += rkT; }
    Derived operator-(const Derived& rkT) const { return Derived(Self()) -= rkT; }
    Derived operator*(Real fScalar) const { return Derived(Self()) *= fScalar; }
    /// Division by a scalar; a zero scalar gives infinities/NaN as IEEE does.
    Derived operator/(Real fScalar) const { return Derived(Self()) /= fScalar; }
    Derived operator-() const
    {
        Derived kResult(Self());
        for (int i = 0; i < N; ++i)
            kResult.m_afTuple[i] = -kResult.m_afTuple[i];
        return kResult;
    }

    Derived& operator+=(const Derived& rkT)
    {
        for (int i = 0; i < N; ++i)
            Data()[i] += rkT.m_afTuple[i];
        return Self();
    }
    Derived& operator-=(const Derived& rkT)
    {
        for (int i = 0; i < N; ++i)
            Data()[i] -= rkT.m_afTuple[i];
        return Self();
    }
    Derived& operator*=(Real fScalar)
    {
        for (int i = 0; i < N; ++i)
            Data()[i] *= fScalar;
        return Self();
    }
    /// Divides every component by the scalar (true division, not a multiply
    /// by the reciprocal, so exact quotients stay exact).
    Derived& operator/=(Real fScalar)
    {
        for (int i = 0; i < N; ++i)
            Data()[i] /= fScalar;
        return Self();
    }

    /// scalar * tuple (hidden friend: found by argument-dependent lookup and
    /// accepts any arithmetic scalar convertible to Real).
    friend Derived operator*(Real fScalar, const Derived& rkT) { return rkT * fScalar; }

protected:
    Derived& Self() { return static_cast<Derived&>(*this); }
    const Derived& Self() const { return static_cast<const Derived&>(*this); }
    Real* Data() { return Self().m_afTuple; }
    const Real* Data() const { return Self().m_afTuple; }
};

}  // namespace Wm4
