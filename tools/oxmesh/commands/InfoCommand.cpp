#include "commands/InfoCommand.h"

#include <cstdio>

#include "cli/InfoReport.h"
#include "formats/MeshView.h"

namespace oxmesh {

InfoCommand::InfoCommand(CLI::App& app, const GlobalOptions& global)
    : Command(app, global, "info", "Report vertices, faces, topology and attributes of a file")
{
    m_subcommand->add_option("FILE", m_input, "Mesh or point cloud to inspect")->required();
    m_subcommand->add_flag("--json", m_json, "Print one JSON object instead of aligned lines");
}

int InfoCommand::run()
{
    const MeshData mesh = readInput();
    const InfoReport report(m_input, mesh, statisticsOf(mesh));
    const std::string text = m_json ? report.json() : report.text();
    std::fwrite(text.data(), 1, text.size(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace oxmesh
