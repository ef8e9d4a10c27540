// PLY reader: the same mesh encoded in every format with varied property types,
// orders and extra elements must read back identically; strip decoding against
// hand-worked strips and against the face list of the same real mesh; the real
// sample files give their published counts.
#include "formats/PlyReader.h"

#include "formats/FileError.h"
#include "test_ply_support.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <map>
#include <random>

namespace {

using plytest::Cell;
using plytest::ElementDecl;
using plytest::Encoding;
using plytest::PropDecl;

oxmesh::MeshData parse(const std::string& bytes, const std::string& name = "mem.ply")
{
    return oxmesh::parsePly(bytes.data(), bytes.size(), name);
}

// A random polygon mesh with normals and byte colours, and the MeshData any
// correct reader must produce from it.
struct RandomMesh {
    std::vector<float> positions, normals;
    std::vector<int> colorBytes;
    std::vector<std::vector<double>> polygons;

    explicit RandomMesh(unsigned seed, int vertices = 120, int faces = 150)
    {
        std::mt19937 rng(seed);
        std::uniform_real_distribution<float> coord(-10.0f, 10.0f);
        std::uniform_int_distribution<int> byte(0, 255);
        std::uniform_int_distribution<int> size(3, 6);
        std::uniform_int_distribution<int> index(0, vertices - 1);
        for (int i = 0; i < 3 * vertices; ++i) {
            positions.push_back(coord(rng));
            normals.push_back(coord(rng) / 10.0f);
            colorBytes.push_back(byte(rng));
        }
        for (int f = 0; f < faces; ++f) {
            std::vector<double> polygon(static_cast<std::size_t>(size(rng)));
            for (double& v : polygon)
                v = index(rng);
            polygons.push_back(polygon);
        }
    }

    int vertexCount() const { return static_cast<int>(positions.size() / 3); }

    // What a property of vertex v holds, by property name; a colour stored as a
    // float holds the byte's value divided by 255, rounded once.
    Cell vertexCell(const PropDecl& p, int v) const
    {
        static const std::map<std::string, int> kSlots = {{"x", 0}, {"y", 1}, {"z", 2}};
        static const std::map<std::string, int> kNormals = {{"nx", 0}, {"ny", 1}, {"nz", 2}};
        static const std::map<std::string, int> kColors = {{"red", 0}, {"green", 1}, {"blue", 2}};
        if (p.isList())
            return Cell::list({double(v % 5), double((v + 1) % 7)});
        if (kSlots.count(p.name))
            return Cell::of(positions[3 * v + kSlots.at(p.name)]);
        if (kNormals.count(p.name))
            return Cell::of(normals[3 * v + kNormals.at(p.name)]);
        if (kColors.count(p.name)) {
            const int b = colorBytes[3 * v + kColors.at(p.name)];
            return Cell::of(p.type == "uchar" || p.type == "uint8" ? b : static_cast<float>(b / 255.0));
        }
        return Cell::of(v % 11);  // confidence, alpha, flags, ...
    }

    ElementDecl vertexElement(std::vector<PropDecl> props) const
    {
        ElementDecl e{"vertex", std::move(props), {}};
        for (int v = 0; v < vertexCount(); ++v) {
            std::vector<Cell> row;
            for (const PropDecl& p : e.props)
                row.push_back(vertexCell(p, v));
            e.rows.push_back(row);
        }
        return e;
    }

    // The face element; properties other than the index list get filler values.
    ElementDecl faceElement(std::vector<PropDecl> props, const std::string& listName) const
    {
        ElementDecl e{"face", std::move(props), {}};
        for (std::size_t f = 0; f < polygons.size(); ++f) {
            std::vector<Cell> row;
            for (const PropDecl& p : e.props)
                row.push_back(p.name == listName ? Cell::list(polygons[f])
                              : p.isList()       ? Cell::list({1, 2})
                                                 : Cell::of(double(f % 3)));
            e.rows.push_back(row);
        }
        return e;
    }

