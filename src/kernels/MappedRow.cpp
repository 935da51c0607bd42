#include "kernels/MappedRow.h"

#include "kernels/BilinearRow.h"
#include "kernels/CubicRow.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace kernels {

namespace {

template <class T>
const T* RowAt(const MappedSource<T>& source, std::uint32_t row) {
    return reinterpret_cast<const T*>(reinterpret_cast<const unsigned char*>(source.samples) +
                                      std::size_t{row - source.firstRow} * source.rowStride);
}

template <class T>
std::uint32_t OffsetOf(const MappedSource<T>& source, std::uint32_t column) {
    return (column - source.firstColumn) * source.bands;
}

} // namespace

template <class T>
void MappedBilinearScalar(const MappedSource<T>& source, const double* x, const double* y, std::size_t pixels,
                          T* out) {
    for (std::size_t p = 0; p < pixels; ++p) {
        const BilinearTap across = ClampTap(SplitPosition(x[p]), source.columns);
        const BilinearTap down = ClampTap(SplitPosition(y[p]), source.rows);
        const std::uint32_t first = OffsetOf(source, across.first), second = OffsetOf(source, across.second);
        const T *upper = RowAt(source, down.first), *lower = RowAt(source, down.second);
        for (std::uint32_t band = 0; band < source.bands; ++band)
            *out++ = BilinearSample(upper[first + band], upper[second + band], lower[first + band],
                                    lower[second + band], across.fraction, down.fraction);
    }
}

template <class T>
void MappedCubicScalar(const MappedSource<T>& source, const double* x, const double* y, std::size_t pixels,
                       T* out) {
    std::vector<double> across(std::size_t{4} * source.bands);
    for (std::size_t p = 0; p < pixels; ++p, out += source.bands) {
        CubicTap columns = MakeCubicTap(SplitPosition(x[p]), source.columns);
        for (std::uint32_t& at : columns.at)
            at = OffsetOf(source, at);
        const CubicTap down = MakeCubicTap(SplitPosition(y[p]), source.rows);
        std::array<const double*, 4> rows{};
        for (std::size_t i = 0; i < rows.size(); ++i) {
            double* values = across.data() + i * source.bands;
            CubicAcross(RowAt(source, down.at[i]), &columns, 1, source.bands, values);
            rows[i] = values;
        }
        CubicDown(rows, down.weights, source.bands, out);
    }
}

void FillLineScalar(const MappedLine& line, double* x, double* y) {
    for (std::size_t i = 0; i < line.pixels; ++i) {
        const double t = (line.start + static_cast<double>(i) * line.step) / line.length;
        x[i] = line.Shrink(line.fromX * (1.0 - t) + line.toX * t);
        y[i] = line.Shrink(line.fromY * (1.0 - t) + line.toY * t);
    }
}

namespace {

template <class T, auto Sample>
void SampleAlong(const MappedSource<T>& source, MappedPath path, std::size_t pixels, T* out) {
    constexpr std::size_t atOnce = 64;
    double x[atOnce], y[atOnce];
    for (std::size_t p = 0; p < pixels; p += atOnce) {
        const std::size_t count = std::min(atOnce, pixels - p);
        path.Fill(&FillLineScalar, count, x, y);
        Sample(source, x, y, count, out + p * source.bands);
    }
}

} // namespace

template <class T>
MappedRows<T> MappedRowsScalar() {
    return {&SampleAlong<T, &MappedBilinearScalar<T>>, &SampleAlong<T, &MappedCubicScalar<T>>};
}

template MappedRows<unsigned char> MappedRowsScalar();
template MappedRows<unsigned short> MappedRowsScalar();

template void MappedBilinearScalar(const MappedSource<unsigned char>&, const double*, const double*,
                                   std::size_t, unsigned char*);
template void MappedBilinearScalar(const MappedSource<unsigned short>&, const double*, const double*,
                                   std::size_t, unsigned short*);
template void MappedCubicScalar(const MappedSource<unsigned char>&, const double*, const double*, std::size_t,
                                unsigned char*);
template void MappedCubicScalar(const MappedSource<unsigned short>&, const double*, const double*,
                                std::size_t, unsigned short*);

} // namespace kernels
