#include "cli/ProgressBar.h"

#include <algorithm>
#include <cmath>
#include <unistd.h>

namespace oxmesh {
namespace {

float clampFraction(float value)
{
    return std::isnan(value) ? 0.0f : std::clamp(value, 0.0f, 1.0f);
}

}  // namespace

ProgressBar::ProgressBar(std::string label, Mode mode, std::FILE* stream)
    : m_label(std::move(label)), m_stream(stream),
      m_enabled(stream != nullptr &&
                (mode == Mode::Always || (mode == Mode::Auto && ::isatty(::fileno(stream)) == 1)))
{}

ProgressBar::~ProgressBar()
{
    finish();
}

std::string ProgressBar::render(float value, const std::string& label, int width)
{
    const float fraction = clampFraction(value);
    const int filled = std::min(width, int(fraction * float(width)));
    const int percent = int(fraction * 100.0f);
    char number[8];
    std::snprintf(number, sizeof number, "%3d%%", percent);
    return "[" + std::string(std::size_t(filled), '#') + std::string(std::size_t(width - filled), ' ') +
           "] " + number + " " + label;
}

void ProgressBar::notifyProgress(float value)
{
    if (!m_enabled)
        return;
    const int percent = int(clampFraction(value) * 100.0f);
    const auto now = std::chrono::steady_clock::now();
    if (percent == m_shownPercent)
        return;
    if (m_drawn && percent < 100 && now - m_lastDraw < std::chrono::milliseconds(50))
        return;
    const std::string frame = render(value, m_label);
    // Pad with spaces when a shorter frame follows a longer one (cannot happen with a fixed
    // label, but keeps the line clean whatever the label does).
    const std::size_t pad = m_lastLength > frame.size() ? m_lastLength - frame.size() : 0;
    std::fprintf(m_stream, "\r%s%*s", frame.c_str(), int(pad), "");
    std::fflush(m_stream);
    m_drawn = true;
    m_shownPercent = percent;
    m_lastLength = frame.size();
    m_lastDraw = now;
}

ProgressFn ProgressBar::function()
{
    return [this](float value) { notifyProgress(value); };
}

void ProgressBar::finish()
{
    if (!m_drawn)
        return;
    std::fprintf(m_stream, "\r%*s\r", int(m_lastLength), "");
    std::fflush(m_stream);
    m_drawn = false;
    m_shownPercent = -1;
    m_lastLength = 0;
}

}  // namespace oxmesh
