#include "fitting/ShiftFit.h"

#include "fitting/FitMoments.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace fitting {

using hostkit::Point;
using KOVA::Tessara::Fundament::Status;

namespace {

constexpr double searchReach = 2.0; ///< in multispectral pixels, in each direction
constexpr double coarseStep = 0.5;  ///< of the first search, on a grid
constexpr double finestStep = 1.0 / 128.0;
constexpr double leastRSquared = 0.3; ///< below it the bands do not show where pan is
constexpr std::size_t leastPixels = 200;

double Length(const Point& displacement) { return std::hypot(displacement.x, displacement.y); }

/// A block and the pixels used in every trial: those that stay on usable pan for every shift tried.
struct Window {
    explicit Window(FitBlock read) : block(std::move(read)), moments(block.bands) {
        if (!block.panRect.IsEmpty()) pan = AreaSums(block.panRect, block.pan, block.panUsable);
        block.pan = {};
        block.panUsable = {};
        for (std::size_t pixel = 0; pixel < block.GetCount(); ++pixel) {
            if (!block.usable[pixel] || !GetPan(pixel, {}, searchReach)) continue;
            pixels.push_back(pixel);
            moments.AddBands(GetSamples(pixel));
        }
    }

    /// Takes pan's means for a shift. Content that is displaced to the right corresponds to a footprint
    /// further left.
    void Move(const Point& shift) {
        moments.ClearPan();
        for (const std::size_t pixel : pixels)
            moments.AddPan(GetSamples(pixel), GetPan(pixel, shift).value_or(0.0));
    }

    [[nodiscard]] const double* GetSamples(std::size_t pixel) const {
        return block.samples.data() + pixel * block.bands;
    }
    /// Pan's mean over the footprint of a pixel whose content is displaced by `shift` multispectral pixels,
    /// extended by `grow` on all sides. Empty when it does not lie completely on usable pan.
    [[nodiscard]] std::optional<double> GetPan(std::size_t pixel, const Point& shift,
                                               double grow = 0.0) const {
        const double column =
            block.rect.col0 + static_cast<double>(pixel % block.rect.GetColumns()) + -shift.x;
        const std::size_t rowOfBlock = pixel / block.rect.GetColumns();
        const double row = block.rect.row0 + static_cast<double>(rowOfBlock) + -shift.y;
        return block.onPan.Mean(pan, column - grow, row - grow, column + 1.0 + grow, row + 1.0 + grow);
    }

    FitBlock block;
    AreaSums pan;
    std::vector<std::size_t> pixels;
    FitMoments moments;
};

using Windows = std::vector<Window*>;

/// R squared of one fit over all windows.
double RSquaredAt(const Windows& windows, const Point& shift) {
    FitMoments all(windows.front()->block.bands);
    for (Window* window : windows) {
        window->Move(shift);
        all.Add(window->moments);
    }
    return all.GetRSquared(all.Solve());
}

struct Best {
    Point at;
    double rSquared = 0.0;
};

bool IsWithinReach(const Point& point) {
    return std::fabs(point.x) <= searchReach && std::fabs(point.y) <= searchReach;
}

/// Tries all positions of a grid.
Best SearchGrid(const Windows& windows) {
    Best best{{}, RSquaredAt(windows, {})};
    constexpr int steps = static_cast<int>(searchReach / coarseStep);
    for (int row = -steps; row <= steps; ++row)
        for (int column = -steps; column <= steps; ++column) {
            const Point point{column * coarseStep, row * coarseStep};
            const double rSquared = RSquaredAt(windows, point);
            if (rSquared > best.rSquared) best = {point, rSquared};
        }
    return best;
}

/// Moves to the best neighbour; halves the step when none is better.
Best Climb(const Windows& windows, Best best) {
    constexpr Point directions[] = {{1, 0}, {-1, 0}, {0, 1}, {0, -1}, {1, 1}, {-1, -1}, {1, -1}, {-1, 1}};
    for (double step = coarseStep / 2.0; step >= finestStep;) {
        Best next = best;
        for (const Point& direction : directions) {
            const Point point{best.at.x + step * direction.x, best.at.y + step * direction.y};
            if (!IsWithinReach(point)) continue;
            const double rSquared = RSquaredAt(windows, point);
            if (rSquared > next.rSquared) next = {point, rSquared};
        }
        if (next.rSquared > best.rSquared)
            best = next;
        else
            step /= 2.0;
    }
    return best;
}

/// Even a small scene gets several windows, so that they can be compared.
bool ReadWindows(FitBlockSource& source, std::uint32_t shortSide, std::vector<Window>& windows,
                 Status& status) {
    constexpr std::uint32_t windowsPerSide = 4;
    for (const hostkit::PixelRect& rect :
         source.Choose(windowsPerSide, std::clamp(shortSide / windowsPerSide, 24u, 64u))) {
        FitBlock block;
        if (!source.Read(rect, block, status)) return false;
        Window window(std::move(block));
        if (window.pixels.size() >= leastPixels) windows.push_back(std::move(window));
    }
    return true;
}

/// How far the windows, each measured alone, lie from the common shift.
void MeasureSpread(std::vector<Window>& windows, const Best& all, Shift& shift) {
    std::vector<double> distances;
    for (Window& window : windows) {
        const Windows alone{&window};
        const Best own = Climb(alone, {all.at, RSquaredAt(alone, all.at)});
        if (own.rSquared >= leastRSquared) distances.push_back(Length(own.at - all.at));
    }
    shift.windows = static_cast<std::uint32_t>(distances.size());
    if (distances.empty()) return;
    std::sort(distances.begin(), distances.end());
    shift.spread = distances[distances.size() / 2];
}

} // namespace

double Shift::GetLength() const { return Length(displacement); }

bool Shift::IsAgreed() const { return windows >= 2 && (spread <= 0.1 || spread <= GetLength() / 3.0); }

bool FitShift(FitBlockSource& source, std::uint32_t shortSide, std::optional<Shift>& shift, Status& status) {
    shift.reset();
    if (source.GetBands() >= mostFittedBands) return true;
    std::vector<Window> windows;
    if (!ReadWindows(source, shortSide, windows, status)) return false;
    if (windows.empty()) return true;
    Windows all;
    for (Window& window : windows)
        all.push_back(&window);
    const Best best = Climb(all, SearchGrid(all));
    const bool isAtEnd = std::max(std::fabs(best.at.x), std::fabs(best.at.y)) >= searchReach - finestStep;
    if (best.rSquared < leastRSquared || isAtEnd) return true;
    shift = Shift{best.at, best.rSquared, 0, 0.0};
    MeasureSpread(windows, best, *shift);
    return true;
}

} // namespace fitting
