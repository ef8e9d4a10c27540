#include "commands/InfoCommand.h"

#include <cstdio>

#include "commands/InfoReport.h"
#include "commands/ProgressBar.h"
#include "io/MeshReader.h"
#include "io/MeshStats.h"

namespace oxmesh {

InfoCommand::InfoCommand(CLI::App& app, const GlobalOptions& global)
    : Command(app, global, "info", "Report vertices, faces, topology and attributes of a file")
{
    subcommand_->add_option("FILE", input_, "Mesh or point cloud to inspect")->required();
    subcommand_->add_flag("--json", json_, "Print one JSON object instead of aligned lines");
}

int InfoCommand::run()
{
    MeshData mesh;
    {
        ProgressBar bar("reading " + input_,
                        global_.quiet ? ProgressBar::Mode::Never : ProgressBar::Mode::Auto);
        mesh = readMesh(input_, bar.function());
    }
    const InfoReport report(input_, mesh, computeMeshStats(mesh));
    const std::string text = json_ ? report.json() : report.text();
    std::fwrite(text.data(), 1, text.size(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace oxmesh
