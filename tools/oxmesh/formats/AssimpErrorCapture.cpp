#include "formats/AssimpErrorCapture.h"

#include <exception>

#include <assimp/DefaultLogger.hpp>
#include <assimp/LogStream.hpp>

namespace oxmesh {
namespace {

/// Receives Assimp's error lines: keeps the first, and throws at it when throwing is safe.
class FirstErrorStream : public Assimp::LogStream {
public:
    explicit FirstErrorStream(std::string& firstError) : m_firstError(firstError) {}

    void write(const char* message) override
    {
        if (!m_firstError.empty() || !message)
            return;
        std::string text = message;
        const std::size_t prefix = text.find(": ");
        if (text.compare(0, 5, "Error") == 0 && prefix != std::string::npos)
            text.erase(0, prefix + 2);
        m_firstError = text.empty() ? std::string("error") : text;
        if (!std::current_exception() && std::uncaught_exceptions() == 0)
            throw LoggedImportError(m_firstError);
    }

private:
    std::string& m_firstError;
};

}  // namespace

AssimpErrorCapture::AssimpErrorCapture()
{
    if (!Assimp::DefaultLogger::isNullLogger())
        return;
    Assimp::DefaultLogger::create("", Assimp::Logger::NORMAL, 0);
    // The logger owns and deletes attached streams.
    Assimp::DefaultLogger::get()->attachStream(new FirstErrorStream(m_firstError), Assimp::Logger::Err);
    m_installed = true;
}

AssimpErrorCapture::~AssimpErrorCapture()
{
    if (m_installed)
        Assimp::DefaultLogger::kill();
}

}  // namespace oxmesh
