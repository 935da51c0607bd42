#include "rasterhost/serving/SceneRecordJson.h"

#include "fundament/Text.h"
#include "rasterhost/serving/CollarText.h"
#include "rasterhost/serving/RecordReader.h"
#include "rasterhost/serving/RecordedName.h"

#include <limits>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;

namespace {

class RecordWriter {
public:
    explicit RecordWriter(const std::string& fileName) : file(fileName) {}

    [[nodiscard]] Json Write(const SceneRecord& record) const {
        Json object;
        object[recordMagic] = sceneFileVersion;
        object["writer"] = record.writer;
        object["inputs"] = Inputs(record.pair);
        object["pair"] = Pair(record.pair);
        object["fusion"] = Fusion(record);
        object["output"] = Output(record.output);
        object["found"] = Found(record);
        object["files"] = Json::array();
        for (const FileFingerprint& print : record.files)
            object["files"].push_back(Fingerprint(print));
        return object;
    }

private:
    [[nodiscard]] Json Name(const std::string& name) const {
        const RecordedName recorded = RecordName(name, file);
        return {{"path", recorded.path}, {"relative", recorded.isRelative}};
    }
    [[nodiscard]] Json Input(const InputBand& input) const {
        Json object = Name(input.file);
        if (input.band) object["band"] = *input.band;
        if (!input.name.empty()) object["name"] = input.name;
        if (input.wavelength) object["wavelength"] = *input.wavelength;
        if (input.meaning) object["meaning"] = {input.meaning->scale, input.meaning->offset};
        return object;
    }
    [[nodiscard]] Json Inputs(const PairRequest& pair) const {
        Json object = {{"pan", Input(pair.pan)}, {"multispectral", Json::array()}};
        for (const InputBand& input : pair.multispectral)
            object["multispectral"].push_back(Input(input));
        if (pair.infrared) object["infrared"] = Input(*pair.infrared);
        return object;
    }

    static Json Pair(const PairRequest& pair) {
        Json object = {{"resampling", hostkit::NameOf(pair.resampling)},
                       {"shift", {pair.shift.x, pair.shift.y}},
                       {"same_corner", pair.sameCorner},
                       {"intersection", pair.onlyIntersection},
                       {"ignore_no_data", pair.ignoreNoData}};
        if (!pair.bands.empty()) object["bands"] = pair.bands;
        if (pair.part) object["part"] = *pair.part;
        if (pair.bitDepth) object["bit_depth"] = *pair.bitDepth;
        if (pair.scale) object["scale"] = *pair.scale;
        if (pair.noData) object["no_data"] = *pair.noData;
        if (!pair.acquired.empty()) object["acquired"] = pair.acquired;
        if (pair.sameFirstCentre) object["same_first_centre"] = true;
        return object;
    }

    static Json Fusion(const SceneRecord& record) {
        const FusionRequest& fusion = record.fusion;
        Json object = {{"method", fusion.method}};
        if (!fusion.weights.empty()) object["weights"] = fusion.weights;
        if (fusion.infraredWeight) object["infrared_weight"] = *fusion.infraredWeight;
        if (record.found.detail) {
            object["modulation_transfer"] = record.found.detail->transfer;
            object["gains"] = Json::array();
            for (const BandGains& of : record.found.detail->gains)
                object["gains"].push_back({of.gain, of.ratioGain});
            object["low_pass_mean"] = record.found.detail->lowPassMean;
        }
        object["properties"] = Json::array();
        for (const auto& [name, value] : fusion.properties)
            object["properties"].push_back({{"name", name}, {"value", value}});
        return object;
    }

    static Json Output(const SceneOutput& output) {
        Json object = {{"columns", output.columns},
                       {"rows", output.rows},
                       {"bits", output.bits},
                       {"bit_depth", output.bitDepth}};
        if (output.geoTransform) object["geotransform"] = *output.geoTransform;
        object["projection"] = output.projection;
        object["bands"] = Json::array();
        for (std::size_t band = 0; band < output.bandNames.size(); ++band)
            object["bands"].push_back({{"name", output.bandNames[band]}, {"colour", output.colours[band]}});
        if (output.noData) object["no_data"] = *output.noData;
        object["alpha"] = output.hasAlpha;
        return object;
    }

