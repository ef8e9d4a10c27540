// The one error the tool's readers and writers raise: a file and what is wrong
// with it. `what()` is the single line the tool prints: "FILE: problem".
#pragma once

#include <stdexcept>
#include <string>

namespace oxmesh {

class FileError : public std::runtime_error {
public:
    FileError(const std::string& path, const std::string& problem)
        : std::runtime_error(path + ": " + problem), m_path(path), m_problem(problem)
    {}

    const std::string& path() const { return m_path; }
    const std::string& problem() const { return m_problem; }

private:
    std::string m_path;
    std::string m_problem;
};

}  // namespace oxmesh
