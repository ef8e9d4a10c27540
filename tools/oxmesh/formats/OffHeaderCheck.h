// A look at the header of an OFF file before Assimp reads it. Assimp's OFF
// importer allocates its arrays from the counts in the header before it reads
// a single vertex, so a few bytes claiming four billion vertices make it ask for
// tens of gigabytes. This check refuses counts the file cannot possibly hold.
#pragma once

#include <cstddef>
#include <string>

namespace oxmesh {

/// Reads the OFF header the way Assimp does (blank lines and '#' comments skipped; optional
/// ST, C, N, 4, n prefixes; the "OFF" keyword, which may be missing; a dimension after "nOFF";
/// then the vertex and face counts) and checks that the rest of the data has at least one line
/// of two bytes for every vertex and face it announces. O(header). Throws FileError(name,
/// "OFF header announces N vertices and M faces, more than the K bytes after it can hold").
/// A header it cannot make sense of is left for Assimp to reject.
void checkOffHeader(const char* data, std::size_t size, const std::string& nameForErrors);

}  // namespace oxmesh
