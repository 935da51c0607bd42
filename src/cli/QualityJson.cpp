#include "cli/QualityJson.h"

#include "cli/JsonParts.h"
#include "cli/QualityText.h"

namespace cli {

using KOVA::Tessara::Fundament::Status;
using rasterhost::AssessReport;
using rasterhost::AssessRequest;
using rasterhost::CompareEntry;
using rasterhost::CompareReport;
using rasterhost::CompareRequest;
using rasterhost::PairIndices;

namespace {

Json Indices(const quality::ReferenceIndices& indices) {
    Json bands = Json::array();
    for (std::size_t band = 0; band < indices.errors.size(); ++band)
        bands.push_back({{"band", band + 1},
                         {"bias", indices.errors[band].bias},
                         {"rmse", indices.errors[band].rmse},
                         {"psnr", indices.errors[band].psnr},
                         {"q", indices.q[band]},
                         {"spatial_correlation", indices.spatialCorrelation[band]}});
    return {{"pixels", indices.pixels},
            {"ergas", indices.ergas},
            {"sam", indices.sam},
            {"mean_q", indices.meanQ},
            {"bands", bands}};
}

Json PairRow(const PairIndices& row) {
    return {{"name", row.name},
            {"consistency", Indices(row.consistency)},
            {"pixels", row.pixels},
            {"d_lambda", row.spectralDistortion},
            {"d_s", row.spatialDistortion},
            {"qnr", row.qnr},
            {"d_lambda_k", row.spectralDistortionOfBlur},
            {"hqnr", row.hqnr}};
}

Json Blur(const rasterhost::SensorBlur& blur) {
    return {{"multispectral", blur.multispectral}, {"pan", blur.pan}};
}

} // namespace

std::string AssessJson(const AssessRequest& request, const AssessReport& report, ExitCode code,
                       const Status& status) {
    Json object = JsonHead("assess", code);
    object["fused"] = JsonInputs(request.fused);
    if (!request.reference.empty()) object["reference"] = JsonInputs(request.reference);
    if (request.reference.empty()) {
        object["pan"] = JsonInput(request.pan);
        object["multispectral"] = JsonInputs(request.multispectral);
        object["requested_bands"] = request.bands;
        object["modulation_transfer"] = Blur(request.blur);
    }
    if (report.ratio) object["ratio"] = {*report.ratio, *report.ratio};
    if (report.reference) object["indices"] = Indices(*report.reference);
    if (!report.pair.empty()) {
        object["rows"] = Json::array();
        for (const PairIndices& row : report.pair)
            object["rows"].push_back(PairRow(row));
    }
    object["seconds"] = report.seconds;
    object["warnings"] = report.warnings;
    object["status"] = JsonStatus(status);
    return PrintJson(object);
}

std::string CompareJson(const CompareRequest& request, const CompareReport& report, ExitCode code,
                        const Status& status) {
    Json object = JsonHead("compare", code);
    object["inputs"] = {{"pan", JsonInput(request.pan)},
                        {"multispectral", JsonInputs(request.multispectral)}};
    if (request.infrared) object["inputs"]["infrared"] = JsonInput(*request.infrared);
    object["requested_bands"] = request.bands;
    object["modulation_transfer"] = Blur(request.blur);
    if (code == Done) {
        object["ratio"] = {report.ratioX, report.ratioY};
        object["columns"] = report.columns;
        object["rows"] = report.rows;
        object["windows"] = report.windows;
        Json entries = Json::array();
        for (const CompareEntry& entry : report.entries) {
            const char* resampling = hostkit::NameOf(entry.resampling);
            Json row = {{"method", entry.IsPlain() ? resampling : entry.method}, {"plain", entry.IsPlain()}};
            row["weights"] = entry.weights ? Json(NameOf(*entry.weights)) : Json();
            row["resampling"] = resampling;
            row["effective_weights"] = entry.effectiveWeights;
            if (entry.infraredWeight) row["infrared_weight"] = *entry.infraredWeight;
            row.update(Indices(entry.indices));
            entries.push_back(row);
        }
        object["entries"] = entries;
        object["best"] = report.best;
        object["beats_plain"] = !report.entries[report.best].IsPlain();
    }
    object["seconds"] = report.seconds;
    object["warnings"] = report.warnings;
    object["status"] = JsonStatus(status);
    return PrintJson(object);
}

} // namespace cli
