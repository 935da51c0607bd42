#include "view/ViewedScene.h"

#include "fundament/Numbers.h"
#include "hostkit/Coarsening.h"
#include "hostkit/MethodTable.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/requests/Operation.h"
#include "rasterhost/serving/LevelImage.h"
#include "rasterhost/serving/RecordedScene.h"
#include "view/BadRequest.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace view {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::NumberText;
using rasterhost::Preparation;
using rasterhost::SharpenRequest;
using rasterhost::Status;

namespace {

/// A key of the settings that identify a pair.
std::string KeyOfPair(const SharpenRequest& request) {
    std::string key = hostkit::NameOf(request.resampling);
    if (request.infrared) key += " infrared";
    for (const int band : request.bands)
        key += " " + std::to_string(band);
    return key;
}

/// A key of the settings that identify how a pair is fused.
std::string KeyOf(const SharpenRequest& request) {
    std::string key = KeyOfPair(request) + "|" + request.method;
    for (const double weight : request.weights)
        key += " " + NumberText(weight);
    if (request.infraredWeight) key += " infrared " + NumberText(*request.infraredWeight);
    if (request.transfer) key += " mtf " + NumberText(*request.transfer);
    for (const auto& [gain, ratioGain] : request.gains)
        key += " " + NumberText(gain) + ":" + NumberText(ratioGain);
    return key;
}

/// Any method that keeps all bands: without added detail the method is not used.
const char* PlainMethod(const PansharpDescription& plugin) {
    for (const PansharpMethod& method : hostkit::MethodsOf(plugin))
        if (method.fusedBands == 0 && method.minimumBands <= 1 && !hostkit::UsesLowPass(method))
            return method.keyword;
    return "";
}

/// True for an empty list, and for one of all bands in order.
bool NamesAll(const std::vector<int>& bands, std::size_t all) {
    int next = 1;
    return bands.empty() || (bands.size() == all && std::all_of(bands.begin(), bands.end(),
                                                                [&](int band) { return band == next++; }));
}

void Ignore(const std::string&) {}

} // namespace

std::uint32_t Pixels::GetSample(std::size_t pixel, std::uint32_t band) const {
    const std::size_t at = pixel * bands + band;
    if (bits == 8) return samples[at];
    unsigned short value;
    std::memcpy(&value, samples.data() + at * sizeof value, sizeof value);
    return value;
}

std::unique_ptr<ViewedScene> ViewedScene::Open(const SharpenRequest& request,
                                               const rasterhost::SceneRecord* record, std::size_t threads,
                                               const rasterhost::Warn& warn, Status& status) {
    std::unique_ptr<ViewedScene> scene;
    double seconds = 0.0;
    const bool isOpen = rasterhost::RunOperation(
        [&] {
            SharpenRequest base = request;
            base.alpha = false;
            base.bands.clear();
            rasterhost::SceneFindings known;
            const std::size_t mostReaders = std::min(threads, mostSets);
            rasterhost::PreparedPair first, second;
            const Preparation prepared =
                record ? rasterhost::PrepareRecorded(*record, request, warn, first, status)
                       : rasterhost::Prepare(request, request, warn, first, status);
            if (prepared != Preparation::Done) return false;
            rasterhost::SettlePair(*first.scene, base);
            if (record) known = record->found;
            known.collars = {first.scene->pan->GetDescription()->collar};
            for (const rasterhost::PlacedImage& image : first.scene->images)
                known.collars.push_back(image.image->GetDescription()->collar);
            // What is settled is not searched again. Each of the two has files of its own.
            const auto open = [&](rasterhost::PreparedPair& into) {
                return rasterhost::Prepare(base, base, Ignore, into, status, &known) == Preparation::Done;
            };
            rasterhost::PreparedPair fitted;
            if (!open(fitted) || !open(second)) return false;
            base.bands = request.bands;
            const PansharpDescription& plugin = first.plugin->GetDescription();
            const PansharpMethod* method = hostkit::FindMethod(plugin, base.method, status);
            if (!method) return false;
            base.method = method->keyword;
            auto opened = std::make_shared<const rasterhost::OpenPair>(std::move(second), mostReaders);
            scene.reset(new ViewedScene(base, std::move(known), std::move(fitted), std::move(opened)));
            return true;
        },
        seconds, status);
    return isOpen ? std::move(scene) : nullptr;
}

