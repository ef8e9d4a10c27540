// A strict look at the `v` lines of an OBJ file. tinyobjloader turns anything it
// cannot parse as a number (garbage, "nan", "inf") into 0 without a word; this scan
// finds such lines so that garbled files fail and non-finite coordinates reach
// validation with their real values.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace oxmesh {

struct ObjVertexScan {
    std::size_t vertexLines = 0;  ///< `v` lines seen, i.e. the vertex count tinyobjloader will report
    /// Vertices (0-based, in file order) with a non-finite coordinate, and their x y z.
    std::vector<std::pair<std::size_t, std::array<float, 3>>> nonFinite;
};

/// Checks every `v` line (leading blanks allowed; lines end at \n, \r\n or \r, a '#' starts a
/// comment): it must hold 3 to 7 numbers (x y z, optional w or r g b [a]), each token a complete
/// number (a leading '+' is allowed; "nan" and "inf" are numbers, recorded in nonFinite).
/// O(size), no allocation per line. Throws FileError(nameForErrors, "line N: ...") naming the
/// first bad line (from 1).
ObjVertexScan scanObjVertices(const char* data, std::size_t size, const std::string& nameForErrors);

}  // namespace oxmesh
