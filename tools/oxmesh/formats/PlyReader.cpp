#include "formats/PlyReader.h"

#include "formats/ByteOrder.h"
#include "formats/MappedFile.h"
#include "formats/PlyAsciiSource.h"
#include "formats/PlyBinarySource.h"
#include "formats/PlyBodyDecoder.h"
#include "formats/PlyHeader.h"
#include "formats/PlyLayout.h"
#include "formats/ProgressReporter.h"

namespace oxmesh {
namespace {

template <class Source>
void decodeBody(const ply::Header& header, const ply::Layout& layout, Source& source,
                ply::RowContext& context, ProgressReporter& progress, MeshData& mesh)
{
    ply::BodyDecoder<Source>(header, layout, source, context, progress, mesh).run();
}

}  // namespace

MeshData parsePly(const char* data, std::size_t size, const std::string& nameForErrors,
                  const ProgressFn& progress)
{
    ProgressReporter reporter(progress, size);
    reporter.at(0);
    const ply::Header header = ply::parseHeader(data, size, nameForErrors);
    MeshData mesh;
    mesh.format = std::string("ply ") + ply::encodingName(header.encoding);
    const ply::Layout layout = ply::planLayout(header, mesh, nameForErrors);

    ply::RowContext context;
    context.fileName = &nameForErrors;
    const char* body = data + header.bodyOffset;
    const char* end = data + size;
    const bool littleHost = hostIsLittleEndian();
    switch (header.encoding) {
    case ply::Encoding::Ascii: {
        ply::AsciiSource source(data, body, end, header.lineCount + 1, context);
        decodeBody(header, layout, source, context, reporter, mesh);
        break;
    }
    case ply::Encoding::BinaryLittleEndian:
    case ply::Encoding::BinaryBigEndian: {
        const bool swap = littleHost != (header.encoding == ply::Encoding::BinaryLittleEndian);
        if (swap) {
            ply::BinarySource<true> source(data, body, end, context);
            decodeBody(header, layout, source, context, reporter, mesh);
        } else {
            ply::BinarySource<false> source(data, body, end, context);
            decodeBody(header, layout, source, context, reporter, mesh);
        }
        break;
    }
    }
    reporter.finish();
    return mesh;
}

MeshData readPly(const std::string& path, const ProgressFn& progress)
{
    const MappedFile file(path);
    return parsePly(file.data(), file.size(), path, progress);
}

}  // namespace oxmesh
