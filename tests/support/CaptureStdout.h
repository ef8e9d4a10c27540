// The one place where tests read standard output: the library prints its progress and
// diagnostic lines there, and some tests check those lines word for word.
#pragma once

#include <iostream>
#include <sstream>
#include <string>

namespace oxtest {

/// Collects everything written to std::cout while it lives; restores std::cout on destruction.
class CaptureStdout {
public:
    CaptureStdout() : m_previous(std::cout.rdbuf(m_captured.rdbuf())) {}
    ~CaptureStdout() { std::cout.rdbuf(m_previous); }
    CaptureStdout(const CaptureStdout&) = delete;
    CaptureStdout& operator=(const CaptureStdout&) = delete;

    /// What was printed so far.
    std::string text() const { return m_captured.str(); }

private:
    std::ostringstream m_captured;
    std::streambuf* m_previous;
};

/// Runs `f` with std::cout captured; returns what it printed.
template <class F>
std::string capturedStdout(F&& f)
{
    CaptureStdout capture;
    f();
    return capture.text();
}

}  // namespace oxtest
