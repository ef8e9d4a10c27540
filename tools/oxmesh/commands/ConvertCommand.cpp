#include "commands/ConvertCommand.h"

#include <cstdio>

#include "commands/ProgressBar.h"
#include "io/MeshReader.h"
#include "io/MeshWriter.h"

namespace oxmesh {

ConvertCommand::ConvertCommand(CLI::App& app, const GlobalOptions& global)
    : Command(app, global, "convert", "Convert a mesh or point cloud to .ply, .xyz or .obj")
{
    subcommand_->add_option("IN", input_, "File to read (any supported format)")->required();
    subcommand_->add_option("-o,--output", output_, "File to write; the extension picks the format")
        ->required();
    subcommand_->add_flag("--ascii", ascii_, "Write PLY as text instead of binary little-endian");
}

int ConvertCommand::run()
{
    checkOutputExtension(output_);
    MeshData mesh;
    {
        ProgressBar bar("reading " + input_,
                        global_.quiet ? ProgressBar::Mode::Never : ProgressBar::Mode::Auto);
        mesh = readMesh(input_, bar.function());
    }
    writeMesh(output_, mesh, ascii_);
    if (!global_.quiet)
        std::printf("%s: %zu vertices, %zu triangles\n", output_.c_str(), mesh.vertexCount(),
                    mesh.triangleCount());
    return std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace oxmesh
