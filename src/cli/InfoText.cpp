#include "cli/InfoText.h"

#include "cli/ReportText.h"
#include "cli/TextLayout.h"
#include "fundament/Text.h"

namespace cli {

using KOVA::Tessara::Fundament::FormatString;
using rasterhost::ImageFacts;
using rasterhost::PreflightReport;
using rasterhost::Shift;
using rasterhost::WeightFit;

namespace {

constexpr std::size_t column = 16;

std::string Line(const char* head, const std::string& text) { return Wrap(head, column, text); }

const char* Plural(std::uint32_t count) { return count == 1 ? "" : "s"; }

std::string FormatImage(const char* role, const ImageFacts& facts) {
    std::string text = Line(
        role, FormatString("%s: %u x %u pixels of %.6g x %.6g, %u band%s", facts.name.c_str(), facts.columns,
                           facts.rows, facts.pixelSizeX, facts.pixelSizeY, facts.bands, Plural(facts.bands)));
    text += Line("", facts.projection.empty() ? (facts.extent ? "no projection" : "not georeferenced")
                                              : facts.projection);
    std::string noData;
    for (const std::string& what : facts.noData)
        noData += (noData.empty() ? "" : ", ") + what;
    if (!noData.empty()) noData = "no data: " + noData;
    if (facts.seen == 0)
        return text + Line("", facts.sampleType + "; no pixels were read") +
               (noData.empty() ? noData : Line("", noData));
    text +=
        Line("", facts.largest ? FormatString("%s, of which %u are in use (largest sample seen: %u); %.2g %% "
                                              "saturated",
                                              facts.sampleType.c_str(), *facts.bitDepth, *facts.largest,
                                              100.0 * facts.saturated)
                               : facts.sampleType + "; no pixel with data was found");
    return text + Line("", noData.empty() ? "every sample is data"
                                          : FormatString("%s; %.3g %% of the pixels seen", noData.c_str(),
                                                         100.0 * facts.withoutData));
}

std::string FormatGrids(const PreflightReport& report) {
    const bool isSquare = report.ratioX == report.ratioY;
    return Line("grids", (isSquare ? FormatString("ratio %.6g", report.ratioX)
                                   : FormatString("ratio %.6g x %.6g", report.ratioX, report.ratioY)) +
                             FormatString(", overlap %.4g %% of pan", 100.0 * report.overlap)) +
           Line("", FormatString("the multispectral corner lies %.4g pan pixels to the right of pan's corner "
                                 "and %.4g below it: phase (%.3g, %.3g)",
                                 report.corner[0], report.corner[1], report.phase[0], report.phase[1]));
}

std::string FormatShift(const std::optional<Shift>& shift) {
    if (!shift) return Line("shift", "could not be measured");
    std::string text = FormatString(
        "the multispectral content is displaced by (%.2f, %.2f) of its pixels to the right and down",
        shift->displacement.x, shift->displacement.y);
    if (shift->windows >= 2)
        text += FormatString("; %u windows %s: they differ by %.2f", shift->windows,
                             shift->IsAgreed() ? "agree" : "do not agree", shift->spread);
    return Line("shift", text);
}

std::string FormatBands(const WeightFit& fit) {
    std::string text = Line("fit", FormatString("R² %.3f, from %.0f multispectral pixels", fit.rSquared,
                                                static_cast<double>(fit.samples)));
    for (std::size_t band = 0; band < fit.weights.size(); ++band)
        text += Line("", FormatString("band %d: correlation with pan %.2f, fitted weight %.4g",
                                      static_cast<int>(band) + 1, fit.correlations[band], fit.weights[band]));
    if (fit.infraredWeight)
        text += Line("", FormatString("infrared: correlation with pan %.2f, weight %.4g",
                                      fit.infraredCorrelation.value_or(0.0), *fit.infraredWeight));
    return text;
}

std::string FormatRun(const PreflightReport& report) {
    std::string weights;
    for (const double weight : report.effectiveWeights)
        weights += FormatString(weights.empty() ? " with the weights %.4g" : ", %.4g", weight);
    if (report.infraredWeight) weights += FormatString("; infrared %.4g", *report.infraredWeight);
    std::string detail;
    if (report.detail)
        for (const std::string& line : DescribeDetail(*report.detail))
            detail += Line("", line);
    return Line("sharpen", FormatString("%s%s", report.method.c_str(), weights.c_str())) + detail +
           Line("", FormatString("%u x %u pixels, %u band%s: %.1f MB before compression; about %.0f MB of "
                                 "memory",
                                 report.outputColumns, report.outputRows, report.outputBands,
                                 Plural(report.outputBands), static_cast<double>(report.outputBytes) / 1e6,
                                 static_cast<double>(report.memoryBytes) / 1e6));
}

} // namespace

std::string FormatInfo(const PreflightReport& report) {
    std::string text = FormatImage("pan", report.pan);
    const char* multispectral = "multispectral";
    for (const rasterhost::CoarseFacts& facts : report.images) {
        text += FormatImage(facts.role == rasterhost::Role::Infrared ? "infrared" : multispectral, facts);
        multispectral = ""; // the other grids stand below
    }
    text += FormatGrids(report) + FormatShift(report.shift);
    if (report.fit) text += FormatBands(*report.fit);
    return text + FormatRun(report);
}

} // namespace cli
