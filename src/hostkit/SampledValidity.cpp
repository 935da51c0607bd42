#include "hostkit/SampledValidity.h"

#include "kernels/CubicRow.h"

#include <algorithm>
#include <cstring>

namespace hostkit {

std::vector<SampledValidity::AxisReach>
SampledValidity::MakeAxis(std::span<const kernels::GridPosition> positions, std::uint32_t pixels,
                          Resampling resampling) {
    std::vector<AxisReach> axis;
    axis.reserve(positions.size());
    for (const kernels::GridPosition& position : positions) {
        AxisReach reach{kernels::ClampTap(position, pixels)};
        if (resampling == Resampling::Cubic) {
            const kernels::CubicTap tap = kernels::MakeCubicTap(position, pixels);
            for (std::size_t i = 0; i < tap.at.size(); ++i)
                if (tap.weights[i] != 0.0) reach.Add(tap.at[i]);
        } else {
            if (reach.tap.fraction != 1.0) reach.Add(reach.tap.first);
            if (reach.tap.fraction != 0.0) reach.Add(reach.tap.second);
        }
        axis.push_back(reach);
    }
    return axis;
}

bool SampledValidity::AxisReach::IsLike(const AxisReach& other) const {
    return std::equal(All().begin(), All().end(), other.All().begin(), other.All().end()) &&
           tap.first == other.tap.first && tap.second == other.tap.second &&
           TakesFirst() == other.TakesFirst() && TakesSecond() == other.TakesSecond();
}

SampledValidity::SampledValidity(const SamplerShape& shape, Resampling resampling, const SampleBlock& source)
    : block(source), bits(shape.bits), bands(shape.bands),
      columns(MakeAxis(shape.columns, shape.sourceColumns, resampling)),
      rows(MakeAxis(shape.rows, shape.sourceRows, resampling)), reach(columns.size()) {
    for (std::uint32_t column = 0; column < columns.size(); ++column)
        if (column == 0 || !columns[column].IsLike(columns[column - 1])) runs.push_back(column);
    runs.push_back(static_cast<std::uint32_t>(columns.size()));
    fractions.resize(columns.size() + kernels::maskedPadding);
    std::transform(columns.begin(), columns.end(), fractions.begin(),
                   [](const AxisReach& column) { return column.tap.fraction; });
    if (kernels::AreMaskedExact(kernels::WholeSteps(shape.columns), kernels::WholeSteps(shape.rows)))
        exactFractions.assign(fractions.begin(), fractions.end());
    const std::size_t width = block.rect.GetColumns();
    for (std::uint32_t run = 0, column = 0; column <= width; ++column) {
        while (run + 1 < runs.size() && columns[runs[run]].tap.first < column + block.rect.col0)
            ++run;
        firstRuns.push_back(run);
    }
    for (std::uint32_t row = 0; row < block.rect.GetRows(); ++row) {
        const unsigned char* first = block.valid + row * width;
        isWhole.push_back(std::find(first, first + width, static_cast<unsigned char>(0)) == first + width);
    }
}

const unsigned char* SampledValidity::ValidRow(std::uint32_t row) const {
    return block.valid + std::size_t{row - block.rect.row0} * block.rect.GetColumns();
}

bool SampledValidity::Find(std::uint32_t row) {
    const bool isAlike = found && rows[*found].IsLike(rows[row]);
    found = row;
    if (isAlike) return hasGaps;
    const std::span<const std::uint32_t> needed = rows[row].All();
    hasGaps = !std::all_of(needed.begin(), needed.end(),
                           [this](std::uint32_t r) { return isWhole[r - block.rect.row0]; });
    if (hasGaps) FindColumns(rows[row]);
    return hasGaps;
}

void SampledValidity::FindColumns(const AxisReach& down) {
    const std::size_t width = block.rect.GetColumns();
    areAll.assign(width, 1);
    isAny.assign(width, 0);
    for (const std::uint32_t row : down.All())
        std::transform(areAll.begin(), areAll.end(), ValidRow(row), areAll.begin(),
                       [](unsigned char all, unsigned char valid) {
                           return valid == 0 ? static_cast<unsigned char>(0) : all;
                       });
    const auto add = [&](std::uint32_t row) {
        std::transform(
            isAny.begin(), isAny.end(), ValidRow(row), isAny.begin(),
            [](unsigned char any, unsigned char valid) { return static_cast<unsigned char>(any | valid); });
    };
    if (down.TakesFirst()) add(down.tap.first);
    if (down.TakesSecond()) add(down.tap.second);

    const unsigned char *upper = ValidRow(down.tap.first), *lower = ValidRow(down.tap.second);
    std::fill(reach.begin(), reach.end(), Reach::All);
    some.clear();
    // Runs ascend by the pixels of their taps and use pixels from one before the first to two after it.
    std::size_t gap = 0; // the first column with a gap that this run or a later one may use
    for (std::size_t run = 0, next = 0; run + 1 < runs.size(); run = next) {
        const AxisReach& x = columns[runs[run]];
        const std::uint32_t first = std::max(x.tap.first, block.rect.col0) - block.rect.col0;
        const std::uint32_t second = x.tap.second - block.rect.col0;
        const std::size_t from = first - std::min<std::size_t>(first, 1);
        if (run == 0 || gap < from) {
            const void* zero = std::memchr(areAll.data() + from, 0, width - from);
            gap = zero ? static_cast<std::size_t>(static_cast<const unsigned char*>(zero) - areAll.data())
                       : width + 2;
        }
        next = run + 1;
        if (first + 2 < gap) {
            next = std::max<std::size_t>(next, firstRuns[gap - 2]);
            continue;
        }
        const auto has = [&](std::uint32_t column) { return areAll[column - block.rect.col0] != 0; };
        if (std::all_of(x.All().begin(), x.All().end(), has)) continue;
        const bool hasAny = (x.TakesFirst() && isAny[first] != 0) || (x.TakesSecond() && isAny[second] != 0);
        if (!hasAny) { // nor have the runs up to the next pixel with data
            const auto data = std::find_if(isAny.begin() + static_cast<std::ptrdiff_t>(first), isAny.end(),
                                           [](unsigned char any) { return any != 0; });
            const auto column = static_cast<std::size_t>(data - isAny.begin());
            if (column > first + 1) next = std::max<std::size_t>(next, firstRuns[column - 1]);
        }
        std::fill(reach.begin() + runs[run], reach.begin() + runs[next], hasAny ? Reach::Some : Reach::None);
        if (hasAny)
            some.push_back({runs[run],
                            runs[next],
                            first * bands,
                            second * bands,
                            {upper[first] != 0, upper[second] != 0, lower[first] != 0, lower[second] != 0}});
    }
}

template <class T>
void SampledValidity::SampleSomeOf(T* row) const {
    static const kernels::MaskedRow<T> sample = kernels::MaskedRowFor<T>(kernels::ChosenSimdTarget());
    const kernels::BilinearTap& down = rows[*found].tap;
    const auto sourceRow = [this](std::uint32_t source) {
        return reinterpret_cast<const T*>(block.At(block.rect.col0, source, bands * sizeof(T)));
    };
    sample({sourceRow(down.first), sourceRow(down.second), down.fraction, bands}, some,
           {fractions.data(), exactFractions.empty() ? nullptr : exactFractions.data()}, row);
}

void SampledValidity::SampleSome(void* row) const {
    if (!hasGaps) return;
    if (bits == 8)
        SampleSomeOf(static_cast<unsigned char*>(row));
    else
        SampleSomeOf(static_cast<unsigned short*>(row));
}

} // namespace hostkit
