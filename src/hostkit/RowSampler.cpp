#include "hostkit/RowSampler.h"

#include "kernels/BilinearRow.h"
#include "kernels/CubicResampler.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace hostkit {

namespace {

using kernels::BilinearTap;
using kernels::CubicTap;

/// Source rows interpolated across, each with its number: the `Count` rows that one row of output needs.
template <class V, std::size_t Count>
class AcrossRows {
public:
    explicit AcrossRows(std::size_t samples) {
        for (Entry& entry : entries)
            entry.values = std::make_unique_for_overwrite<V[]>(samples);
    }

    /// The values of a needed row. If they are not held, `interpolate` computes them and they replace a row
    /// that is no longer needed.
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

kernels::SimdTarget Target() {
    static const kernels::SimdTarget target = kernels::ChosenSimdTarget();
    return target;
}

/// The offset of a source column in a row of the block, in samples.
std::uint32_t OffsetOf(const SamplerShape& shape, std::uint32_t column) {
    return (column - shape.firstColumn) * shape.bands;
}

template <class T>
class BilinearSampler final : public RowSampler {
public:
    BilinearSampler(std::uint32_t bandCount, std::vector<BilinearTap> columns, std::vector<BilinearTap> rows)
        : bands(bandCount), columnTaps(std::move(columns)), rowTaps(std::move(rows)),
          samples(columnTaps.size() * bandCount), acrossRow(kernels::ChooseAcrossRow<T>(bandCount)),
          across(samples) {}

    void Sample(std::uint32_t row, const SampleBlock& source, void* out) override {
        const BilinearTap& tap = rowTaps[row];
        const double* first = Across(source, tap.first, tap);
        const double* second = Across(source, tap.second, tap);
        down(first, second, tap.fraction, samples, static_cast<T*>(out));
    }

private:
    const double* Across(const SampleBlock& source, std::uint32_t number, const BilinearTap& tap) {
        return across.Get(number, {tap.first, tap.second}, [&](double* values) {
            acrossRow(RowOf<T>(source, number), columnTaps.data(), columnTaps.size(), bands, values);
        });
    }

    std::uint32_t bands;
    std::vector<BilinearTap> columnTaps;
    std::vector<BilinearTap> rowTaps;
    std::size_t samples;
    kernels::AcrossRow<T> acrossRow;
    kernels::DownRow<T> down = kernels::DownRowFor<T>(Target());
    AcrossRows<double, 2> across;
};

/// Bilinear sampling in whole numbers, in vectors.
template <class T>
class WholeSampler final : public RowSampler {
public:
    WholeSampler(kernels::AcrossPlan<float> made, const SamplerShape& shape, std::vector<BilinearTap> rows,
                 std::uint32_t stepsAcross, std::uint32_t stepsDown)
        : plan(std::move(made)), sourceRow(plan, shape.sourceColumns),
          firstOffset(OffsetOf(shape, sourceRow.GetFirstPixel())), rowTaps(std::move(rows)),
          acrossSteps(stepsAcross), downSteps(stepsDown), samples(shape.columns.size() * shape.bands),
          across(samples + plan.lanes) {}

    void Sample(std::uint32_t row, const SampleBlock& source, void* out) override {
        const BilinearTap& tap = rowTaps[row];
        const Whole* first = Across(source, tap.first, tap);
        const Whole* second = Across(source, tap.second, tap);
        down(first, second, kernels::StepsOf(tap.fraction, downSteps), downSteps, acrossSteps, samples,
             static_cast<T*>(out));
    }

private:
    using Whole = kernels::WholeOf<T>;

    const Whole* Across(const SampleBlock& source, std::uint32_t number, const BilinearTap& tap) {
        return across.Get(number, {tap.first, tap.second}, [&](Whole* values) {
            const T* from = RowOf<T>(source, number) + firstOffset;
            acrossRow.across(
                plan, sourceRow.Make([&](float* to) { std::copy_n(from, sourceRow.GetSamples(), to); }),
                values);
        });
    }

    kernels::AcrossPlan<float> plan;
    kernels::PlannedRow<float> sourceRow;
    std::uint32_t firstOffset; ///< of the first source sample needed, counted in a row of the block
    std::vector<BilinearTap> rowTaps;
    std::uint32_t acrossSteps;
    std::uint32_t downSteps;
    std::size_t samples;
    kernels::AcrossWhole<T> acrossRow = kernels::AcrossWholeFor<T>(Target());
    kernels::DownRowWhole<T> down = kernels::DownRowWholeFor<T>(Target());
    AcrossRows<Whole, 2> across;
};

/// Cubic sampling as defined, in scalar code.
template <class T>
class CubicSampler final : public RowSampler {
public:
    CubicSampler(std::uint32_t bandCount, std::vector<CubicTap> columns, std::vector<CubicTap> rows)
        : bands(bandCount), columnTaps(std::move(columns)), rowTaps(std::move(rows)),
          samples(columnTaps.size() * bandCount), across(samples) {}

