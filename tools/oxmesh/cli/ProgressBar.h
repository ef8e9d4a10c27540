// The progress bar of the oxmesh tool: "[#####     ]  42% label" redrawn in place
// on stderr, only when a person is watching (stderr is a terminal) and the user did
// not ask for --quiet.
#pragma once

#include <chrono>
#include <cstdio>
#include <string>

#include "formats/Progress.h"
#include "system/oxProgressNotifierInterface.h"

namespace oxmesh {

class ProgressBar : public ox::oxProgressNotifierInterface {
public:
    enum class Mode {
        Auto,    ///< draw when the stream is a terminal
        Always,  ///< draw whatever the stream is (tests)
        Never    ///< --quiet
    };

    /// A bar labelled `label` drawn on `stream`. Nothing is written before the first report.
    ProgressBar(std::string label, Mode mode, std::FILE* stream = stderr);

    /// Finishes the line (see finish()).
    ~ProgressBar() override;

    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// Records progress in [0, 1] (clamped; NaN counts as 0) and redraws when the shown percentage
    /// changed and at least 50 ms passed since the last redraw, or when 100 % is reached. O(1).
    void notifyProgress(float value) override;

    /// Adapter for the readers: a ProgressFn forwarding to notifyProgress. The bar must outlive it.
    ProgressFn function();

    /// Erases the bar if one was drawn, leaving the cursor at the start of an empty line, so that
    /// later output (a report, an error line) starts cleanly. Idempotent.
    void finish();

    /// True when this bar writes anything at all.
    bool enabled() const { return m_enabled; }

    /// The text of one frame, without the leading carriage return:
    /// "[" + `width` cells of '#' or ' ' + "] " + percentage right-aligned in 3 + "% " + label.
    static std::string render(float value, const std::string& label, int width = 30);

private:
    std::string m_label;
    std::FILE* m_stream;
    bool m_enabled;
    bool m_drawn = false;
    int m_shownPercent = -1;
    std::size_t m_lastLength = 0;
    std::chrono::steady_clock::time_point m_lastDraw;
};

}  // namespace oxmesh
