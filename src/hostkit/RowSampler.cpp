#include "hostkit/RowSampler.h"

#include "kernels/BilinearRow.h"
#include "kernels/CubicRow.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace hostkit {

namespace {

using kernels::BilinearTap;
using kernels::CubicTap;

/// Source rows that were interpolated across, each known by its number: as many as a row of output needs.
template <class V, std::size_t Count>
class AcrossRows {
public:
    explicit AcrossRows(std::size_t samples) {
        for (Entry& entry : entries)
            entry.values = std::make_unique_for_overwrite<V[]>(samples);
    }

    /// The values of one of the rows needed. `interpolate` fills them when they are not at hand, in the place
    /// of a row that is not needed.
    template <class Interpolate>
    const V* Get(std::uint32_t number, const std::array<std::uint32_t, Count>& needed,
                 const Interpolate& interpolate) {
        for (const Entry& entry : entries)
            if (entry.number == number) return entry.values.get();
        const auto isFree = [&](const Entry& entry) {
            return !entry.number || std::find(needed.begin(), needed.end(), *entry.number) == needed.end();
        };
        Entry& entry = *std::find_if(entries.begin(), entries.end(), isFree);
        interpolate(entry.values.get());
        entry.number = number;
        return entry.values.get();
    }

private:
    struct Entry {
        std::optional<std::uint32_t> number;
        std::unique_ptr<V[]> values;
    };
    std::array<Entry, Count> entries;
};

template <class T>
const T* RowOf(const SampleBlock& source, std::uint32_t row) {
    return reinterpret_cast<const T*>(source.At(source.rect.col0, row, 0));
}

/// T is the sample type, V that of interpolated rows: double, or whole numbers.
template <class T, class V>
class BilinearSampler final : public RowSampler {
public:
    BilinearSampler(std::uint32_t bandCount, std::vector<BilinearTap> columns, std::vector<BilinearTap> rows,
                    std::uint32_t stepsAcross, std::uint32_t stepsDown)
        : bands(bandCount), columnTaps(std::move(columns)), rowTaps(std::move(rows)),
          acrossSteps(stepsAcross), downSteps(stepsDown), samples(columnTaps.size() * bandCount),
          acrossRow(kernels::ChooseAcrossRow<T, V>(bandCount)), across(samples) {}

    void Sample(std::uint32_t row, const SampleBlock& source, void* out) override {
        const BilinearTap& tap = rowTaps[row];
        const V* first = Across(source, tap.first, tap);
        const V* second = Across(source, tap.second, tap);
        if constexpr (std::is_same_v<V, double>)
            down(first, second, tap.fraction, samples, static_cast<T*>(out));
        else
            down(first, second, static_cast<std::uint32_t>(tap.fraction * downSteps), downSteps, acrossSteps,
                 samples, static_cast<T*>(out));
    }

private:
    const V* Across(const SampleBlock& source, std::uint32_t number, const BilinearTap& tap) {
        return across.Get(number, {tap.first, tap.second}, [&](V* values) {
            acrossRow(RowOf<T>(source, number), columnTaps.data(), columnTaps.size(), bands, acrossSteps,
                      values);
        });
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
    std::vector<BilinearTap> rowTaps;
    std::uint32_t acrossSteps;
    std::uint32_t downSteps;
    std::size_t samples;
    kernels::AcrossRow<T, V> acrossRow;
    decltype(ChooseDown()) down = ChooseDown();
    AcrossRows<V, 2> across;
};

template <class T>
class CubicSampler final : public RowSampler {
public:
    CubicSampler(std::uint32_t bandCount, std::vector<CubicTap> columns, std::vector<CubicTap> rows)
        : bands(bandCount), columnTaps(std::move(columns)), rowTaps(std::move(rows)),
          across(columnTaps.size() * bandCount) {}

    void Sample(std::uint32_t row, const SampleBlock& source, void* out) override {
        const CubicTap& tap = rowTaps[row];
        std::array<const double*, 4> rows{};
        for (std::size_t i = 0; i < rows.size(); ++i)
            rows[i] = across.Get(tap.at[i], tap.at, [&](double* values) {
                kernels::CubicAcross(RowOf<T>(source, tap.at[i]), columnTaps.data(), columnTaps.size(), bands,
                                     values);
            });
        kernels::CubicDown(rows, tap.weights, columnTaps.size() * bands, static_cast<T*>(out));
    }

private:
    std::uint32_t bands;
    std::vector<CubicTap> columnTaps;
    std::vector<CubicTap> rowTaps;
    AcrossRows<double, 4> across;
};

/// The offset of a source column in a row of the block, in samples.
std::uint32_t OffsetOf(const SamplerShape& shape, std::uint32_t column) {
    return (column - shape.firstColumn) * shape.bands;
}

template <class T>
std::unique_ptr<RowSampler> MakeBilinear(const SamplerShape& shape) {
    std::vector<BilinearTap> columns, rows;
    for (const kernels::GridPosition& position : shape.columns) {
        const BilinearTap tap = kernels::ClampTap(position, shape.sourceColumns);
        columns.push_back({OffsetOf(shape, tap.first), OffsetOf(shape, tap.second), tap.fraction});
    }
    for (const kernels::GridPosition& position : shape.rows)
        rows.push_back(kernels::ClampTap(position, shape.sourceRows));
    const std::uint32_t across = kernels::WholeSteps(columns);
    const std::uint32_t down = kernels::WholeSteps(rows);
    if (across != 0 && down != 0)
        return std::make_unique<BilinearSampler<T, kernels::WholeOf<T>>>(shape.bands, std::move(columns),
                                                                         std::move(rows), across, down);
    return std::make_unique<BilinearSampler<T, double>>(shape.bands, std::move(columns), std::move(rows),
                                                        across, down);
}

template <class T>
std::unique_ptr<RowSampler> MakeCubic(const SamplerShape& shape) {
    std::vector<CubicTap> columns, rows;
    for (const kernels::GridPosition& position : shape.columns) {
        columns.push_back(kernels::MakeCubicTap(position, shape.sourceColumns));
        for (std::uint32_t& at : columns.back().at)
            at = OffsetOf(shape, at);
    }
    for (const kernels::GridPosition& position : shape.rows)
        rows.push_back(kernels::MakeCubicTap(position, shape.sourceRows));
    return std::make_unique<CubicSampler<T>>(shape.bands, std::move(columns), std::move(rows));
}

} // namespace

std::unique_ptr<RowSampler> MakeRowSampler(const SamplerShape& shape, Resampling resampling) {
    if (resampling == Resampling::Cubic)
        return shape.bits == 8 ? MakeCubic<unsigned char>(shape) : MakeCubic<unsigned short>(shape);
    return shape.bits == 8 ? MakeBilinear<unsigned char>(shape) : MakeBilinear<unsigned short>(shape);
}

} // namespace hostkit
