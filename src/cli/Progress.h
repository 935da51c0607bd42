#pragma once

#include <chrono>
#include <iosfwd>
#include <string>

namespace cli {

/// "1:07" or "2:03:20", rounded to whole seconds.
[[nodiscard]] std::string FormatDuration(double seconds);

/// Shows the progress of long work: on a terminal a bar with the remaining time, otherwise a line every
/// tenth, or nothing.
class Progress {
public:
    enum class Style { Bar, Lines, Silent };

    /// The stream must outlive this.
    Progress(Style chosenStyle, std::ostream& output);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress(); ///< removes the bar

    /// `fraction` is the part done, from 0 to 1.
    void Update(double fraction);
    /// Removes the bar, so that other lines can be printed. The next Update draws it again.
    void Clear();

private:
    using Clock = std::chrono::steady_clock;

    [[nodiscard]] std::string TimeLeft(double fraction) const;
    void DrawBar(double fraction);
    void PrintLine(double fraction);

    Style style;
    std::ostream& stream;
    Clock::time_point start = Clock::now();
    Clock::time_point drawn;
    bool barShown = false;
    int tenthsPrinted = 0;
};

} // namespace cli
