// The report of `oxmesh info`: one list of facts, shown either as aligned
// "key: value" lines for people or as one JSON object for scripts.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "cli/JsonObject.h"
#include "formats/MeshData.h"
#include "oxMeshProcessing.h"

namespace oxmesh {

class InfoReport {
public:
    /// Collects the facts about `mesh` (read from `path`) and its statistics (statisticsOf).
    /// Topology entries are left out for point clouds, genus and volume unless the mesh is
    /// closed, manifold and consistently oriented, normal counts unless the mesh has normals.
    /// O(number of facts).
    InfoReport(const std::string& path, const MeshData& mesh,
               const ox::oxMeshProcessing::tMeshStatistics& stats);

    /// One "label: value" line per fact, values aligned in one column, ending with a newline.
    std::string text() const;

    /// One JSON object on one line (keys as in the data set's analysis script where it has them:
    /// "vertices", "faces", "boundary_edges", "genus_total", ...), ending with a newline.
    std::string json() const;

private:
    template <class T>
    void add(const char* key, const char* label, const T& value);

    std::vector<std::pair<std::string, std::string>> m_lines;
    JsonObject m_json;
};

}  // namespace oxmesh
