#include "rasterhost/serving/RecordReader.h"

#include "rasterhost/serving/CollarText.h"
#include "rasterhost/serving/RecordedName.h"

#include <array>
#include <limits>
#include <map>
#include <optional>
#include <set>

namespace rasterhost {

namespace {

constexpr std::size_t mostBands = 8192; // of all inputs
constexpr std::uint64_t mostSize = 0x7FFFFFFF;

std::uint32_t Size(const RecordPart& part, std::uint64_t least = 1) {
    return static_cast<std::uint32_t>(part.GetWhole(least, mostSize));
}

template <class T>
void TakeNumber(const RecordPart& object, const char* name, std::optional<T>& number) {
    if (const auto part = object.Find(name)) number = static_cast<T>(part->GetNumber());
}

template <std::size_t N>
void TakeArray(const RecordPart& object, const char* name, std::optional<std::array<double, N>>& array) {
    if (const auto part = object.Find(name)) array = part->GetArray<N>();
}

class RecordReader {
public:
    RecordReader(const std::string& fileName, SceneRecord& sceneRecord)
        : file(fileName), record(sceneRecord) {}

    void Read(const RecordPart& object) {
        object.CheckKeys({recordMagic, "writer", "inputs", "pair", "fusion", "output", "found", "files"});
        record.writer = object.Get("writer").GetText();
        ReadInputs(object.Get("inputs"));
        ReadPair(object.Get("pair"));
        ReadOutput(object.Get("output"));
        ReadFound(object.Get("found"));
        ReadFusion(object.Get("fusion"));
        for (const RecordPart& part : object.Get("files").GetList(mostBands + 2))
            record.files.push_back(ReadFingerprint(part));
        CheckFiles(object.Get("files"));
    }

private:
    [[nodiscard]] std::string ReadName(const RecordPart& part) const {
        RecordedName name{part.Get("path").GetText(), part.Get("relative").GetFlag()};
        if (name.path.empty()) part.Get("path").Refuse("is empty");
        if (name.isRelative && name.path.front() == '/') part.Get("path").Refuse("is not a relative path");
        return NameFromRecord(name, file);
    }
    [[nodiscard]] InputBand ReadInput(const RecordPart& part) const {
        part.CheckKeys({"path", "relative", "band", "name", "wavelength", "meaning"});
        InputBand input{ReadName(part), {}};
        if (const auto band = part.Find("band")) input.band = static_cast<int>(Size(*band));
        if (const auto name = part.Find("name")) input.name = name->GetText();
        TakeNumber(part, "wavelength", input.wavelength);
        if (const auto meaning = part.Find("meaning")) {
            const auto pair = meaning->GetArray<2>();
            input.meaning = {pair[0], pair[1]};
        }
        return input;
    }
    void ReadInputs(const RecordPart& part) {
        part.CheckKeys({"pan", "multispectral", "infrared"});
        record.pair.pan = ReadInput(part.Get("pan"));
        for (const RecordPart& input : part.Get("multispectral").GetList(mostBands))
            record.pair.multispectral.push_back(ReadInput(input));
        if (record.pair.multispectral.empty()) part.Get("multispectral").Refuse("is empty");
        if (const auto infrared = part.Find("infrared")) record.pair.infrared = ReadInput(*infrared);
    }

    void ReadPair(const RecordPart& part) {
        part.CheckKeys({"resampling", "shift", "same_corner", "intersection", "ignore_no_data", "bands",
                        "part", "bit_depth", "scale", "no_data", "acquired", "same_first_centre"});
        PairRequest& pair = record.pair;
        const std::string resampling = part.Get("resampling").GetText();
        for (const hostkit::Resampling known : {hostkit::Resampling::Bilinear, hostkit::Resampling::Cubic})
            if (resampling == hostkit::NameOf(known)) pair.resampling = known;
        if (resampling != hostkit::NameOf(pair.resampling))
            part.Get("resampling").Refuse("is neither bilinear nor cubic");
        const auto shift = part.Get("shift").GetArray<2>();
        pair.shift = {shift[0], shift[1]};
        pair.sameCorner = part.Get("same_corner").GetFlag();
        pair.onlyIntersection = part.Get("intersection").GetFlag();
        pair.ignoreNoData = part.Get("ignore_no_data").GetFlag();
        if (const auto bands = part.Find("bands"))
            for (const RecordPart& band : bands->GetList(mostBands))
                pair.bands.push_back(static_cast<int>(Size(band)));
        TakeArray(part, "part", pair.part);
        TakeArray(part, "scale", pair.scale);
        if (pair.scale && !((*pair.scale)[0] < (*pair.scale)[1])) part.Get("scale").Refuse("does not rise");
        if (const auto depth = part.Find("bit_depth"))
            pair.bitDepth = static_cast<int>(depth->GetWhole(9, 16));
        TakeNumber(part, "no_data", pair.noData);
        if (const auto time = part.Find("acquired")) pair.acquired = time->GetText();
        if (const auto centres = part.Find("same_first_centre")) pair.sameFirstCentre = centres->GetFlag();
    }

