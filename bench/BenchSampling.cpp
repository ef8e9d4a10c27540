#include "BenchSampling.h"

#include <cmath>
#include <filesystem>
#include <random>

namespace oxbench {

void sampleSurface(const oxmesh::MeshData& mesh, std::size_t target, std::vector<float>& points,
                   std::vector<float>* normals, unsigned seed)
{
    const std::size_t nt = mesh.triangleCount();
    const float* v = mesh.positions.data();
    std::vector<double> area(nt);
    double total = 0;
    auto corner = [&](std::size_t t, int c) { return v + 3 * std::size_t(mesh.triangles[3 * t + c]); };
    auto faceNormal = [&](std::size_t t, double n[3]) {
        const float *a = corner(t, 0), *b = corner(t, 1), *c = corner(t, 2);
        const double u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]},
                     w[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
        n[0] = u[1] * w[2] - u[2] * w[1], n[1] = u[2] * w[0] - u[0] * w[2], n[2] = u[0] * w[1] - u[1] * w[0];
        return std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    };
    for (std::size_t t = 0; t < nt; ++t) {
        double n[3];
        area[t] = 0.5 * faceNormal(t, n);
        total += area[t];
    }
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> u(0.0f, 1.0f);
    points.clear();
    if (normals)
        normals->clear();
    double carry = 0;
    for (std::size_t t = 0; t < nt; ++t) {
        carry += area[t] / total * double(target);
        const std::size_t m = std::size_t(carry);
        carry -= double(m);
        double n[3];
        const double len = faceNormal(t, n);
        for (std::size_t s = 0; s < m; ++s) {
            const float r1 = std::sqrt(u(rng)), r2 = u(rng);
            const float *a = corner(t, 0), *b = corner(t, 1), *c = corner(t, 2);
            for (int k = 0; k < 3; ++k)
                points.push_back((1 - r1) * a[k] + r1 * (1 - r2) * b[k] + r1 * r2 * c[k]);
            if (normals)
                for (int k = 0; k < 3; ++k)
                    normals->push_back(len > 0 ? float(n[k] / len) : 0.0f);
        }
    }
}

std::string findData(const std::string& rel)
{
    for (const std::string& root : {std::string(OX_SHARED_DATA_DIR), std::string(OX_BENCH_DATA_DIR)}) {
        const std::filesystem::path p = std::filesystem::path(root) / rel;
        if (std::filesystem::exists(p))
            return p.string();
    }
    return {};
}

}  // namespace oxbench
