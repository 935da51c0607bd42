#include "cli/RunJson.h"

#include "cli/JsonParts.h"
#include "cli/ReportText.h"
#include "hostkit/MethodTable.h"
#include "kernels/Simd.h"

#include <span>

namespace cli {

using KOVA::Tessara::Fundament::Status;
using rasterhost::ImageFacts;
using rasterhost::PreflightReport;
using rasterhost::SharpenReport;
using rasterhost::SharpenRequest;

namespace {

Json Inputs(const SharpenRequest& request) {
    Json object = {{"pan", JsonInput(request.pan)}, {"multispectral", JsonInputs(request.multispectral)}};
    if (request.infrared) object["infrared"] = JsonInput(*request.infrared);
    return object;
}

Json FitObject(const rasterhost::WeightFit& fit) {
    Json object = {{"r_squared", fit.rSquared}, {"samples", fit.samples}, {"correlations", fit.correlations}};
    if (fit.infraredCorrelation) object["infrared_correlation"] = *fit.infraredCorrelation;
    return object;
}

/// Blur and gains at the top level, where they are read from an earlier run; how they were found stands
/// beside them.
void AddDetail(Json& object, const rasterhost::DetailFit& detail) {
    object["modulation_transfer"] = detail.transfer;
    object["gains"] = Json::array();
    for (const rasterhost::BandGains& of : detail.gains)
        object["gains"].push_back({of.gain, of.ratioGain});
    Json fit = {{"gains_given", detail.areGainsGiven}, {"samples", detail.samples}};
    if (detail.blur) fit["blur_r_squared"] = detail.blur->rSquared;
    if (detail.publishedTransfer) fit["published_modulation_transfer"] = *detail.publishedTransfer;
    if (detail.error) {
        fit["ergas_one_scale_down"] = *detail.error;
        fit["plain_ergas_one_scale_down"] = *detail.plainError;
    }
    object["detail_fit"] = fit;
}

const char* MeansOf(rasterhost::NoDataBy means) {
    constexpr const char* names[] = {"none", "value", "mask", "alpha"};
    return names[static_cast<std::size_t>(means)];
}

void AddReport(Json& object, const SharpenReport& report) {
    object["columns"] = report.columns;
    object["rows"] = report.rows;
    object["bands"] = report.bands;
    object["bits_per_sample"] = report.bitsPerSample;
    object["bit_depth"] = report.bitDepth;
    object["ratio"] = {report.ratio, report.ratioDown};
    object["weights"] = report.effectiveWeights;
    if (report.infraredWeight) object["infrared_weight"] = *report.infraredWeight;
    if (report.fit) object["fit"] = FitObject(*report.fit);
    if (report.detail) AddDetail(object, *report.detail);
    object["threads"] = report.threads;
    object["window_rows"] = report.windowRows;
    object["seconds"] = report.seconds;
    object["megapixels_per_second"] = MegapixelsPerSecond(report);
    object["no_data"] = {{"by", MeansOf(report.noDataBy)}, {"pixels", report.pixelsWithoutData}};
    if (report.noDataValue) object["no_data"]["value"] = *report.noDataValue;
    Json limits = Json::array();
    for (const auto& [lowest, highest] : report.samplesAtLimits)
        limits.push_back({{"band", limits.size() + 1}, {"at_zero", lowest}, {"at_maximum", highest}});
    object["samples_at_limits"] = limits;
    if (!report.stretches.empty()) object["stretch"] = report.stretches;
}

Json FactsObject(const ImageFacts& facts) {
    Json object = {{"name", facts.name},
                   {"columns", facts.columns},
                   {"rows", facts.rows},
                   {"bands", facts.bands},
                   {"sample_type", facts.sampleType},
                   {"projection", facts.projection},
                   {"pixel_size", {facts.pixelSizeX, facts.pixelSizeY}},
                   {"no_data", facts.noData},
                   {"share_without_data", facts.withoutData},
                   {"share_saturated", facts.saturated}};
    if (facts.largest) {
        object["bit_depth"] = *facts.bitDepth;
        object["largest_sample"] = *facts.largest;
    }
    object["extent"] = facts.extent ? Json(*facts.extent) : Json();
    return object;
}

void AddFindings(Json& object, const PreflightReport& report) {
    Json images = {{"pan", FactsObject(report.pan)}};
    Json otherGrids = Json::array();
    for (const rasterhost::CoarseFacts& facts : report.images) {
        const Json found = FactsObject(facts);
        if (facts.role == rasterhost::Role::Infrared)
            images["infrared"] = found;
        else if (images.contains("multispectral"))
            otherGrids.push_back(found);
        else
            images["multispectral"] = found;
    }
    if (!otherGrids.empty()) images["other_grids"] = otherGrids;
    object["images"] = images;
    object["ratio"] = {report.ratioX, report.ratioY};
    object["overlap"] = report.overlap;
    object["corner"] = report.corner;
    object["phase"] = report.phase;
    if (report.shift)
        object["shift"] = {{"right", report.shift->displacement.x}, {"below", report.shift->displacement.y},
                           {"r_squared", report.shift->rSquared},   {"windows", report.shift->windows},
                           {"spread", report.shift->spread},        {"agreed", report.shift->IsAgreed()}};
    if (!report.fit) return;
    object["fit"] = FitObject(*report.fit);
    object["fit"]["weights"] = report.fit->weights;
    if (report.fit->infraredWeight) object["fit"]["infrared_weight"] = *report.fit->infraredWeight;
}

Json Properties(std::span<const PansharpProperty> properties) {
    Json list = Json::array();
    for (const PansharpProperty& property : properties)
        list.push_back({{"name", property.name},
                        {"type", property.type},
                        {"default", property.defaultValue},
                        {"help", property.help}});
    return list;
}

} // namespace

std::string FailureJson(std::string_view command, ExitCode code, const Status& status) {
    Json object = JsonHead(command, code);
    object["status"] = JsonStatus(status);
    return PrintJson(object);
}

Json SharpenObject(const Arguments& request, const SharpenReport& report, ExitCode code, const Status& status,
                   std::uint64_t peakMemory) {
    Json object = JsonHead("sharpen", code);
    if (request.foundProduct) object["product"] = JsonProduct(*request.foundProduct);
    object["inputs"] = Inputs(request);
    object["output"] = request.output;
    object["format"] = report.format;
    object["creation_options"] = request.creationOptions;
    object["requested_bands"] = request.bands;
    object["method"] = request.method;
    object["resampling"] = hostkit::NameOf(request.resampling);
    if (request.part) object["part"] = *request.part;
    if (const auto& window = request.window)
        object["srcwin"] = {window->col0, window->row0, window->GetColumns(), window->GetRows()};
    object["vector_instructions"] = kernels::SimdTargetName(kernels::ChosenSimdTarget());
    if (!report.plugin.empty()) object["plugin"] = report.plugin;
    if (code == Done) AddReport(object, report);
    object["peak_memory_bytes"] = peakMemory;
    object["warnings"] = report.warnings;
    object["status"] = JsonStatus(status);
    return object;
}

std::string SharpenJson(const Arguments& request, const SharpenReport& report, ExitCode code,
                        const Status& status, std::uint64_t peakMemory) {
    return PrintJson(SharpenObject(request, report, code, status, peakMemory));
}

std::string InfoJson(const Arguments& request, const PreflightReport& report, ExitCode code,
                     const Status& status) {
    Json object = JsonHead("info", code);
    if (request.foundProduct) object["product"] = JsonProduct(*request.foundProduct);
    object["inputs"] = Inputs(request);
    if (report.pan.columns > 0) AddFindings(object, report);
    if (code == Done) {
        object["sharpen"] = {{"method", report.method},           {"weights", report.effectiveWeights},
                             {"columns", report.outputColumns},   {"rows", report.outputRows},
                             {"bands", report.outputBands},       {"output_bytes", report.outputBytes},
                             {"memory_bytes", report.memoryBytes}};
        if (report.infraredWeight) object["sharpen"]["infrared_weight"] = *report.infraredWeight;
        if (report.detail) AddDetail(object["sharpen"], *report.detail);
    }
    object["seconds"] = report.seconds;
    object["warnings"] = report.warnings;
    object["status"] = JsonStatus(status);
    return PrintJson(object);
}

std::string VersionJson(const PansharpDescription* plugin, const std::string& file, ExitCode code,
                        const Status& status) {
    Json object = JsonHead("version", code);
    object["vector_instructions"] = kernels::SimdTargetName(kernels::ChosenSimdTarget());
    if (plugin)
        object["plugin"] = {{"name", plugin->name},
                            {"version", plugin->version},
                            {"contract", plugin->contractVersion},
                            {"file", file}};
    object["status"] = JsonStatus(status);
    return PrintJson(object);
}

std::string MethodsJson(const PansharpDescription& plugin, const std::string& file) {
    Json object = JsonHead("methods", Done);
    object["plugin"] = {{"name", plugin.name}, {"version", plugin.version}, {"file", file}};
    Json methods = Json::array();
    for (const PansharpMethod& method : hostkit::MethodsOf(plugin))
        methods.push_back({{"keyword", method.keyword},
                           {"summary", method.summary},
                           {"formula", method.formula},
                           {"advice", method.advice},
                           {"minimum_bands", method.minimumBands},
                           {"recommended", &method == hostkit::FindRecommended(plugin)},
                           {"properties", Properties(hostkit::PropertiesOf(method))}});
    object["methods"] = methods;
    object["properties"] = Properties(std::span(plugin.properties, plugin.propertyCount));
    object["status"] = Json::array();
    return PrintJson(object);
}

} // namespace cli
