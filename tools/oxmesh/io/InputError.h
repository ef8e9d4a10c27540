// The one error the tool's readers and writers raise: a file and what is wrong
// with it. `what()` is the single line the tool prints: "FILE: problem".
#pragma once

#include <stdexcept>
#include <string>

namespace oxmesh {

class InputError : public std::runtime_error {
public:
    InputError(const std::string& path, const std::string& problem)
        : std::runtime_error(path + ": " + problem), path_(path), problem_(problem)
    {}

    const std::string& path() const { return path_; }
    const std::string& problem() const { return problem_; }

private:
    std::string path_;
    std::string problem_;
};

}  // namespace oxmesh
