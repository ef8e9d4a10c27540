// Floating-point RGB and RGBA colours.
#pragma once

#include "Wm4/Wm4TupleBase.h"

namespace Wm4 {

/// Component-wise colour operations on top of TupleBase: per-channel product
/// and clamping into [0, 1]. Empty; Derived holds `float m_afTuple[N]`.
template <typename Derived, int N>
class ColorBase : public TupleBase<Derived, float, N> {
    using Base = TupleBase<Derived, float, N>;

public:
    using Base::operator*;
    using Base::operator*=;

    /// Channel-by-channel product (modulation).
    Derived operator*(const Derived& rkC) const { return Derived(Base::Self()) *= rkC; }
    Derived& operator*=(const Derived& rkC)
    {
        for (int i = 0; i < N; ++i)
            Base::Data()[i] *= rkC.m_afTuple[i];
        return Base::Self();
    }

    /// Clamps every channel into [0, 1] (NaN becomes 0).
    void Clamp()
    {
        for (int i = 0; i < N; ++i) {
            float& rfC = Base::Data()[i];
            rfC = rfC > 1.0f ? 1.0f : (rfC >= 0.0f ? rfC : 0.0f);
        }
    }
};

/// RGB colour: exactly three floats (r, g, b), default black.
class ColorRGB : public ColorBase<ColorRGB, 3> {
public:
    constexpr ColorRGB() : m_afTuple{0.0f, 0.0f, 0.0f} {}
    constexpr ColorRGB(float fR, float fG, float fB) : m_afTuple{fR, fG, fB} {}
    constexpr ColorRGB(const ColorRGB&) = default;
    ColorRGB& operator=(const ColorRGB&) = default;

    float& R() { return m_afTuple[0]; }
    constexpr float R() const { return m_afTuple[0]; }
    float& G() { return m_afTuple[1]; }
    constexpr float G() const { return m_afTuple[1]; }
    float& B() { return m_afTuple[2]; }
    constexpr float B() const { return m_afTuple[2]; }

    static const ColorRGB BLACK;
    static const ColorRGB WHITE;

private:
    friend class TupleBase<ColorRGB, float, 3>;
    friend class ColorBase<ColorRGB, 3>;
    float m_afTuple[3];
};

inline constexpr ColorRGB ColorRGB::BLACK{0.0f, 0.0f, 0.0f};
inline constexpr ColorRGB ColorRGB::WHITE{1.0f, 1.0f, 1.0f};

/// RGBA colour: exactly four floats (r, g, b, a), default transparent black.
class ColorRGBA : public ColorBase<ColorRGBA, 4> {
public:
    constexpr ColorRGBA() : m_afTuple{0.0f, 0.0f, 0.0f, 0.0f} {}
    constexpr ColorRGBA(float fR, float fG, float fB, float fA) : m_afTuple{fR, fG, fB, fA} {}
    constexpr ColorRGBA(const ColorRGBA&) = default;
    ColorRGBA& operator=(const ColorRGBA&) = default;

    float& R() { return m_afTuple[0]; }
    constexpr float R() const { return m_afTuple[0]; }
    float& G() { return m_afTuple[1]; }
    constexpr float G() const { return m_afTuple[1]; }
    float& B() { return m_afTuple[2]; }
    constexpr float B() const { return m_afTuple[2]; }
    float& A() { return m_afTuple[3]; }
    constexpr float A() const { return m_afTuple[3]; }

    static const ColorRGBA BLACK;
    static const ColorRGBA WHITE;

private:
    friend class TupleBase<ColorRGBA, float, 4>;
    friend class ColorBase<ColorRGBA, 4>;
    float m_afTuple[4];
};

inline constexpr ColorRGBA ColorRGBA::BLACK{0.0f, 0.0f, 0.0f, 1.0f};
inline constexpr ColorRGBA ColorRGBA::WHITE{1.0f, 1.0f, 1.0f, 1.0f};

static_assert(sizeof(ColorRGB) == 3 * sizeof(float), "ColorRGB must be three packed floats");
static_assert(sizeof(ColorRGBA) == 4 * sizeof(float), "ColorRGBA must be four packed floats");

}  // namespace Wm4
