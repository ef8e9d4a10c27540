#include "formats/MeshReader.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>

#include "formats/AssimpReader.h"
#include "formats/FileError.h"
#include "formats/ObjReader.h"
#include "formats/PlyReader.h"
#include "formats/SceneFlatten.h"
#include "formats/Validate.h"
#include "formats/Weld.h"
#include "formats/XyzReader.h"

namespace oxmesh {
namespace {

enum class Reader { Ply, Xyz, Obj, Assimp };

struct Format {
    const char* extension;
    Reader reader;
};

constexpr Format kFormats[] = {
    {".ply", Reader::Ply},     {".obj", Reader::Obj},    {".off", Reader::Assimp}, {".stl", Reader::Assimp},
    {".gltf", Reader::Assimp}, {".glb", Reader::Assimp}, {".fbx", Reader::Assimp}, {".3mf", Reader::Assimp},
    {".dae", Reader::Assimp},  {".3ds", Reader::Assimp}, {".xyz", Reader::Xyz},    {".txt", Reader::Xyz},
};

std::string joined(const std::vector<std::string>& items)
{
    std::string text;
    for (const std::string& item : items)
        text += (text.empty() ? "" : " ") + item;
    return text;
}

/// Checks the path before any reader sees it and returns the reader for its extension.
Reader checkInputPath(const std::string& path)
{
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found)
        throw FileError(path, "no such file");
    if (error)
        throw FileError(path, "cannot open: " + error.message());
    if (status.type() == fs::file_type::directory)
        throw FileError(path, "is a directory, not a file");

    const std::string extension = lowerCaseExtension(path);
    const Format* format = std::find_if(std::begin(kFormats), std::end(kFormats),
                                        [&](const Format& f) { return extension == f.extension; });
    if (format == std::end(kFormats))
        throw FileError(path, (extension.empty() ? std::string("no file extension")
                                                 : "unknown file extension '" + extension + "'") +
                                  " (supported: " + joined(supportedInputExtensions()) + ")");

    if (status.type() == fs::file_type::regular && fs::file_size(path, error) == 0 && !error)
        throw FileError(path, "file is empty");
    return format->reader;
}

/// Formats without a hierarchy: one root node holding the mesh.
SceneData singleMeshScene(MeshData mesh)
{
    SceneData scene;
    scene.meshes.push_back(std::move(mesh));
    scene.root.meshes.push_back(0);
    return scene;
}

MeshData readSingleMesh(Reader reader, const std::string& path, const ProgressFn& progress)
{
    switch (reader) {
    case Reader::Ply:
        return readPly(path, progress);
    case Reader::Xyz:
        return readXyz(path, progress);
    default:
        return readObj(path, progress);
    }
}

}  // namespace

std::string lowerCaseExtension(const std::string& path)
{
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& c : extension)
        c = char(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

const std::vector<std::string>& supportedInputExtensions()
{
    static const std::vector<std::string> extensions = [] {
        std::vector<std::string> list;
        for (const Format& format : kFormats)
            list.push_back(format.extension);
        return list;
    }();
    return extensions;
}

MeshData readMesh(const std::string& path, const ProgressFn& progress)
{
    const Reader reader = checkInputPath(path);
    MeshData mesh;
    if (reader == Reader::Assimp) {
        mesh = flattenScene(readAssimpScene(path, progress));
        weldByPosition(mesh);
    } else {
        mesh = readSingleMesh(reader, path, progress);
    }
    validateMesh(mesh, path);
    return mesh;
}

SceneData readScene(const std::string& path, const ProgressFn& progress)
{
    const Reader reader = checkInputPath(path);
    SceneData scene = reader == Reader::Assimp ? readAssimpScene(path, progress)
                                               : singleMeshScene(readSingleMesh(reader, path, progress));
    bool anyVertex = false;
    for (const MeshData& mesh : scene.meshes) {
        if (mesh.vertexCount() == 0)
            continue;  // an empty part of a scene is harmless
        validateMesh(mesh, path);
        anyVertex = true;
    }
    if (!anyVertex)
        throw FileError(path, "no vertices");
    return scene;
}

}  // namespace oxmesh