    void Sample(std::uint32_t row, const SampleBlock& source, void* out) override {
        const CubicTap& tap = rowTaps[row];
        std::array<const double*, 4> rows{};
        for (std::size_t i = 0; i < rows.size(); ++i)
            rows[i] = across.Get(tap.at[i], tap.at, [&](double* values) {
                kernels::CubicAcross(RowOf<T>(source, tap.at[i]), columnTaps.data(), columnTaps.size(), bands,
                                     values);
            });
        kernels::CubicDown(rows, tap.weights, samples, static_cast<T*>(out));
    }

private:
    std::uint32_t bands;
    std::vector<CubicTap> columnTaps;
    std::vector<CubicTap> rowTaps;
    std::size_t samples;
    AcrossRows<double, 4> across;
};

/// Cubic sampling in vectors, with the same samples.
template <class T>
class CubicVectorSampler final : public RowSampler {
public:
    /// `offset` is the position, in a row of the block, of the first sample that the resampler reads.
    CubicVectorSampler(std::unique_ptr<kernels::CubicResampler<T>> made, std::uint32_t offset,
                       std::vector<CubicTap> rows)
        : resampler(std::move(made)), firstOffset(offset), rowTaps(std::move(rows)) {}

    void Sample(std::uint32_t row, const SampleBlock& source, void* out) override {
        const CubicTap& tap = rowTaps[row];
        std::array<const T*, 4> rows{};
        for (std::size_t i = 0; i < rows.size(); ++i)
            rows[i] = RowOf<T>(source, tap.at[i]) + firstOffset;
        resampler->Make(rows, tap, static_cast<T*>(out));
    }

private:
    std::unique_ptr<kernels::CubicResampler<T>> resampler;
    std::uint32_t firstOffset;
    std::vector<CubicTap> rowTaps;
};

template <class T>
std::unique_ptr<RowSampler> MakeBilinear(const SamplerShape& shape) {
    std::vector<BilinearTap> columns, rows;
    rows.reserve(shape.rows.size());
    for (const kernels::GridPosition& position : shape.rows)
        rows.push_back(kernels::ClampTap(position, shape.sourceRows));
    const std::uint32_t across = kernels::WholeSteps(shape.columns);
    const std::uint32_t down = kernels::WholeSteps(shape.rows);
    if (kernels::AreWhole(across, down)) {
        const std::uint32_t lanes = kernels::AcrossWholeFor<T>(Target()).lanes;
        if (auto plan = kernels::MakeWholePlan(shape.columns, shape.bands, lanes, across))
            return std::make_unique<WholeSampler<T>>(std::move(*plan), shape, std::move(rows), across, down);
    }
    columns.reserve(shape.columns.size());
    for (const kernels::GridPosition& position : shape.columns) {
        const BilinearTap tap = kernels::ClampTap(position, shape.sourceColumns);
        columns.push_back({OffsetOf(shape, tap.first), OffsetOf(shape, tap.second), tap.fraction});
    }
    return std::make_unique<BilinearSampler<T>>(shape.bands, std::move(columns), std::move(rows));
}

template <class T>
std::unique_ptr<RowSampler> MakeCubic(const SamplerShape& shape) {
    const auto tapsOf = [](std::span<const kernels::GridPosition> positions, std::uint32_t pixels) {
        std::vector<CubicTap> taps;
        taps.reserve(positions.size());
        for (const kernels::GridPosition& position : positions)
            taps.push_back(kernels::MakeCubicTap(position, pixels));
        return taps;
    };
    std::vector<CubicTap> rows = tapsOf(shape.rows, shape.sourceRows);
    auto resampler = kernels::MakeCubicResampler<T>(shape.columns, shape.sourceColumns, shape.bands,
                                                    kernels::WholeSteps(shape.rows), Target());
    if (resampler) {
        const std::uint32_t offset = OffsetOf(shape, resampler->GetFirstPixel());
        return std::make_unique<CubicVectorSampler<T>>(std::move(resampler), offset, std::move(rows));
    }
    std::vector<CubicTap> columns = tapsOf(shape.columns, shape.sourceColumns);
    for (CubicTap& tap : columns)
        for (std::uint32_t& at : tap.at)
            at = OffsetOf(shape, at);
    return std::make_unique<CubicSampler<T>>(shape.bands, std::move(columns), std::move(rows));
}

} // namespace

std::unique_ptr<RowSampler> MakeRowSampler(const SamplerShape& shape, Resampling resampling) {
    if (resampling == Resampling::Cubic)
        return shape.bits == 8 ? MakeCubic<unsigned char>(shape) : MakeCubic<unsigned short>(shape);
    return shape.bits == 8 ? MakeBilinear<unsigned char>(shape) : MakeBilinear<unsigned short>(shape);
}

} // namespace hostkit
