#include "formats/AssimpReader.h"

#include <algorithm>
#include <cctype>
#include <memory>

#include <assimp/Importer.hpp>
#include <assimp/MemoryIOWrapper.h>
#include <assimp/ProgressHandler.hpp>
#include <assimp/config.h>
#include <assimp/scene.h>

#include "formats/AssimpErrorCapture.h"
#include "formats/FileError.h"
#include "formats/MappedFile.h"
#include "formats/OffHeaderCheck.h"
#include "formats/Weld.h"

namespace oxmesh {
namespace {

/// Forwards Assimp's loading progress to a ProgressFn; never cancels.
class ProgressForwarder : public Assimp::ProgressHandler {
public:
    explicit ProgressForwarder(const ProgressFn& progress) : m_progress(progress) {}
    bool Update(float fraction) override
    {
        if (fraction >= 0.0f)
            m_progress(std::min(fraction, 1.0f));
        return true;
    }

private:
    ProgressFn m_progress;
};

/// A message of Assimp's as part of one short line.
std::string oneLine(std::string text)
{
    std::replace(text.begin(), text.end(), '\n', ' ');
    std::replace(text.begin(), text.end(), '\r', ' ');
    while (!text.empty() && (text.back() == ' ' || text.back() == '.'))
        text.pop_back();
    if (text.size() > 160)
        text = text.substr(0, 157) + "...";
    return text.empty() ? std::string("unknown error") : text;
}

std::string lowerCase(std::string text)
{
    for (char& c : text)
        c = char(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

void configure(Assimp::Importer& importer, const ProgressFn& progress)
{
    importer.SetPropertyBool(AI_CONFIG_IMPORT_NO_SKELETON_MESHES, true);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    if (progress)
        importer.SetProgressHandler(new ProgressForwarder(progress));  // the importer owns it
}

/// Copies one aiMesh into MeshData, fan-triangulating its polygons, then welds it.
MeshData convertMesh(const aiMesh& source, std::size_t meshIndex, const std::string& format,
                     const std::string& name)
{
    MeshData mesh;
    mesh.format = format;
    const std::size_t n = source.mNumVertices;
    if (n > 0 && !source.mVertices)
        throw FileError(name, "mesh " + std::to_string(meshIndex) + " has no positions");
    mesh.positions.resize(3 * n);
    for (std::size_t v = 0; v < n; ++v)
        for (int k = 0; k < 3; ++k)
            mesh.positions[3 * v + k] = source.mVertices[v][k];
    if (source.mNormals) {
        mesh.normals.resize(3 * n);
        for (std::size_t v = 0; v < n; ++v)
            for (int k = 0; k < 3; ++k)
                mesh.normals[3 * v + k] = source.mNormals[v][k];
    }
    if (source.mColors[0]) {
        mesh.colors.resize(3 * n);
        for (std::size_t v = 0; v < n; ++v) {
            const aiColor4D& c = source.mColors[0][v];
            mesh.colors[3 * v] = c.r;
            mesh.colors[3 * v + 1] = c.g;
            mesh.colors[3 * v + 2] = c.b;
        }
    }
    mesh.hasTexCoords = source.mTextureCoords[0] != nullptr;

    for (std::size_t f = 0; f < (source.mFaces ? source.mNumFaces : 0); ++f) {
        const aiFace& face = source.mFaces[f];
        if (face.mNumIndices < 3 || !face.mIndices)
            continue;  // points and lines are not surface faces
        for (unsigned k = 0; k < face.mNumIndices; ++k) {
            if (face.mIndices[k] >= n)
                throw FileError(name, "mesh " + std::to_string(meshIndex) + " face " + std::to_string(f) +
                                          " refers to vertex " + std::to_string(face.mIndices[k]) +
                                          ", but the mesh has " + std::to_string(n) + " vertices");
        }
        ++mesh.sourceFaces;
        ++mesh.faceSizes[face.mNumIndices];
        mesh.polygonStarts.push_back(std::uint32_t(mesh.triangleCount()));
        for (unsigned k = 1; k + 1 < face.mNumIndices; ++k) {
            mesh.triangles.push_back(face.mIndices[0]);
            mesh.triangles.push_back(face.mIndices[k]);
            mesh.triangles.push_back(face.mIndices[k + 1]);
        }
    }
    if (mesh.faceSizes.size() <= 1 && mesh.faceSizes.count(3))
        mesh.polygonStarts.clear();
    weldByPosition(mesh);
    return mesh;
}

SceneNode convertNode(const aiNode& source, std::size_t meshCount, const std::string& name, int depth)
{
    if (depth > 1000)
        throw FileError(name, "scene hierarchy is nested too deeply");
    SceneNode node;
    node.name = source.mName.C_Str();
    const aiMatrix4x4& m = source.mTransformation;  // row-major, translation in the last column
    node.transform = {m.a1, m.a2, m.a3, m.a4, m.b1, m.b2, m.b3, m.b4,
                      m.c1, m.c2, m.c3, m.c4, m.d1, m.d2, m.d3, m.d4};
    for (unsigned i = 0; i < (source.mMeshes ? source.mNumMeshes : 0); ++i) {
        if (source.mMeshes[i] >= meshCount)
            throw FileError(name, "node '" + node.name + "' refers to mesh " +
                                      std::to_string(source.mMeshes[i]) + ", but there are " +
                                      std::to_string(meshCount) + " meshes");
        node.meshes.push_back(source.mMeshes[i]);
    }
    for (unsigned i = 0; i < (source.mChildren ? source.mNumChildren : 0); ++i)
        if (source.mChildren[i])
            node.children.push_back(convertNode(*source.mChildren[i], meshCount, name, depth + 1));
    return node;
}

SceneData convertScene(const aiScene* scene, const std::string& format, const std::string& name)
{
    SceneData result;
    for (unsigned i = 0; i < (scene->mMeshes ? scene->mNumMeshes : 0); ++i) {
        if (!scene->mMeshes[i])
            throw FileError(name, "mesh " + std::to_string(i) + " is missing");
        result.meshes.push_back(convertMesh(*scene->mMeshes[i], i, format, name));
    }
    if (scene->mRootNode)
        result.root = convertNode(*scene->mRootNode, result.meshes.size(), name, 0);
    return result;
}

/// Imports `path` through the importer's current file system and converts the result; every
/// failure, logged or returned, becomes FileError(name, "cannot read: ...").
SceneData import(Assimp::Importer& importer, const std::string& path, const std::string& format,
                 const std::string& name)
{
    const AssimpErrorCapture errors;
    const aiScene* scene = nullptr;
    try {
        scene = importer.ReadFile(path, 0);
    } catch (const LoggedImportError&) {
        scene = nullptr;  // logged outside the importer's own error handling: message kept below
    }
    if (!errors.firstError().empty())
        throw FileError(name, "cannot read: " + oneLine(errors.firstError()));
    if (!scene)
        throw FileError(name, "cannot read: " + oneLine(importer.GetErrorString()));
    return convertScene(scene, format, name);
}

}  // namespace

SceneData parseAssimpScene(const void* data, std::size_t size, const std::string& formatHint,
                           const std::string& nameForErrors, const ProgressFn& progress)
{
    const std::string format = lowerCase(formatHint);
    if (format == "off")
        checkOffHeader(static_cast<const char*>(data), size, nameForErrors);
    Assimp::Importer importer;
    configure(importer, progress);
    // The buffer as the only file Assimp can see (the importer owns the file system object).
    importer.SetIOHandler(new Assimp::MemoryIOSystem(static_cast<const std::uint8_t*>(data), size, nullptr));
    return import(importer, std::string(AI_MEMORYIO_MAGIC_FILENAME) + "." + format, format, nameForErrors);
}

SceneData readAssimpScene(const std::string& path, const ProgressFn& progress)
{
    const std::size_t dot = path.find_last_of('.');
    const std::string format = dot == std::string::npos ? std::string() : lowerCase(path.substr(dot + 1));
    if (format == "off") {
        // Single-file format whose header must be checked first: read it once, from memory.
        const MappedFile file(path);
        return parseAssimpScene(file.data(), file.size(), format, path, progress);
    }
    Assimp::Importer importer;
    configure(importer, progress);
    return import(importer, path, format, path);
}

}  // namespace oxmesh
