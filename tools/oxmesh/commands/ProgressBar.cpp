#include "commands/ProgressBar.h"

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
    : label_(std::move(label)), stream_(stream),
      enabled_(stream != nullptr &&
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
    if (!enabled_)
        return;
    const int percent = int(clampFraction(value) * 100.0f);
    const auto now = std::chrono::steady_clock::now();
    if (percent == shownPercent_)
        return;
    if (drawn_ && percent < 100 && now - lastDraw_ < std::chrono::milliseconds(50))
        return;
    const std::string frame = render(value, label_);
    // Pad with spaces when a shorter frame follows a longer one (cannot happen with a fixed
    // label, but keeps the line clean whatever the label does).
    const std::size_t pad = lastLength_ > frame.size() ? lastLength_ - frame.size() : 0;
    std::fprintf(stream_, "\r%s%*s", frame.c_str(), int(pad), "");
    std::fflush(stream_);
    drawn_ = true;
    shownPercent_ = percent;
    lastLength_ = frame.size();
    lastDraw_ = now;
}

ProgressFn ProgressBar::function()
{
    return [this](float value) { notifyProgress(value); };
}

void ProgressBar::finish()
{
    if (!drawn_)
        return;
    std::fprintf(stream_, "\r%*s\r", int(lastLength_), "");
    std::fflush(stream_);
    drawn_ = false;
    shownPercent_ = -1;
    lastLength_ = 0;
}

}  // namespace oxmesh