ViewedScene::ViewedScene(SharpenRequest base, rasterhost::SceneFindings known,
                         rasterhost::PreparedPair fitted, Pair opened)
    : fits(std::move(base), std::move(known), std::move(fitted)), all(std::move(opened)),
      sorted(fits.GetBands() + 1) {}

unsigned ViewedScene::GetCoarsest() const {
    unsigned level = 0;
    while (hostkit::CoarseCount(std::max(GetColumns(), GetRows()), level) > tileSize)
        ++level;
    return level;
}

/// The caller holds the lock.
ViewedScene::Opened& ViewedScene::GetOpened(const SharpenRequest& request) {
    const SharpenRequest& base = GetBase();
    if (NamesAll(request.bands, GetBands()) && request.resampling == base.resampling &&
        request.infrared.has_value() == base.infrared.has_value())
        return all;
    return *others.Get(KeyOfPair(request), [&] {
        return std::make_shared<Opened>(std::make_shared<const rasterhost::OpenPair>(
            fits.OpenAgain(request), all.pair->GetMostReaders()));
    });
}

ViewedScene::Dataset ViewedScene::Make(const Settled& settled, bool isPlain) {
    const std::scoped_lock lock(mutex);
    Opened& from = GetOpened(settled.request);
    return from.datasets.Get(KeyOf(settled.request) + (isPlain ? " plain" : ""), [&] {
        rasterhost::Fusion fusion;
        Status status;
        if (!rasterhost::MakeFusion(settled.request, from.pair->GetScene(), GetPlugin(), settled.found,
                                    fusion, status))
            ThrowFailure(status, 400);
        fusion.isPlain = isPlain;
        return std::make_shared<const rasterhost::SharpenedDataset>(from.pair, fusion);
    });
}

ViewedScene::Dataset ViewedScene::GetDataset(const Look& look) {
    if (look.layer == Layer::Sharpened) return Make(Settle(look), false);
    Look plain;
    plain.method = PlainMethod(GetPlugin());
    plain.sampling = look.sampling;
    plain.bands = look.bands;
    plain.weights.assign(GetBands(), 1.0);
    if (GetBase().infrared) plain.infraredWeight = 0.0;
    return Make(Settle(plain), true);
}

Pixels ViewedScene::Read(const Look& look, unsigned level, const PixelRect& rect) {
    if (look.layer == Layer::Pan) return ReadPan(level, rect);
    const Dataset dataset = GetDataset(look);
    Pixels pixels{rect.GetColumns(), rect.GetRows(), dataset->GetBands(), dataset->GetBits(), {}, {}};
    const std::size_t count = std::size_t{pixels.columns} * pixels.rows;
    const std::size_t sampleBytes = pixels.bits / 8, pixelBytes = sampleBytes * pixels.bands;
    pixels.samples.resize(count * pixelBytes);
    if (dataset->MayLackData()) pixels.valid.resize(count);
    std::vector<std::uint32_t> bands(pixels.bands);
    std::iota(bands.begin(), bands.end(), 0u);
    const auto stride = [](std::size_t bytes) { return static_cast<std::ptrdiff_t>(bytes); };
    const auto atFullSize = [level](std::uint32_t end, std::uint32_t size) {
        return static_cast<std::uint32_t>(std::min<std::uint64_t>(std::uint64_t{end} << level, size));
    };
    const PixelRect window{rect.col0 << level, rect.row0 << level, atFullSize(rect.col1, GetColumns()),
                           atFullSize(rect.row1, GetRows())};
    Status status;
    if (!dataset->Read(window, pixels.columns, pixels.rows, bands,
                       {pixels.samples.data(), stride(pixelBytes), stride(pixelBytes * pixels.columns),
                        stride(sampleBytes), pixels.valid.empty() ? nullptr : pixels.valid.data()},
                       status))
        ThrowFailure(status, 500);
    return pixels;
}