    static Json Found(const SceneRecord& record) {
        Json object = Json::object();
        if (const auto& fit = record.found.fit) {
            object["weights"] = {
                {"r_squared", fit->rSquared}, {"samples", fit->samples}, {"correlations", fit->correlations}};
            if (fit->infraredCorrelation)
                object["weights"]["infrared_correlation"] = *fit->infraredCorrelation;
        }
        if (const auto& detail = record.found.detail) {
            Json found = {{"gains_given", detail->areGainsGiven}, {"samples", detail->samples}};
            if (const auto& blur = detail->blur)
                found["blur"] = {{"modulation_transfer", blur->transfer},
                                 {"r_squared", blur->rSquared},
                                 {"samples", blur->samples},
                                 {"obstacle", blur->obstacle}};
            if (detail->publishedTransfer)
                found["published_modulation_transfer"] = *detail->publishedTransfer;
            if (detail->error) found["ergas_one_scale_down"] = *detail->error;
            if (detail->plainError) found["plain_ergas_one_scale_down"] = *detail->plainError;
            object["detail"] = found;
        }
        object["collars"] = Json::array();
        std::size_t left = mostPackedInAll;
        for (const auto& collar : record.found.collars)
            object["collars"].push_back(collar ? CollarToJson(*collar, left) : Json());
        object["warnings"] = record.warnings;
        return object;
    }

    [[nodiscard]] Json Fingerprint(const FileFingerprint& print) const {
        Json object = Name(print.name);
        object.update(
            {{"columns", print.columns}, {"rows", print.rows}, {"bands", print.bands}, {"type", print.type}});
        if (print.geoTransform) object["geotransform"] = *print.geoTransform;
        object["projection"] = print.projection;
        object["control_points"] = print.controlPoints;
        object["transparency"] = print.transparency;
        object["bytes"] = print.bytes;
        if (!print.content.empty()) object["content"] = print.content;
        return object;
    }

    const std::string& file;
};

} // namespace

bool LooksLikeRecord(std::string_view text) {
    const std::string_view start = text.substr(0, recordStart);
    const std::string_view magic = recordMagic;
    constexpr const char* blanks = " \t\r\n";
    constexpr const char* byteOrderMark = "\xEF\xBB\xBF"; // written by some editors
    const std::size_t first = start.starts_with(byteOrderMark) ? 3 : 0;
    const std::size_t brace = start.find_first_not_of(blanks, first);
    if (brace == std::string_view::npos || start[brace] != '{') return false;
    const std::size_t quote = start.find_first_not_of(blanks, brace + 1);
    return quote != std::string_view::npos && start.compare(quote + 1, magic.size(), magic) == 0 &&
           start[quote] == '"';
}

bool WriteRecord(const SceneRecord& record, const std::string& file, std::string& text, Status& status) {
    const auto refuse = [&](const std::string& why) {
        return Fail(status, HostStatus::OutputRefused,
                    "the description '" + file + "' cannot be written: " + why);
    };
    const Json object = RecordWriter(file).Write(record);
    for (std::size_t image = 0; image < record.found.collars.size(); ++image)
        if (record.found.collars[image] && object["found"]["collars"][image].is_null())
            return refuse("an image has a collar of zeros that nobody declared, too ragged to be described; "
                          "give --nodata 0, which treats zeros as no data");
    try {
        text = object.dump(2) + "\n";
    } catch (const Json::type_error&) {
        return refuse("the name of an input, or a text in it, is not UTF-8; rename it");
    }
    SceneRecord again;
    return ReadRecord(text, file, again, status);
}

bool ReadRecord(const std::string& text, const std::string& file, SceneRecord& record, Status& status) {
    record = {};
    const auto refuse = [&](const std::string& why) {
        return Fail(status, HostStatus::InputNotSupported, "the description '" + file + "' " + why);
    };
    if (!LooksLikeRecord(text))
        return refuse("is not a description of a scene: it does not begin with the key 'pansharp_scene'");
    try {
        const Json json = RecordPart::Parse(text);
        const RecordPart object(json, "");
        const std::uint64_t version =
            object.Get(recordMagic).GetWhole(1, std::numeric_limits<std::uint64_t>::max());
        if (version > sceneFileVersion)
            return refuse(FormatString(
                "is of version %llu, and this program reads version %llu; install a newer pansharp",
                static_cast<unsigned long long>(version), static_cast<unsigned long long>(sceneFileVersion)));
        FillRecord(object, file, record);
        return true;
    } catch (const RecordFault& fault) {
        record = {};
        return refuse("cannot be used: " + fault.text);
    }
}

} // namespace rasterhost