    void ReadOutput(const RecordPart& part) {
        part.CheckKeys({"columns", "rows", "bits", "bit_depth", "geotransform", "projection", "bands",
                        "no_data", "alpha"});
        SceneOutput& output = record.output;
        output.columns = Size(part.Get("columns"));
        output.rows = Size(part.Get("rows"));
        output.bits = static_cast<std::uint32_t>(part.Get("bits").GetWhole(8, 16));
        if (output.bits != 8 && output.bits != 16) part.Get("bits").Refuse("is neither 8 nor 16");
        output.bitDepth = static_cast<std::uint32_t>(part.Get("bit_depth").GetWhole(8, output.bits));
        TakeArray(part, "geotransform", output.geoTransform);
        output.projection = part.Get("projection").GetText();
        for (const RecordPart& band : part.Get("bands").GetList(mostBands)) {
            band.CheckKeys({"name", "colour"});
            output.bandNames.push_back(band.Get("name").GetText());
            output.colours.push_back(band.Get("colour").GetText());
        }
        if (output.bandNames.empty()) part.Get("bands").Refuse("is empty");
        if (const auto value = part.Find("no_data"))
            output.noData = static_cast<std::uint32_t>(value->GetWhole(0, (1u << output.bits) - 1));
        output.hasAlpha = part.Get("alpha").GetFlag();
    }

    void ReadFound(const RecordPart& part) {
        part.CheckKeys({"weights", "detail", "collars", "warnings"});
        if (const auto weights = part.Find("weights")) ReadFit(*weights);
        if (const auto detail = part.Find("detail")) ReadDetail(*detail);
        const std::size_t mostImages = record.pair.multispectral.size() + 2; // pan and infrared
        std::size_t left = mostPackedInAll;
        for (const RecordPart& collar : part.Get("collars").GetList(mostImages))
            record.found.collars.push_back(collar.IsNull() ? nullptr : CollarFromJson(collar, left));
        for (const RecordPart& warning : part.Get("warnings").GetList(mostBands))
            record.warnings.push_back(warning.GetText());
    }
    void ReadFit(const RecordPart& part) {
        part.CheckKeys({"r_squared", "samples", "correlations", "infrared_correlation"});
        WeightFit& fit = record.found.fit.emplace();
        fit.rSquared = part.Get("r_squared").GetNumber();
        fit.samples = part.Get("samples").GetWhole(0, std::numeric_limits<std::uint64_t>::max());
        fit.correlations = part.Get("correlations").GetNumbers(mostBands);
        TakeNumber(part, "infrared_correlation", fit.infraredCorrelation);
    }
    void ReadDetail(const RecordPart& part) {
        part.CheckKeys({"gains_given", "samples", "blur", "published_modulation_transfer",
                        "ergas_one_scale_down", "plain_ergas_one_scale_down"});
        DetailFit& detail = record.found.detail.emplace();
        detail.areGainsGiven = part.Get("gains_given").GetFlag();
        detail.samples = part.Get("samples").GetWhole(0, std::numeric_limits<std::uint64_t>::max());
        if (const auto blur = part.Find("blur")) {
            blur->CheckKeys({"modulation_transfer", "r_squared", "samples", "obstacle"});
            detail.blur = fitting::BlurFit{
                blur->Get("modulation_transfer").GetNumber(), blur->Get("r_squared").GetNumber(),
                blur->Get("samples").GetWhole(0, std::numeric_limits<std::uint64_t>::max()),
                blur->Get("obstacle").GetText()};
        }
        TakeNumber(part, "published_modulation_transfer", detail.publishedTransfer);
        TakeNumber(part, "ergas_one_scale_down", detail.error);
        TakeNumber(part, "plain_ergas_one_scale_down", detail.plainError);
        if (detail.error.has_value() != detail.plainError.has_value())
            part.Refuse("has one of the two errors one scale down without the other");
    }

