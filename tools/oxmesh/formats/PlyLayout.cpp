#include "formats/PlyLayout.h"

#include "formats/FileError.h"

#include <algorithm>
#include <limits>

namespace oxmesh::ply {
namespace {

bool isTexCoordName(const std::string& name)
{
    static const char* const kNames[] = {"u",         "v",         "s",         "t",       "texture_u",
                                         "texture_v", "texture_s", "texture_t", "texcoord"};
    return std::any_of(std::begin(kNames), std::end(kNames), [&](const char* n) { return name == n; });
}

class LayoutPlanner {
public:
    LayoutPlanner(const Header& header, MeshData& mesh, const std::string& name)
        : m_header(header), m_mesh(mesh), m_name(name)
    {}

    Layout plan()
    {
        m_layout.elements.resize(m_header.elements.size());
        const Element* vertex = nullptr;
        for (std::size_t i = 0; i < m_header.elements.size(); ++i) {
            const Element& element = m_header.elements[i];
            ElementLayout& target = m_layout.elements[i];
            target.roles.assign(element.properties.size(), Role::Skip);
            if (element.name == "vertex") {
                if (vertex)
                    fail("second vertex element on header line " + std::to_string(element.headerLine));
                vertex = &element;
                planVertices(element, target);
            } else if (element.name == "face") {
                planIndexList(element, target, ElementKind::Face, true);
            } else if (element.name == "tristrips") {
                planIndexList(element, target, ElementKind::Strips, false);
            }
        }
        if (!vertex)
            fail("no vertex element in the header");
        return std::move(m_layout);
    }

private:
    [[noreturn]] void fail(const std::string& problem) const { throw FileError(m_name, problem); }

    // Index of a scalar property called `name`, or -1 when absent or a list.
    static int scalar(const Element& element, const char* name)
    {
        const int i = element.find(name);
        return i >= 0 && !element.properties[static_cast<std::size_t>(i)].isList ? i : -1;
    }

    // Gives the three roles to the named properties if all three are scalars.
    static bool assignGroup(const Element& element, ElementLayout& target, const char* const names[3],
                            const Role roles[3])
    {
        int index[3];
        for (int k = 0; k < 3; ++k)
            if ((index[k] = scalar(element, names[k])) < 0)
                return false;
        for (int k = 0; k < 3; ++k)
            target.roles[static_cast<std::size_t>(index[k])] = roles[k];
        return true;
    }

    void planVertices(const Element& element, ElementLayout& target)
    {
        target.kind = ElementKind::Vertex;
        static const char* const kPosition[3] = {"x", "y", "z"};
        static const char* const kNormal[3] = {"nx", "ny", "nz"};
        static const char* const kColor[3] = {"red", "green", "blue"};
        static const Role kPositionRoles[3] = {Role::X, Role::Y, Role::Z};
        static const Role kNormalRoles[3] = {Role::NX, Role::NY, Role::NZ};
        static const Role kColorRoles[3] = {Role::Red, Role::Green, Role::Blue};
        if (!assignGroup(element, target, kPosition, kPositionRoles))
            fail("the vertex element (header line " + std::to_string(element.headerLine) +
                 ") has no x, y and z properties");
        m_layout.hasNormals = assignGroup(element, target, kNormal, kNormalRoles);
        m_layout.hasColors = assignGroup(element, target, kColor, kColorRoles);
        m_layout.vertexCount = element.count;
        if (element.count > std::numeric_limits<std::uint32_t>::max())
            fail("too many vertices (" + std::to_string(element.count) + ") for 32-bit indices");
        for (std::size_t p = 0; p < element.properties.size(); ++p) {
            if (target.roles[p] != Role::Skip)
                continue;
            m_mesh.skippedProperties.push_back(element.properties[p].name);
            if (isTexCoordName(element.properties[p].name))
                m_mesh.hasTexCoords = true;
        }
    }

    void planIndexList(const Element& element, ElementLayout& target, ElementKind kind, bool acceptSingular)
    {
        target.kind = kind;
        int list = element.find("vertex_indices");
        if (list < 0 && acceptSingular)
            list = element.find("vertex_index");
        const std::string where = " (header line " + std::to_string(element.headerLine) + ")";
        if (list < 0 || !element.properties[static_cast<std::size_t>(list)].isList)
            fail("the " + element.name + " element" + where + " has no vertex_indices list");
        if (!isIntegerType(element.properties[static_cast<std::size_t>(list)].type))
            fail("the vertex indices of the " + element.name + " element" + where + " are not integers");
        target.roles[static_cast<std::size_t>(list)] = Role::Indices;
        for (const Property& p : element.properties)
            if (p.isList && isTexCoordName(p.name))
                m_mesh.hasTexCoords = true;
    }

    const Header& m_header;
    MeshData& m_mesh;
    const std::string& m_name;
    Layout m_layout;
};

}  // namespace

Layout planLayout(const Header& header, MeshData& mesh, const std::string& nameForErrors)
{
    return LayoutPlanner(header, mesh, nameForErrors).plan();
}

}  // namespace oxmesh::ply
