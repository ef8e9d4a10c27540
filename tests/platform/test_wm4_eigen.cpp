// Tests of the symmetric eigen-solver Wm4::Eigen and the run-time sized
// GVector / GMatrix it reports through, plus the oriented Box3.
#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "Wm4/Wm4Box3.h"
#include "Wm4/Wm4Eigen.h"
#include "Wm4/Wm4GMatrix.h"
#include "Wm4/Wm4GVector.h"

using Wm4::GMatrix;
using Wm4::GVector;

namespace {

template <typename Real>
GMatrix<Real> RandomSymmetric(std::mt19937& rkRng, int iSize)
{
    std::uniform_real_distribution<double> kDist(-1.0, 1.0);
    GMatrix<Real> kM(iSize, iSize);
    for (int r = 0; r < iSize; ++r)
        for (int c = 0; c <= r; ++c)
            kM(r, c) = kM(c, r) = static_cast<Real>(kDist(rkRng));
    return kM;
}

// Determinant by Gaussian elimination with partial pivoting (reference).
double Determinant(GMatrix<double> kM)
{
    const int n = kM.GetRows();
    double fDet = 1.0;
    for (int k = 0; k < n; ++k) {
        int iPivot = k;
        for (int r = k + 1; r < n; ++r)
            if (std::fabs(kM(r, k)) > std::fabs(kM(iPivot, k)))
                iPivot = r;
        if (kM(iPivot, k) == 0.0)
            return 0.0;
        if (iPivot != k) {
            for (int c = 0; c < n; ++c)
                std::swap(kM(k, c), kM(iPivot, c));
            fDet = -fDet;
        }
        fDet *= kM(k, k);
        for (int r = k + 1; r < n; ++r) {
            const double fFactor = kM(r, k) / kM(k, k);
            for (int c = k; c < n; ++c)
                kM(r, c) -= fFactor * kM(k, c);
        }
    }
    return fDet;
}

// Checks the solved decomposition of rkA: A v_i = lambda_i v_i, orthonormal
// eigenvectors forming a rotation, and the requested eigenvalue order.
template <typename Real>
void CheckDecomposition(const GMatrix<Real>& rkA, const Wm4::Eigen<Real>& rkSolver, bool bDecreasing,
                        double fTol)
{
    const int n = rkA.GetRows();
    ASSERT_TRUE(rkSolver.Converged());
    const GMatrix<Real>& rkV = rkSolver.GetEigenvectors();
    ASSERT_EQ(rkV.GetRows(), n);
    ASSERT_EQ(rkV.GetColumns(), n);
    for (int i = 0; i < n; ++i) {
        const GVector<Real> kVi = rkSolver.GetEigenvector(i);
        EXPECT_EQ(kVi, rkV.GetColumn(i));
        EXPECT_EQ(rkSolver.GetEigenvalues()[i], rkSolver.GetEigenvalue(i));
        const GVector<Real> kAv = rkA * kVi;
        for (int r = 0; r < n; ++r)
            EXPECT_NEAR(kAv[r], rkSolver.GetEigenvalue(i) * kVi[r], fTol) << "pair " << i;
        for (int j = 0; j < n; ++j)
            EXPECT_NEAR(kVi.Dot(rkSolver.GetEigenvector(j)), i == j ? 1.0 : 0.0, fTol);
        if (i > 0) {
            if (bDecreasing)
                EXPECT_GE(rkSolver.GetEigenvalue(i - 1), rkSolver.GetEigenvalue(i));
            else
                EXPECT_LE(rkSolver.GetEigenvalue(i - 1), rkSolver.GetEigenvalue(i));
        }
    }
    GMatrix<double> kVd(n, n);
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c)
            kVd(r, c) = rkV(r, c);
    EXPECT_NEAR(Determinant(kVd), 1.0, fTol);
}

}  // namespace

TEST(Wm4GMatrix, StorageProductsAndAccess)
{
    GMatrix<double> kM(2, 3);
    EXPECT_EQ(kM.GetRows(), 2);
    EXPECT_EQ(kM.GetColumns(), 3);
    EXPECT_EQ(kM.GetQuantity(), 6);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(kM.GetData()[i], 0.0);
    kM(0, 0) = 1;
    kM(0, 2) = 2;
    kM[1][1] = 3;
    // Row-major contiguous: (r, c) at r * columns + c.
    EXPECT_EQ(kM.GetData()[2], 2.0);
    EXPECT_EQ(kM.GetData()[4], 3.0);

    GVector<double> kX(3);
    kX[0] = 1;
    kX[1] = 2;
    kX[2] = 3;
    const GVector<double> kMx = kM * kX;
    ASSERT_EQ(kMx.GetSize(), 2);
    EXPECT_EQ(kMx[0], 7.0);
    EXPECT_EQ(kMx[1], 6.0);
    EXPECT_EQ(kX.Dot(kX), 14.0);
    EXPECT_DOUBLE_EQ(kX.Length(), std::sqrt(14.0));
    EXPECT_EQ((kX - kX * 2.0)[2], -3.0);

    const GMatrix<double> kMMt = kM * kM.Transpose();
    ASSERT_EQ(kMMt.GetRows(), 2);
    ASSERT_EQ(kMMt.GetColumns(), 2);
    EXPECT_EQ(kMMt(0, 0), 5.0);
    EXPECT_EQ(kMMt(0, 1), 0.0);
    EXPECT_EQ(kMMt(1, 1), 9.0);
    EXPECT_EQ(kM.GetRow(0)[2], 2.0);
    EXPECT_EQ(kM.GetColumn(1)[1], 3.0);
}

