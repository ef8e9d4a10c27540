#include "formats/MeshWriter.h"

#include "formats/FileError.h"
#include "formats/MeshReader.h"
#include "formats/ObjWriter.h"
#include "formats/PlyWriter.h"
#include "formats/XyzWriter.h"

namespace oxmesh {

const std::vector<std::string>& supportedOutputExtensions()
{
    static const std::vector<std::string> extensions{".ply", ".obj", ".xyz"};
    return extensions;
}

void checkOutputExtension(const std::string& path)
{
    const std::string extension = lowerCaseExtension(path);
    for (const std::string& supported : supportedOutputExtensions())
        if (extension == supported)
            return;
    std::string list;
    for (const std::string& supported : supportedOutputExtensions())
        list += (list.empty() ? "" : " ") + supported;
    throw FileError(path, (extension.empty() ? std::string("no file extension")
                                             : "unknown output extension '" + extension + "'") +
                              " (supported: " + list + ")");
}

void writeMesh(const std::string& path, const MeshData& mesh, bool ascii)
{
    checkOutputExtension(path);
    const std::string extension = lowerCaseExtension(path);
    if (extension == ".ply")
        writePly(path, mesh, !ascii);
    else if (extension == ".obj")
        writeObj(path, mesh);
    else
        writeXyz(path, mesh);
}

}  // namespace oxmesh
