#include "view/WindowFile.h"

#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/writing/OutputDescription.h"
#include "view/BadRequest.h"

#include <cpl_conv.h>
#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <atomic>
#include <stdexcept>
#include <utility>

namespace view {

namespace {

constexpr std::uint64_t mostWindowBytes = std::uint64_t{64} << 20;

/// A file with its share of the memory.
struct KeptWindow {
    std::shared_ptr<const void> share;
    std::string content;
};

} // namespace

std::shared_ptr<const std::string> MakeWindowFile(ViewedScene& scene, const Look& look,
                                                  const hostkit::PixelRect& window, MemoryBudget& budget) {
    Look of = look;
    if (of.layer == Layer::Pan)
        throw BadRequest("layer: pan is a file already; choose upsampled or sharpened");
    const auto dataset = scene.GetDataset(of);
    const std::uint64_t bytes = std::uint64_t{window.GetColumns()} * window.GetRows() * dataset->GetBands() *
                                (dataset->GetBits() / 8);
    if (bytes > mostWindowBytes)
        throw BadRequest("window: it would take " + std::to_string(bytes >> 20) +
                         " MB, and 64 are allowed; zoom in, or copy the command and run it");
    // While the file is made, its pixels and mask, or the copy that is sent, exist beside it; GDAL reserves a
    // tenth more for growth.
    constexpr std::size_t mostHeader = 1u << 16;
    const std::size_t sent = static_cast<std::size_t>(bytes) + mostHeader;
    auto share = budget.Take(sent);
    const auto making = budget.Take(sent + sent / 8 + std::size_t{window.GetColumns()} * window.GetRows());
    if (!share || !making)
        throw BadRequest("other windows are being sent, and all together would take more memory than is "
                         "allowed; try again in a few seconds",
                         503);
    Pixels pixels = scene.Read(of, 0, window);
    const rasterhost::GdalErrors errors;
    const CPLConfigOptionSetter inside("GDAL_TIFF_INTERNAL_MASK", "YES", false); // on this thread
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    static std::atomic<unsigned> count = 0;
    const std::string name = "/vsimem/pansharp-window-" + std::to_string(count++) + ".tif";
    const CPLStringList options = CPLStringList().AddString("INTERLEAVE=PIXEL"); // strips have no padding
    const int columns = static_cast<int>(pixels.columns), rows = static_cast<int>(pixels.rows);
    const int bands = static_cast<int>(pixels.bands);
    const GDALDataType type = pixels.bits == 8 ? GDT_Byte : GDT_UInt16;
    GDALDatasetUniquePtr file(
        driver ? driver->Create(name.c_str(), columns, rows, bands, type, options.List()) : nullptr);
    bool isWritten = file != nullptr;
    if (isWritten) {
        const rasterhost::Fusion& fusion = dataset->GetFusion();
        const rasterhost::Scene& images = dataset->GetPair().GetScene();
        const std::uint32_t column = images.part.col0, row = images.part.row0;
        rasterhost::DescribeOutput(
            images, {column + window.col0, row + window.row0, column + window.col1, row + window.row1},
            fusion.rules, {}, *file);
        const GSpacing sample = pixels.bits / 8, pixel = sample * bands;
        isWritten = file->RasterIO(GF_Write, 0, 0, columns, rows, pixels.samples.data(), columns, rows, type,
                                   bands, nullptr, pixel, pixel * columns, sample, nullptr) == CE_None;
        if (isWritten && !pixels.valid.empty() && !fusion.rules.noData)
            isWritten = file->CreateMaskBand(GMF_PER_DATASET) == CE_None &&
                        file->GetRasterBand(1)->GetMaskBand()->RasterIO(GF_Write, 0, 0, columns, rows,
                                                                        pixels.valid.data(), columns, rows,
                                                                        GDT_Byte, 0, 0, nullptr) == CE_None;
        file.reset();
    }
    pixels = {}; // freed early, since the copies are large
    vsi_l_offset length = 0;
    GByte* made = isWritten ? VSIGetMemFileBuffer(name.c_str(), &length, FALSE) : nullptr;
    auto kept = std::make_shared<KeptWindow>(
        KeptWindow{std::move(share),
                   {reinterpret_cast<const char*>(made), made ? static_cast<std::size_t>(length) : 0}});
    VSIUnlink(name.c_str());
    if (kept->content.empty()) throw std::runtime_error("the window cannot be written" + errors.Reason());
    return {kept, &kept->content};
}

} // namespace view