TEST(Wm4Eigen, RandomSymmetricMatricesAllSizes)
{
    std::mt19937 kRng(2024);
    for (int n = 1; n <= 8; ++n) {
        for (int iTrial = 0; iTrial < 10; ++iTrial) {
            const GMatrix<double> kA = RandomSymmetric<double>(kRng, n);
            Wm4::Eigen<double> kSolver(kA);
            kSolver.EigenStuffN();
            CheckDecomposition(kA, kSolver, false, 1e-12);
            kSolver.DecrSortEigenStuffN();
            CheckDecomposition(kA, kSolver, true, 1e-12);
            kSolver.IncrSortEigenStuffN();
            CheckDecomposition(kA, kSolver, false, 1e-12);
            kSolver.EigenStuff();
            CheckDecomposition(kA, kSolver, false, 1e-12);

            // The trace is the sum of the eigenvalues.
            double fTrace = 0.0, fSum = 0.0;
            for (int i = 0; i < n; ++i) {
                fTrace += kA(i, i);
                fSum += kSolver.GetEigenvalue(i);
            }
            EXPECT_NEAR(fTrace, fSum, 1e-12);
        }
    }
}

TEST(Wm4Eigen, ThreeByThreeFloatFromMatrix3AndEntries)
{
    std::mt19937 kRng(99);
    for (int iTrial = 0; iTrial < 50; ++iTrial) {
        const GMatrix<float> kA = RandomSymmetric<float>(kRng, 3);
        const Wm4::Matrix3f kM3(kA.GetData());
        Wm4::Eigen<float> kFromMatrix(kM3);
        kFromMatrix.EigenStuff3();
        CheckDecomposition(kA, kFromMatrix, false, 1e-5);

        // Setting the entries one by one on a sized solver gives the same result.
        Wm4::Eigen<float> kFromEntries(3);
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                kFromEntries(r, c) = kA(r, c);
        kFromEntries.DecrSortEigenStuff3();
        CheckDecomposition(kA, kFromEntries, true, 1e-5);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(kFromEntries.GetEigenvalue(i), kFromMatrix.GetEigenvalue(2 - i));
            Wm4::Vector3f kDecr, kIncr;
            kFromEntries.GetEigenvector(i, kDecr);
            kFromMatrix.GetEigenvector(2 - i, kIncr);
            // Same eigenvector up to sign (column 0 may flip to keep a rotation).
            EXPECT_NEAR(std::fabs(kDecr.Dot(kIncr)), 1.0f, 1e-5f);
        }
        kFromEntries.IncrSortEigenStuff3();
        CheckDecomposition(kA, kFromEntries, false, 1e-5);
    }
}

TEST(Wm4Eigen, DiagonalRepeatedAndTinyCases)
{
    // Diagonal: the eigenvalues are the diagonal entries, eigenvectors the axes.
    Wm4::Eigen<double> kDiag(Wm4::Matrix3d(3.0, -1.0, 2.0));
    kDiag.DecrSortEigenStuff3();
    EXPECT_DOUBLE_EQ(kDiag.GetEigenvalue(0), 3.0);
    EXPECT_DOUBLE_EQ(kDiag.GetEigenvalue(1), 2.0);
    EXPECT_DOUBLE_EQ(kDiag.GetEigenvalue(2), -1.0);
    Wm4::Vector3d kV;
    kDiag.GetEigenvector(0, kV);
    EXPECT_NEAR(std::fabs(kV.X()), 1.0, 1e-15);
    kDiag.GetEigenvector(1, kV);
    EXPECT_NEAR(std::fabs(kV.Z()), 1.0, 1e-15);
    kDiag.GetEigenvector(2, kV);
    EXPECT_NEAR(std::fabs(kV.Y()), 1.0, 1e-15);

    // Repeated eigenvalues: A = I + u u^T has eigenvalues 1, 1, 1 + |u|^2.
    const Wm4::Vector3d kU(1.0, 2.0, 2.0);
    const Wm4::Matrix3d kA = Wm4::Matrix3d(false) + Wm4::Matrix3d().MakeTensorProduct(kU, kU);
    Wm4::Eigen<double> kRepeated(kA);
    kRepeated.EigenStuff3();
    CheckDecomposition(GMatrix<double>(3, 3, kA.GetData()), kRepeated, false, 1e-12);
    EXPECT_NEAR(kRepeated.GetEigenvalue(0), 1.0, 1e-12);
    EXPECT_NEAR(kRepeated.GetEigenvalue(1), 1.0, 1e-12);
    EXPECT_NEAR(kRepeated.GetEigenvalue(2), 10.0, 1e-12);
    kRepeated.GetEigenvector(2, kV);
    EXPECT_NEAR(std::fabs(kV.Dot(kU)), 3.0, 1e-12);

    // Fully repeated: a multiple of the identity.
    Wm4::Eigen<float> kScalar(Wm4::Matrix3f(2.0f, 2.0f, 2.0f));
    kScalar.DecrSortEigenStuff3();
    CheckDecomposition(GMatrix<float>(3, 3, Wm4::Matrix3f(2.0f, 2.0f, 2.0f).GetData()), kScalar, true, 1e-6);
    EXPECT_EQ(kScalar.GetEigenvalue(0), 2.0f);

    // 1x1.
    Wm4::Eigen<double> kOne(1);
    kOne(0, 0) = -4.5;
    kOne.EigenStuffN();
    EXPECT_EQ(kOne.GetEigenvalue(0), -4.5);
    EXPECT_EQ(kOne.GetEigenvectors()(0, 0), 1.0);
}

