#pragma once

#include "fitting/FitBlock.h"
#include "support/Noise.h"

#include <cmath>
#include <functional>

/// A pair with known blur and gains.
namespace testblocks {

using fitting::FitBlock;
using hostkit::PixelRect;
using KOVA::Tessara::Fundament::Status;
using testfiles::Noise;

inline constexpr std::uint32_t ratio = 4;

/// Noise of several sizes, 0 to 20000.
inline unsigned Pan(std::uint32_t column, std::uint32_t row) {
    const auto at = [&](unsigned size) { return Noise(column / size, row / size, size); };
    return static_cast<unsigned>(10000.0 + 4000.0 * at(23) + 3000.0 * at(9) + 2000.0 * at(3) + 900.0 * at(1));
}

/// Bands made from pan's low-pass with a given blur.
class MadeBlocks final : public fitting::FitBlockSource {
public:
    using Band = std::function<double(double low, std::uint32_t column, std::uint32_t row)>;

    MadeBlocks(std::uint32_t pixels, double blur, std::vector<Band> made)
        : size(pixels), transfer(blur), bands(std::move(made)) {}

    [[nodiscard]] std::size_t GetBands() const override { return bands.size(); }
    [[nodiscard]] std::array<double, 2> GetRatio() const override { return {ratio, ratio}; }
    [[nodiscard]] PixelRect GetArea() const override { return {0, 0, size, size}; }
    [[nodiscard]] std::vector<PixelRect> Choose(std::uint32_t, std::uint32_t) const override {
        return {{0, 0, size / 2, size}, {size / 2, 0, size, size}};
    }
    [[nodiscard]] bool Read(const PixelRect& rect, FitBlock& block, Status&) override {
        block = {rect, bands.size(), {}, {}, {}, {}, {}, {{origin, ratio}, {origin, ratio}, isTurned}};
        KOVA::Tessara::Pixmere::RasterInfo info;
        info.cols = info.rows = size * ratio;
        block.panRect =
            block.onPan.FindUnder(rect.col0 - 2.0, rect.row0 - 2.0, rect.col1 + 2.0, rect.row1 + 2.0, info);
        for (std::uint32_t row = block.panRect.row0; row < block.panRect.row1; ++row)
            for (std::uint32_t column = block.panRect.col0; column < block.panRect.col1; ++column) {
                block.panUsable.push_back(row < 4 && column < 4 ? 0 : 1);
                block.pan.push_back(static_cast<unsigned short>(block.panUsable.back() * Pan(column, row)));
            }
        block.usable.resize(std::size_t{rect.GetColumns()} * rect.GetRows(), 1);
        const std::vector<double> low = block.LowPass(transfer);
        for (std::size_t pixel = 0; pixel < low.size(); ++pixel)
            for (const Band& band : bands)
                block.samples.push_back(
                    band(low[pixel], rect.col0 + static_cast<std::uint32_t>(pixel) % rect.GetColumns(),
                         rect.row0 + static_cast<std::uint32_t>(pixel) / rect.GetColumns()));
        // A few outliers, and some pixels that must not be used.
        for (std::size_t pixel = 7; pixel < low.size(); pixel += 211)
            block.samples[pixel * bands.size()] += oddness;
        for (std::size_t pixel = unusableEvery; pixel < low.size(); pixel += unusableEvery) {
            block.usable[pixel] = 0;
            block.samples[pixel * bands.size()] = 1e30;
        }
        return true;
    }

    bool isTurned = false;
    double oddness = 0.0, origin = 0.0;
    std::size_t unusableEvery = 311;

private:
    std::uint32_t size;
    double transfer;
    std::vector<Band> bands;
};

inline const MadeBlocks::Band half = [](double low, auto, auto) { return 0.5 * low + 3000.0; };
inline const MadeBlocks::Band reverse = [](double low, auto, auto) { return 20000.0 - 0.3 * low; };
/// As bright as pan, times a factor that changes slowly.
inline const MadeBlocks::Band shaded = [](double low, auto column, auto) {
    return low * (1.0 + 0.5 * std::sin(column / 9.0));
};

} // namespace testblocks
