// Tests of Wm4::Matrix3 and Wm4::Matrix4 against explicit sums and Eigen 3.
#include <cmath>
#include <random>

#include <Eigen/Dense>
#include <gtest/gtest.h>

#include "Wm4/Wm4Matrix3.h"
#include "Wm4/Wm4Matrix4.h"

using Wm4::Matrix3d;
using Wm4::Matrix3f;
using Wm4::Matrix4d;
using Wm4::Matrix4f;
using Wm4::Vector3d;
using Wm4::Vector3f;
using Wm4::Vector4d;

namespace {

template <typename M>
M RandomMatrix(std::mt19937& rkRng, int iSize)
{
    std::uniform_real_distribution<double> kDist(-2.0, 2.0);
    M kM;
    for (int r = 0; r < iSize; ++r)
        for (int c = 0; c < iSize; ++c)
            kM(r, c) = kDist(rkRng);
    return kM;
}

// Copies a Wm4 square matrix into an Eigen matrix for reference results.
template <typename M>
Eigen::MatrixXd ToEigen(const M& rkM, int iSize)
{
    Eigen::MatrixXd kE(iSize, iSize);
    for (int r = 0; r < iSize; ++r)
        for (int c = 0; c < iSize; ++c)
            kE(r, c) = rkM(r, c);
    return kE;
}

template <typename M>
void ExpectNear(const M& rkM, const Eigen::MatrixXd& rkE, double fTol)
{
    for (int r = 0; r < rkE.rows(); ++r)
        for (int c = 0; c < rkE.cols(); ++c)
            EXPECT_NEAR(rkM(r, c), rkE(r, c), fTol) << "entry (" << r << ", " << c << ")";
}

// Product, transposes, vector products and determinant/inverse of random
// matrices of one size, checked against Eigen.
template <typename M, typename V>
void CheckAgainstEigen(int iSize, unsigned int uiSeed)
{
    std::mt19937 kRng(uiSeed);
    for (int iTrial = 0; iTrial < 50; ++iTrial) {
        const M kA = RandomMatrix<M>(kRng, iSize), kB = RandomMatrix<M>(kRng, iSize);
        const Eigen::MatrixXd kEA = ToEigen(kA, iSize), kEB = ToEigen(kB, iSize);
        ExpectNear(kA * kB, kEA * kEB, 1e-12);
        ExpectNear(kA + kB, kEA + kEB, 1e-15);
        ExpectNear(kA - kB, kEA - kEB, 1e-15);
        ExpectNear(kA * 2.5, kEA * 2.5, 1e-15);
        ExpectNear(2.5 * kA, kEA * 2.5, 1e-15);
        ExpectNear(kA.Transpose(), kEA.transpose(), 0.0);
        ExpectNear(kA.TransposeTimes(kB), kEA.transpose() * kEB, 1e-12);
        ExpectNear(kA.TimesTranspose(kB), kEA * kEB.transpose(), 1e-12);
        M kC = kA;
        kC *= kB;
        ExpectNear(kC, kEA * kEB, 1e-12);

        V kV;
        Eigen::VectorXd kEV(iSize);
        for (int i = 0; i < iSize; ++i)
            kEV(i) = kV[i] = 0.5 * i - 1.0;
        const V kAv = kA * kV, kvA = kV * kA;
        const Eigen::VectorXd kERight = kEA * kEV, kELeft = kEA.transpose() * kEV;
        for (int i = 0; i < iSize; ++i) {
            EXPECT_NEAR(kAv[i], kERight(i), 1e-12);
            EXPECT_NEAR(kvA[i], kELeft(i), 1e-12);
        }

        EXPECT_NEAR(kA.Determinant(), kEA.determinant(), 1e-11);
        const M kInv = kA.Inverse();
        ASSERT_NE(kInv, M::ZERO);
        ExpectNear(kInv, kEA.inverse(), 1e-8 * (1.0 + kEA.inverse().norm()));
        ExpectNear(kInv * kA, Eigen::MatrixXd::Identity(iSize, iSize), 1e-9);
    }
}

}  // namespace

TEST(Wm4Matrix, ConstructionAndAccess)
{
    EXPECT_EQ(Matrix3f(), Matrix3f::ZERO);
    EXPECT_EQ(Matrix3f(false), Matrix3f::IDENTITY);
    EXPECT_EQ(Matrix4d(false), Matrix4d::IDENTITY);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) {
            EXPECT_EQ(Matrix4f::IDENTITY(r, c), r == c ? 1.0f : 0.0f);
            EXPECT_EQ(Matrix4f::ZERO(r, c), 0.0f);
        }

    const Matrix3f kM(1, 2, 3, 4, 5, 6, 7, 8, 9);
    EXPECT_EQ(kM(0, 2), 3.0f);
    EXPECT_EQ(kM(2, 0), 7.0f);
    EXPECT_EQ(kM[1][2], 6.0f);
    const float afRowMajor[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(Matrix3f(afRowMajor), kM);
    EXPECT_EQ(Matrix3f(2, 3, 4), Matrix3f(2, 0, 0, 0, 3, 0, 0, 0, 4));
    EXPECT_EQ(kM.GetRow(1), Vector3f(4, 5, 6));
    EXPECT_EQ(kM.GetColumn(1), Vector3f(2, 5, 8));

    Matrix3f kN;
    kN.SetRow(0, Vector3f(1, 2, 3));
    kN.SetColumn(2, Vector3f(7, 8, 9));
    EXPECT_EQ(kN, Matrix3f(1, 2, 7, 0, 0, 8, 0, 0, 9));
    kN[2][0] = -1.0f;
    EXPECT_EQ(kN(2, 0), -1.0f);

    const Matrix3f kTensor = Matrix3f().MakeTensorProduct(Vector3f(1, 2, 3), Vector3f(4, 5, 6));
    EXPECT_EQ(kTensor, Matrix3f(4, 5, 6, 8, 10, 12, 12, 15, 18));

    float afEntries[16];
    for (int i = 0; i < 16; ++i)
        afEntries[i] = static_cast<float>(i);
    const Matrix4f kM4(afEntries);
    EXPECT_EQ(kM4(1, 2), 6.0f);
    EXPECT_EQ(kM4(3, 0), 12.0f);
}