TEST(Wm4Eigen, FourByFourDoubleKnownSpectrum)
{
    // A = Q diag(4, -1, 2.5, 0) Q^T with Q a rotation built from two Givens steps.
    const double fC1 = std::cos(0.3), fS1 = std::sin(0.3), fC2 = std::cos(1.1), fS2 = std::sin(1.1);
    GMatrix<double> kG1(4, 4), kG2(4, 4), kD(4, 4);
    for (int i = 0; i < 4; ++i)
        kG1(i, i) = kG2(i, i) = 1.0;
    kG1(0, 0) = fC1, kG1(0, 2) = -fS1, kG1(2, 0) = fS1, kG1(2, 2) = fC1;
    kG2(1, 1) = fC2, kG2(1, 3) = -fS2, kG2(3, 1) = fS2, kG2(3, 3) = fC2;
    const double afSpectrum[4] = {4.0, -1.0, 2.5, 0.0};
    for (int i = 0; i < 4; ++i)
        kD(i, i) = afSpectrum[i];
    const GMatrix<double> kQ = kG1 * kG2;
    const GMatrix<double> kA = kQ * kD * kQ.Transpose();

    Wm4::Eigen<double> kSolver(4);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            kSolver(r, c) = kA(r, c);
    kSolver.DecrSortEigenStuffN();
    CheckDecomposition(kA, kSolver, true, 1e-12);
    const double afExpected[4] = {4.0, 2.5, 0.0, -1.0};
    for (int i = 0; i < 4; ++i)
        EXPECT_NEAR(kSolver.GetEigenvalue(i), afExpected[i], 1e-13);
    // The eigenvector of 4 is Q's first column, up to sign.
    const GVector<double> kQ0 = kQ.GetColumn(0);
    EXPECT_NEAR(std::fabs(kSolver.GetEigenvector(0).Dot(kQ0)), 1.0, 1e-13);

    // Solving again after the first solve starts from the same matrix.
    kSolver.EigenStuff();
    for (int i = 0; i < 4; ++i)
        EXPECT_NEAR(kSolver.GetEigenvalue(i), afExpected[3 - i], 1e-13);
}

TEST(Wm4Eigen, NonFiniteInputReportsFailure)
{
    Wm4::Eigen<float> kSolver(Wm4::Matrix3f(1.0f, 2.0f, 3.0f));
    kSolver(1, 0) = std::nanf("");
    kSolver.EigenStuff3();
    EXPECT_FALSE(kSolver.Converged());
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(kSolver.GetEigenvalue(i), 0.0f);
        EXPECT_EQ(kSolver.GetEigenvectors()(i, i), 1.0f);
    }
}

TEST(Wm4Box3, VerticesSpanTheOrientedBox)
{
    Wm4::Vector3f kAxis0(1, 1, 0), kAxis1(-1, 1, 0);
    kAxis0.Normalize();
    kAxis1.Normalize();
    const Wm4::Box3f kBox(Wm4::Vector3f(1, 2, 3), kAxis0, kAxis1, Wm4::Vector3f::UNIT_Z, 2.0f, 1.0f, 0.5f);
    Wm4::Vector3f akVertex[8];
    kBox.ComputeVertices(akVertex);
    Wm4::Vector3f kMean;
    for (const Wm4::Vector3f& rkV : akVertex) {
        const Wm4::Vector3f kLocal = rkV - kBox.Center;
        EXPECT_NEAR(std::fabs(kLocal.Dot(kBox.Axis[0])), 2.0f, 1e-6f);
        EXPECT_NEAR(std::fabs(kLocal.Dot(kBox.Axis[1])), 1.0f, 1e-6f);
        EXPECT_NEAR(std::fabs(kLocal.Dot(kBox.Axis[2])), 0.5f, 1e-6f);
        kMean += rkV / 8.0f;
    }
    EXPECT_NEAR((kMean - kBox.Center).Length(), 0.0f, 1e-6f);
    const Wm4::Box3d kDefault;
    EXPECT_EQ(kDefault.Axis[1], Wm4::Vector3d::UNIT_Y);
    EXPECT_EQ(kDefault.Extent[2], 0.0);
}
