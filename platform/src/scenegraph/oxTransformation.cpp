#include "scenegraph/oxTransformation.h"

#include "scenegraph/oxBaseStream.h"

namespace ox {

oxTransformation::oxTransformation()
    : m_matrix(Wm4::Matrix4<float>::IDENTITY), m_rotate(Wm4::Matrix3<float>::IDENTITY),
      m_scale(Wm4::Vector3<float>::ONE)
{}

void oxTransformation::MakeIdentity()
{
    *this = oxTransformation();
}

bool oxTransformation::IsIdentity() const
{
    return m_matrix == Wm4::Matrix4<float>::IDENTITY;
}

void oxTransformation::SetMatrix(const Wm4::Matrix4<float>& matrix)
{
    m_matrix = matrix;
    m_rotate = matrix.GetMatrix3();
    m_scale = Wm4::Vector3<float>::ONE;
}

void oxTransformation::SetTranslate(const Wm4::Vector3<float>& translate)
{
    m_matrix.SetTranslation(translate);
}

void oxTransformation::SetRotate(const Wm4::Matrix3<float>& rotate)
{
    m_rotate = rotate;
    rebuildLinear();
}

void oxTransformation::SetScale(const Wm4::Vector3<float>& scale)
{
    m_scale = scale;
    rebuildLinear();
}

void oxTransformation::rebuildLinear()
{
    m_matrix.SetMatrix3(m_rotate * Wm4::Matrix3<float>(m_scale.X(), m_scale.Y(), m_scale.Z()));
}

Wm4::Vector3<float> oxTransformation::ApplyForward(const Wm4::Vector3<float>& point) const
{
    return m_matrix.TransformPoint(point);
}

Wm4::Vector3<float> oxTransformation::ApplyForwardVector(const Wm4::Vector3<float>& vector) const
{
    return m_matrix.TransformVector(vector);
}

Wm4::Vector3<float> oxTransformation::ApplyForwardNormal(const Wm4::Vector3<float>& normal) const
{
    // (L^-1)^T n computed as n^T L^-1.
    Wm4::Vector3<float> result = normal * m_matrix.GetMatrix3().Inverse();
    result.Normalize();
    return result;
}

void oxTransformation::Product(const oxTransformation& a, const oxTransformation& b)
{
    SetMatrix(a.m_matrix * b.m_matrix);
}

oxTransformation oxTransformation::Inverse() const
{
    oxTransformation inverse;
    inverse.SetMatrix(m_matrix.Inverse());
    return inverse;
}

bool oxTransformation::Save(oxBaseStream& stream) const
{
    return stream.writele(16, sizeof(float), m_matrix.GetData());
}

bool oxTransformation::Load(oxBaseStream& stream)
{
    float entries[16];
    if (!stream.readle(16, sizeof(float), entries)) {
        return false;
    }
    SetMatrix(Wm4::Matrix4<float>(entries));
    return true;
}

oxTransformation operator*(const oxTransformation& a, const oxTransformation& b)
{
    oxTransformation product;
    product.Product(a, b);
    return product;
}

}  // namespace ox
