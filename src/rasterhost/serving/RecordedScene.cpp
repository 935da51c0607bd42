#include "rasterhost/serving/RecordedScene.h"

#include "hostkit/MethodTable.h"
#include "rasterhost/fusing/FusionFit.h"
#include "rasterhost/fusing/FusionSlot.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/reading/NetworkFile.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/requests/Operation.h"
#include "rasterhost/serving/SceneFile.h"
#include "rasterhost/writing/OutputCheck.h"
#include "rasterhost/writing/OutputDescription.h"
#include "rasterhost/writing/OutputPlan.h"

#include <gdal_priv.h>

#include <algorithm>
#include <map>

namespace rasterhost {

using imagery::OutputRules;

namespace {

using OpenFiles = std::vector<std::pair<std::string, GDALDataset*>>;

std::vector<InputImage*> ImagesOf(const Scene& scene) {
    std::vector<InputImage*> images{scene.pan.get()};
    for (const PlacedImage& coarse : scene.images)
        images.push_back(coarse.image.get());
    return images;
}

/// Each file of a scene, once.
OpenFiles FilesOfScene(const Scene& scene) {
    std::map<std::string, GDALDataset*> known;
    OpenFiles files;
    for (const InputImage* image : ImagesOf(scene))
        for (const auto& [name, dataset] : image->GetDatasets())
            if (known.emplace(name, dataset).second) files.emplace_back(name, dataset);
    return files;
}

std::vector<FileFingerprint> TakeFingerprints(const Scene& scene, bool withContent) {
    std::vector<FileFingerprint> prints;
    for (const auto& [name, dataset] : FilesOfScene(scene))
        prints.push_back(TakeFingerprint(name, *dataset, withContent));
    for (FileFingerprint& print : prints)
        for (const InputImage* image : ImagesOf(scene)) {
            const auto& found = image->GetDescription()->transparency;
            if (const auto band = found.find(print.name); band != found.end())
                print.transparency = static_cast<std::uint32_t>(band->second);
        }
    return prints;
}

/// Makes a record, from the open scene.
class Recording {
public:
    Recording(const SharpenRequest& sharpenRequest, SceneRecord& sceneRecord, SharpenReport& sharpenReport,
              Status& recordStatus, bool isToBeKept)
        : request(sharpenRequest), record(sceneRecord), report(sharpenReport), status(recordStatus),
          isKept(isToBeKept) {}

    bool Run() {
        const Warn warn = [this](const std::string& text) {
            report.warnings.push_back(text);
            if (request.warn) request.warn(text);
        };
        const Preparation preparation = Prepare(request, request, warn, pair, status);
        report.cancelled = preparation == Preparation::Cancelled;
        if (preparation != Preparation::Done || !CheckSources(FilesOfScene(*pair.scene), false, status) ||
            !MakeSettings(request, *pair.scene, pair.plugin->GetDescription(), nullptr, settings, status))
            return false;
        settings.Narrow(*pair.scene);
        if (!FitFusion(request, pair, nullptr, settings, record.found, warn, status) ||
            !TryOneRow(*pair.scene, *pair.plugin, settings, status))
            return false;
        FillReport(request, pair, settings, record.found, report);
        for (const InputImage* image : ImagesOf(*pair.scene))
            record.found.collars.push_back(image->GetDescription()->collar);
        record.output = DescribeResult(*pair.scene, MakeOutputRules(request, *pair.scene));
        record.files = TakeFingerprints(*pair.scene, isKept);
        record.warnings = report.warnings;
        record.writer = std::string("pansharp ") + PANSHARP_VERSION;
        Resolve();
        return true;
    }

private:
    /// Stores what was found for what the request leaves open.
    void Resolve() {
        SettlePair(*pair.scene, request);
        request.method = settings.method;
        if (request.weights.empty() && !record.found.detail) TakeEqualWeights();
        if (record.found.detail) {
            request.transfer = record.found.detail->transfer;
            request.gains = record.found.detail->gains;
        }
        record.pair = static_cast<const PairRequest&>(request);
        record.fusion = static_cast<const FusionRequest&>(request);
        for (const FileFingerprint& print : record.files)
            record.pair.transparency[print.name] = static_cast<int>(print.transparency);
    }
    /// The process's default weights: 1 / n each, the infrared band counted.
    void TakeEqualWeights() {
        Status known; // cannot fail: the method was found before
        const PansharpMethod* method =
            hostkit::FindMethod(pair.plugin->GetDescription(), settings.method, known);
        request.weightSource = WeightSource::Equal;
        if (!method || !hostkit::WeighsBands(*method)) return;
        const double equal = 1.0 / static_cast<double>(pair.scene->CountBands());
        request.weights.assign(pair.scene->bandOrder.size(), equal);
        if (pair.scene->HasInfrared() && !request.infraredWeight) request.infraredWeight = equal;
    }