    // The expected reading: the fan (v0, vk, vk+1) of every polygon.
    oxmesh::MeshData expected(bool withNormals, bool withColors) const
    {
        oxmesh::MeshData m;
        m.positions = positions;
        if (withNormals)
            m.normals = normals;
        if (withColors)
            for (int b : colorBytes)
                m.colors.push_back(static_cast<float>(b / 255.0));
        for (const auto& poly : polygons) {
            for (std::size_t k = 1; k + 1 < poly.size(); ++k)
                for (double v : {poly[0], poly[k], poly[k + 1]})
                    m.triangles.push_back(static_cast<std::uint32_t>(v));
            ++m.faceSizes[static_cast<unsigned>(poly.size())];
        }
        m.sourceFaces = polygons.size();
        return m;
    }
};

// Filler element: a variable-length list and a scalar, rows of its own.
ElementDecl fillerElement(const std::string& name, int rows)
{
    ElementDecl e{name, {{"vertex_indices", "int", "uchar"}, {"weight", "double", ""}}, {}};
    for (int r = 0; r < rows; ++r)
        e.rows.push_back(
            {Cell::list(std::vector<double>(static_cast<std::size_t>(r % 3), r)), Cell::of(r * 0.5)});
    return e;
}

void expectSameMesh(const oxmesh::MeshData& expected, const oxmesh::MeshData& actual)
{
    EXPECT_EQ(expected.positions, actual.positions);
    EXPECT_EQ(expected.normals, actual.normals);
    EXPECT_EQ(expected.colors, actual.colors);
    EXPECT_EQ(expected.triangles, actual.triangles);
    EXPECT_EQ(expected.faceSizes, actual.faceSizes);
    EXPECT_EQ(expected.sourceFaces, actual.sourceFaces);
}

struct Variant {
    Encoding encoding;
    std::vector<PropDecl> vertexProps;
    std::vector<PropDecl> faceProps;
    std::string listName;
    bool fillerBefore, fillerAfter;
    std::vector<std::string> skipped;
};

TEST(PlyReader, SameMeshInEveryEncodingTypeAndOrderReadsTheSame)
{
    const RandomMesh mesh(7);
    const std::vector<Variant> variants = {
        {Encoding::Ascii,
         {{"x", "float", ""},
          {"y", "float", ""},
          {"z", "float", ""},
          {"nx", "float", ""},
          {"ny", "float", ""},
          {"nz", "float", ""},
          {"red", "uchar", ""},
          {"green", "uchar", ""},
          {"blue", "uchar", ""},
          {"confidence", "float", ""}},
         {{"vertex_indices", "int", "uchar"}},
         "vertex_indices",
         false,
         false,
         {"confidence"}},
        {Encoding::LittleEndian,
         {{"red", "uint8", ""},
          {"nz", "float", ""},
          {"confidence", "double", ""},
          {"z", "double", ""},
          {"x", "float32", ""},
          {"y", "float64", ""},
          {"green", "uchar", ""},
          {"nx", "float", ""},
          {"ny", "double", ""},
          {"blue", "uchar", ""},
          {"neighbours", "int", "uchar"}},
         {{"flags", "uchar", ""}, {"vertex_index", "uint", "ushort"}, {"quality", "float", ""}},
         "vertex_index",
         true,
         true,
         {"confidence", "neighbours"}},
        {Encoding::BigEndian,
         {{"neighbours", "short", "int"},
          {"x", "double", ""},
          {"y", "double", ""},
          {"z", "double", ""},
          {"nx", "float", ""},
          {"ny", "float", ""},
          {"nz", "double", ""},
          {"alpha", "uchar", ""},
          {"red", "float", ""},
          {"green", "float", ""},
          {"blue", "double", ""}},
         {{"texture_ids", "short", "uchar"}, {"vertex_indices", "int", "int"}},
         "vertex_indices",
         true,
         false,
         {"neighbours", "alpha"}},
        {Encoding::Ascii,
         {{"z", "double", ""},
          {"y", "float", ""},
          {"x", "double", ""},
          {"intensity", "ushort", ""},
          {"nz", "double", ""},
          {"ny", "float", ""},
          {"nx", "float", ""},
          {"blue", "float", ""},
          {"green", "float", ""},
          {"red", "float", ""}},
         {{"quality", "double", ""}, {"vertex_indices", "uint8", "uint32"}},
         "vertex_indices",
         false,
         true,
         {"intensity"}},
    };
    const oxmesh::MeshData expected = mesh.expected(true, true);
    for (std::size_t i = 0; i < variants.size(); ++i) {
        SCOPED_TRACE("variant " + std::to_string(i));
        const Variant& v = variants[i];
        std::vector<ElementDecl> elements;
        if (v.fillerBefore)
            elements.push_back(fillerElement("range_grid", 40));
        // Elements may come in any order: faces before vertices in the big-endian case.
        if (v.encoding == Encoding::BigEndian) {
            elements.push_back(mesh.faceElement(v.faceProps, v.listName));
            elements.push_back(mesh.vertexElement(v.vertexProps));
        } else {
            elements.push_back(mesh.vertexElement(v.vertexProps));
            elements.push_back(mesh.faceElement(v.faceProps, v.listName));
        }
        if (v.fillerAfter)
            elements.push_back(fillerElement("material", 3));
        const oxmesh::MeshData got =
            parse(plytest::encodePly(elements, v.encoding, "comment variant\nobj_info x 1\n"));
        expectSameMesh(expected, got);
        EXPECT_EQ(std::string("ply ") + plytest::formatName(v.encoding), got.format);
        EXPECT_EQ(v.skipped, got.skippedProperties);
        EXPECT_FALSE(got.hasTexCoords);
    }
}

TEST(PlyReader, IntegerCoordinatesAndIndexTypesOfEverySize)
{
    // Small integer coordinates are exact in every type; 100 vertices fit char indices.
    RandomMesh mesh(11, 100, 60);
    for (float& c : mesh.positions)
        c = std::floor(std::fabs(c) * 10.0f);
    const oxmesh::MeshData expected = mesh.expected(false, false);
    const std::vector<std::string> types = {"char", "uchar", "short", "ushort",
                                            "int",  "uint",  "float", "double"};
    for (Encoding enc : {Encoding::Ascii, Encoding::LittleEndian, Encoding::BigEndian}) {
        for (std::size_t t = 0; t < types.size(); ++t) {
            const std::string& coordType = types[t];
            const std::string& otherType = types[(t + 3) % types.size()];
            if (t >= 6 && (otherType == "float" || otherType == "double"))
                continue;
            const std::string indexType = t < 6 ? coordType : "int";
            const std::string countType = t < 6 ? types[(t + 1) % 6] : "uchar";
            SCOPED_TRACE(std::string(plytest::formatName(enc)) + " coordinates " + coordType + ", indices " +
                         countType + " " + indexType);
            const std::vector<ElementDecl> elements = {
                mesh.vertexElement({{"x", coordType, ""}, {"y", otherType, ""}, {"z", coordType, ""}}),
                mesh.faceElement({{"vertex_indices", indexType, countType}}, "vertex_indices")};
            expectSameMesh(expected, parse(plytest::encodePly(elements, enc)));
        }
    }
}

// A strip element with rows of strips; -1 restarts a strip.
ElementDecl stripElement(const std::vector<std::vector<double>>& rows, const std::string& countType = "int",
                         const std::string& indexType = "int")
{
    ElementDecl e{"tristrips", {{"vertex_indices", indexType, countType}}, {}};
    for (const auto& r : rows)
        e.rows.push_back({Cell::list(r)});
    return e;
}

ElementDecl pointsElement(int n)
{
    ElementDecl e{"vertex", {{"x", "float", ""}, {"y", "float", ""}, {"z", "float", ""}}, {}};
    for (int i = 0; i < n; ++i)
        e.rows.push_back({Cell::of(i), Cell::of(2 * i), Cell::of(-i)});
    return e;
}

TEST(PlyReader, TriangleStripsDecodeWithAlternatingWindingAndDropDegenerateJoins)
{
    // Worked by hand: strip 0 1 2 3 4 gives (0 1 2) (2 1 3) (2 3 4); strip 5 6 7 8
    // gives (5 6 7) (7 6 8); strip 2 2 3 9 drops (2 2 3) and gives (3 2 9); the second
    // row, with restarts at both ends and a doubled restart, gives (1 4 9) and (8 9 6);
    // strip 4 5 4 6 drops (4 5 4) and gives (4 5 6); a strip of two gives nothing.
    const std::vector<std::vector<double>> rows = {{0, 1, 2, 3, 4, -1, 5, 6, 7, 8, -1, 2, 2, 3, 9},
                                                   {-1, 1, 4, 9, -1, -1, 8, 9, 6, -1},
                                                   {},
                                                   {3, 4},
                                                   {4, 5, 4, 6}};
    const std::vector<std::uint32_t> expected = {0, 1, 2, 2, 1, 3, 2, 3, 4, 5, 6, 7, 7, 6,
                                                 8, 3, 2, 9, 1, 4, 9, 8, 9, 6, 4, 5, 6};
    for (Encoding enc : {Encoding::Ascii, Encoding::LittleEndian, Encoding::BigEndian}) {
        SCOPED_TRACE(plytest::formatName(enc));
        const oxmesh::MeshData m = parse(plytest::encodePly({pointsElement(10), stripElement(rows)}, enc));
        EXPECT_EQ(expected, m.triangles);
        EXPECT_EQ(9u, m.sourceFaces);
        EXPECT_EQ((std::map<unsigned, std::size_t>{{3, 9}}), m.faceSizes);
        EXPECT_EQ(10u, m.vertexCount());
    }
    // Strips and faces in one file add up; unsigned count types work too.
    ElementDecl faces{"face", {{"vertex_indices", "int", "uchar"}}, {{Cell::list({9, 8, 7, 6})}}};
    const oxmesh::MeshData both = parse(plytest::encodePly(
        {faces, pointsElement(10), stripElement({{0, 1, 2, 3}}, "uint", "int")}, Encoding::LittleEndian));
    EXPECT_EQ((std::vector<std::uint32_t>{9, 8, 7, 9, 7, 6, 0, 1, 2, 2, 1, 3}), both.triangles);
    EXPECT_EQ(3u, both.sourceFaces);
    EXPECT_EQ((std::map<unsigned, std::size_t>{{3, 2}, {4, 1}}), both.faceSizes);
}

TEST(PlyReader, PointCloudsDegenerateFacesAndHeaderVariations)
{
    // Vertex-only file: a point cloud, no error.
    const oxmesh::MeshData cloud = parse(plytest::encodePly({pointsElement(4)}, Encoding::LittleEndian));
    EXPECT_EQ(4u, cloud.vertexCount());
    EXPECT_EQ(0u, cloud.triangleCount());
    EXPECT_EQ((std::vector<float>{0, 0, 0, 1, 2, -1, 2, 4, -2, 3, 6, -3}), cloud.positions);
    EXPECT_FALSE(cloud.hasNormals());
    EXPECT_FALSE(cloud.hasColors());

    // Faces with fewer than three corners are counted but give no triangles; a partial
    // normal group is not taken as normals; texture coordinates are noticed.
    ElementDecl vertices{"vertex",
                         {{"x", "float", ""},
                          {"y", "float", ""},
                          {"z", "float", ""},
                          {"nx", "float", ""},
                          {"ny", "float", ""},
                          {"u", "float", ""},
                          {"v", "float", ""}},
                         {}};
    for (int i = 0; i < 3; ++i)
        vertices.rows.push_back(
            {Cell::of(i), Cell::of(0), Cell::of(0), Cell::of(1), Cell::of(0), Cell::of(0.5), Cell::of(0.25)});
    ElementDecl faces{"face",
                      {{"vertex_indices", "int", "uchar"}},
                      {{Cell::list({})}, {Cell::list({2, 1})}, {Cell::list({0, 1, 2})}}};
    const oxmesh::MeshData m = parse(plytest::encodePly({vertices, faces}, Encoding::Ascii));
    EXPECT_EQ((std::vector<std::uint32_t>{0, 1, 2}), m.triangles);
    EXPECT_EQ(3u, m.sourceFaces);
    EXPECT_EQ((std::map<unsigned, std::size_t>{{0, 1}, {2, 1}, {3, 1}}), m.faceSizes);
    EXPECT_FALSE(m.hasNormals());
    EXPECT_TRUE(m.hasTexCoords);
    EXPECT_EQ((std::vector<std::string>{"nx", "ny", "u", "v"}), m.skippedProperties);

    // CRLF line ends, blank header lines, tabs, a final line without a line break,
    // elements with no properties or no rows, "+" signs and exponents.
    const std::string crlf =
        "ply\r\nformat ascii 1.0\r\ncomment made on another system\r\n\r\nelement empty 5\r\n"
        "element vertex 2\r\nproperty\tfloat x\r\nproperty float y\r\nproperty float z\r\n"
        "element face 0\r\nproperty list uchar int vertex_indices\r\nend_header\r\n"
        "1.5 +2 -3e-1\r\n\r\n  4\t5e2 6  \r\n";
    const oxmesh::MeshData c = parse(crlf);
    EXPECT_EQ((std::vector<float>{1.5f, 2.0f, -0.3f, 4.0f, 500.0f, 6.0f}), c.positions);
    EXPECT_EQ("ply ascii", c.format);
}

TEST(PlyReader, NonFiniteValuesAreKeptNotRejected)
{
    // Validation after loading rejects them; the parser must pass them through intact.
    const std::string ascii =
        "ply\nformat ascii 1.0\nelement vertex 2\nproperty float x\nproperty float y\nproperty double z\n"
        "end_header\nnan inf -inf\n1e39 -1e-50 1e400\n";
    const oxmesh::MeshData a = parse(ascii);
    ASSERT_EQ(6u, a.positions.size());
    EXPECT_TRUE(std::isnan(a.positions[0]));
    EXPECT_EQ(INFINITY, a.positions[1]);
    EXPECT_EQ(-INFINITY, a.positions[2]);
    EXPECT_EQ(INFINITY, a.positions[3]);  // beyond the float range
    EXPECT_EQ(0.0f, a.positions[4]);      // below it
    EXPECT_EQ(INFINITY, a.positions[5]);  // beyond even double
    // Binary doubles beyond the float range narrow to infinity, NaN stays NaN.
    ElementDecl big{"vertex",
                    {{"x", "double", ""}, {"y", "double", ""}, {"z", "float", ""}},
                    {{Cell::of(1e300), Cell::of(-1e300), Cell::of(NAN)}}};
    const oxmesh::MeshData b = parse(plytest::encodePly({big}, Encoding::BigEndian));
    EXPECT_EQ(INFINITY, b.positions[0]);
    EXPECT_EQ(-INFINITY, b.positions[1]);
    EXPECT_TRUE(std::isnan(b.positions[2]));
}

TEST(PlyReader, ProgressIsMonotoneBoundedAndEndsAtOne)
{
    const RandomMesh mesh(3, 20000, 30000);
    const std::vector<ElementDecl> elements = {
        mesh.vertexElement({{"x", "float", ""}, {"y", "float", ""}, {"z", "float", ""}}),
        mesh.faceElement({{"vertex_indices", "int", "uchar"}}, "vertex_indices")};
    for (Encoding enc : {Encoding::Ascii, Encoding::LittleEndian}) {
        const std::string bytes = plytest::encodePly(elements, enc);
        std::vector<float> calls;
        oxmesh::parsePly(bytes.data(), bytes.size(), "p.ply", [&](float f) { calls.push_back(f); });
        ASSERT_GE(calls.size(), 50u);  // a file this size passes through most percentages
        EXPECT_LE(calls.size(), 101u);
        EXPECT_TRUE(std::is_sorted(calls.begin(), calls.end()));
        EXPECT_GE(calls.front(), 0.0f);
        EXPECT_EQ(1.0f, calls.back());
    }
}

TEST(PlyReader, SmallStanfordBunnyAsciiWithExtraProperties)
{
    const oxmesh::MeshData m = oxmesh::readPly(OX_TEST_DATA_DIR "/meshes/bun_zipper_res4.ply");
    EXPECT_EQ(453u, m.vertexCount());
    EXPECT_EQ(948u, m.triangleCount());
    EXPECT_EQ(948u, m.sourceFaces);
    EXPECT_EQ((std::vector<std::string>{"confidence", "intensity"}), m.skippedProperties);
    EXPECT_EQ("ply ascii", m.format);
    // First vertex line of the file: -0.0312216 0.126304 0.00514924 0.850855 0.5
    EXPECT_EQ(-0.0312216f, m.positions[0]);
    EXPECT_EQ(0.126304f, m.positions[1]);
    EXPECT_EQ(0.00514924f, m.positions[2]);
}

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST(PlyReader, SharedDataStripsMatchTheirDecodedFaceList)
{
    if (!plytest::sharedDataPresent())
        GTEST_SKIP() << "shared data set not present";
    auto start = std::chrono::steady_clock::now();
    const oxmesh::MeshData strips = oxmesh::readPly(OX_SHARED_DATA_DIR "/meshes/igea.ply");
    const double stripSeconds = secondsSince(start);
    start = std::chrono::steady_clock::now();
    const oxmesh::MeshData faces = oxmesh::readPly(OX_SHARED_DATA_DIR "/meshes/igea-faces.ply");
    const double faceSeconds = secondsSince(start);
    std::printf("igea.ply (strips) %.3f s, igea-faces.ply %.3f s\n", stripSeconds, faceSeconds);
    EXPECT_EQ(134345u, strips.vertexCount());
    EXPECT_EQ(268686u, strips.triangleCount());
    EXPECT_EQ(268686u, strips.sourceFaces);
    EXPECT_EQ(strips.positions, faces.positions);
    EXPECT_TRUE(strips.triangles == faces.triangles) << "decoded strips differ from the face list";
    EXPECT_EQ((std::map<unsigned, std::size_t>{{3, 268686}}), faces.faceSizes);
}

TEST(PlyReader, SharedDataScans)
{
    if (!plytest::sharedDataPresent())
        GTEST_SKIP() << "shared data set not present";
    auto start = std::chrono::steady_clock::now();
    const oxmesh::MeshData merged =
        oxmesh::readPly(OX_SHARED_DATA_DIR "/scans/stanford-bunny-10scans-normals.ply");
    std::printf("stanford-bunny-10scans-normals.ply %.3f s\n", secondsSince(start));
    EXPECT_EQ(362272u, merged.vertexCount());
    EXPECT_EQ(3 * 362272u, merged.normals.size());
    EXPECT_EQ(0u, merged.triangleCount());

    // ASCII, 17 obj_info lines and a range_grid element of 204,800 short lists.
    start = std::chrono::steady_clock::now();
    const oxmesh::MeshData range =
        oxmesh::readPly(OX_SHARED_DATA_DIR "/scans/original/stanford-bunny-range/bun000.ply");
    std::printf("bun000.ply %.3f s\n", secondsSince(start));
    EXPECT_EQ(40256u, range.vertexCount());
    EXPECT_EQ(0u, range.triangleCount());
    EXPECT_EQ("ply ascii", range.format);
}

}  // namespace
