// A served scene, fused on demand: code shared by the programs here.
#pragma once

#include "rasterhost/serving/SharpenedDataset.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace bench {

using hostkit::PixelRect;
using rasterhost::SharpenedDataset;
using rasterhost::Status;
using Clock = std::chrono::steady_clock;

[[noreturn]] inline void Stop(const std::string& reason) {
    std::fprintf(stderr, "%s\n", reason.c_str());
    std::exit(1);
}

inline rasterhost::SharpenRequest Request(const std::string& pan, const std::string& ms,
                                          const std::string& plugin) {
    rasterhost::SharpenRequest request;
    request.pan.file = pan;
    request.multispectral = {{ms, {}}};
    request.plugin = plugin;
    return request;
}

/// Nothing has to be searched in the pixels: there are no collars.
inline std::shared_ptr<const rasterhost::OpenPair> Open(const rasterhost::SharpenRequest& request,
                                                        std::size_t readers) {
    rasterhost::PreparedPair pair;
    const rasterhost::SceneFindings known{{nullptr, nullptr}, {}, {}};
    Status status;
    if (Prepare(
            request, request, [](const std::string&) {}, pair, status, &known) !=
        rasterhost::Preparation::Done)
        Stop(status.ToText());
    return std::make_shared<const rasterhost::OpenPair>(std::move(pair), readers);
}

/// A method with parameters that need no fit.
inline SharpenedDataset Serve(const std::shared_ptr<const rasterhost::OpenPair>& pair,
                              rasterhost::SharpenRequest request, const std::string& method) {
    request.method = method;
    request.weightSource = rasterhost::WeightSource::Equal;
    rasterhost::SceneFindings found;
    if (rasterhost::WantsDetail(request, pair->GetPlugin().GetDescription())) {
        auto& detail = found.detail.emplace();
        detail.transfer = 0.3;
        detail.gains.assign(pair->GetScene().bandOrder.size(), {0.8, 0.2});
        detail.lowPassMean = 100.0;
    }
    rasterhost::Fusion fusion;
    Status status;
    if (!MakeFusion(request, pair->GetScene(), pair->GetPlugin().GetDescription(), found, fusion, status))
        Stop(status.ToText());
    return {pair, fusion};
}

inline std::vector<unsigned char> Read(const SharpenedDataset& dataset, const PixelRect& window,
                                       std::uint32_t columns, std::uint32_t rows) {
    std::vector<std::uint32_t> bands;
    while (bands.size() < dataset.GetBands())
        bands.push_back(static_cast<std::uint32_t>(bands.size()));
    const auto sample = static_cast<std::ptrdiff_t>(dataset.GetBits() / 8);
    const auto pixel = sample * static_cast<std::ptrdiff_t>(bands.size());
    std::vector<unsigned char> out(std::size_t{columns} * rows * static_cast<std::size_t>(pixel));
    Status status;
    if (!dataset.Read(window, columns, rows, bands,
                      {out.data(), pixel, pixel * static_cast<std::ptrdiff_t>(columns), sample}, status))
        Stop(status.ToText());
    return out;
}

/// Exits unless a part of a window at full size has the bytes of the whole window.
inline void ComparePart(const SharpenedDataset& dataset, const PixelRect& all, const PixelRect& part) {
    const auto large = Read(dataset, all, all.GetColumns(), all.GetRows());
    const auto small = Read(dataset, part, part.GetColumns(), part.GetRows());
    const std::size_t pixel = large.size() / all.GetColumns() / all.GetRows();
    const std::size_t bytes = part.GetColumns() * pixel;
    for (std::uint32_t row = 0; row < part.GetRows(); ++row) {
        const std::size_t at =
            (std::size_t{row + part.row0 - all.row0} * all.GetColumns() + (part.col0 - all.col0)) * pixel;
        if (std::memcmp(large.data() + at, small.data() + row * bytes, bytes) != 0)
            Stop("a window gives other bytes than a larger one");
    }
}

class Windows {
public:
    Windows(const SharpenedDataset& read, unsigned seed) : dataset(read), random(seed) {}

    /// A window of 256 x 256 pixels of a level, or of `side` x `side`, or smaller if the level is.
    PixelRect Next(unsigned level, std::uint32_t side = 256) {
        const auto axis = [&](std::uint32_t pixels) {
            const std::uint32_t count = ((pixels - 1) >> level) + 1, size = std::min(side, count);
            const auto first = static_cast<std::uint32_t>(random() % (count - size + 1));
            return std::pair(first << level, std::min((first + size) << level, pixels));
        };
        const auto [col0, col1] = axis(dataset.GetColumns());
        const auto [row0, row1] = axis(dataset.GetRows());
        return {col0, row0, col1, row1};
    }
    std::vector<unsigned char> ReadNext(unsigned level, std::uint32_t side = 256) {
        const PixelRect window = Next(level, side);
        return Read(dataset, window, ((window.GetColumns() - 1) >> level) + 1,
                    ((window.GetRows() - 1) >> level) + 1);
    }

private:
    const SharpenedDataset& dataset;
    std::mt19937 random;
};

} // namespace bench
