#include "cli/ReportText.h"

#include "fundament/Text.h"
#include "kernels/Simd.h"

namespace cli {

using KOVA::Tessara::Fundament::FormatString;
using rasterhost::SharpenReport;
using rasterhost::SharpenRequest;

namespace {

double Pixels(const SharpenReport& report) {
    return static_cast<double>(report.columns) * static_cast<double>(report.rows);
}

std::string FormatWeights(const SharpenReport& report) {
    std::string text;
    for (const double weight : report.effectiveWeights)
        text += FormatString(text.empty() ? "%.4g" : ", %.4g", weight);
    if (report.infraredWeight)
        text += FormatString("%sinfrared %.4g", text.empty() ? "" : "; ", *report.infraredWeight);
    return text;
}

/// How well the weights fit, and the correlation of each band with pan.
std::string FormatFit(const rasterhost::WeightFit& fit) {
    std::string text = FormatString("  fitted to %.0f multispectral pixels, R² %.3f; correlation with pan",
                                    static_cast<double>(fit.samples), fit.rSquared);
    const char* before = " ";
    for (const double correlation : fit.correlations) {
        text += FormatString("%s%.2f", before, correlation);
        before = ", ";
    }
    if (fit.infraredCorrelation) text += FormatString("; infrared %.2f", *fit.infraredCorrelation);
    return text + "\n";
}

std::string FormatCount(std::uint64_t count, double of) {
    const auto shown = static_cast<unsigned long long>(count);
    const double percent = of > 0.0 ? 100.0 * static_cast<double>(count) / of : 0.0;
    if (count == 0) return "0";
    if (percent < 0.01) return FormatString("%llu (under 0.01 %%)", shown);
    return FormatString("%llu (%.2f %%)", shown, percent);
}

} // namespace

double MegapixelsPerSecond(const SharpenReport& report) {
    return report.seconds > 0.0 ? Pixels(report) / report.seconds / 1e6 : 0.0;
}

std::vector<std::string> DescribeDetail(const rasterhost::DetailFit& detail) {
    std::vector<std::string> lines;
    const auto& published = detail.publishedTransfer;
    std::string how = "as given";
    if (detail.blur && detail.blur->obstacle.empty())
        how = FormatString("measured, R² %.3f", detail.blur->rSquared) +
              (published ? FormatString("; published for the sensor: %.4g", *published) : "");
    else if (detail.blur)
        how = std::string(published ? "as published for the sensor" : "the usual value") +
              ", because it cannot be measured";
    lines.push_back(FormatString("modulation transfer %.4g ", detail.transfer) + how);
    std::string gains;
    for (const rasterhost::BandGains& of : detail.gains)
        gains += FormatString("%s%.3g:%.3g", gains.empty() ? "" : ", ", of.gain, of.ratioGain);
    lines.push_back(FormatString("gains %s (share of pan's detail : share by the band ratio), %s",
                                 gains.c_str(),
                                 detail.areGainsGiven ? "given"
                                 : detail.error       ? "fitted one scale down"
                                                      : "by a rule of thumb"));
    if (detail.error)
        lines.push_back(
            FormatString("ERGAS one scale down %.3g, plain upsampling %.3g; the gain at full size is smaller",
                         *detail.error, *detail.plainError));
    return lines;
}

std::string FormatReport(const SharpenReport& report, std::uint64_t peakMemory) {
    std::string text =
        FormatString("%s: %u x %u pixels, %u band%s of %u bits, method %s, pan %.4g times as fine\n",
                     report.output.c_str(), report.columns, report.rows, report.bands,
                     report.bands == 1 ? "" : "s", report.bitsPerSample, report.method.c_str(), report.ratio);
    if (const std::string weights = FormatWeights(report); !weights.empty())
        text += "  weights " + weights + "\n";
    if (report.fit) text += FormatFit(*report.fit);
    if (report.detail)
        for (const std::string& line : DescribeDetail(*report.detail))
            text += "  " + line + "\n";
    if (report.threads == 0) // a description
        return text + FormatString("  described in %.2f s, peak memory %.0f MB; 'pansharp sharpen %s -o OUT' "
                                   "makes the pixels\n",
                                   report.seconds, static_cast<double>(peakMemory) / 1e6,
                                   report.output.c_str());
    text += FormatString("  %.2f s, %.1f megapixels/s, %d thread%s, peak memory %.0f MB\n", report.seconds,
                         MegapixelsPerSecond(report), report.threads, report.threads == 1 ? "" : "s",
                         static_cast<double>(peakMemory) / 1e6);
    if (report.pixelsWithoutData > 0)
        text += FormatString("  %s pixels without data, marked by %s\n",
                             FormatCount(report.pixelsWithoutData, Pixels(report)).c_str(),
                             report.noDataValue ? FormatString("the value %u", *report.noDataValue).c_str()
                             : report.noDataBy == rasterhost::NoDataBy::Alpha ? "the last band"
                             : report.noDataBy == rasterhost::NoDataBy::None  ? "nothing"
                                                                              : "a mask");
    const unsigned largest = (1u << report.bitDepth) - 1;
    for (std::size_t band = 0; band < report.samplesAtLimits.size(); ++band) {
        const auto& [lowest, highest] = report.samplesAtLimits[band];
        text += FormatString("  band %zu: %s samples at 0, %s at %u%s\n", band + 1,
                             FormatCount(lowest, Pixels(report)).c_str(),
                             FormatCount(highest, Pixels(report)).c_str(), largest,
                             band < report.stretches.size()
                                 ? FormatString(", before they are stretched (%.0f to %.0f)",
                                                report.stretches[band][0], report.stretches[band][1])
                                       .c_str()
                                 : "");
    }
    return text;
}

std::string FormatDetails(const SharpenRequest& request, const SharpenReport& report) {
    std::string options;
    for (const std::string& option : request.creationOptions)
        options += " " + option;
    return FormatString(
        "  plug-in %s; vector instructions %s\n  sampled %s, fused %u rows at a time, written "
        "as %s%s\n",
        report.plugin.c_str(), kernels::SimdTargetName(kernels::ChosenSimdTarget()).c_str(),
        hostkit::NameOf(report.resampling), report.windowRows, report.format.c_str(), options.c_str());
}

std::string FormatPreview(const std::string& file, const SharpenRequest& request, const SharpenReport& report,
                          const rasterhost::ShownBands& bands) {
    const auto band = [&](std::size_t place) {
        return request.bands.empty() ? static_cast<int>(place) + 1 : request.bands[place];
    };
    const auto& [red, green, blue] = bands.bands;
    const std::string shown =
        report.bands < 3
            ? FormatString("band %d in grey", band(0))
            : FormatString("bands %d, %d and %d in red, green and blue%s", band(red), band(green), band(blue),
                           bands.isGuessed ? " (a guess: nothing names them)" : "");
    return FormatString("  preview %s: pan, upsampled, fused; %s\n", file.c_str(), shown.c_str());
}

} // namespace cli
