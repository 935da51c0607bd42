#include "kernels/IhsRow.h"

#include "kernels/Store.h"

#include <algorithm>

namespace kernels {

namespace {

struct Rgb {
    double r, g, b;
};

struct HueSaturation {
    double hue;        ///< in [0, 1); 0 if the saturation is 0
    double saturation; ///< in [0, 1]
};

HueSaturation ToHueSaturation(const Rgb& in) {
    const auto [r, g, b] = in;
    const double largest = std::max({r, g, b});
    const double smallest = std::min({r, g, b});
    if (largest == smallest) return {0.0, 0.0};
    const double saturation = (largest - smallest) / largest;
    const double middle = std::max(std::min(r, g), std::min(std::max(r, g), b));
    const double f = (middle - smallest) / (largest - smallest);
    // The largest band is found by comparing values, so on a tie the first match counts.
    if (largest == r) return {g == middle ? f / 6.0 : (1.0 / 6.0 - f / 6.0) + 5.0 / 6.0, saturation};
    if (largest == g)
        return {b == middle ? f / 6.0 + 1.0 / 3.0 : (1.0 / 6.0 - f / 6.0) + 1.0 / 6.0, saturation};
    return {r == middle ? f / 6.0 + 2.0 / 3.0 : (1.0 / 6.0 - f / 6.0) + 1.0 / 2.0, saturation};
}

Rgb ToRgb(const HueSaturation& color, double value) {
    if (value == 0.0 || color.saturation == 0.0) return {value, value, value};
    constexpr double sectorEnds[] = {1.0 / 6.0, 1.0 / 3.0, 1.0 / 2.0, 2.0 / 3.0, 5.0 / 6.0};
    int sector = 0;
    while (sector < 5 && color.hue >= sectorEnds[sector])
        ++sector;
    const double low = value * (1.0 - color.saturation);
    const double excess = value - low;
    const double step = 6.0 * ((color.hue - sector / 6.0) * excess);
    const double rising = low + step;
    const double falling = value - step;
    switch (sector) {
    case 0:
        return {value, rising, low};
    case 1:
        return {falling, value, low};
    case 2:
        return {low, value, rising};
    case 3:
        return {low, falling, value};
    case 4:
        return {rising, low, value};
    default:
        return {value, low, falling};
    }
}

} // namespace

template <class T>
void IhsRowScalar(const FusionRows<T>& rows, T* out, std::size_t pixels, const BandWeights& bands) {
    constexpr double unit = 1.0 / maxSample<T>;
    const bool hasInfrared = bands.msBands > 3;
    const double infraredWeight = hasInfrared ? bands.weights[3] / maxSample<T> : 0.0;
    for (std::size_t p = 0; p < pixels; ++p, out += bands.outputBands) {
        const auto ms = [&](std::uint32_t band) { return rows.Band(p, band, bands); };
        const double infrared = hasInfrared ? ms(3) * infraredWeight : 0.0;
        double value = rows.pan[p] * unit - infrared;
        if (!(value > 0.0)) value = 0.0;
        const auto [r, g, b] = ToRgb(ToHueSaturation({ms(0) * unit, ms(1) * unit, ms(2) * unit}), value);
        const T rgb[] = {StoreTruncated<T>(r * maxSample<T>), StoreTruncated<T>(g * maxSample<T>),
                         StoreTruncated<T>(b * maxSample<T>)};
        std::copy_n(rgb, std::min(bands.outputBands, std::uint32_t{3}), out);
        if (bands.outputBands > 3)
            out[3] = StoreTruncated<T>(rows.pan[p] - (rgb[0] + rgb[1] + rgb[2]) / 3.0 + infrared);
        for (std::uint32_t c = 4; c < bands.outputBands; ++c)
            out[c] = ms(c);
    }
}

template void IhsRowScalar(const FusionRows<unsigned char>&, unsigned char*, std::size_t, const BandWeights&);
template void IhsRowScalar(const FusionRows<unsigned short>&, unsigned short*, std::size_t,
                           const BandWeights&);

} // namespace kernels