Pixels ViewedScene::ReadPan(unsigned level, const PixelRect& rect) {
    const rasterhost::Scene& scene = GetScene();
    const auto& description = scene.pan->GetDescription();
    Pixels pixels{rect.GetColumns(), rect.GetRows(), 1, description->info.bitsPerBand, {}, {}};
    const std::size_t count = std::size_t{pixels.columns} * pixels.rows;
    pixels.samples.resize(count * (pixels.bits / 8));
    if (description->MayLackData()) pixels.valid.resize(count);
    PixelRect onImage = rect;
    if (level == 0)
        onImage = {rect.col0 + scene.part.col0, rect.row0 + scene.part.row0, rect.col1 + scene.part.col0,
                   rect.row1 + scene.part.row0};
    Status status;
    const auto lent = all.pair->Lend(status);
    if (!lent) ThrowFailure(status, 500);
    rasterhost::LevelImage image(description, scene.part, level, &all.pair->GetStore(0));
    image.ReadFrom(*lent->images[0]);
    if (!image.Read(onImage, pixels.samples.data(), status) ||
        (!pixels.valid.empty() &&
         !image.ReadValid(onImage, pixels.samples.data(), pixels.valid.data(), status)))
        ThrowFailure(status, 500);
    return pixels;
}

/// Appends all samples of the look's bands; those from `first` on must then be sorted. May read the whole
/// files, and stops when the run ends.
void ViewedScene::Gather(const Look& look, std::size_t first) {
    constexpr std::uint32_t strip = 16;
    const unsigned level = GetCoarsest();
    const std::uint32_t columns = hostkit::CoarseCount(GetColumns(), level),
                        rows = hostkit::CoarseCount(GetRows(), level);
    std::vector<std::vector<unsigned short>> found(first == 0 ? 1 : GetBands());
    for (std::uint32_t row = 0; row < rows; row += strip) {
        if (GetBase().progress && !GetBase().progress(0.0))
            throw BadRequest("the server is stopping; start pansharp again", 503);
        const Pixels pixels = Read(look, level, {0, row, columns, std::min(row + strip, rows)});
        const std::size_t count = std::size_t{pixels.columns} * pixels.rows;
        for (std::uint32_t band = 0; band < pixels.bands; ++band)
            for (std::size_t pixel = 0; pixel < count; ++pixel)
                if (pixels.valid.empty() || pixels.valid[pixel] != 0)
                    found[band].push_back(static_cast<unsigned short>(pixels.GetSample(pixel, band)));
    }
    for (std::size_t band = 0; band < found.size(); ++band) {
        if (found[band].empty()) found[band].push_back(0);
        std::sort(found[band].begin(), found[band].end());
        sorted[first + band] = std::move(found[band]);
    }
}

std::pair<double, double> ViewedScene::FindStretch(int band, double percent) {
    const std::scoped_lock lock(stretchMutex);
    if (sorted[static_cast<std::size_t>(band)].empty()) {
        Look look;
        look.layer = band == 0 ? Layer::Pan : Layer::Upsampled;
        look.bands.resize(GetBands());
        std::iota(look.bands.begin(), look.bands.end(), 1);
        Gather(look, band == 0 ? 0 : 1);
    }
    const auto& samples = sorted[static_cast<std::size_t>(band)];
    const auto at = [&](double share) {
        return static_cast<double>(
            samples[static_cast<std::size_t>(share * static_cast<double>(samples.size() - 1))]);
    };
    const double low = at(percent / 100.0);
    return {low, std::max(at(1.0 - percent / 100.0), low + 1.0)};
}

} // namespace view
