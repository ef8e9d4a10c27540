// Oriented test clouds sampled on analytic shapes, wrapped in a ready point-set query
// WITHOUT normalisation (the caller's hierarchy and graph are handed to the query), so
// that the shapes keep their coordinates. Support radii are either computed from the
// neighbour graph (factor 4, as the query does) or fixed by the test.
#pragma once

#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "oxMeshLibTypes.h"
#include "oxPointSetProcessing.h"
#include "oxPointSetQuery.h"
#include "scenegraph/oxAttributes.h"
#include "scenegraph/oxVertexBuffer.h"

namespace oxtest {

using Vec3 = ox::Vec3;

struct tCloud {
    ox::oxPointer<ox::oxVertexBuffer> vertices;
    std::unique_ptr<ox::oxPointSetProcessing::oxMiniBVH> bvh;
    std::unique_ptr<ox::oxPointSetProcessing::KNN> knn;
    std::unique_ptr<ox::oxPointSetQuery> query;
};

/// A ready query over the given oriented points. radius <= 0: radii from the 16-neighbour
/// graph (factor 4); otherwise every point gets that support radius.
inline std::unique_ptr<tCloud> makeCloud(const std::vector<Vec3>& positions, const std::vector<Vec3>& normals,
                                         float radius = 0.0f)
{
    auto cloud = std::make_unique<tCloud>();
    ox::oxAttributes layout;
    layout.SetPositionChannels(3);
    layout.SetNormalChannels(3);
    layout.SetPSizeChannels(1);
    const int n = static_cast<int>(positions.size());
    cloud->vertices = ox::oxPointer<ox::oxVertexBuffer>(new ox::oxVertexBuffer(layout, n));
    ox::oxVertexBuffer& vb = *cloud->vertices;
    for (int i = 0; i < n; ++i) {
        vb.Position3(i) = positions[std::size_t(i)];
        vb.Normal3(i) = normals[std::size_t(i)];
    }
    const unsigned stride = unsigned(vb.GetChannelQuantity());
    float* data = vb.GetData();
    cloud->bvh = std::make_unique<ox::oxPointSetProcessing::oxMiniBVH>();
    cloud->knn = std::make_unique<ox::oxPointSetProcessing::KNN>();
    cloud->bvh->build(data, unsigned(n), stride, 21, 16);
    ox::oxPointSetProcessing::ComputeKNN(data, unsigned(n), stride, *cloud->bvh, 16, *cloud->knn, nullptr);
    cloud->query = std::make_unique<ox::oxPointSetQuery>(&vb, cloud->bvh.get(), cloud->knn.get());
    if (radius <= 0.0f) {
        cloud->query->computePointRadii();
    } else {
        for (int i = 0; i < n; ++i)
            vb.PSize1(i) = radius;
        cloud->bvh->computeBBoxes(&vb.PSize1(0), stride);
    }
    return cloud;
}

/// Unit vector of a Fibonacci spiral, i of count: near-uniform directions on the sphere.
inline Vec3 fibonacciDirection(unsigned i, unsigned count)
{
    const float golden = 2.39996323f;
    const float z = 1.0f - 2.0f * (float(i) + 0.5f) / float(count);
    const float s = std::sqrt(std::max(0.0f, 1.0f - z * z));
    return Vec3(s * std::cos(golden * float(i)), s * std::sin(golden * float(i)), z);
}

/// `count` points on the sphere of `centre` and `radius`, outward normals.
inline std::unique_ptr<tCloud> sphereCloud(unsigned count, const Vec3& centre, float radius,
                                           float support = 0.0f)
{
    std::vector<Vec3> p, n;
    for (unsigned i = 0; i < count; ++i) {
        const Vec3 d = fibonacciDirection(i, count);
        p.push_back(centre + d * radius);
        n.push_back(d);
    }
    return makeCloud(p, n, support);
}

/// Torus around the z axis: tube centre radius R, tube radius r; outward normals. A
/// jittered u-v grid of nu x nv samples.
inline std::unique_ptr<tCloud> torusCloud(unsigned nu, unsigned nv, float R, float r)
{
    std::vector<Vec3> p, n;
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> jitter(-0.25f, 0.25f);
    for (unsigned a = 0; a < nu; ++a)
        for (unsigned b = 0; b < nv; ++b) {
            const float u = 6.2831853f * (float(a) + jitter(rng)) / float(nu);
            const float v = 6.2831853f * (float(b) + jitter(rng)) / float(nv);
            const Vec3 normal(std::cos(v) * std::cos(u), std::cos(v) * std::sin(u), std::sin(v));
            p.push_back(Vec3(R * std::cos(u), R * std::sin(u), 0.0f) + normal * r);
            n.push_back(normal);
        }
    return makeCloud(p, n);
}

/// Signed distance to that torus (positive outside).
inline float torusDistance(const Vec3& x, float R, float r)
{
    const float q = std::sqrt(x.X() * x.X() + x.Y() * x.Y()) - R;
    return std::sqrt(q * q + x.Z() * x.Z()) - r;
}

}  // namespace oxtest
