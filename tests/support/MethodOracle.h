#pragma once

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

/// A second implementation of the methods, slow and literal: pixel by pixel in double, with every product
/// read from a table of all sample values.
namespace oracle {

using Pixel = std::vector<double>;
using Tables = std::vector<std::vector<double>>;

/// Entry v of table b is v * weights[b].
inline Tables ProductTables(const Pixel& weights, double max) {
    Tables tables;
    for (const double weight : weights) {
        tables.emplace_back();
        for (double v = 0; v <= max; ++v)
            tables.back().push_back(v * weight);
    }
    return tables;
}

/// The tables for the weights of a method: of every band, or only the infrared weight for IHS.
inline Tables MethodTables(const std::string& keyword, Pixel weights, double max) {
    if (keyword == "IHS") weights[0] = weights[0] / max;
    return ProductTables(weights, max);
}

inline double TableSum(const Pixel& ms, const Tables& tables) {
    double s = 0.0;
    for (std::size_t b = 0; b < ms.size(); ++b)
        s = s + tables[b][static_cast<std::size_t>(ms[b])];
    return s;
}

inline double Truncate(double x, double max) {
    return std::isnan(x) ? 0.0 : std::min(std::max(std::trunc(x), 0.0), max);
}

inline Pixel Kova(const Pixel& ms, double pan, const Tables& tables, double max) {
    const double d = pan - TableSum(ms, tables);
    Pixel out;
    for (const double band : ms) {
        double x = band + d;
        if (x < 0) x = 0;
        if (x > max) x = max;
        out.push_back(std::floor(x + 0.5));
    }
    return out;
}

inline Pixel Brovey(const Pixel& ms, double pan, const Tables& tables, double max) {
    const double s = TableSum(ms, tables);
    double r = 0.0;
    if (s != 0.0) r = pan / s;
    Pixel out;
    for (const double band : ms)
        out.push_back(Truncate(band * r, max));
    return out;
}

/// One gain and one ratio gain per band; without them it is KOVA.
struct Gains {
    Pixel gains, ratioGains;
    double limit = HUGE_VAL;
    double floor = 0.0;
};

inline Pixel Inject(const Pixel& ms, double pan, const Tables& tables, const Gains& how, double max) {
    if (how.gains.empty()) return Kova(ms, pan, tables, max);
    const double I = TableSum(ms, tables);
    const double divisor = I > how.floor ? I : how.floor;
    double r = 0.0;
    if (divisor > 0) r = 1 / divisor;
    Pixel out;
    for (std::size_t c = 0; c < ms.size(); ++c) {
        const double q = ms[c] * r;
        const double product = how.ratioGains[c] * q;
        const double limited = how.limit * q;
        double g = how.ratioGains[c] == 0 ? how.gains[c] : how.gains[c] + product;
        if (limited < g) g = limited;
        const double change = g * (pan - I);
        const double x = ms[c] + change;
        out.push_back(x > 0 ? std::floor(std::min(x, max) + 0.5) : 0.0);
    }
    return out;
}

inline double Hue(double R, double G, double B, double mx, double mid, double mn) {
    const double f = (mid - mn) / (mx - mn);
    if (mx == R) {
        if (G == mid) return f / 6;
        return (1.0 / 6 - f / 6) + 5.0 / 6;
    }
    if (mx == G) {
        if (B == mid) return f / 6 + 1.0 / 3;
        return (1.0 / 6 - f / 6) + 1.0 / 6;
    }
    if (R == mid) return f / 6 + 2.0 / 3;
    return (1.0 / 6 - f / 6) + 1.0 / 2;
}

/// New red, green and blue of hue H, saturation S and value V.
inline Pixel Hexcone(double H, double S, double V) {
    const double p = V * (1 - S);
    const double e = V - p;
    const int k = H < 1.0 / 6 ? 0 : H < 1.0 / 3 ? 1 : H < 1.0 / 2 ? 2 : H < 2.0 / 3 ? 3 : H < 5.0 / 6 ? 4 : 5;
    const double h = H - k / 6.0;
    const double t = p + 6 * (h * e);
    const double q = V - 6 * (h * e);
    const std::vector<Pixel> sectors = {{V, t, p}, {q, V, p}, {p, V, t}, {p, q, V}, {t, p, V}, {V, p, q}};
    return sectors[static_cast<std::size_t>(k)];
}

/// `infrared` is the table of the share subtracted from pan.
inline Pixel Ihs(const Pixel& ms, double pan, const std::vector<double>& infrared, double max) {
    const double unitStep = 1.0 / max;
    const double R = ms[0] * unitStep;
    const double G = ms[1] * unitStep;
    const double B = ms[2] * unitStep;
    const double I = ms.size() > 3 ? infrared[static_cast<std::size_t>(ms[3])] : 0.0;
    Pixel sorted = {R, G, B};
    std::sort(sorted.begin(), sorted.end());
    const double mn = sorted[0], mid = sorted[1], mx = sorted[2];
    const double S = mx == 0 ? 0.0 : (mx - mn) / mx;
    double V = pan * unitStep - I;
    if (!(V > 0)) V = 0;
    const Pixel rgb = V == 0 || S == 0 ? Pixel{V, V, V} : Hexcone(Hue(R, G, B, mx, mid, mn), S, V);
    Pixel out = ms;
    for (std::size_t c = 0; c < 3; ++c)
        out[c] = Truncate(rgb[c] * max, max);
    if (ms.size() > 3) out[3] = Truncate(pan - (out[0] + out[1] + out[2]) / 3.0 + I, max);
    return out;
}

/// Every method of the plug-in has its formula here.
inline Pixel Fuse(const std::string& keyword, const Pixel& ms, double pan, const Tables& tables, double max,
                  const Gains& gains = {}) {
    if (keyword == "KOVA") return Kova(ms, pan, tables, max);
    if (keyword == "Brovey") return Brovey(ms, pan, tables, max);
    if (keyword == "IHS") return Ihs(ms, pan, tables[0], max);
    if (keyword == "Injection") return Inject(ms, pan, tables, gains, max);
    throw std::logic_error("tests/support/MethodOracle.h has no formula of " + keyword);
}

} // namespace oracle