    SharpenRequest request; ///< with what was chosen
    SceneRecord& record;
    SharpenReport& report;
    Status& status;
    const bool isKept;
    PreparedPair pair;
    ProcessSettings settings;
};

/// Compares open files with their fingerprints.
bool CompareFiles(const SceneRecord& record, const OpenFiles& files, bool withContent, const Warn& warn,
                  Status& status) {
    for (const auto& [name, dataset] : files) {
        const auto before =
            std::find_if(record.files.begin(), record.files.end(),
                         [&own = name](const FileFingerprint& print) { return print.name == own; });
        if (before == record.files.end()) continue; // excluded when the record was read
        const std::string key = "files[" + std::to_string(before - record.files.begin()) + "]";
        if (!CheckFingerprint(*before, TakeFingerprint(name, *dataset, withContent), key, warn, status))
            return false;
    }
    return true;
}

/// Checks that the scene gives the result that the record describes, since readers rely on it.
bool CheckResult(const SceneRecord& record, const Scene& scene, Status& status) {
    const auto same = [&](const char* what, std::size_t recorded, std::size_t is) {
        return recorded == is ||
               Fail(status, HostStatus::InputsDoNotFit,
                    "the description says output.%s %zu, and its inputs give %zu; describe the scene again",
                    what, recorded, is);
    };
    return same("columns", record.output.columns, scene.part.GetColumns()) &&
           same("rows", record.output.rows, scene.part.GetRows()) &&
           same("bits", record.output.bits, scene.pan->GetInfo().bitsPerBand) &&
           same("bit_depth", record.output.bitDepth, scene.bitDepth);
}

bool CheckInput(const SceneRecord& record, const FileFingerprint& before, const Warn& warn, Status& status) {
    const GdalErrors errors;
    const FileState state = LookAt(before.name);
    const bool isPipe = state.exists && !state.isFile && !state.isFolder;
    const GDALDatasetUniquePtr dataset(isPipe ? nullptr : OpenRaster(before.name, true));
    if (!dataset)
        return Fail(status, HostStatus::InputNotOpened,
                    "'%s', an input of the description, cannot be opened; was it moved or removed?%s",
                    before.name.c_str(), errors.Reason().c_str());
    const OpenFiles files{{before.name, dataset.get()}};
    return CompareFiles(record, files, false, warn, status) && CheckSources(files, true, status);
}

/// With `withContent` all bytes of the inputs are read, for a run that follows and gives warnings about the
/// scene itself.
Preparation PrepareChecked(const SceneRecord& record, const RunOptions& run, bool withContent,
                           const Warn& warn, PreparedPair& pair, Status& status) {
    const Warn ignore = [](const std::string&) {};
    Status opening;
    if (Prepare(record.pair, run, withContent ? ignore : warn, pair, opening, &record.found) !=
        Preparation::Done) {
        // A changed file is the better explanation than its consequences.
        Status changes;
        const auto isAsBefore = [&](const FileFingerprint& before) {
            return CheckInput(record, before, ignore, changes);
        };
        const bool areSame =
            !pair.plugin || std::all_of(record.files.begin(), record.files.end(), isAsBefore);
        status.Append(areSame ? opening : changes);
        return Preparation::Failed;
    }
    const OpenFiles files = FilesOfScene(*pair.scene);
    return CompareFiles(record, files, withContent, warn, status) && CheckSources(files, true, status) &&
                   CheckResult(record, *pair.scene, status)
               ? Preparation::Done
               : Preparation::Failed;
}

} // namespace

SceneOutput DescribeResult(const Scene& scene, const OutputRules& rules) {
    SceneOutput output;
    output.columns = scene.part.GetColumns();
    output.rows = scene.part.GetRows();
    output.bits = scene.pan->GetInfo().bitsPerBand;
    output.bitDepth = scene.bitDepth;
    output.geoTransform = PlaceOfPart(scene, scene.part);
    output.projection = ToWkt(&ProjectionOf(scene));
    for (std::uint32_t band = 0; band < rules.bands; ++band)
        output.bandNames.push_back(scene.GetBand(band).description);
    for (const GDALColorInterp colour : ColoursOf(scene, rules.bands))
        output.colours.emplace_back(GDALGetColorInterpretationName(colour));
    output.noData = rules.noData;
    output.hasAlpha = rules.hasAlpha;
    return output;
}

bool RecordScene(const SharpenRequest& request, SceneRecord& record, SharpenReport& report, Status& status,
                 bool isToBeKept) {
    record = {};
    report = {};
    double seconds = 0.0;
    const bool isDone = RunOperation(
        [&] { return Recording(request, record, report, status, isToBeKept).Run(); }, seconds, status);
    report.seconds = seconds;
    report.threads = 0; // nothing was fused
    return isDone;
}

void SettlePair(const Scene& scene, PairRequest& request) {
    request.shift = scene.shift;
    request.measureShift = false;
    request.findScale = false;
    if (const auto& scale = scene.sampleOptions.scale) request.scale = {scale->least, scale->greatest};
    if (scene.pan->GetInfo().bitsPerBand == 16 && !request.scale)
        request.bitDepth = static_cast<int>(scene.bitDepth);
}

SharpenRequest RequestOf(const SceneRecord& record) {
    SharpenRequest request;
    static_cast<PairRequest&>(request) = record.pair;
    static_cast<FusionRequest&>(request) = record.fusion;
    request.alpha = record.output.hasAlpha;
    return request;
}

Preparation PrepareRecorded(const SceneRecord& record, const RunOptions& run, const Warn& warn,
                            PreparedPair& pair, Status& status) {
    return PrepareChecked(record, run, false, warn, pair, status);
}

bool CheckInputs(const SceneRecord& record, const RunOptions& run, bool isThorough, const Warn& warn,
                 Status& status) {
    double seconds = 0.0;
    PreparedPair pair;
    return RunOperation(
        [&] { return PrepareChecked(record, run, isThorough, warn, pair, status) == Preparation::Done; },
        seconds, status);
}

} // namespace rasterhost
