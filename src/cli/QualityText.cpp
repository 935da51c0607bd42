#include "cli/QualityText.h"

#include "cli/TextLayout.h"
#include "fundament/Text.h"

#include <algorithm>
#include <cmath>

namespace cli {

using KOVA::Tessara::Fundament::FormatString;
using quality::ReferenceIndices;
using rasterhost::AssessReport;
using rasterhost::CompareEntry;
using rasterhost::CompareReport;
using rasterhost::PairIndices;

namespace {

std::string Cell(double number, int digits) {
    return std::isnan(number) ? FormatString("%10s", "-") : FormatString("%10.*f", digits, number);
}

std::string Count(std::uint64_t pixels) { return FormatString("%.0f", static_cast<double>(pixels)); }

std::string FormatBands(const ReferenceIndices& indices) {
    std::string text =
        FormatString("%6s%10s%10s%10s%10s%10s\n", "band", "bias", "RMSE", "PSNR dB", "Q", "detail");
    for (std::size_t band = 0; band < indices.errors.size(); ++band) {
        const quality::BandErrors& errors = indices.errors[band];
        text += FormatString("%6d", static_cast<int>(band) + 1) + Cell(errors.bias, 3) +
                Cell(errors.rmse, 3) + Cell(errors.psnr, 2) + Cell(indices.q[band], 4) +
                Cell(indices.spatialCorrelation[band], 4) + "\n";
    }
    return text;
}

const CompareEntry& BestPlain(const CompareReport& report) {
    const auto plainFirst = [](const CompareEntry& a, const CompareEntry& b) {
        return a.IsPlain() && (!b.IsPlain() || a.indices.ergas < b.indices.ergas);
    };
    return *std::min_element(report.entries.begin(), report.entries.end(), plainFirst);
}

std::string Verdict(const CompareReport& report) {
    const CompareEntry& best = report.entries[report.best];
    if (std::isnan(best.indices.ergas))
        return "A band of the multispectral image is 0 everywhere, so there is no ERGAS to compare the "
               "methods by.";
    if (best.IsPlain())
        return FormatString("No method beats plain upsampling: %s has the lowest ERGAS, %.3f. Do both images "
                            "show the same scene, without a shift? 'pansharp info' says.",
                            NameOf(best).c_str(), best.indices.ergas);
    const CompareEntry& plain = BestPlain(report);
    return FormatString("Best: %s, ERGAS %.3f; %s has %.3f.", NameOf(best).c_str(), best.indices.ergas,
                        NameOf(plain).c_str(), plain.indices.ergas);
}

} // namespace

const char* NameOf(rasterhost::WeightSource weights) {
    return weights == rasterhost::WeightSource::Fit ? "fitted" : "equal";
}

std::string NameOf(const CompareEntry& entry) {
    const std::string resampling = hostkit::NameOf(entry.resampling);
    if (entry.IsPlain()) return "plain " + resampling + " upsampling";
    const std::string weights = entry.weights ? std::string(", ") + NameOf(*entry.weights) + " weights" : "";
    return entry.method + weights + ", " + resampling;
}

std::string FormatAssessment(const AssessReport& report) {
    if (report.reference) {
        const ReferenceIndices& indices = *report.reference;
        std::string text =
            FormatBands(indices) + FormatString("mean Q %.4f, SAM %.4f degrees", indices.meanQ, indices.sam);
        text += report.ratio ? FormatString(", ERGAS %.4f", indices.ergas) : "; ERGAS needs --ratio";
        return text + ", from " + Count(indices.pixels) + " pixels\n";
    }
    std::string text = "consistency: the image degraded to the multispectral pixels, compared with them\n";
    text += FormatString("%-10s%10s%10s%10s  RMSE per band\n", "", "ERGAS", "SAM", "Q");
    for (const PairIndices& row : report.pair) {
        text += FormatString("%-10s", row.name.c_str()) + Cell(row.consistency.ergas, 3) +
                Cell(row.consistency.sam, 3) + Cell(row.consistency.meanQ, 4) + " ";
        for (const quality::BandErrors& errors : row.consistency.errors)
            text += FormatString(" %.3f", errors.rmse);
        text += "\n";
    }
    text += "the fused image, band by band\n" + FormatBands(report.pair.front().consistency);
    text += "without a reference\n";
    text += FormatString("%-10s%10s%10s%10s%12s%10s\n", "", "D_lambda", "D_S", "QNR", "D_lambda K", "HQNR");
    for (const PairIndices& row : report.pair)
        text += FormatString("%-10s", row.name.c_str()) + Cell(row.spectralDistortion, 4) +
                Cell(row.spatialDistortion, 4) + Cell(row.qnr, 4) + "  " +
                Cell(row.spectralDistortionOfBlur, 4) + Cell(row.hqnr, 4) + "\n";
    return text + "'bilinear' is plain upsampling, from " + Count(report.pair.front().consistency.pixels) +
           " multispectral and " + Count(report.pair.front().pixels) + " pan pixels\n";
}

std::string FormatComparison(const CompareReport& report) {
    std::string text = FormatString("degraded by %.6g x %.6g: %u x %u pixels", report.ratioX, report.ratioY,
                                    report.columns, report.rows);
    if (report.windows > 1) text += FormatString(" in %u windows", report.windows);
    text += ", " + Count(report.entries.front().indices.pixels) + " compared\n";
    text += FormatString("%-32s%10s%10s%10s\n", "", "ERGAS", "SAM", "Q");
    for (const CompareEntry& entry : report.entries) {
        text += FormatString("%-32s", NameOf(entry).c_str()) + Cell(entry.indices.ergas, 3) +
                Cell(entry.indices.sam, 3) + Cell(entry.indices.meanQ, 4);
        if (const auto bands = static_cast<unsigned>(entry.indices.errors.size()); bands < report.bands)
            text += FormatString("  %u of %u bands", bands, report.bands);
        text += &entry == &report.entries[report.best] ? "  *\n" : "\n";
    }
    text += NameOf(report.entries[report.best]) + ", band by band\n" +
            FormatBands(report.entries[report.best].indices);
    return text + Wrap("", 0, Verdict(report));
}

} // namespace cli
