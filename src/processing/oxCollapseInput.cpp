#include "processing/oxCollapseInput.h"

#include <ostream>

#include "frame/oxMessages.h"
#include "processing/oxEdgeSides.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace detail {

tCollapseInput checkCollapseInput(const oxTriMesh& mesh)
{
    const unsigned int* indices = mesh.GetIndexBuffer()->GetData();
    const std::size_t corners = 3 * std::size_t(mesh.GetTriangleQuantity());
    const unsigned int vertices = static_cast<unsigned int>(mesh.GetVertexBuffer()->GetVertexQuantity());
    for (std::size_t c = 0; c < corners; ++c)
        if (indices[c] >= vertices)
            return tCollapseInput::IndexOutOfRange;
    for (std::size_t c = 0; c < corners; c += 3)
        if (indices[c] == indices[c + 1] || indices[c + 1] == indices[c + 2] || indices[c] == indices[c + 2])
            return tCollapseInput::NotManifold;
    bool crowded = false;
    tEdgeSides(vertices, indices, corners)
        .forEachEdge([&](unsigned int, unsigned int, const std::uint64_t*, std::size_t count) {
            crowded = crowded || count > 2;
        });
    return crowded ? tCollapseInput::NotManifold : tCollapseInput::Valid;
}

bool acceptCollapseInput(const oxTriMesh& mesh)
{
    switch (checkCollapseInput(mesh)) {
    case tCollapseInput::Valid:
        return true;
    case tCollapseInput::IndexOutOfRange:
        messages() << kIndexOutOfRangeMessage << std::endl;
        return false;
    case tCollapseInput::NotManifold:
        messages() << kNotManifoldMessage << std::endl;
        return false;
    }
    return false;
}

}  // namespace detail
}  // namespace ox