    /// Weights, or blur and gains, with the notes about how they were found.
    void ReadFusion(const RecordPart& part) {
        part.CheckKeys({"method", "weights", "infrared_weight", "modulation_transfer", "gains",
                        "low_pass_mean", "properties"});
        FusionRequest& fusion = record.fusion;
        fusion.method = part.Get("method").GetText();
        if (fusion.method.empty()) part.Get("method").Refuse("is empty");
        fusion.weightSource = WeightSource::Equal; // nothing is to be fitted
        if (const auto weights = part.Find("weights")) fusion.weights = weights->GetNumbers(mostBands);
        TakeNumber(part, "infrared_weight", fusion.infraredWeight);
        for (const RecordPart& property : part.Get("properties").GetList(mostBands)) {
            property.CheckKeys({"name", "value"});
            fusion.properties.emplace_back(property.Get("name").GetText(), property.Get("value").GetText());
        }
        if (auto& fit = record.found.fit) {
            if (fit->correlations.size() != fusion.weights.size())
                part.Refuse("has another number of weights than found.weights has correlations");
            fit->weights = fusion.weights;
            fit->infraredWeight = fusion.infraredWeight;
        }
        if (record.found.detail) ReadGains(part, *record.found.detail);
    }
    void ReadGains(const RecordPart& part, DetailFit& detail) {
        detail.transfer = part.Get("modulation_transfer").GetNumber();
        for (const RecordPart& gains : part.Get("gains").GetList(mostBands)) {
            const auto of = gains.GetArray<2>();
            detail.gains.push_back({of[0], of[1]});
        }
        const std::string fault = fitting::FindFault({detail.transfer, detail.gains}, detail.gains.size());
        if (!fault.empty()) part.Refuse("cannot be: " + fault);
        detail.lowPassMean = part.Get("low_pass_mean").GetNumber();
        record.fusion.transfer = detail.transfer;
        record.fusion.gains = detail.gains;
    }

    [[nodiscard]] FileFingerprint ReadFingerprint(const RecordPart& part) const {
        part.CheckKeys({"path", "relative", "columns", "rows", "bands", "type", "geotransform", "projection",
                        "control_points", "transparency", "bytes", "content"});
        FileFingerprint print;
        print.name = ReadName(part);
        print.columns = Size(part.Get("columns"));
        print.rows = Size(part.Get("rows"));
        print.bands = Size(part.Get("bands"));
        print.type = part.Get("type").GetText();
        TakeArray(part, "geotransform", print.geoTransform);
        print.projection = part.Get("projection").GetText();
        print.controlPoints = Size(part.Get("control_points"), 0);
        print.transparency = static_cast<std::uint32_t>(part.Get("transparency").GetWhole(0, print.bands));
        print.bytes = part.Get("bytes").GetWhole(0, std::numeric_limits<std::uint64_t>::max());
        if (const auto content = part.Find("content")) print.content = content->GetText(16);
        return print;
    }
    /// Checks that every input has a fingerprint with its bands, and that there is no other fingerprint.
    void CheckFiles(const RecordPart& part) {
        std::map<std::string, std::uint32_t> bandsOf;
        std::set<std::string> inputs;
        for (const FileFingerprint& print : record.files) {
            bandsOf[print.name] = print.bands;
            record.pair.transparency[print.name] = static_cast<int>(print.transparency);
        }
        const auto check = [&](const InputBand& input) {
            const auto print = bandsOf.find(input.file);
            if (print == bandsOf.end()) part.Refuse("lacks the input '" + input.file + "'");
            inputs.insert(input.file);
            if (input.band && static_cast<std::uint32_t>(*input.band) > print->second)
                part.Refuse("knows no band " + std::to_string(*input.band) + " of '" + input.file + "'");
        };
        check(record.pair.pan);
        for (const InputBand& input : record.pair.multispectral)
            check(input);
        if (record.pair.infrared) check(*record.pair.infrared);
        for (const FileFingerprint& print : record.files)
            if (inputs.count(print.name) == 0)
                part.Refuse("names '" + print.name + "', which is not an input");
    }

    const std::string& file;
    SceneRecord& record;
};

} // namespace

void FillRecord(const RecordPart& object, const std::string& file, SceneRecord& record) {
    RecordReader(file, record).Read(object);
}

} // namespace rasterhost
