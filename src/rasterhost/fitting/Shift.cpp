#include "rasterhost/fitting/Shift.h"

#include "fitting/FitMoments.h"
#include "rasterhost/fitting/SceneSurvey.h"

#include <algorithm>
#include <cmath>

namespace rasterhost {

using fitting::FitMoments;
using fitting::mostFittedBands;

using hostkit::Point;

namespace {

constexpr double reach = 2.0;      ///< of the search, in multispectral pixels
constexpr double coarseStep = 0.5; ///< of the first look, on a grid
constexpr double finestStep = 1.0 / 128.0;
constexpr double leastRSquared = 0.3; ///< below it the bands say nothing about where pan is
constexpr std::size_t leastPixels = 200;

double Length(const Point& way) { return std::hypot(way.x, way.y); }

/// A block and its pixels that every trial uses: those that stay on usable pan wherever they are moved.
struct Window {
    SurveyBlock block;
    std::vector<std::size_t> pixels;
    FitMoments moments;

    explicit Window(std::size_t bands) : moments(bands) {}

    /// Takes pan again. Content that is displaced to the right is found under a footprint further left.
    void Move(const Point& shift) {
        moments.ClearPan();
        for (const std::size_t pixel : pixels)
            moments.AddPan(block.GetSamples(pixel), block.GetPan(pixel, -shift.x, -shift.y).value_or(0.0));
    }
};

using Windows = std::vector<Window*>;

/// R² of one fit over all the windows.
double RSquaredAt(const Windows& windows, const Point& shift) {
    FitMoments all(windows.front()->block.GetBands());
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

bool IsWithinReach(const Point& point) { return std::fabs(point.x) <= reach && std::fabs(point.y) <= reach; }

/// Looks at all places of a grid.
Best SearchGrid(const Windows& windows) {
    Best best{{}, RSquaredAt(windows, {})};
    constexpr int steps = static_cast<int>(reach / coarseStep);
    for (int row = -steps; row <= steps; ++row)
        for (int column = -steps; column <= steps; ++column) {
            const Point point{column * coarseStep, row * coarseStep};
            const double rSquared = RSquaredAt(windows, point);
            if (rSquared > best.rSquared) best = {point, rSquared};
        }
    return best;
}

/// Climbs from neighbour to neighbour, with half the step where none is better.
Best Climb(const Windows& windows, Best best) {
    constexpr Point ways[] = {{1, 0}, {-1, 0}, {0, 1}, {0, -1}, {1, 1}, {-1, -1}, {1, -1}, {-1, 1}};
    for (double step = coarseStep / 2.0; step >= finestStep;) {
        Best next = best;
        for (const Point& way : ways) {
            const Point point{best.at.x + step * way.x, best.at.y + step * way.y};
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

/// Several windows even of a small scene, so that they can be compared.
SurveyPlan PlanWindows(const Scene& scene) {
    const auto& info = scene.GetMultispectral().image->GetInfo();
    return {4, std::clamp(std::min(info.cols, info.rows) / 4, 24u, 64u)};
}

bool ReadWindows(const Scene& scene, std::optional<int> bitDepth, std::vector<Window>& windows,
                 Status& status) {
    const std::size_t bands = scene.CountBands();
    const std::vector<hostkit::PixelRect> rects = ChooseBlocks(scene, PlanWindows(scene));
    ReadAhead ahead;
    const auto ask = [&](std::size_t i) { AskForBlock(scene, rects[i], reach, ahead, i); };
    return ahead.InSteps(rects.size(), ask, [&](std::size_t i) {
        Window window(bands);
        if (!window.block.Read(scene, rects[i], reach, bitDepth, status)) return false;
        for (std::size_t pixel = 0; pixel < window.block.GetCount(); ++pixel) {
            if (!window.block.IsUsable(pixel) || !window.block.GetPan(pixel, 0.0, 0.0, reach)) continue;
            window.pixels.push_back(pixel);
            window.moments.AddBands(window.block.GetSamples(pixel));
        }
        if (window.pixels.size() >= leastPixels) windows.push_back(std::move(window));
        return true;
    });
}

/// How far the windows, each measured alone, lie from the shift of all.
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

double Shift::GetLength() const { return Length(way); }

bool Shift::IsAgreed() const { return windows >= 2 && (spread <= 0.1 || spread <= GetLength() / 3.0); }

bool MeasureShift(const Scene& scene, std::optional<int> bitDepth, std::optional<Shift>& shift,
                  Status& status) {
    shift.reset();
    if (scene.bandOrder.size() >= mostFittedBands) return true;
    std::vector<Window> windows;
    if (!ReadWindows(scene, bitDepth, windows, status)) return false;
    if (windows.empty()) return true;
    Windows all;
    for (Window& window : windows)
        all.push_back(&window);
    const Best best = Climb(all, SearchGrid(all));
    const bool isAtEnd = std::max(std::fabs(best.at.x), std::fabs(best.at.y)) >= reach - finestStep;
    if (best.rSquared < leastRSquared || isAtEnd) return true;
    shift = Shift{best.at, best.rSquared, 0, 0.0};
    MeasureSpread(windows, best, *shift);
    return true;
}

} // namespace rasterhost
