#include "kernels/CubicResampler.h"

#include <algorithm>
#include <utility>

namespace kernels {

namespace {

template <class T, class V>
class PlannedCubic final : public CubicResampler<T> {
public:
    PlannedCubic(CubicPlan<V> made, std::span<const GridPosition> positions, std::int64_t sourcePixels,
                 const CubicKernels<T, V>& chosen)
        : plan(std::move(made)), columns(positions.begin(), positions.end()), pixels(sourcePixels),
          kernels(chosen), row(std::size_t{plan.pixels} * plan.bands + plan.lanes),
          uncertain(plan.vectors.size() * plan.lanes) {
        const auto within = [&](std::int64_t pixel) {
            return std::clamp<std::int64_t>(pixel, 0, pixels - 1);
        };
        const std::int64_t last = plan.firstPixel + plan.pixels - 1;
        first = within(plan.firstPixel);
        count = static_cast<std::size_t>(within(last) - first + 1);
        before = static_cast<std::size_t>(
            std::clamp<std::int64_t>(first - plan.firstPixel, 0, std::int64_t{plan.pixels} - 1));
    }

    [[nodiscard]] std::uint32_t GetFirstPixel() const override { return static_cast<std::uint32_t>(first); }

    void Make(const std::array<const T*, 4>& source, const CubicTap& down, T* out) override {
        kernels.down(source, CubicWeights<V>(down), count * plan.bands, row.data() + before * plan.bands);
        ReplicateEdges();
        const std::size_t samples = columns.size() * plan.bands;
        const std::size_t left = kernels.across(plan, row.data(), samples, out, uncertain.data());
        for (std::size_t i = 0; i < left; ++i)
            Settle(source, down, uncertain[i], out);
    }

private:
    void ReplicateEdges() {
        const std::size_t bands = plan.bands;
        for (std::size_t i = before * bands; i-- > 0;)
            row[i] = row[i + bands];
        for (std::size_t i = (before + count) * bands; i < plan.pixels * bands; ++i)
            row[i] = row[i - bands];
    }

    /// Computes one sample by the definition.
    void Settle(const std::array<const T*, 4>& source, const CubicTap& down, std::size_t sample, T* out) {
        CubicTap tap = MakeCubicTap(columns[sample / plan.bands], pixels);
        for (std::uint32_t& at : tap.at)
            at = (at - static_cast<std::uint32_t>(first)) * plan.bands;
        std::array<double, 4> across{};
        for (std::size_t i = 0; i < across.size(); ++i)
            CubicAcross(source[i] + sample % plan.bands, &tap, 1, 1, &across[i]);
        CubicDown({&across[0], &across[1], &across[2], &across[3]}, down.weights, 1, out + sample);
    }

    CubicPlan<V> plan;
    std::vector<GridPosition> columns;
    std::int64_t pixels;
    CubicKernels<T, V> kernels;
    std::int64_t first = 0; ///< first source pixel that is read
    std::size_t count = 0;  ///< number of pixels read
    std::size_t before = 0; ///< pixels in `row` before them
    std::vector<V> row;     ///< the source rows, weighted down
    std::vector<std::uint32_t> uncertain;
};

template <class T, class V>
std::unique_ptr<CubicResampler<T>> Plan(std::span<const GridPosition> columns, std::int64_t pixels,
                                        std::uint32_t bands, bool isExact, SimdTarget target) {
    const auto kernels = CubicKernelsFor<T, V>(target, isExact);
    auto plan = MakeCubicPlan<V>(columns, bands, kernels.lanes);
    if (!plan) return nullptr;
    return std::make_unique<PlannedCubic<T, V>>(std::move(*plan), columns, pixels, kernels);
}

} // namespace

template <>
std::unique_ptr<CubicResampler<unsigned char>> MakeCubicResampler(std::span<const GridPosition> columns,
                                                                  std::int64_t pixels, std::uint32_t bands,
                                                                  bool isExact, SimdTarget target) {
    return isExact ? Plan<unsigned char, std::int32_t>(columns, pixels, bands, isExact, target)
                   : Plan<unsigned char, float>(columns, pixels, bands, isExact, target);
}

template <>
std::unique_ptr<CubicResampler<unsigned short>> MakeCubicResampler(std::span<const GridPosition> columns,
                                                                   std::int64_t pixels, std::uint32_t bands,
                                                                   bool isExact, SimdTarget target) {
    return Plan<unsigned short, double>(columns, pixels, bands, isExact, target);
}

} // namespace kernels
