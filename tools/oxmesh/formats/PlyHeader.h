// The header of a PLY file: its encoding and the elements with their properties,
// as declared between the "ply" magic line and "end_header".
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace oxmesh::ply {

/// The eight scalar types a PLY property can have.
enum class ScalarType : std::uint8_t { Int8, UInt8, Int16, UInt16, Int32, UInt32, Float32, Float64 };

/// Size in bytes of one binary value of `type`.
std::size_t scalarSize(ScalarType type);

/// True for the six integer types.
bool isIntegerType(ScalarType type);

/// The type for a header type name ("uchar" and "uint8" alike); false if unknown.
bool scalarTypeFromName(const std::string& name, ScalarType& out);

enum class Encoding { Ascii, BinaryLittleEndian, BinaryBigEndian };

/// The name used on the header's format line ("ascii", "binary_little_endian", ...).
const char* encodingName(Encoding encoding);

struct Property {
    std::string name;
    ScalarType type = ScalarType::Float32;  ///< value type (item type of a list)
    bool isList = false;
    ScalarType countType = ScalarType::UInt8;  ///< type of a list's length (integer)
};

struct Element {
    std::string name;
    std::uint64_t count = 0;
    std::vector<Property> properties;
    std::size_t headerLine = 0;  ///< 1-based line of its "element" line

    /// Index of the property called `propertyName`, or -1.
    int find(const std::string& propertyName) const;
};

struct Header {
    Encoding encoding = Encoding::Ascii;
    std::vector<Element> elements;
    std::size_t bodyOffset = 0;  ///< first byte after the end_header line
    std::size_t lineCount = 0;   ///< lines in the header, end_header included
};

/// Parses the header at the start of `data` (size bytes). O(header size).
/// Checks syntax only: magic, format line, element and property lines, known types,
/// list count types being integers, end_header present. What the elements mean is
/// left to the reader. Throws FileError(nameForErrors, one-line problem) on failure.
Header parseHeader(const char* data, std::size_t size, const std::string& nameForErrors);

}  // namespace oxmesh::ply
