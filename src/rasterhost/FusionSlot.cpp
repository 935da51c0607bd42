#include "rasterhost/FusionSlot.h"

#include "fundament/Text.h"
#include "hostkit/MappedRaster.h"
#include "hostkit/RequestRecord.h"

#include <algorithm>
#include <cstring>

namespace rasterhost {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Pixmere::IRasterWorkspace;

FusionSlot::FusionSlot(const Scene& images, const hostkit::PluginLibrary& plugin,
                       const ProcessSettings& settings, const OutputRules& outputRules, Status& creation)
    : scene(images), pan(*images.pan), workspace(images.pan->GetInfo()),
      process(plugin, settings.properties, creation), rules(outputRules),
      pixelBytes(std::size_t{rules.GetFileBands()} * (images.pan->GetInfo().bitsPerBand / 8)) {
    for (InputImage* image : images.GetCoarseImages())
        sources.push_back(std::make_unique<Source>(*image));
}

bool FusionSlot::FailedProcess(const char* what, Status& status) {
    Fail(status, HostStatus::ProcessFailed,
         window.IsEmpty() ? FormatString("nothing can be fused: the plug-in fails to %s", what)
                          : FormatString("rows %u to %u cannot be fused: the plug-in fails to %s",
                                         window.row0, window.row1, what));
    status.Append(process->GetStatus());
    return false;
}

bool FusionSlot::Init(std::uint32_t mostRows, const OutputLayout& outputLayout, Status& status) {
    if (!process) return Fail(status, HostStatus::ProcessFailed, "the plug-in makes no process");
    layout = outputLayout;
    const std::size_t tileRows = layout.tileColumns == 0 ? 0 : (mostRows - 1) / layout.tileRows + 1;
    output.resize(layout.tileColumns == 0 ? pixelBytes * scene.part.GetColumns() * mostRows
                                          : TilesAcross() * tileRows * layout.tileRows * TileRowBytes());
    if (scene.MayLackData()) {
        reach.resize(scene.part.GetColumns());
        valid.resize(std::size_t{scene.part.GetColumns()} * mostRows);
    }
    if (process->SetInputRaster(&pan) == 0 ||
        process->SetWorkspace(static_cast<IRasterWorkspace*>(&workspace)) == 0 ||
        process->SetAoi(&request) == 0)
        return FailedProcess("take its inputs", status);
    return process->Init() != 0 || FailedProcess("initialize", status);
}

namespace {

bool ReadRect(const hostkit::ImageSource& image, hostkit::SourceRaster& raster, const PixelRect& rect,
              Status& status) {
    if (raster.SetWindow(rect.col0, rect.row0, rect.col1, rect.row1) != 0) return true;
    Fail(status, HostStatus::InputNotRead,
         FormatString("%s cannot be read; is the file complete?", image.GetName().c_str()));
    status.Append(raster.GetStatus());
    return false;
}

} // namespace

bool FusionSlot::ReadSource(Source& source, Status& status) {
    const auto& info = source.image.GetInfo();
    const hostkit::PixelMap* map = source.image.GetMap();
    const auto placement = hostkit::PlaceGrids(scene.pan->GetInfo(), info);
    const PixelRect needed = map ? map->SourceRect(window, info.cols, info.rows, scene.resampling)
                                 : hostkit::SourceRect(placement, window, info, scene.resampling);
    if (!ReadRect(source.image, source.raster, needed, status)) return false;
    const hostkit::SampleBlock block = source.raster.GetBlock();
    source.validity.reset();
    if (map) {
        auto mapped = std::make_unique<hostkit::MappedRaster>();
        if (!mapped->Open(scene.pan->GetInfo(), window, info, block, *map, scene.resampling)) {
            status.Append(mapped->GetStatus());
            return false;
        }
        source.validity = std::move(mapped);
        return true;
    }
    if (!block.valid) return true;
    const hostkit::WindowPlacement at(placement, window);
    source.validity =
        std::make_unique<hostkit::SampledValidity>(at.Shape(info, block.rect), scene.resampling, block);
    return true;
}

/// Puts what was read into the workspace.
void FusionSlot::OfferImages() {
    const auto offer = [this](const Source& source) {
        return hostkit::SourceImage{
            source.image.GetInfo(), source.raster.GetBlock(), scene.resampling, source.image.GetMap(), {}};
    };
    hostkit::SourceImage multispectral = offer(*sources.front());
    if (!scene.otherGrids.empty()) {
        for (std::size_t grid = 0; grid < scene.gridBands.size(); ++grid) {
            const hostkit::SourceImage own = offer(*sources[grid]);
            multispectral.grids.push_back({own.info, own.block, own.map, scene.gridBands[grid]});
        }
        multispectral.info.bandsPerPixel = static_cast<std::uint32_t>(scene.bandOrder.size());
        multispectral.info.colorSpace = 1;
    }
    workspace.SetImage(multispectralId, multispectral);
    if (scene.infrared) workspace.SetImage(infraredId, offer(*sources.back()));
}

bool FusionSlot::Read(std::uint32_t firstRow, std::uint32_t endRow, Status& status) {
    window = {scene.part.col0, firstRow, scene.part.col1, endRow};
    if (!ReadRect(*scene.pan, pan, window, status)) return false;
    for (const auto& source : sources)
        if (!ReadSource(*source, status)) return false;
    OfferImages();
    // The process takes the bounds from this record and the size from the window.
    request = hostkit::MakeRequest(scene.pan->GetInfo(), window);
    return true;
}

bool FusionSlot::Fuse(Status& status) {
    tally.assign(scene.outputBands, {0, 0});
    const bool isCovered = window.row0 < scene.covered.row1 && window.row1 > scene.covered.row0;
    if (isCovered && process->SetWindow(window.col0, window.row0, window.col1, window.row1) == 0)
        return FailedProcess("set the window", status);
    hasGaps = false;
    const std::size_t columns = window.GetColumns();
    for (std::uint32_t row = window.row0; row < window.row1; ++row) {
        const std::uint32_t number = row - window.row0;
        unsigned char* rowValid = valid.empty() ? nullptr : valid.data() + number * columns;
        const bool lacksData = rowValid && FindValid(row, rowValid);
        hasGaps = hasGaps || lacksData;
        const unsigned char* samples = nullptr;
        if (row >= scene.covered.row0 && row < scene.covered.row1) {
            samples = process->GetRow(row);
            if (!samples) return FailedProcess("deliver a row", status);
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
    const unsigned char* panValid = pan.GetBlock().valid;
    if (panValid)
        std::memcpy(rowValid, panValid + number * columns, columns);
    else
        std::memset(rowValid, 0xFF, columns);
    std::memset(rowValid, 0, covered.col0 - window.col0);
    std::memset(rowValid + (covered.col1 - window.col0), 0, window.col1 - covered.col1);
    for (const auto& source : sources)
        if (source->validity && source->validity->Find(number, reach.data()))
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
