// Symmetric eigen-decomposition on top of Eigen 3's self-adjoint solver.
#include "Wm4/Wm4Eigen.h"

#include <cassert>
#include <cmath>
#include <cstdlib>

#include <Eigen/Dense>

namespace Wm4 {

namespace {

using DenseMatrix = ::Eigen::Matrix<double, ::Eigen::Dynamic, ::Eigen::Dynamic>;

// Flips eigenvector columns to the documented sign convention: largest
// magnitude component positive, then column 0 negated if det < 0.
void NormaliseSigns(DenseMatrix& rkVectors)
{
    const ::Eigen::Index iSize = rkVectors.rows();
    for (::Eigen::Index c = 0; c < iSize; ++c) {
        ::Eigen::Index iLargest = 0;
        for (::Eigen::Index r = 1; r < iSize; ++r)
            if (std::fabs(rkVectors(r, c)) > std::fabs(rkVectors(iLargest, c)))
                iLargest = r;
        if (rkVectors(iLargest, c) < 0.0)
            rkVectors.col(c) = -rkVectors.col(c);
    }
    if (rkVectors.determinant() < 0.0)
        rkVectors.col(0) = -rkVectors.col(0);
}

}  // namespace

template <typename Real>
Eigen<Real>::Eigen(int iSize) : m_kMatrix(iSize, iSize), m_bConverged(true)
{
    assert(iSize >= 1);
    ResetResults();
}

template <typename Real>
Eigen<Real>::Eigen(const Matrix3<Real>& rkM) : m_bConverged(true)
{
    *this = rkM;
}

template <typename Real>
Eigen<Real>::Eigen(const GMatrix<Real>& rkM) : m_bConverged(true)
{
    *this = rkM;
}

template <typename Real>
Eigen<Real>& Eigen<Real>::operator=(const Matrix3<Real>& rkM)
{
    m_kMatrix = GMatrix<Real>(3, 3, rkM.GetData());
    ResetResults();
    return *this;
}

template <typename Real>
Eigen<Real>& Eigen<Real>::operator=(const GMatrix<Real>& rkM)
{
    assert(rkM.GetRows() == rkM.GetColumns() && rkM.GetRows() >= 1);
    m_kMatrix = rkM;
    ResetResults();
    return *this;
}

template <typename Real>
void Eigen<Real>::ResetResults()
{
    const int iSize = GetSize();
    m_kEigenvalues.assign(static_cast<size_t>(iSize), Real(0));
    m_kEigenvectors.SetSize(iSize, iSize);
    for (int i = 0; i < iSize; ++i)
        m_kEigenvectors(i, i) = Real(1);
}

template <typename Real>
void Eigen<Real>::Solve(bool bDecreasing)
{
    const int iSize = GetSize();
    DenseMatrix kA(iSize, iSize);
    bool bFinite = true;
    for (int r = 0; r < iSize; ++r)
        for (int c = 0; c <= r; ++c) {
            kA(r, c) = static_cast<double>(m_kMatrix(r, c));
            bFinite = bFinite && std::isfinite(kA(r, c));
        }

    ResetResults();
    m_bConverged = false;
    if (!bFinite)
        return;

    // The solver reads the lower triangle only.
    ::Eigen::SelfAdjointEigenSolver<DenseMatrix> kSolver(kA, ::Eigen::ComputeEigenvectors);
    if (kSolver.info() != ::Eigen::Success)
        return;
    m_bConverged = true;

    // Eigen 3 returns increasing eigenvalues; reverse the columns if asked.
    DenseMatrix kVectors = kSolver.eigenvectors();
    ::Eigen::VectorXd kValues = kSolver.eigenvalues();
    if (bDecreasing) {
        kValues.reverseInPlace();
        kVectors.rowwise().reverseInPlace();
    }
    NormaliseSigns(kVectors);

    for (int i = 0; i < iSize; ++i) {
        m_kEigenvalues[static_cast<size_t>(i)] = static_cast<Real>(kValues(i));
        for (int r = 0; r < iSize; ++r)
            m_kEigenvectors(r, i) = static_cast<Real>(kVectors(r, i));
    }
}

template <typename Real>
void Eigen<Real>::EigenStuff3()
{
    assert(GetSize() == 3);
    Solve(false);
}

template <typename Real>
void Eigen<Real>::EigenStuffN()
{
    Solve(false);
}

template <typename Real>
void Eigen<Real>::EigenStuff()
{
    Solve(false);
}

template <typename Real>
void Eigen<Real>::DecrSortEigenStuff3()
{
    assert(GetSize() == 3);
    Solve(true);
}

template <typename Real>
void Eigen<Real>::DecrSortEigenStuffN()
{
    Solve(true);
}

template <typename Real>
void Eigen<Real>::IncrSortEigenStuff3()
{
    assert(GetSize() == 3);
    Solve(false);
}

template <typename Real>
void Eigen<Real>::IncrSortEigenStuffN()
{
    Solve(false);
}

template <typename Real>
void Eigen<Real>::GetEigenvector(int i, Vector3<Real>& rkV) const
{
    assert(GetSize() == 3);
    for (int r = 0; r < 3; ++r)
        rkV[r] = m_kEigenvectors(r, i);
}

template class Eigen<float>;
template class Eigen<double>;

}  // namespace Wm4
