// Eigen-decomposition of real symmetric matrices.
#pragma once

#include <vector>

#include "Wm4/Wm4GMatrix.h"
#include "Wm4/Wm4GVector.h"
#include "Wm4/Wm4Matrix3.h"
#include "Wm4/Wm4Vector3.h"

namespace Wm4 {

/// Eigen-solver for real symmetric n x n matrices (Real = float or double;
/// the work is done in double precision). Usage: construct, set entries with
/// operator(), call one of the solve functions, read the eigenvalues and the
/// eigenvectors back.
///
/// Only the lower triangle of the matrix is read: symmetry is the caller's
/// precondition. Every solve starts again from the matrix as set, so solving
/// twice gives the same result.
///
/// After a solve, eigenvalue i belongs to eigenvector i, which is column i of
/// GetEigenvectors(). The eigenvectors are orthonormal. Signs are made
/// deterministic: each eigenvector has its largest-magnitude component
/// positive (the first one on ties), except that column 0 is then negated if
/// needed so the eigenvector matrix is a rotation (determinant +1).
/// If the matrix holds non-finite entries or the iteration fails, the
/// eigenvalues are 0, the eigenvectors the identity and Converged() is false.
template <typename Real>
class Eigen {
public:
    /// Solver for an iSize x iSize zero matrix (iSize >= 1).
    explicit Eigen(int iSize);
    /// Solver for a 3x3 matrix.
    explicit Eigen(const Matrix3<Real>& rkM);
    /// Solver for a square GMatrix (precondition: rows == columns >= 1).
    explicit Eigen(const GMatrix<Real>& rkM);

    /// Matrix entry (row, column), to set before solving; unchecked.
    Real& operator()(int iRow, int iCol) { return m_kMatrix(iRow, iCol); }
    Real operator()(int iRow, int iCol) const { return m_kMatrix(iRow, iCol); }
    /// Replaces the matrix (the size becomes 3).
    Eigen& operator=(const Matrix3<Real>& rkM);
    /// Replaces the matrix (precondition: square).
    Eigen& operator=(const GMatrix<Real>& rkM);

    int GetSize() const { return m_kMatrix.GetRows(); }

    /// Solves a 3x3 matrix (precondition: GetSize() == 3); eigenvalues in
    /// increasing order. O(1).
    void EigenStuff3();
    /// Solves the n x n matrix; eigenvalues in increasing order. O(n^3).
    void EigenStuffN();
    /// Same as EigenStuffN().
    void EigenStuff();
    /// EigenStuff3() with the eigenvalues in decreasing order.
    void DecrSortEigenStuff3();
    /// EigenStuffN() with the eigenvalues in decreasing order.
    void DecrSortEigenStuffN();
    /// EigenStuff3() with the eigenvalues in increasing order.
    void IncrSortEigenStuff3();
    /// EigenStuffN() with the eigenvalues in increasing order.
    void IncrSortEigenStuffN();

    /// Eigenvalue i of the last solve (0 before any solve).
    Real GetEigenvalue(int i) const { return m_kEigenvalues[static_cast<size_t>(i)]; }
    /// The GetSize() eigenvalues of the last solve, contiguous.
    const Real* GetEigenvalues() const { return m_kEigenvalues.data(); }
    /// Eigenvector i as a Vector3 (precondition: GetSize() == 3).
    void GetEigenvector(int i, Vector3<Real>& rkV) const;
    /// Eigenvector i (unit length).
    GVector<Real> GetEigenvector(int i) const { return m_kEigenvectors.GetColumn(i); }
    /// All eigenvectors, eigenvector i in column i (identity before any solve).
    const GMatrix<Real>& GetEigenvectors() const { return m_kEigenvectors; }
    /// False when the last solve failed (see the class comment).
    bool Converged() const { return m_bConverged; }

private:
    // Resets the results to "no solve yet" for the current size.
    void ResetResults();
    // Solves the current matrix and stores the results in the given order.
    void Solve(bool bDecreasing);

    GMatrix<Real> m_kMatrix;
    GMatrix<Real> m_kEigenvectors;
    std::vector<Real> m_kEigenvalues;
    bool m_bConverged;
};

extern template class Eigen<float>;
extern template class Eigen<double>;

typedef Eigen<float> Eigenf;
typedef Eigen<double> Eigend;

}  // namespace Wm4
