#include "hostkit/SampledValidity.h"

#include "hostkit/MaskedSample.h"
#include "kernels/CubicRow.h"

#include <algorithm>

namespace hostkit {

std::vector<SampledValidity::AxisReach>
SampledValidity::MakeAxis(std::span<const kernels::GridPosition> positions, std::uint32_t pixels,
                          Resampling resampling) {
    std::vector<AxisReach> axis;
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
    const std::size_t width = block.rect.GetColumns();
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

    std::fill(reach.begin(), reach.end(), Reach::All);
    some.clear();
    // Columns ascend, so the first gap from a column on is also the first from an earlier column that reaches
    // it.
    std::size_t from = 0, gap = 0;
    for (std::size_t run = 0; run + 1 < runs.size(); ++run) {
        const AxisReach& x = columns[runs[run]];
        const std::size_t first = x.All().front() - block.rect.col0, last = x.All().back() - block.rect.col0;
        if (run == 0 || first < from || gap < first)
            gap = static_cast<std::size_t>(
                std::find(areAll.begin() + static_cast<std::ptrdiff_t>(first), areAll.end(), 0) -
                areAll.begin());
        from = first;
        const auto has = [&](std::uint32_t column) { return areAll[column - block.rect.col0] != 0; };
        if (gap > last || std::all_of(x.All().begin(), x.All().end(), has)) continue;
        const bool hasAny = (x.TakesFirst() && isAny[x.tap.first - block.rect.col0] != 0) ||
                            (x.TakesSecond() && isAny[x.tap.second - block.rect.col0] != 0);
        for (std::uint32_t column = runs[run]; column < runs[run + 1]; ++column) {
            reach[column] = hasAny ? Reach::Some : Reach::None;
            if (hasAny) some.push_back(column);
        }
    }
}

template <class T>
void SampledValidity::SampleSomeOf(T* row) const {
    for (const std::uint32_t column : some)
        SampleMasked(block, bands, columns[column].tap, rows[*found].tap, row + std::size_t{column} * bands);
}

void SampledValidity::SampleSome(void* row) const {
    if (!hasGaps) return;
    if (bits == 8)
        SampleSomeOf(static_cast<unsigned char*>(row));
    else
        SampleSomeOf(static_cast<unsigned short*>(row));
}

} // namespace hostkit
