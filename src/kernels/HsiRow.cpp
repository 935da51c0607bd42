#include "kernels/HsiRow.h"

#include "kernels/NearlyEqual.h"
#include "kernels/Store.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kernels {

namespace {

bool Same(double a, double b) { return NearlyEqual(a, b, std::numeric_limits<double>::epsilon()); }

/// Hue of a pixel that is not grey, in sixths of a turn, 0 to 6.
double HueSixths(double r, double g, double b, double largest, double smallest) {
    const double range = largest - smallest;
    const double red = (largest - r) / range;
    const double green = (largest - g) / range;
    const double blue = (largest - b) / range;
    if (Same(r, largest)) return Same(g, smallest) ? 5 + blue : 1 - green;
    if (Same(g, largest)) return Same(b, smallest) ? 1 + red : 3 - blue;
    return Same(r, smallest) ? 3 + green : 5 - red;
}

} // namespace

Hsi ToHsi(double r, double g, double b) {
    const double largest = std::max({r, g, b});
    const double smallest = std::min({r, g, b});
    const double lightness = (largest + smallest) / 2;
    const double range = largest - smallest;
    if (Same(range, 0.0)) return {0.0, 0.0, lightness};
    const double saturation =
        lightness <= 0.5 ? range / (largest + smallest) : range / (2 - largest - smallest);
    return {HueSixths(r, g, b, largest, smallest) / 6, saturation, lightness};
}

std::array<double, 3> ToRgb(const Hsi& hsi) {
    const auto [hue, saturation, lightness] = hsi;
    if (Same(saturation, 0.0)) return {lightness, lightness, lightness};
    const double sixths = 6 * hue;
    const double high =
        lightness <= 0.5 ? lightness * (1 + saturation) : lightness + saturation - lightness * saturation;
    const double low = 2 * lightness - high;
    const double fraction = sixths - std::floor(sixths);
    const double rising = low + (high - low) * fraction;
    const double falling = high - (high - low) * fraction;
    switch (sixths >= 0.0 && sixths < 6.0 ? static_cast<int>(sixths) : 0) {
    case 1:
        return {falling, high, low};
    case 2:
        return {low, high, rising};
    case 3:
        return {low, falling, high};
    case 4:
        return {rising, low, high};
    case 5:
        return {high, low, falling};
    default:
        return {high, rising, low};
    }
}

template <class T>
void RgbToHsiRow(const T* in, T* out, std::size_t pixels) {
    for (std::size_t p = 0; p < pixels; ++p, in += 3, out += 3) {
        const Hsi hsi = ToHsi(in[0] / maxSample<T>, in[1] / maxSample<T>, in[2] / maxSample<T>);
        out[0] = StoreRounded<T>(hsi.hue);
        out[1] = StoreRounded<T>(hsi.saturation);
        out[2] = hsi.saturation == 0.0 ? StoreTruncated<T>(hsi.lightness) : StoreRounded<T>(hsi.lightness);
    }
}

template <class T>
void HsiToRgbRow(const T* in, T* out, std::size_t pixels) {
    for (std::size_t p = 0; p < pixels; ++p, in += 3, out += 3) {
        const auto rgb = ToRgb({.hue = 1.0 * in[0], .saturation = 1.0 * in[1], .lightness = 1.0 * in[2]});
        for (std::size_t c = 0; c < 3; ++c)
            out[c] = StoreRounded<T>(rgb[c] * maxSample<T>);
    }
}

template void RgbToHsiRow(const unsigned char*, unsigned char*, std::size_t);
template void RgbToHsiRow(const unsigned short*, unsigned short*, std::size_t);
template void HsiToRgbRow(const unsigned char*, unsigned char*, std::size_t);
template void HsiToRgbRow(const unsigned short*, unsigned short*, std::size_t);

} // namespace kernels
