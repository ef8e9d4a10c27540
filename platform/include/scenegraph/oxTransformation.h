#pragma once

#include "Wm4/Wm4Matrix3.h"
#include "Wm4/Wm4Matrix4.h"
#include "Wm4/Wm4Vector3.h"

namespace ox {

class oxBaseStream;

/// Transform of a scene node: a 4x4 matrix M acting on column vectors (p' = M p). The linear
/// block is kept as R * diag(S): SetRotate replaces R, SetScale replaces S, SetTranslate the
/// last column; SetMatrix (and Load, Product, Inverse) store the whole matrix, its linear block
/// then counting as R with S = (1, 1, 1).
class oxTransformation {
public:
    /// The identity.
    oxTransformation();

    /// Resets to the identity.
    void MakeIdentity();

    /// True when the matrix is exactly the identity.
    bool IsIdentity() const;

    /// Replaces the whole matrix (R becomes its linear block, S becomes one).
    void SetMatrix(const Wm4::Matrix4<float>& matrix);
    /// The full matrix M.
    const Wm4::Matrix4<float>& GetMatrix() const { return m_matrix; }

    /// Sets the translation (last column), keeping the linear block.
    void SetTranslate(const Wm4::Vector3<float>& translate);
    /// The translation (last column of M).
    Wm4::Vector3<float> GetTranslate() const { return m_matrix.GetTranslation(); }

    /// Sets the rotation R (any 3x3 matrix is accepted); the linear block becomes R * diag(S).
    void SetRotate(const Wm4::Matrix3<float>& rotate);
    /// The rotation factor R of the linear block.
    const Wm4::Matrix3<float>& GetRotate() const { return m_rotate; }

    /// Sets the per-axis scale S; the linear block becomes R * diag(S).
    void SetScale(const Wm4::Vector3<float>& scale);
    /// The scale factor S of the linear block.
    const Wm4::Vector3<float>& GetScale() const { return m_scale; }

    /// M applied to a point (with translation; divided by w for a projective matrix).
    Wm4::Vector3<float> ApplyForward(const Wm4::Vector3<float>& point) const;

    /// The linear block applied to a direction (no translation).
    Wm4::Vector3<float> ApplyForwardVector(const Wm4::Vector3<float>& vector) const;

    /// A normal transformed by the inverse transpose of the linear block and renormalised
    /// (zero for a singular block or a zero normal). Cost: one 3x3 inverse.
    Wm4::Vector3<float> ApplyForwardNormal(const Wm4::Vector3<float>& normal) const;

    /// Sets this to a * b: b applied first, then a. Safe when a or b is this object.
    void Product(const oxTransformation& a, const oxTransformation& b);

    /// The inverse transform (the zero matrix when this one is singular).
    oxTransformation Inverse() const;

    /// Exact comparison of the matrices.
    bool operator==(const oxTransformation& other) const { return m_matrix == other.m_matrix; }
    bool operator!=(const oxTransformation& other) const { return !(*this == other); }

    /// Writes the 16 matrix entries (row-major float32).
    bool Save(oxBaseStream& stream) const;
    /// Reads 16 entries written by Save. Returns false (transform unchanged) on a short stream.
    bool Load(oxBaseStream& stream);

private:
    void rebuildLinear();

    Wm4::Matrix4<float> m_matrix;
    Wm4::Matrix3<float> m_rotate;
    Wm4::Vector3<float> m_scale;
};

/// a * b: the transform that applies b, then a.
oxTransformation operator*(const oxTransformation& a, const oxTransformation& b);

}  // namespace ox
