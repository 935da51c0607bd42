#include "cli/Progress.h"

#include "cli/Platform.h"
#include "fundament/Text.h"

#include <algorithm>
#include <cmath>
#include <ostream>

namespace cli {

using KOVA::Tessara::Fundament::FormatString;

namespace {

constexpr std::chrono::milliseconds drawInterval{100};
constexpr double soonestEstimate = 1.0; // seconds; earlier the remaining time is only a guess
constexpr std::size_t longestBar = 50;

} // namespace

std::string FormatDuration(double seconds) {
    const auto total = static_cast<long>(std::lround(std::clamp(seconds, 0.0, 3.6e8)));
    if (total < 3600) return FormatString("%ld:%02ld", total / 60, total % 60);
    return FormatString("%ld:%02ld:%02ld", total / 3600, total / 60 % 60, total % 60);
}

Progress::Progress(Style chosenStyle, std::ostream& output) : style(chosenStyle), stream(output) {}

Progress::~Progress() { Clear(); }

void Progress::Update(double fraction) {
    fraction = std::clamp(fraction, 0.0, 1.0);
    if (style == Style::Bar) DrawBar(fraction);
    if (style == Style::Lines) PrintLine(fraction);
}

void Progress::Clear() {
    if (!barShown) return;
    stream << "\r\x1b[K" << std::flush; // to the start of the line, and erase it
    barShown = false;
}

std::string Progress::TimeLeft(double fraction) const {
    const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    if (fraction <= 0.0 || fraction >= 1.0 || elapsed < soonestEstimate) return {};
    return FormatDuration(elapsed / fraction - elapsed) + " left";
}

void Progress::DrawBar(double fraction) {
    const auto now = Clock::now();
    if (barShown && now - drawn < drawInterval && fraction < 1.0) return;
    const std::size_t columns = platform::TerminalColumns();
    constexpr std::size_t besides = 24; // " 100 % [" and "] 12:34:56 left"
    const std::size_t length = std::min(longestBar, columns > besides ? columns - besides : 0);
    const auto filled = static_cast<std::size_t>(fraction * static_cast<double>(length));
    std::string bar(filled, '=');
    bar.resize(length, ' ');
    stream << "\r\x1b[K" << FormatString(" %3d %% [", static_cast<int>(fraction * 100.0)) << bar << "] "
           << TimeLeft(fraction) << std::flush;
    drawn = now;
    barShown = true;
}

void Progress::PrintLine(double fraction) {
    const int tenths = static_cast<int>(fraction * 10.0);
    if (tenths <= tenthsPrinted) return;
    tenthsPrinted = tenths;
    const std::string left = TimeLeft(fraction);
    stream << FormatString("%d %% done", tenths * 10) << (left.empty() ? "" : ", ") << left << std::endl;
}

} // namespace cli
