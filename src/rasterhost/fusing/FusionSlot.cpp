#include "rasterhost/fusing/FusionSlot.h"

#include "imagery/RowValidity.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace rasterhost {

using hostkit::PixelRect;

FusionSources SourcesOf(const Scene& scene) {
    return {scene.pan.get(), scene.GetSources(), scene.part,
            scene.covered,   scene.resampling,   static_cast<std::uint32_t>(scene.bandOrder.size())};
}

bool MayLackData(const FusionSources& sources) {
    return sources.covered != sources.part || sources.pan->MayLackData() ||
           std::ranges::any_of(sources.coarse, &PlacedSource::LeavesGaps);
}

FusionSlot::FusionSlot(FusionSources fusionSources, const hostkit::PluginLibrary& plugin,
                       const ProcessSettings& settings, Status& creation)
    : from(std::move(fusionSources)), pan(*from.pan),
      worker(plugin, settings.properties, from.pan->GetInfo(), pan, creation),
      outputBands(settings.outputBands) {
    if (settings.lowPass) lowPass.emplace(settings.lowPass, from.pan->GetInfo(), from.resampling);
    for (const PlacedSource& source : from.coarse)
        sources.push_back(std::make_unique<Source>(source));
}

bool FusionSlot::Init(Status& status) {
    mayLackData = MayLackData(from);
    return from.isPlain || worker.Start(status);
}

namespace {

bool ReadRect(const hostkit::ImageSource& image, hostkit::SourceRaster& raster, const PixelRect& rect,
              Status& status) {
    if (raster.SetWindow(rect.col0, rect.row0, rect.col1, rect.row1) != 0) return true;
    if (raster.GetStatus().GetCount() == 0) throw std::bad_alloc(); // caught at the plug-in's border
    Fail(status, HostStatus::InputNotRead, "%s cannot be read", image.GetName().c_str());
    status.Append(raster.GetStatus());
    return false;
}

} // namespace

bool FusionSlot::Needs(const PlacedSource& source) const {
    return want == Want::Pixels || source.LeavesGaps();
}

bool FusionSlot::Read(const PixelRect& rect, Status& status, Want wanted) {
    want = wanted;
    window = rect;
    inside = {std::max(rect.col0, from.covered.col0), std::max(rect.row0, from.covered.row0),
              std::min(rect.col1, from.covered.col1), std::min(rect.row1, from.covered.row1)};
    if (inside.IsEmpty()) return true;
    const bool isFused = !from.isPlain && want == Want::Pixels;
    if ((isFused || from.pan->MayLackData()) &&
        !ReadRect(*from.pan, pan, isFused && lowPass ? lowPass->SetWindow(window) : window, status))
        return false;
    for (const auto& source : sources) {
        if (!Needs(source->placed)) continue;
        const PixelRect needed = source->placed.placement->FindSource(window, from.resampling);
        if (!ReadRect(*source->placed.image, source->raster, needed, status)) return false;
    }
    return true;
}

void FusionSlot::FindReads(const PixelRect& rect,
                           const std::function<void(hostkit::ImageSource&, const PixelRect&)>& tell) {
    tell(*from.pan, lowPass ? lowPass->SetWindow(rect) : rect);
    for (const auto& source : sources)
        tell(*source->placed.image, source->placed.placement->FindSource(rect, from.resampling));
}

/// Opens the window over the samples that were read.
bool FusionSlot::OpenSources(Status& status) {
    openedWindows.clear();
    for (const auto& source : sources) {
        const PlacedSource& placed = source->placed;
        source->opened.reset();
        if (!Needs(placed)) continue;
        source->opened = placed.placement->Open(window, placed.image->GetInfo(), source->raster.GetBlock(),
                                                from.resampling, status);
        if (!source->opened) return false;
        openedWindows.push_back(source->opened.get());
    }
    return true;
}

/// Puts the opened windows into the workspace.
bool FusionSlot::OfferSources(Status& status) {
    if (lowPass) lowPass->Offer(pan.GetBlock(), worker.GetWorkspace());
    if (from.isPlain) {
        plain = hostkit::JoinBands(Gather(Role::Multispectral).opened);
        return true;
    }
    OfferImage(hostkit::multispectralId, Role::Multispectral);
    OfferImage(hostkit::infraredId, Role::Infrared);
    return worker.OpenWindow(window, status);
}

