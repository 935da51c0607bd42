#include "kernels/CubicResampler.h"

#include <algorithm>
#include <type_traits>
#include <utility>

namespace kernels {

namespace {

template <class T, class V>
class PlannedCubic final : public CubicResampler<T> {
public:
    /// `scales` are those of the weights across and down.
    PlannedCubic(AcrossPlan<V> made, std::span<const GridPosition> positions, std::int64_t sourcePixels,
                 const CubicKernels<T, V>& chosen, std::pair<std::uint32_t, std::uint32_t> scales)
        : plan(std::move(made)), columns(positions.begin(), positions.end()), pixels(sourcePixels),
          kernels(chosen), scaleDown(scales.second), scale(scales.first * scales.second),
          row(plan, sourcePixels, chosen.rows), uncertain(plan.vectors.size() * plan.lanes) {}

    [[nodiscard]] std::uint32_t GetFirstPixel() const override { return row.GetFirstPixel(); }

    void Make(const std::array<const T*, 4>& source, const CubicTap& down, T* out) override {
        V* weighed = row.Make([&](V* numbers) {
            kernels.down(source, CubicWeights<V>(down, scaleDown), row.GetSamples(), numbers);
        });
        const std::size_t samples = columns.size() * plan.bands;
        const std::size_t left = kernels.across(plan, weighed, scale, samples, out, uncertain.data());
        for (std::size_t i = 0; i < left; ++i)
            Settle(source, down, uncertain[i], out);
    }

private:
    /// Computes one sample by the definition.
    void Settle(const std::array<const T*, 4>& source, const CubicTap& down, std::size_t sample, T* out) {
        CubicTap tap = MakeCubicTap(columns[sample / plan.bands], pixels);
        for (std::uint32_t& at : tap.at)
            at = (at - row.GetFirstPixel()) * plan.bands;
        std::array<double, 4> across{};
        for (std::size_t i = 0; i < across.size(); ++i)
            CubicAcross(source[i] + sample % plan.bands, &tap, 1, 1, &across[i]);
        CubicDown({&across[0], &across[1], &across[2], &across[3]}, down.weights, 1, out + sample);
    }

    AcrossPlan<V> plan;
    std::vector<GridPosition> columns;
    std::int64_t pixels;
    CubicKernels<T, V> kernels;
    std::uint32_t scaleDown;
    std::uint32_t scale; ///< of both directions
    PlannedRow<V> row;   ///< the source rows, weighted down
    std::vector<std::uint32_t> uncertain;
};

template <class T, class V>
std::unique_ptr<CubicResampler<T>> Plan(std::span<const GridPosition> columns, std::int64_t pixels,
                                        std::uint32_t bands, const CubicKernels<T, V>& kernels,
                                        std::pair<std::uint32_t, std::uint32_t> scales) {
    auto plan = MakeCubicPlan<V>(columns, bands, kernels.lanes, scales.first);
    if (!plan) return nullptr;
    return std::make_unique<PlannedCubic<T, V>>(std::move(*plan), columns, pixels, kernels, scales);
}

} // namespace

template <class T>
std::unique_ptr<CubicResampler<T>> MakeCubicResampler(std::span<const GridPosition> columns,
                                                      std::int64_t pixels, std::uint32_t bands,
                                                      std::uint32_t stepsDown, SimdTarget target) {
    using Real = std::conditional_t<sizeof(T) == 1, float, double>;
    const std::uint32_t stepsAcross = WholeSteps(columns);
    const CubicSums sums = CubicSumsFor<T>(stepsAcross, stepsDown);
    if (sums == CubicSums::Real)
        return Plan(columns, pixels, bands, CubicKernelsFor<T, Real>(target, sums), {1, 1});
    const auto scaleOf = [sums](std::uint32_t steps) {
        return sums == CubicSums::Split ? splitCubicScale : CubicScale(steps);
    };
    return Plan(columns, pixels, bands, CubicKernelsFor<T, std::int32_t>(target, sums),
                {scaleOf(stepsAcross), scaleOf(stepsDown)});
}

template std::unique_ptr<CubicResampler<unsigned char>>
    MakeCubicResampler(std::span<const GridPosition>, std::int64_t, std::uint32_t, std::uint32_t, SimdTarget);
template std::unique_ptr<CubicResampler<unsigned short>>
    MakeCubicResampler(std::span<const GridPosition>, std::int64_t, std::uint32_t, std::uint32_t, SimdTarget);

} // namespace kernels
