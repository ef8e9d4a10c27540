// Unoriented normals by local principal component analysis over the k nearest points.
#include <cmath>
#include <vector>

#include "Wm4/Wm4Eigen.h"
#include "Wm4/Wm4Matrix3.h"
#include "oxPointSetProcessing.h"

namespace ox {
namespace oxPointSetProcessing {

namespace {

// Forwards the neighbour search's progress into the first part of the caller's range.
class tScaledProgress : public oxProgressNotifierInterface {
public:
    tScaledProgress(oxProgressNotifierInterface* target, float start, float range)
        : m_target(target), m_start(start), m_range(range)
    {}
    void notifyProgress(float value) override
    {
        if (m_target)
            m_target->notifyProgress(m_start + m_range * value);
    }

private:
    oxProgressNotifierInterface* m_target;
    float m_start, m_range;
};

}  // namespace

void EstimateNormals(const float* points, unsigned int count, unsigned int stride, float* normals,
                     unsigned int normalStride, unsigned int k, oxProgressNotifierInterface* notifier)
{
    std::vector<unsigned int> neighbours;
    tScaledProgress searchProgress(notifier, 0.0f, 0.7f);
    ComputeKNearest(points, count, stride, k, neighbours, notifier ? &searchProgress : nullptr);
    Wm4::Eigen<double> solver(3);
    const unsigned int reportEvery = count / 100 + 1;
    for (unsigned int i = 0; i < count; ++i) {
        if (notifier && i % reportEvery == 0)
            notifier->notifyProgress(0.7f + 0.3f * float(i) / float(count));
        float* n = normals + std::size_t(i) * normalStride;
        // The point and its neighbours, centred on their mean, in double.
        const unsigned int* list = &neighbours[std::size_t(i) * k];
        unsigned int m = 0;
        double mean[3] = {0, 0, 0};
        auto pointAt = [&](unsigned int r) {
            return points + std::size_t(r == 0 ? i : list[r - 1]) * stride;
        };
        while (m < k && list[m] != 0xFFFFFFFFu)
            ++m;
        for (unsigned int r = 0; r <= m; ++r)
            for (int a = 0; a < 3; ++a)
                mean[a] += pointAt(r)[a];
        for (int a = 0; a < 3; ++a)
            mean[a] /= double(m + 1);
        double c[3][3] = {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}};
        for (unsigned int r = 0; r <= m; ++r) {
            const float* p = pointAt(r);
            const double d[3] = {p[0] - mean[0], p[1] - mean[1], p[2] - mean[2]};
            for (int a = 0; a < 3; ++a)
                for (int b = a; b < 3; ++b)
                    c[a][b] += d[a] * d[b];
        }
        if (m < 2 || c[0][0] + c[1][1] + c[2][2] <= 0.0) {
            n[0] = n[1] = n[2] = 0.0f;
            continue;
        }
        solver = Wm4::Matrix3<double>(c[0][0], c[0][1], c[0][2], c[0][1], c[1][1], c[1][2], c[0][2], c[1][2],
                                      c[2][2]);
        solver.EigenStuff3();
        Wm4::Vector3<double> v;
        solver.GetEigenvector(0, v);  // smallest eigenvalue first
        v.Normalize();
        n[0] = static_cast<float>(v.X()), n[1] = static_cast<float>(v.Y()), n[2] = static_cast<float>(v.Z());
    }
    if (notifier)
        notifier->notifyProgress(1.0f);
}

void OrientNormalsTowards(const float* points, unsigned int count, unsigned int stride, float* normals,
                          unsigned int normalStride, const float viewpoint[3])
{
    for (unsigned int i = 0; i < count; ++i) {
        const float* p = points + std::size_t(i) * stride;
        float* n = normals + std::size_t(i) * normalStride;
        const float facing =
            n[0] * (viewpoint[0] - p[0]) + n[1] * (viewpoint[1] - p[1]) + n[2] * (viewpoint[2] - p[2]);
        if (facing < 0.0f)
            n[0] = -n[0], n[1] = -n[1], n[2] = -n[2];
    }
}

}  // namespace oxPointSetProcessing
}  // namespace ox
