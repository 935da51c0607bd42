#include "cli/SceneInput.h"

#include "cli/ExitCode.h"
#include "fundament/Text.h"
#include "rasterhost/serving/SceneFile.h"

namespace cli {

using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Fundament::StringsEqual;
using KOVA::Tessara::Fundament::ToLower;

namespace {

constexpr const char* sceneFormat = "PANSHARP";

} // namespace

bool IsSceneFormat(const std::string& format) { return StringsEqual(format, sceneFormat, true); }

bool NamesScene(const std::string& name) {
    return ToLower(name).ends_with(sceneEnding) || rasterhost::IsSceneFile(name);
}

void TakeScene(const std::string& file, const CommandLine& line, Arguments& to) {
    const bool writesPixels =
        line.GetCommand().name == "sharpen"; // programs that open a scene rely on its bands
    bool choosesBands = false;
    for (const OptionEntry& option : line.GetCommand().options) {
        if (!SaysHowToFuse(option) || !line.Has(option)) continue;
        choosesBands = choosesBands || ChoosesBands(option);
        if (!writesPixels || !ChoosesBands(option))
            throw UsageError(
                std::string(option.Key()) + ": '" + file +
                "' already says how the scene is fused; leave the option out, or name the images "
                "in place of the description");
    }
    Status status;
    rasterhost::SceneRecord record;
    if (!rasterhost::ReadSceneFile(file, record, status)) throw UsageError(status.GetItem(0).message);
    const rasterhost::SharpenRequest request = rasterhost::RequestOf(record);
    static_cast<rasterhost::PairRequest&>(to) = static_cast<const rasterhost::PairRequest&>(request);
    static_cast<rasterhost::FusionRequest&>(to) = static_cast<const rasterhost::FusionRequest&>(request);
    to.alpha = request.alpha;
    if (choosesBands) to.bands.clear(); // the option's reader sets them
    to.otherFiles.emplace_back(file, "the description of the scene");
    to.scene = std::move(record);
}

bool WritesScene(const Arguments& request) {
    const bool isScene = request.format.empty() ? ToLower(request.output).ends_with(sceneEnding)
                                                : IsSceneFormat(request.format);
    if (!isScene) return false;
    if (request.scene)
        throw UsageError(
            "-o: '" + request.output +
            "' would describe a scene that already has a description; copy that file, or name the images");
    if (request.preview)
        throw UsageError("--preview: a description has no pixels to make a picture of; leave it out");
    if (request.window)
        throw UsageError(
            "--srcwin: a description is of the whole scene; give the window when you read the description");
    if (!request.metadata.empty())
        throw UsageError("--mo: a description has no metadata of its own; leave it out");
    if (request.isPicture) throw UsageError("--byte: a description has no pixels to stretch; leave it out");
    return true;
}

bool WriteScene(const Arguments& request, rasterhost::SharpenReport& report, Status& status) {
    rasterhost::SceneRecord record;
    if (!rasterhost::CheckSceneFile(request, status) ||
        !rasterhost::RecordScene(request, record, report, status))
        return false;
    report.format = sceneFormat;
    const auto warn = [&](const std::string& text) {
        report.warnings.push_back(text);
        if (request.warn) request.warn(text);
    };
    return rasterhost::WriteSceneFile(record, request, warn, status);
}

} // namespace cli