/// The images of a role as one, with the description of the first.
hostkit::SourceImage FusionSlot::Gather(Role role) const {
    hostkit::SourceImage image;
    for (const auto& source : sources) {
        const PlacedSource& placed = source->placed;
        if (placed.role != role) continue;
        if (image.opened.empty()) image.info = placed.placement->Describe(placed.image->GetInfo());
        image.opened.push_back({source->opened, placed.bands});
    }
    if (image.opened.size() > 1) {
        image.info.bandsPerPixel = from.bands;
        image.info.colorSpace = 1;
    }
    image.window = window;
    return image;
}

/// Puts the images of a role into the workspace.
void FusionSlot::OfferImage(const char* id, Role role) {
    const hostkit::SourceImage image = Gather(role);
    if (!image.opened.empty()) worker.GetWorkspace().SetImage(id, image);
}

const unsigned char* FusionSlot::GetRow(std::uint32_t row, Status& status) {
    if (!from.isPlain) return worker.GetRow(row, status);
    const unsigned char* samples = plain->GetRow(row - window.row0);
    if (!samples) status.Append(plain->GetStatus());
    if (!samples || outputBands == from.bands) return samples;
    return from.pan->GetInfo().bitsPerBand == 8 ? KeepWritten<unsigned char>(samples)
                                                : KeepWritten<unsigned short>(samples);
}

/// Copies the first bands of a row: those that are written.
template <class T>
const unsigned char* FusionSlot::KeepWritten(const unsigned char* samples) {
    const auto* in = reinterpret_cast<const T*>(samples);
    plainSamples.resize(std::size_t{window.GetColumns()} * outputBands);
    T* out = reinterpret_cast<T*>(plainSamples.data());
    for (std::size_t column = 0; column < window.GetColumns(); ++column, in += from.bands)
        out = std::copy_n(in, outputBands, out);
    return reinterpret_cast<const unsigned char*>(plainSamples.data());
}

bool FusionSlot::Fuse(const RowSink& sink, Status& status) {
    const std::size_t columns = window.GetColumns();
    if (mayLackData) valid.resize(std::max(valid.size(), columns));
    if (!inside.IsEmpty()) {
        if (!OpenSources(status) || (want == Want::Pixels && !OfferSources(status))) return false;
    }
    for (FusedRow row{window.row0}; row.number < window.row1; ++row.number) {
        row.samples = nullptr;
        if (want == Want::Pixels && HoldsRow(row.number)) {
            row.samples = GetRow(row.number, status);
            if (!row.samples) return false;
        }
        // After the process, which may set another window of pan, whose bytes these may be.
        row.valid = mayLackData ? FindValid(row.number) : nullptr;
        sink(row);
    }
    return true;
}

bool FusionSlot::HoldsRow(std::uint32_t row) const {
    return !inside.IsEmpty() && row >= inside.row0 && row < inside.row1;
}

/// Finds which pixels of a row have data in all images. Null when all have.
const unsigned char* FusionSlot::FindValid(std::uint32_t row) {
    const std::size_t columns = window.GetColumns();
    if (!HoldsRow(row)) {
        std::memset(valid.data(), 0, columns);
        return valid.data();
    }
    const unsigned char* found =
        imagery::FindRowValidity(pan.GetBlock(), window, row, openedWindows, valid.data());
    const std::size_t before = inside.col0 - window.col0, after = window.col1 - inside.col1;
    if (before == 0 && after == 0) return found;
    if (!found)
        std::memset(valid.data(), 0xFF, columns);
    else if (found != valid.data())
        std::memcpy(valid.data(), found, columns);
    std::memset(valid.data(), 0, before);
    std::memset(valid.data() + columns - after, 0, after);
    return valid.data();
}

bool TryOneRow(const Scene& scene, const hostkit::PluginLibrary& plugin, const ProcessSettings& settings,
               Status& status, const std::function<void(FusionSlot&)>& ask) {
    FusionSlot slot(SourcesOf(scene), plugin, settings, status);
    PixelRect row = scene.part;
    row.row0 = scene.covered.row0;
    row.row1 = row.row0 + 1;
    if (!slot.Init(status)) return false;
    if (ask) ask(slot);
    return slot.Read(row, status) && slot.Fuse([](const FusedRow&) {}, status);
}

} // namespace rasterhost
