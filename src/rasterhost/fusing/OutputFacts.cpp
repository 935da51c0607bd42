#include "rasterhost/fusing/OutputFacts.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"

#include <algorithm>
#include <cstring>

namespace rasterhost {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::NumberText;
using KOVA::Tessara::Global::NameValueMap;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

/// An image with the description of another and samples of 0. Reads nothing.
class BlankImage final : public hostkit::ImageSource {
public:
    explicit BlankImage(const ImageSource& image) : like(image) {}

    [[nodiscard]] const RasterInfo& GetInfo() const override { return like.GetInfo(); }
    [[nodiscard]] std::string GetName() const override { return like.GetName(); }
    [[nodiscard]] bool MayLackData() const override { return false; }
    [[nodiscard]] bool Read(const PixelRect& rect, unsigned char* out, Status&) override {
        const RasterInfo& info = like.GetInfo();
        std::memset(out, 0,
                    std::size_t{rect.GetColumns()} * rect.GetRows() * info.bandsPerPixel *
                        (info.bitsPerBand / 8));
        return true;
    }
    [[nodiscard]] bool ReadValid(const PixelRect& rect, const unsigned char*, unsigned char* valid,
                                 Status&) override {
        std::memset(valid, 0xFF, std::size_t{rect.GetColumns()} * rect.GetRows());
        return true;
    }

private:
    const ImageSource& like;
};

/// The process's metadata after fusing: it fuses one pixel, whose samples do not matter.
bool AskProcess(FusionSources sources, const hostkit::PluginLibrary& plugin, const ProcessSettings& settings,
                NameValueMap& facts, Status& status) {
    std::vector<std::unique_ptr<BlankImage>> blanks;
    const auto blank = [&](const hostkit::ImageSource& image) {
        return blanks.emplace_back(std::make_unique<BlankImage>(image)).get();
    };
    sources.pan = blank(*sources.pan);
    for (PlacedSource& source : sources.coarse)
        source.image = blank(*source.image);
    const PixelRect& covered = sources.covered;
    const PixelRect pixel{covered.col0, covered.row0, covered.col0 + 1, covered.row0 + 1};
    FusionSlot slot(std::move(sources), plugin, settings, status);
    if (!slot.Init(status) || !slot.Read(pixel, status) || !slot.Fuse([](const FusedRow&) {}, status))
        return false;
    facts = slot.GetMetadata();
    return true;
}

/// Adds the process's metadata, with sizes of the window replaced by those of the scene.
void AddFacts(const NameValueMap& facts, const RasterInfo& pan, const RasterInfo& ms,
              OutputMetadata& metadata) {
    const std::pair<const char*, std::string> replaced[] = {{"PanNCols", FormatString("%u", pan.cols)},
                                                            {"PanNRows", FormatString("%u", pan.rows)},
                                                            {"MSNCols", FormatString("%u", ms.cols)},
                                                            {"MSNRows", FormatString("%u", ms.rows)},
                                                            {"PanExtents", {}},
                                                            {"MSExtents", {}},
                                                            {"channelWeights", {}}};
    for (const auto& [name, value] : facts) {
        const auto scenes = std::find_if(std::begin(replaced), std::end(replaced),
                                         [&key = name](const auto& entry) { return key == entry.first; });
        const std::string& text = scenes == std::end(replaced) ? value : scenes->second;
        if (!text.empty()) metadata.emplace_back(name, text);
    }
}

std::string ListText(const std::vector<double>& numbers) {
    std::string text;
    for (const double number : numbers)
        text += (text.empty() ? "" : ", ") + NumberText(number);
    return text;
}

void AddFit(const WeightFit& fit, OutputMetadata& metadata) {
    metadata.emplace_back("FitRSquared", NumberText(fit.rSquared));
    metadata.emplace_back("FitSamples", FormatString("%.0f", static_cast<double>(fit.samples)));
    metadata.emplace_back("FitCorrelations", ListText(fit.correlations));
    if (fit.infraredCorrelation)
        metadata.emplace_back("FitInfraredCorrelation", NumberText(*fit.infraredCorrelation));
}

void AddDetail(const DetailFit& detail, OutputMetadata& metadata) {
    std::vector<double> gains, ratioGains;
    for (const BandGains& of : detail.gains) {
        gains.push_back(of.gain);
        ratioGains.push_back(of.ratioGain);
    }
    metadata.emplace_back("ModulationTransfer", NumberText(detail.transfer));
    metadata.emplace_back("EffectiveGains", ListText(gains));
    metadata.emplace_back("EffectiveRatioGains", ListText(ratioGains));
    if (detail.blur) metadata.emplace_back("BlurRSquared", NumberText(detail.blur->rSquared));
    if (!detail.error) return;
    metadata.emplace_back("ErgasOneScaleDown", NumberText(*detail.error));
    metadata.emplace_back("PlainErgasOneScaleDown", NumberText(*detail.plainError));
}

} // namespace

bool DescribeFusion(const FusionSources& sources, const hostkit::PluginLibrary& plugin,
                    const ProcessSettings& settings, const SceneFindings& found, const char* softwareItem,
                    OutputMetadata& metadata, Status& status) {
    NameValueMap facts;
    if (!AskProcess(sources, plugin, settings, facts, status)) return false;
    AddFacts(facts, sources.pan->GetInfo(), sources.coarse.front().image->GetInfo(), metadata);
    metadata.emplace_back("Method", settings.method);
    if (!settings.effectiveWeights.empty())
        metadata.emplace_back("EffectiveWeights", ListText(settings.effectiveWeights));
    if (settings.infraredWeight)
        metadata.emplace_back("EffectiveInfraredWeight", NumberText(*settings.infraredWeight));
    if (found.fit) AddFit(*found.fit, metadata);
    if (found.detail) AddDetail(*found.detail, metadata);
    metadata.emplace_back(softwareItem, FormatString("pansharp %s", PANSHARP_VERSION));
    return true;
}

} // namespace rasterhost
