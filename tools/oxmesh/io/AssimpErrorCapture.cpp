#include "io/AssimpErrorCapture.h"

#include <exception>

#include <assimp/DefaultLogger.hpp>
#include <assimp/LogStream.hpp>

namespace oxmesh {
namespace {

/// Receives Assimp's error lines: keeps the first, and throws at it when throwing is safe.
class FirstErrorStream : public Assimp::LogStream {
public:
    explicit FirstErrorStream(std::string& firstError) : firstError_(firstError) {}

    void write(const char* message) override
    {
        if (!firstError_.empty() || !message)
            return;
        std::string text = message;
        const std::size_t prefix = text.find(": ");
        if (text.compare(0, 5, "Error") == 0 && prefix != std::string::npos)
            text.erase(0, prefix + 2);
        firstError_ = text.empty() ? std::string("error") : text;
        if (!std::current_exception() && std::uncaught_exceptions() == 0)
            throw LoggedImportError(firstError_);
    }

private:
    std::string& firstError_;
};

}  // namespace

AssimpErrorCapture::AssimpErrorCapture()
{
    if (!Assimp::DefaultLogger::isNullLogger())
        return;
    Assimp::DefaultLogger::create("", Assimp::Logger::NORMAL, 0);
    // The logger owns and deletes attached streams.
    Assimp::DefaultLogger::get()->attachStream(new FirstErrorStream(firstError_), Assimp::Logger::Err);
    installed_ = true;
}

AssimpErrorCapture::~AssimpErrorCapture()
{
    if (installed_)
        Assimp::DefaultLogger::kill();
}

}  // namespace oxmesh
