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

SampledValidity::SampledValidity(const SamplerShape& shape, Resampling resampling, const SampleBlock& source)
    : block(source), bits(shape.bits), bands(shape.bands),
      columns(MakeAxis(shape.columns, shape.sourceColumns, resampling)),
      rows(MakeAxis(shape.rows, shape.sourceRows, resampling)) {
    const std::size_t width = block.rect.GetColumns();
    for (std::uint32_t row = 0; row < block.rect.GetRows(); ++row) {
        const unsigned char* first = block.valid + row * width;
        isWhole.push_back(std::find(first, first + width, static_cast<unsigned char>(0)) == first + width);
    }
}

Reach SampledValidity::FindOne(std::uint32_t column, std::uint32_t row) const {
    const AxisReach& x = columns[column];
    const AxisReach& y = rows[row];
    const auto areAll = [&] {
        for (const std::uint32_t r : y.All())
            for (const std::uint32_t c : x.All())
                if (!HasData(block, c, r)) return false;
        return true;
    };
    if (areAll()) return Reach::All;
    for (const auto& [r, down] :
         {std::pair(y.tap.first, 1.0 - y.tap.fraction), {y.tap.second, y.tap.fraction}})
        for (const auto& [c, across] :
             {std::pair(x.tap.first, 1.0 - x.tap.fraction), {x.tap.second, x.tap.fraction}})
            if (across * down > 0.0 && HasData(block, c, r)) return Reach::Some;
    return Reach::None;
}

bool SampledValidity::Find(std::uint32_t row, Reach* reach) const {
    const std::span<const std::uint32_t> needed = rows[row].All();
    if (std::all_of(needed.begin(), needed.end(),
                    [this](std::uint32_t r) { return isWhole[r - block.rect.row0]; })) {
        std::fill_n(reach, columns.size(), Reach::All);
        return false;
    }
    for (std::uint32_t column = 0; column < columns.size(); ++column)
        reach[column] = FindOne(column, row);
    return true;
}

void SampledValidity::Sample(std::uint32_t column, std::uint32_t row, void* out) const {
    const kernels::BilinearTap& x = columns[column].tap;
    const kernels::BilinearTap& y = rows[row].tap;
    if (bits == 8)
        SampleMasked(block, bands, x, y, static_cast<unsigned char*>(out));
    else
        SampleMasked(block, bands, x, y, static_cast<unsigned short*>(out));
}

} // namespace hostkit
