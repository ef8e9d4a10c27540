#pragma once

#include "scenegraph/oxAttributes.h"
#include "scenegraph/oxTransformation.h"
#include "scenegraph/oxTriMesh.h"

#include <vector>

namespace ox {

/// Builder of simple closed meshes (debug displays, tests). Every mesh has the builder's vertex
/// layout (position channels are always present); normals are filled when the layout has them,
/// other channels are left zero. Triangles are counter-clockwise seen from outside, unless the
/// builder is `inside` (inward normals, reversed winding). An optional transform is applied to
/// positions and normals (winding kept outward-facing for a mirroring transform).
class oxStandardMesh {
public:
    /// A builder of meshes with layout `attributes`; `xfrm` (copied) may be null.
    explicit oxStandardMesh(const oxAttributes& attributes, bool inside = false,
                            const oxTransformation* xfrm = nullptr);

    /// A UV sphere of `radius` centred at the origin: `zSamples` rings of latitude counting the
    /// two poles (which are single vertices) and `radialSamples` vertices per ring, no seam
    /// duplicates, so the mesh is closed. Counts below 3 are raised to 3. Vertices:
    /// 2 + (zSamples - 2) * radialSamples; triangles: 2 * radialSamples * (zSamples - 2).
    /// Returns a new oxGeometry the caller owns (reference count 0).
    oxTriMesh* Sphere(int zSamples, int radialSamples, float radius);

    /// An axis-aligned box centred at the origin with half sizes (xExtent, yExtent, zExtent):
    /// 24 vertices (4 per face, so each face has its own normal) and 12 triangles.
    /// Returns a new oxGeometry the caller owns (reference count 0).
    oxTriMesh* Box(float xExtent, float yExtent, float zExtent);

private:
    /// Builds the mesh from local positions/normals and outward counter-clockwise triangles:
    /// applies the orientation and the transform.
    oxTriMesh* build(const std::vector<Wm4::Vector3<float>>& positions,
                     const std::vector<Wm4::Vector3<float>>& normals,
                     const std::vector<unsigned int>& triangles) const;

    oxAttributes m_attributes;
    bool m_inside;
    bool m_hasTransform;
    oxTransformation m_transform;
};

}  // namespace ox
