#include "commands/ConvertCommand.h"

#include <cstdio>

#include "formats/MeshWriter.h"

namespace oxmesh {

ConvertCommand::ConvertCommand(CLI::App& app, const GlobalOptions& global)
    : Command(app, global, "convert", "Convert a mesh or point cloud to .ply, .xyz or .obj")
{
    m_subcommand->add_option("IN", m_input, "File to read (any supported format)")->required();
    m_subcommand->add_option("-o,--output", m_output, "File to write; the extension picks the format")
        ->required();
    m_subcommand->add_flag("--ascii", m_ascii, "Write PLY as text instead of binary little-endian");
}

int ConvertCommand::run()
{
    checkOutputExtension(m_output);
    const MeshData mesh = readInput();
    writeMesh(m_output, mesh, m_ascii);
    if (!m_global.quiet)
        std::printf("%s: %zu vertices, %zu triangles\n", m_output.c_str(), mesh.vertexCount(),
                    mesh.triangleCount());
    return std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace oxmesh
