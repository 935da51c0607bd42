#pragma once

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

/// A second implementation of the four conversions, for one pixel, from their formulas. It uses doubles,
/// which are exact where the formulas use integers.
namespace oracle {

using Pixel = std::vector<double>;

inline double Round(double x, double max) { return std::floor(std::min(std::max(x, 0.0), max) + 0.5); }

/// n >> 8 of a whole number.
inline double Shift8(double n) { return std::floor(n / 256); }

inline Pixel RgbToYuv(const Pixel& p, double max) {
    const Pixel yuv = {Shift8(66 * p[0] + 129 * p[1] + 25 * p[2] + 128) + 16,
                       Shift8(-38 * p[0] - 74 * p[1] + 112 * p[2] + 128) + 128,
                       Shift8(112 * p[0] - 94 * p[1] - 18 * p[2] + 128) + 128};
    return {Round(yuv[0], max), Round(yuv[1], max), Round(yuv[2], max)};
}

inline Pixel YuvToRgb(const Pixel& p, double max) {
    const double C = p[0] - 16;
    const double D = p[1] - 128;
    const double E = p[2] - 128;
    return {Round(Shift8(298 * C + 409 * E + 128), max),
            Round(Shift8(298 * C - 100 * D - 208 * E + 128), max),
            Round(Shift8(298 * C + 516 * D + 128), max)};
}

inline Pixel RgbToHsi(const Pixel& p, double max) {
    const double r = p[0] / max;
    const double g = p[1] / max;
    const double b = p[2] / max;
    const double mx = std::max(r, std::max(g, b));
    const double mn = std::min(r, std::min(g, b));
    const double L = (mx + mn) / 2;
    const double d = mx - mn;
    if (d == 0) return {0, 0, std::trunc(L)};
    const double S = L <= 0.5 ? d / (mx + mn) : d / (2 - mx - mn);
    double h = 0;
    if (r == mx)
        h = g == mn ? 5 + (mx - b) / d : 1 - (mx - g) / d;
    else if (g == mx)
        h = b == mn ? 1 + (mx - r) / d : 3 - (mx - b) / d;
    else
        h = r == mn ? 3 + (mx - g) / d : 5 - (mx - r) / d;
    return {Round(h / 6, max), Round(S, max), Round(L, max)};
}

/// Samples are whole hues, so every hue is a whole turn, which is red without any yellow.
inline Pixel HsiToRgb(const Pixel& p, double max) {
    const double S = p[1];
    const double L = p[2];
    if (S == 0) return Pixel(3, Round(L * max, max));
    const double m2 = L <= 0.5 ? L * (1 + S) : L + S - L * S;
    const double m1 = 2 * L - m2;
    return {Round(m2 * max, max), Round(m1 * max, max), Round(m1 * max, max)};
}

inline Pixel Convert(const std::string& keyword, const Pixel& p, double max) {
    return keyword == "rgb2yuv"   ? RgbToYuv(p, max)
           : keyword == "yuv2rgb" ? YuvToRgb(p, max)
           : keyword == "rgb2hsi" ? RgbToHsi(p, max)
                                  : HsiToRgb(p, max);
}

} // namespace oracle
