#include "hostkit/RowSampler.h"

#include <array>
#include <optional>

namespace hostkit {

namespace {

using kernels::BilinearTap;

/// T is the sample type, V that of interpolated rows: double, or whole numbers.
template <class T, class V>
class Sampler final : public RowSampler {
public:
    Sampler(std::uint32_t bandCount, std::vector<BilinearTap> taps, std::uint32_t stepsAcross,
            std::uint32_t stepsDown)
        : bands(bandCount), columnTaps(std::move(taps)), acrossSteps(stepsAcross), downSteps(stepsDown),
          samples(columnTaps.size() * bandCount), acrossRow(kernels::ChooseAcrossRow<T, V>(bandCount)) {
        for (InterpolatedRow& row : rows)
            row.values = std::make_unique_for_overwrite<V[]>(samples);
    }

    void Sample(std::uint32_t upperNumber, const unsigned char* upper, std::uint32_t lowerNumber,
                const unsigned char* lower, double fraction, void* out) override {
        const V* first = Across(upperNumber, upper, lowerNumber);
        const V* second = Across(lowerNumber, lower, upperNumber);
        if constexpr (std::is_same_v<V, double>)
            down(first, second, fraction, samples, static_cast<T*>(out));
        else
            down(first, second, static_cast<std::uint32_t>(fraction * downSteps), downSteps, acrossSteps,
                 samples, static_cast<T*>(out));
    }

private:
    struct InterpolatedRow {
        std::optional<std::uint32_t> number;
        std::unique_ptr<V[]> values;
    };

    const V* Across(std::uint32_t number, const unsigned char* source, std::uint32_t keptNumber) {
        for (const InterpolatedRow& row : rows)
            if (row.number == number) return row.values.get();
        InterpolatedRow& row = rows[rows[0].number == keptNumber ? 1 : 0];
        acrossRow(reinterpret_cast<const T*>(source), columnTaps.data(), columnTaps.size(), bands,
                  acrossSteps, row.values.get());
        row.number = number;
        return row.values.get();
    }

    static auto ChooseDown() {
        const kernels::SimdTarget target = kernels::ChosenSimdTarget();
        if constexpr (std::is_same_v<V, double>)
            return kernels::DownRowFor<T>(target);
        else
            return kernels::DownRowWholeFor<T>(target);
    }

    std::uint32_t bands;
    std::vector<BilinearTap> columnTaps;
    std::uint32_t acrossSteps;
    std::uint32_t downSteps;
    std::size_t samples;
    kernels::AcrossRow<T, V> acrossRow;
    decltype(ChooseDown()) down = ChooseDown();
    std::array<InterpolatedRow, 2> rows;
};

template <class T>
std::unique_ptr<RowSampler> Make(std::uint32_t bands, std::vector<BilinearTap> columnTaps,
                                 std::span<const BilinearTap> rowTaps) {
    const std::uint32_t across = kernels::WholeSteps(columnTaps);
    const std::uint32_t down = kernels::WholeSteps(rowTaps);
    if (across != 0 && down != 0)
        return std::make_unique<Sampler<T, kernels::WholeOf<T>>>(bands, std::move(columnTaps), across, down);
    return std::make_unique<Sampler<T, double>>(bands, std::move(columnTaps), across, down);
}

} // namespace

std::unique_ptr<RowSampler> MakeRowSampler(std::uint32_t bits, std::uint32_t bands,
                                           std::vector<BilinearTap> columnTaps,
                                           std::span<const BilinearTap> rowTaps) {
    return bits == 8 ? Make<unsigned char>(bands, std::move(columnTaps), rowTaps)
                     : Make<unsigned short>(bands, std::move(columnTaps), rowTaps);
}

} // namespace hostkit
