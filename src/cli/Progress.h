#pragma once

#include <chrono>
#include <iosfwd>
#include <string>

namespace cli {

/// "1:07", "2:03:20"; rounded to whole seconds.
[[nodiscard]] std::string FormatDuration(double seconds);

/// Shows the progress of long work: a bar with the time left on a terminal, otherwise a line every tenth, or
/// nothing.
class Progress {
public:
    enum class Style { Bar, Lines, Silent };

    /// The stream is to outlive this.
    Progress(Style chosenStyle, std::ostream& output);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress(); ///< leaves no bar behind

    /// `fraction` runs from 0 to 1.
    void Update(double fraction);
    /// Takes the bar away, so that other lines can be printed; the next Update draws it again.
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
