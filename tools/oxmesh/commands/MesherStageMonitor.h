// Watches one run of the regular-grid mesher and times its stages. The mesher reports
// progress values that restart at 0 in every stage and prints "iteration :N",
// "searching precise surface position" and "done" on standard output; this monitor takes
// both in place of the mesher's notifier and of std::cout, so that it can tell the stages
// apart, turn the restarting values into one rising progress value for the caller, and keep
// the mesher's lines out of the tool's own output (or pass them on, for --verbose).
#pragma once

#include <chrono>
#include <cstdio>
#include <iosfwd>
#include <streambuf>
#include <string>

#include "system/oxProgressNotifierInterface.h"

namespace oxmesh {

/// Seconds spent in each stage of one meshing run.
struct MesherStageTimes {
    double cornerSigns = 0.0;     ///< bounding cube, seed cells, signs of their corners
    double growth = 0.0;          ///< growth across crossed faces, triangle and vertex tables
    double bisection = 0.0;       ///< ten bisection steps per vertex
    unsigned int iterations = 0;  ///< growth iterations the mesher printed

    double total() const { return cornerSigns + growth + bisection; }
};

class MesherStageMonitor : public ox::oxProgressNotifierInterface {
public:
    /// Starts the clock and redirects std::cout to the monitor until destruction. `downstream`
    /// (may be null) receives one rising progress value in [0, 1]; `echo` (may be null) receives
    /// the mesher's lines as they come. Construct it right before computeMesh.
    MesherStageMonitor(ox::oxProgressNotifierInterface* downstream, std::FILE* echo);

    /// Restores std::cout.
    ~MesherStageMonitor() override;

    MesherStageMonitor(const MesherStageMonitor&) = delete;
    MesherStageMonitor& operator=(const MesherStageMonitor&) = delete;

    /// Receives the mesher's progress. The second value of exactly 0 starts the growth stage
    /// (the corner stage starts at 0 and then only rises). O(1).
    void notifyProgress(float value) override;

    /// The stage times; complete once the mesher printed "done". A stage the run never reached
    /// keeps 0; a run that never printed "done" gets its remaining time counted up to this call.
    MesherStageTimes times() const;

private:
    enum class Stage { Corners, Growth, Bisection, Done };
    using Clock = std::chrono::steady_clock;

    /// Collects the mesher's standard output line by line.
    class LineBuffer : public std::streambuf {
    public:
        explicit LineBuffer(MesherStageMonitor& owner) : owner_(owner) {}

    protected:
        int_type overflow(int_type c) override;

    private:
        MesherStageMonitor& owner_;
        std::string line_;
    };

    void onLine(const std::string& line);
    void enter(Stage stage);
    void forward(float stageValue);

    ox::oxProgressNotifierInterface* downstream_;
    std::FILE* echo_;
    LineBuffer buffer_;
    std::streambuf* saved_;
    Stage stage_ = Stage::Corners;
    Clock::time_point stageStart_;
    MesherStageTimes times_;
    bool sawZero_ = false;
    float shown_ = 0.0f;
};

}  // namespace oxmesh
