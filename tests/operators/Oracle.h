#pragma once

#include "colourspace/Oracle.h"
#include "fundament/Numbers.h"

#include <cmath>
#include <map>

/// A second implementation of the blending operators, for one pixel, formula by formula.
namespace oracle {

using Settings = std::map<std::string, std::string>;

/// Gain and offset of a band: its own properties, else band 1's, else the defaults.
struct Line {
    Line(const Settings& settings, const std::string& family, std::size_t band)
        : gain(Number(settings, family + "Gain", band, 1.0)),
          offset(Number(settings, family + "Offset", band, family == "Output" ? 127.5 : 0.0)) {}
    static double Number(const Settings& settings, const std::string& name, std::size_t band, double base) {
        const auto own = [&](std::size_t b, double fallback) {
            const auto found = settings.find(name + "-" + std::to_string(b + 1));
            return found == settings.end()
                       ? fallback
                       : KOVA::Tessara::Fundament::StringToDouble(found->second, fallback);
        };
        const double first = own(0, base);
        return band == 0 ? first : own(band, first);
    }
    double gain, offset;
};

/// The lines of all bands, for the inputs and the output.
struct Lines {
    Lines(const Settings& settings, std::size_t bands) {
        for (std::size_t b = 0; b < bands; ++b) {
            in1.emplace_back(settings, "Primary", b);
            in2.emplace_back(settings, "Auxiliary", b);
            out.emplace_back(settings, "Output", b);
        }
    }
    std::vector<Line> in1, in2, out;
};

/// Truncates; 0 for what is not finite.
inline double Cut(double s, double max) {
    if (!std::isfinite(s) || s < 0) return 0;
    return s > max ? max : std::trunc(s);
}

inline double RoundAny(double s, double max) { return std::isnan(s) ? 0 : Round(s, max); }

/// One sample of the operators that work sample by sample.
inline double Sample(const std::string& keyword, double a, double b, const Line& in1, const Line& in2,
                     const Line& out, double max) {
    const double x = a * in1.gain + in1.offset;
    const double y = b * in2.gain + in2.offset;
    if (keyword == "Add") return Cut((x + y) * out.gain + out.offset, max);
    if (keyword == "Multiply") return Cut((y * x) * out.gain + out.offset, max);
    if (keyword == "Divide") return Cut((x / y) * out.gain + out.offset, max);
    if (keyword == "scaledDifference") return RoundAny((a - b) * out.gain + out.offset, max);
    return RoundAny((x - y) * out.gain + out.offset, max); // Subtract, weightedDifference
}

inline Pixel BlendLuminance(const Pixel& a, double x, const Line& in1, const Line& in2, double max) {
    Pixel yuv = RgbToYuv(a, max);
    yuv[0] = RoundAny((x * in2.gain + in2.offset) + (yuv[0] * in1.gain + in1.offset), max);
    return YuvToRgb(yuv, max);
}

/// `fill` is what the mask writes where it is 0.
inline Pixel Blend(const std::string& keyword, const Pixel& a, const Pixel& b, const Lines& lines,
                   const Pixel& fill, double max) {
    if (keyword == "Mask") return b[0] == 0 ? fill : a;
    if (keyword == "intensityBlend") return BlendLuminance(a, b[0], lines.in1[0], lines.in2[0], max);
    Pixel out;
    if (keyword == "mergeBands") {
        out = a;
        out.insert(out.end(), b.begin(), b.end());
    } else if (keyword == "maxAbsoluteDifference") {
        double m = 0;
        for (std::size_t c = 0; c < a.size(); ++c)
            m = std::max(m, std::fabs(a[c] - b[c]));
        out.push_back(RoundAny(m * lines.out[0].gain + lines.out[0].offset, max));
    } else {
        for (std::size_t c = 0; c < a.size(); ++c)
            out.push_back(Sample(keyword, a[c], b[c], lines.in1[c], lines.in2[c], lines.out[c], max));
    }
    return out;
}

} // namespace oracle
