#include "commands/MesherStageMonitor.h"

#include <algorithm>
#include <iostream>

namespace oxmesh {
namespace {

// Share of the rising progress value given to each stage (corners, growth, bisection): about
// their usual share of the potential evaluations.
constexpr float kStageStart[] = {0.0f, 0.2f, 0.5f, 1.0f};

double seconds(std::chrono::steady_clock::duration d)
{
    return std::chrono::duration<double>(d).count();
}

}  // namespace

MesherStageMonitor::MesherStageMonitor(ox::oxProgressNotifierInterface* downstream, std::FILE* echo)
    : downstream_(downstream), echo_(echo), buffer_(*this), stageStart_(Clock::now())
{
    std::cout.flush();
    saved_ = std::cout.rdbuf(&buffer_);
}

MesherStageMonitor::~MesherStageMonitor()
{
    std::cout.rdbuf(saved_);
}

MesherStageMonitor::LineBuffer::int_type MesherStageMonitor::LineBuffer::overflow(int_type c)
{
    if (traits_type::eq_int_type(c, traits_type::eof()))
        return traits_type::not_eof(c);
    const char ch = traits_type::to_char_type(c);
    if (ch == '\n') {
        owner_.onLine(line_);
        line_.clear();
    } else {
        line_.push_back(ch);
    }
    return c;
}

void MesherStageMonitor::onLine(const std::string& line)
{
    if (echo_)
        std::fprintf(echo_, "%s\n", line.c_str());
    if (line.rfind("iteration :", 0) == 0) {
        if (stage_ == Stage::Corners)
            enter(Stage::Growth);
        ++times_.iterations;
    } else if (line == "searching precise surface position") {
        enter(Stage::Bisection);
    } else if (line == "done") {
        enter(Stage::Done);
        forward(1.0f);
    }
}

void MesherStageMonitor::enter(Stage stage)
{
    if (stage <= stage_)
        return;
    const Clock::time_point now = Clock::now();
    const double elapsed = seconds(now - stageStart_);
    switch (stage_) {
    case Stage::Corners:
        times_.cornerSigns += elapsed;
        break;
    case Stage::Growth:
        times_.growth += elapsed;
        break;
    case Stage::Bisection:
        times_.bisection += elapsed;
        break;
    case Stage::Done:
        break;
    }
    stage_ = stage;
    stageStart_ = now;
}

void MesherStageMonitor::notifyProgress(float value)
{
    if (value == 0.0f && stage_ == Stage::Corners) {
        if (sawZero_)
            enter(Stage::Growth);
        sawZero_ = true;
    }
    forward(value);
}

void MesherStageMonitor::forward(float stageValue)
{
    const int s = static_cast<int>(stage_);
    const float begin = kStageStart[s], end = kStageStart[std::min(s + 1, 3)];
    const float within = stageValue >= 0.0f ? std::min(stageValue, 1.0f) : 0.0f;  // NaN counts as 0
    const float overall = begin + (end - begin) * within;
    // Growth iterations restart at 0 each: keep the value from moving back.
    if (overall <= shown_)
        return;
    shown_ = overall;
    if (downstream_)
        downstream_->notifyProgress(overall);
}

MesherStageTimes MesherStageMonitor::times() const
{
    MesherStageTimes result = times_;
    const double open = seconds(Clock::now() - stageStart_);
    switch (stage_) {
    case Stage::Corners:
        result.cornerSigns += open;
        break;
    case Stage::Growth:
        result.growth += open;
        break;
    case Stage::Bisection:
        result.bisection += open;
        break;
    case Stage::Done:
        break;
    }
    return result;
}

}  // namespace oxmesh
