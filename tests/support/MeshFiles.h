// Minimal readers of the two real-file layouts the library tests load (OBJ text, binary PLY
// with float positions and a face list), so the library's tests need nothing of the tool.
#pragma once

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/Shapes.h"

namespace oxtest {

/// Minimal OBJ reader: `v x y z` and `f i j k ...` (fan-triangulated, `i/...` forms accepted).
inline bool readObj(const std::string& path, Soup& s)
{
    std::ifstream in(path);
    if (!in)
        return false;
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream ls(line);
        std::string tag;
        ls >> tag;
        if (tag == "v") {
            float x, y, z;
            ls >> x >> y >> z;
            s.p.push_back(Vec3(x, y, z));
        } else if (tag == "f") {
            std::vector<unsigned int> f;
            std::string tok;
            while (ls >> tok)
                f.push_back(unsigned(std::stoi(tok.substr(0, tok.find('/'))) - 1));
            for (std::size_t k = 2; k < f.size(); ++k)
                s.t.insert(s.t.end(), {f[0], f[k - 1], f[k]});
        }
    }
    return !s.t.empty();
}

/// Minimal binary little-endian PLY reader for `float x y z` vertices and a `face` list of
/// (uchar count, int indices); other vertex properties must be absent.
inline bool readFacePly(const std::string& path, Soup& s)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    std::string line;
    unsigned vertices = 0, faces = 0;
    while (std::getline(in, line) && line != "end_header") {
        std::istringstream ls(line);
        std::string a, b;
        ls >> a >> b;
        if (a == "element" && b == "vertex")
            ls >> vertices;
        if (a == "element" && b == "face")
            ls >> faces;
    }
    s.p.resize(vertices);
    in.read(reinterpret_cast<char*>(s.p.data()), std::streamsize(vertices) * 12);
    for (unsigned f = 0; f < faces && in; ++f) {
        unsigned char count = 0;
        in.read(reinterpret_cast<char*>(&count), 1);
        std::vector<std::int32_t> idx(count);
        in.read(reinterpret_cast<char*>(idx.data()), std::streamsize(count) * 4);
        for (unsigned k = 2; k < count; ++k)
            s.t.insert(s.t.end(), {unsigned(idx[0]), unsigned(idx[k - 1]), unsigned(idx[k])});
    }
    return bool(in);
}

}  // namespace oxtest
