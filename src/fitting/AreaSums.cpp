#include "fitting/AreaSums.h"

#include <algorithm>
#include <cmath>

namespace fitting {

AreaSums::AreaSums(const hostkit::PixelRect& part, const std::vector<unsigned short>& samples,
                   const std::vector<unsigned char>& usable)
    : rect(part), stride(std::size_t{part.GetColumns()} + 1) {
    const std::size_t columns = part.GetColumns();
    sums.resize(stride * (std::size_t{part.GetRows()} + 1));
    unusable.resize(sums.size());
    for (std::size_t row = 0; row < part.GetRows(); ++row) {
        double sum = 0.0;
        std::uint32_t lacking = 0;
        for (std::size_t column = 0; column < columns; ++column) {
            const std::size_t pixel = row * columns + column;
            if (usable[pixel])
                sum += samples[pixel];
            else
                ++lacking;
            const std::size_t above = row * stride + column + 1;
            sums[above + stride] = sums[above] + sum;
            unusable[above + stride] = unusable[above] + lacking;
        }
    }
}

/// Within a pixel the sum is proportional to the area.
double AreaSums::SumTo(double column, double row) const {
    const auto x = static_cast<std::size_t>(std::min(column, static_cast<double>(rect.GetColumns() - 1)));
    const auto y = static_cast<std::size_t>(std::min(row, static_cast<double>(rect.GetRows() - 1)));
    const double fx = column - static_cast<double>(x);
    const double fy = row - static_cast<double>(y);
    const double* corner = sums.data() + y * stride + x;
    const double upper = corner[0] + fx * (corner[1] - corner[0]);
    const double lower = corner[stride] + fx * (corner[stride + 1] - corner[stride]);
    return upper + fy * (lower - upper);
}

std::optional<double> AreaSums::Mean(double left, double top, double right, double bottom) const {
    if (rect.IsEmpty() || left < rect.col0 || top < rect.row0 || right > rect.col1 || bottom > rect.row1)
        return std::nullopt;
    left -= rect.col0;
    right -= rect.col0;
    top -= rect.row0;
    bottom -= rect.row0;
    const auto col0 = static_cast<std::size_t>(left), col1 = static_cast<std::size_t>(std::ceil(right));
    const std::size_t row0 = static_cast<std::size_t>(top) * stride;
    const std::size_t row1 = static_cast<std::size_t>(std::ceil(bottom)) * stride;
    if (unusable[row1 + col1] + unusable[row0 + col0] != unusable[row0 + col1] + unusable[row1 + col0])
        return std::nullopt;
    const double sum = SumTo(right, bottom) - SumTo(left, bottom) - SumTo(right, top) + SumTo(left, top);
    return sum / ((right - left) * (bottom - top));
}

} // namespace fitting