TEST(Wm4Matrix, Matrix3AgreesWithEigen)
{
    CheckAgainstEigen<Matrix3d, Vector3d>(3, 101u);
}

TEST(Wm4Matrix, Matrix4AgreesWithEigen)
{
    CheckAgainstEigen<Matrix4d, Vector4d>(4, 202u);
}

TEST(Wm4Matrix, SingularInverseIsZeroButScaledMatricesInvert)
{
    // Exactly singular: equal rows; rank one outer product; a zero row.
    EXPECT_EQ(Matrix3d(1, 2, 3, 1, 2, 3, 0, 1, 0).Inverse(), Matrix3d::ZERO);
    EXPECT_EQ(Matrix3f().MakeTensorProduct(Vector3f(1, 2, 3), Vector3f(3, 1, 2)).Inverse(), Matrix3f::ZERO);
    EXPECT_EQ(Matrix4d(1, 2, 3, 4, 0, 0, 0, 0, 5, 6, 7, 8, 1, 0, 0, 1).Inverse(), Matrix4d::ZERO);
    // Numerically singular: rows dependent up to rounding.
    EXPECT_EQ(Matrix3f(1, 2, 3, 2, 4, 6.000001f, 1, 0, 1).Inverse(), Matrix3f::ZERO);

    // Uniformly scaled well-conditioned matrices stay invertible at any scale.
    const Matrix3d kSmall = Matrix3d(false) * 1e-4;
    EXPECT_EQ(kSmall.Inverse(), Matrix3d(false) * 1e4);
    const Matrix3f kSmallF(1e-3f, 2e-3f, 3e-3f);
    const Matrix3f kSmallInv = kSmallF.Inverse();
    EXPECT_FLOAT_EQ(kSmallInv(0, 0), 1000.0f);
    EXPECT_FLOAT_EQ(kSmallInv(1, 1), 500.0f);
    EXPECT_FLOAT_EQ(kSmallInv(2, 2), 1000.0f / 3.0f);
    const Matrix4d kLarge = Matrix4d(false) * 1e5;
    EXPECT_EQ(kLarge.Inverse(), Matrix4d(false) * 1e-5);
}

TEST(Wm4Matrix, RotationAndAffineHelpers)
{
    const double fPi = std::acos(-1.0);
    Matrix3d kRot;
    kRot.FromAxisAngle(Vector3d(0, 0, 1), 0.5 * fPi);
    const Vector3d kX = kRot * Vector3d(1, 0, 0);
    EXPECT_NEAR(kX.X(), 0.0, 1e-15);
    EXPECT_NEAR(kX.Y(), 1.0, 1e-15);
    // A rotation about a general axis is orthogonal with determinant 1 and fixes the axis.
    Vector3d kAxis(1, -2, 0.5);
    kAxis.Normalize();
    kRot.FromAxisAngle(kAxis, 0.7);
    ExpectNear(kRot.TransposeTimes(kRot), Eigen::MatrixXd::Identity(3, 3), 1e-14);
    EXPECT_NEAR(kRot.Determinant(), 1.0, 1e-14);
    EXPECT_NEAR((kRot * kAxis - kAxis).Length(), 0.0, 1e-15);
    EXPECT_NEAR(kRot.QForm(kAxis, kAxis), 1.0, 1e-15);

    const Matrix4d kAffine(Matrix3d(2, 3, 4), Vector3d(1, -1, 5));
    EXPECT_EQ(kAffine.TransformPoint(Vector3d(1, 1, 1)), Vector3d(3, 2, 9));
    EXPECT_EQ(kAffine.TransformVector(Vector3d(1, 1, 1)), Vector3d(2, 3, 4));
    EXPECT_EQ(kAffine.GetTranslation(), Vector3d(1, -1, 5));
    EXPECT_EQ(kAffine.GetMatrix3(), Matrix3d(2, 3, 4));
    EXPECT_EQ(kAffine * Vector4d(1, 1, 1, 1), Vector4d(3, 2, 9, 1));
    const Vector3d kBack = kAffine.Inverse().TransformPoint(Vector3d(3, 2, 9));
    EXPECT_NEAR((kBack - Vector3d(1, 1, 1)).Length(), 0.0, 1e-15);

    // Projective matrix: the homogeneous divide by w.
    Matrix4d kProj(false);
    kProj(3, 3) = 0.0;
    kProj(3, 2) = 1.0;
    EXPECT_EQ(kProj.TransformPoint(Vector3d(2, 4, 2)), Vector3d(1, 2, 1));
}
