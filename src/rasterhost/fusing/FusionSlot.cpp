#include "rasterhost/fusing/FusionSlot.h"

#include "hostkit/AxisPlacement.h"
#include "hostkit/RequestRecord.h"

#include <algorithm>
#include <cstring>

namespace rasterhost {

using hostkit::PixelRect;

FusionSlot::FusionSlot(const Scene& images, std::vector<PlacedSource> placed,
                       const hostkit::PluginLibrary& plugin, const ProcessSettings& settings,
                       const OutputRules& outputRules, Status& creation)
    : scene(images), pan(*images.pan),
      worker(plugin, settings.properties, images.pan->GetInfo(), pan, creation), lowPass(settings.lowPass),
      rules(outputRules),
      pixelBytes(std::size_t{rules.GetFileBands()} * (images.pan->GetInfo().bitsPerBand / 8)) {
    for (PlacedSource& source : placed)
        sources.push_back(std::make_unique<Source>(std::move(source)));
}

/// False when every pixel of the part is known to have data in all images.
bool FusionSlot::MayLackData() const {
    return scene.covered != scene.part || scene.pan->MayLackData() ||
           std::any_of(sources.begin(), sources.end(), [](const auto& source) {
               return !source->placed.placement->RunsAlong() || source->placed.image->MayLackData();
           });
}

bool FusionSlot::Init(std::uint32_t mostRows, const OutputLayout& outputLayout, Status& status) {
    layout = outputLayout;
    const std::size_t tileRows = layout.tileColumns == 0 ? 0 : (mostRows - 1) / layout.tileRows + 1;
    output.resize(layout.tileColumns == 0 ? pixelBytes * scene.part.GetColumns() * mostRows
                                          : TilesAcross() * tileRows * layout.tileRows * TileRowBytes());
    if (MayLackData()) {
        reach.resize(scene.part.GetColumns());
        valid.resize(std::size_t{scene.part.GetColumns()} * mostRows);
    }
    return worker.Start(status);
}

namespace {

bool ReadRect(const hostkit::ImageSource& image, hostkit::SourceRaster& raster, const PixelRect& rect,
              Status& status) {
    if (raster.SetWindow(rect.col0, rect.row0, rect.col1, rect.row1) != 0) return true;
    Fail(status, HostStatus::InputNotRead, "%s cannot be read; is the file complete?",
         image.GetName().c_str());
    status.Append(raster.GetStatus());
    return false;
}

} // namespace

/// Pan in the window, and around it as far as its low-pass reaches.
bool FusionSlot::ReadPan(Status& status) {
    if (!lowPass) return ReadRect(*scene.pan, pan, window, status);
    lowPassRect =
        hostkit::AxisPlacement(scene.pan->GetInfo(), lowPass->GetInfo()).FindSource(window, scene.resampling);
    const PixelRect needed = lowPass->PanRect(lowPassRect);
    const PixelRect all{std::min(window.col0, needed.col0), std::min(window.row0, needed.row0),
                        std::max(window.col1, needed.col1), std::max(window.row1, needed.row1)};
    return ReadRect(*scene.pan, pan, all, status);
}

/// Makes the low-pass of what was read and puts it into the workspace.
void FusionSlot::OfferLowPass() {
    const auto& info = lowPass->GetInfo();
    const std::size_t pixels = std::size_t{lowPassRect.GetColumns()} * lowPassRect.GetRows();
    lowPassSamples.resize(std::max(lowPassSamples.size(), pixels));
    lowPassValid.resize(std::max(lowPassValid.size(), pixels));
    auto* samples = reinterpret_cast<unsigned char*>(lowPassSamples.data());
    const bool lacks = lowPass->Compute(pan.GetBlock(), lowPassRect, samples, lowPassValid.data());
    const hostkit::SampleBlock block{samples, lowPassRect.GetColumns() * hostkit::PixelBytes(info),
                                     lowPassRect, lacks ? lowPassValid.data() : nullptr};
    worker.GetWorkspace().SetImage(hostkit::lowPassId, {info, block, scene.resampling});
}

bool FusionSlot::Read(std::uint32_t firstRow, std::uint32_t endRow, Status& status) {
    window = {scene.part.col0, firstRow, scene.part.col1, endRow};
    if (!ReadPan(status)) return false;
    for (const auto& source : sources) {
        const PixelRect needed = source->placed.placement->FindSource(window, scene.resampling);
        if (!ReadRect(*source->placed.image, source->raster, needed, status)) return false;
    }
    return true;
}

/// Opens the window over what was read and puts it into the workspace.
bool FusionSlot::OpenSources(Status& status) {
    for (const auto& source : sources) {
        const PlacedSource& placed = source->placed;
        source->opened = placed.placement->Open(window, placed.image->GetInfo(), source->raster.GetBlock(),
                                                scene.resampling, status);
        if (!source->opened) return false;
    }
    OfferImage(hostkit::multispectralId, Role::Multispectral);
    OfferImage(hostkit::infraredId, Role::Infrared);
    return true;
}

/// Puts the images of a role into the workspace as one, described as the first.
void FusionSlot::OfferImage(const char* id, Role role) {
    hostkit::SourceImage image;
    for (const auto& source : sources) {
        const PlacedSource& placed = source->placed;
        if (placed.role != role) continue;
        if (image.opened.empty()) image.info = placed.placement->Describe(placed.image->GetInfo());
        image.opened.push_back({source->opened, placed.bands});
    }
    if (image.opened.empty()) return;
    if (image.opened.size() > 1) {
        image.info.bandsPerPixel = static_cast<std::uint32_t>(scene.bandOrder.size());
        image.info.colorSpace = 1;
    }
    image.window = window;
    worker.GetWorkspace().SetImage(id, image);
}

bool FusionSlot::Fuse(Status& status) {
    tally.assign(scene.outputBands, {0, 0});
    if (lowPass) OfferLowPass();
    const bool isCovered = window.row0 < scene.covered.row1 && window.row1 > scene.covered.row0;
    if (isCovered && !(OpenSources(status) && worker.OpenWindow(window, status))) return false;
    hasGaps = false;
    const std::size_t columns = window.GetColumns();
    for (std::uint32_t row = window.row0; row < window.row1; ++row) {
        const std::uint32_t number = row - window.row0;
        unsigned char* rowValid = valid.empty() ? nullptr : valid.data() + number * columns;
        const bool lacksData = rowValid && FindValid(row, rowValid);
        hasGaps = hasGaps || lacksData;
        const unsigned char* samples = nullptr;
        if (row >= scene.covered.row0 && row < scene.covered.row1) {
            samples = worker.GetRow(row, status);
            if (!samples) return false;
        }
        MakeRow(samples, lacksData ? rowValid : nullptr, number);
    }
    FillTilesUp();
    return true;
}

/// Fills in which pixels of a row have data in all images. False when all have.
bool FusionSlot::FindValid(std::uint32_t row, unsigned char* rowValid) {
    const PixelRect& covered = scene.covered;
    const std::size_t columns = window.GetColumns();
    if (row < covered.row0 || row >= covered.row1) {
        std::memset(rowValid, 0, columns);
        return true;
    }
    const std::uint32_t number = row - window.row0;
    if (const hostkit::SampleBlock read = pan.GetBlock(); read.valid)
        std::memcpy(rowValid,
                    read.valid + std::size_t{row - read.rect.row0} * read.rect.GetColumns() +
                        (window.col0 - read.rect.col0),
                    columns);
    else
        std::memset(rowValid, 0xFF, columns);
    std::memset(rowValid, 0, covered.col0 - window.col0);
    std::memset(rowValid + (covered.col1 - window.col0), 0, window.col1 - covered.col1);
    for (const auto& source : sources)
        if (source->opened->FindReach(number, reach.data()))
            for (std::size_t column = 0; column < columns; ++column)
                if (reach[column] == hostkit::Reach::None) rowValid[column] = 0;
    return std::memchr(rowValid, 0, columns) != nullptr;
}

std::size_t FusionSlot::TilesAcross() const { return (scene.part.GetColumns() - 1) / layout.tileColumns + 1; }

std::size_t FusionSlot::TileRowBytes() const { return layout.tileColumns * pixelBytes; }

void FusionSlot::MakeRow(const unsigned char* fused, const unsigned char* rowValid, std::uint32_t number) {
    const std::size_t columns = window.GetColumns();
    if (layout.tileColumns == 0)
        return MakePixels(fused, rowValid, columns, output.data() + number * columns * pixelBytes);
    const std::size_t fusedBytes = std::size_t{rules.bands} * (scene.pan->GetInfo().bitsPerBand / 8);
    const std::size_t tileBytes = layout.tileRows * TileRowBytes();
    unsigned char* out = output.data() + number / layout.tileRows * TilesAcross() * tileBytes +
                         number % layout.tileRows * TileRowBytes();
    for (std::size_t column = 0; column < columns; column += layout.tileColumns, out += tileBytes)
        MakePixels(fused ? fused + column * fusedBytes : nullptr, rowValid ? rowValid + column : nullptr,
                   std::min<std::size_t>(layout.tileColumns, columns - column), out);
}

/// The rows below the image in its last tiles, where another window may have left its own.
void FusionSlot::FillTilesUp() {
    if (layout.tileColumns == 0 || window.GetRows() % layout.tileRows == 0) return;
    const std::size_t used = window.GetRows() % layout.tileRows * TileRowBytes();
    const std::size_t tileBytes = layout.tileRows * TileRowBytes();
    unsigned char* tile = output.data() + window.GetRows() / layout.tileRows * TilesAcross() * tileBytes;
    for (std::size_t i = 0; i < TilesAcross(); ++i, tile += tileBytes)
        std::memset(tile + used, 0, tileBytes - used);
}

void FusionSlot::MakePixels(const unsigned char* fused, const unsigned char* rowValid, std::size_t columns,
                            unsigned char* out) {
    if (scene.pan->GetInfo().bitsPerBand == 8)
        MakeOutputRow(fused, rowValid, columns, rules, out, tally);
    else
        MakeOutputRow(reinterpret_cast<const unsigned short*>(fused), rowValid, columns, rules,
                      reinterpret_cast<unsigned short*>(out), tally);
}

} // namespace rasterhost
