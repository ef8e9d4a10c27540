// Normal estimation and orientation on analytic shapes whose true normals are known, and
// the plain k-nearest search against exhaustive search.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "oxPointSetProcessing.h"

using namespace ox::oxPointSetProcessing;

namespace {

struct Cloud {
    std::vector<float> p;      // x y z per point
    std::vector<float> truth;  // outward unit normal per point
    unsigned n() const { return unsigned(p.size() / 3); }
};

void addSphere(Cloud& c, unsigned n, float r, const float centre[3], std::mt19937& rng, float noise)
{
    std::normal_distribution<float> g;
    for (unsigned i = 0; i < n; ++i) {
        float d[3] = {g(rng), g(rng), g(rng)};
        const float l = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
        for (float& v : d)
            v /= l;
        const float rr = r * (1.0f + noise * g(rng));
        for (int a = 0; a < 3; ++a)
            c.p.push_back(centre[a] + rr * d[a]), c.truth.push_back(d[a]);
    }
}

void addTorus(Cloud& c, unsigned n, float R, float r, std::mt19937& rng)
{
    std::uniform_real_distribution<float> u(0.0f, 6.2831853f);
    for (unsigned i = 0; i < n; ++i) {
        const float a = u(rng), b = u(rng);
        const float nx = std::cos(a) * std::cos(b), ny = std::sin(a) * std::cos(b), nz = std::sin(b);
        c.p.insert(c.p.end(), {(R + r * std::cos(b)) * std::cos(a), (R + r * std::cos(b)) * std::sin(a),
                               r * std::sin(b)});
        c.truth.insert(c.truth.end(), {nx, ny, nz});
    }
}

double agreeing(const Cloud& c, const std::vector<float>& normals)
{
    unsigned ok = 0;
    for (unsigned i = 0; i < c.n(); ++i) {
        const float d = normals[3 * i] * c.truth[3 * i] + normals[3 * i + 1] * c.truth[3 * i + 1] +
                        normals[3 * i + 2] * c.truth[3 * i + 2];
        ok += d > 0.0f;
    }
    return double(ok) / c.n();
}

}  // namespace

TEST(ComputeKNearest, MatchesExhaustiveSearchAndKeepsInputOrder)
{
    std::mt19937 rng(3);
    std::uniform_real_distribution<float> u(-1, 1);
    const unsigned n = 800, k = 10;
    std::vector<float> pts(4 * n);
    for (float& v : pts)
        v = u(rng);
    const std::vector<float> before = pts;
    std::vector<unsigned> nn;
    ComputeKNearest(pts.data(), n, 4, k, nn);
    EXPECT_EQ(pts, before) << "the caller's points must not move";
    for (unsigned i = 0; i < n; ++i) {
        std::vector<std::pair<float, unsigned>> all;
        for (unsigned j = 0; j < n; ++j) {
            if (j == i)
                continue;
            float d = 0;
            for (int a = 0; a < 3; ++a)
                d += (pts[4 * j + a] - pts[4 * i + a]) * (pts[4 * j + a] - pts[4 * i + a]);
            all.emplace_back(d, j);
        }
        std::sort(all.begin(), all.end());
        for (unsigned r = 0; r < k; ++r)
            ASSERT_EQ(nn[i * k + r], all[r].second) << "point " << i << " rank " << r;
    }
    // Fewer points than k: the missing slots are marked.
    ComputeKNearest(pts.data(), 3, 4, k, nn);
    EXPECT_NE(nn[0], 0xFFFFFFFFu);
    EXPECT_NE(nn[1], 0xFFFFFFFFu);
    EXPECT_EQ(nn[2], 0xFFFFFFFFu);
}

TEST(Normals, EstimatedAndOrientedOnClosedShapes)
{
    std::mt19937 rng(11);
    Cloud sphere, torus, pair;
    const float origin[3] = {0, 0, 0}, far[3] = {5, 1, 0};
    addSphere(sphere, 4000, 1.0f, origin, rng, 0.002f);
    addTorus(torus, 8000, 1.0f, 0.3f, rng);
    addSphere(pair, 2000, 0.5f, origin, rng, 0.0f);
    addSphere(pair, 2000, 0.8f, far, rng, 0.0f);
    for (Cloud* c : {&sphere, &torus, &pair}) {
        std::vector<float> normals(c->p.size());
        EstimateNormals(c->p.data(), c->n(), 3, normals.data(), 3, 16);
        // Unoriented: parallel to the truth.
        unsigned parallel = 0;
        for (unsigned i = 0; i < c->n(); ++i) {
            const float d = normals[3 * i] * c->truth[3 * i] + normals[3 * i + 1] * c->truth[3 * i + 1] +
                            normals[3 * i + 2] * c->truth[3 * i + 2];
            parallel += std::fabs(d) > 0.95f;
        }
        EXPECT_GT(parallel, c->n() * 98 / 100);
        const unsigned components = OrientNormals(c->p.data(), c->n(), 3, normals.data(), 3, 16);
        EXPECT_EQ(components, c == &pair ? 2u : 1u);
        EXPECT_GT(agreeing(*c, normals), 0.99) << "orientation must agree with the outward truth";
    }
}

TEST(Normals, ViewpointAndDegenerateClouds)
{
    std::mt19937 rng(2);
    Cloud s;
    const float origin[3] = {0, 0, 0};
    addSphere(s, 1000, 1.0f, origin, rng, 0.0f);
    std::vector<float> normals(s.p.size());
    EstimateNormals(s.p.data(), s.n(), 3, normals.data(), 3, 12);
    const float eye[3] = {0, 0, 10};
    OrientNormalsTowards(s.p.data(), s.n(), 3, normals.data(), 3, eye);
    for (unsigned i = 0; i < s.n(); ++i) {
        const float* p = &s.p[3 * i];
        const float* n = &normals[3 * i];
        EXPECT_GE(n[0] * (eye[0] - p[0]) + n[1] * (eye[1] - p[1]) + n[2] * (eye[2] - p[2]), 0.0f);
    }
    // All points identical: no plane, zero normals, no crash; one point and none.
    std::vector<float> same(60, 1.5f), sn(60, 9.0f);
    EstimateNormals(same.data(), 20, 3, sn.data(), 3, 16);
    for (float v : sn)
        EXPECT_EQ(v, 0.0f);
    EXPECT_EQ(OrientNormals(same.data(), 20, 3, sn.data(), 3, 16), 1u);
    std::vector<float> one{1, 2, 3}, on(3, 7.0f);
    EstimateNormals(one.data(), 1, 3, on.data(), 3, 16);
    EXPECT_EQ(on, std::vector<float>(3, 0.0f));
    EXPECT_EQ(OrientNormals(nullptr, 0, 3, nullptr, 3, 16), 0u);
}
