#include "commands/Command.h"

#include "formats/MeshReader.h"

namespace oxmesh {

MeshData Command::readInput() const
{
    ProgressBar bar("reading " + m_input, progressMode());
    return readMesh(m_input, bar.function());
}

}  // namespace oxmesh
