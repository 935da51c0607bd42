#include "rasterhost/assessing/Preview.h"

#include "imagery/RowSource.h"
#include "rasterhost/assessing/CompareRows.h"
#include "rasterhost/requests/CacheLimit.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/requests/Operation.h"
#include "rasterhost/scene/BandChoice.h"
#include "rasterhost/scene/ScenePart.h"
#include "rasterhost/writing/OutputCheck.h"

#include <gdal_priv.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <tuple>

namespace rasterhost {

using imagery::ImageRows;
using imagery::JoinedRows;
using imagery::RowSource;
using imagery::SampleRows;
using imagery::UpsampledRows;

using hostkit::PixelRect;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

constexpr std::size_t gap = 4; // white columns between panels
constexpr std::size_t panels = 3;

/// The pan pixels to show, within what is fused.
bool FindRect(const Scene& scene, const PreviewRequest& preview, PixelRect& rect, Status& status) {
    const RasterInfo& pan = scene.pan->GetInfo();
    const PixelRect& part = scene.part;
    double column = 0.5 * (part.col0 + part.col1), row = 0.5 * (part.row0 + part.row1);
    if (preview.at && !scene.pan->GetDescription()->isNorthUp)
        return Fail(status, HostStatus::RequestInvalid,
                    "%s is not north up, so the preview's middle cannot be named in map units; "
                    "leave --preview-at out for the middle of the image",
                    scene.pan->GetName().c_str());
    if (preview.at) {
        column = ((*preview.at)[0] - pan.xMin) / pan.pixelSizeX;
        row = (pan.yMax - (*preview.at)[1]) / pan.pixelSizeY;
    }
    if (column < part.col0 || column > part.col1 || row < part.row0 || row > part.row1)
        return Fail(
            status, HostStatus::RequestInvalid,
            "the preview's middle (%.10g, %.10g) lies outside the part that is fused: x %.10g to %.10g, "
            "y %.10g to %.10g",
            (*preview.at)[0], (*preview.at)[1], pan.xMin + part.col0 * pan.pixelSizeX,
            pan.xMin + part.col1 * pan.pixelSizeX, pan.yMax - part.row1 * pan.pixelSizeY,
            pan.yMax - part.row0 * pan.pixelSizeY);
    const auto span = [](double middle, std::uint32_t first, std::uint32_t end) {
        const std::uint32_t length = std::min(mostPreviewPixels, end - first);
        const double start = std::clamp(std::floor(middle - 0.5 * length), static_cast<double>(first),
                                        static_cast<double>(end - length));
        return std::pair(static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(start) + length);
    };
    std::tie(rect.col0, rect.col1) = span(column, part.col0, part.col1);
    std::tie(rect.row0, rect.row1) = span(row, part.row0, part.row1);
    return true;
}

/// The colours of one image: three per pixel.
struct Panel {
    std::vector<double> colours;
    std::vector<unsigned char> valid;
};

bool ReadPanel(RowSource& rows, const std::array<std::size_t, 3>& shown, Panel& panel, Status& status) {
    SampleRows read;
    if (!rows.Read(0, rows.GetRows(), read, status)) return false;
    const std::size_t bands = rows.GetBands();
    for (std::size_t pixel = 0; pixel < read.valid.size(); ++pixel)
        for (const std::size_t band : shown)
            panel.colours.push_back(read.samples[pixel * bands + band]);
    panel.valid = std::move(read.valid);
    return true;
}

/// The 2nd and 98th percentile of a colour in some panels.
std::pair<double, double> FindStretch(std::span<const Panel> some, std::size_t colour) {
    std::vector<double> shown;
    for (const Panel& panel : some)
        for (std::size_t pixel = 0; pixel < panel.valid.size(); ++pixel)
            if (panel.valid[pixel]) shown.push_back(panel.colours[pixel * 3 + colour]);
    if (shown.empty()) return {0.0, 1.0};
    const auto percentile = [&shown](std::size_t percent) {
        const auto at = shown.begin() + static_cast<std::ptrdiff_t>((shown.size() - 1) * percent / 100);
        std::nth_element(shown.begin(), at, shown.end());
        return *at;
    };
    const double low = percentile(2), high = percentile(98);
    return {low, std::max(high, low + 1.0)};
}

/// Draws the panels side by side, in red, green and blue. A colour has the same stretch in both multispectral
/// panels; otherwise bands of different brightness would tint them. Pan, the first panel, has a stretch of
/// its own.
std::vector<unsigned char> Draw(const std::vector<Panel>& all, std::size_t columns, std::size_t rows) {
    const std::span<const Panel> panPanel(all.data(), 1), colourPanels(all.data() + 1, all.size() - 1);
    std::array<std::pair<double, double>, 3> ofColour;
    for (std::size_t colour = 0; colour < 3; ++colour)
        ofColour[colour] = FindStretch(colourPanels, colour);
    const auto ofPan = FindStretch(panPanel, 0);
    const std::size_t width = panels * columns + (panels - 1) * gap;
    std::vector<unsigned char> picture(width * rows * 3, 255);
    for (std::size_t p = 0; p < all.size(); ++p)
        for (std::size_t pixel = 0; pixel < columns * rows; ++pixel)
            for (std::size_t colour = 0; colour < 3; ++colour) {
                const auto [low, high] = p == 0 ? ofPan : ofColour[colour];
                const double level = (all[p].colours[pixel * 3 + colour] - low) / (high - low);
                const std::size_t column = p * (columns + gap) + pixel % columns;
                picture[(pixel / columns * width + column) * 3 + colour] =
                    all[p].valid[pixel]
                        ? static_cast<unsigned char>(std::lround(255.0 * std::clamp(level, 0.0, 1.0)))
                        : 0;
            }
    return picture;
}

bool WritePng(const std::string& file, bool overwrite, std::vector<unsigned char>& picture, int width,
              int height, Status& status) {
    const auto folder = WorkFolder::Make(file, status);
    if (!folder) return false;
    const GdalErrors errors;
    GDALDriverManager& drivers = *GetGDALDriverManager();
    GDALDriver* memory = drivers.GetDriverByName("MEM");
    GDALDriver* png = drivers.GetDriverByName("PNG");
    const GDALDatasetUniquePtr made(memory && png ? memory->Create("", width, height, 3, GDT_Byte, nullptr)
                                                  : nullptr);
    const bool isDrawn =
        made && made->RasterIO(GF_Write, 0, 0, width, height, picture.data(), width, height, GDT_Byte, 3,
                               nullptr, 3, GSpacing{3} * width, 1, nullptr) == CE_None;
    GDALDatasetUniquePtr written(
        isDrawn ? png->CreateCopy(folder->GetFile().c_str(), made.get(), FALSE, nullptr, nullptr, nullptr)
                : nullptr);
    const bool isWritten = written != nullptr;
    written.reset();
    if (isWritten && !errors.HasFailed()) return folder->Deliver(overwrite, status);
    return Fail(status, HostStatus::OutputNotWritten,
                "the preview '%s' cannot be written; check the folder and the space there%s", file.c_str(),
                errors.Reason().c_str());
}

bool Make(const SharpenRequest& request, const Scene& scene, const PreviewRequest& preview, Status& status) {
    PixelRect rect;
    if (!FindRect(scene, preview, rect, status)) return false;
    const auto fused = InputImage::Open({{request.output, {}}}, "fused", {}, status);
    if (!fused) return false;
    const CacheLimit cache(StripCache({scene.pan.get(), scene.GetMultispectral().image.get(), fused.get()}));
    const PixelRect& part = scene.part;
    ImageRows pan(*scene.pan, rect);
    std::vector<JoinedRows::Part> grids;
    for (const PlacedImage& grid : scene.GetGrids())
        grids.push_back(
            {std::make_unique<UpsampledRows>(*grid.image, *grid.placement, rect, scene.resampling, true),
             grid.bands});
    JoinedRows upsampled(std::move(grids));
    ImageRows sharp(
        *fused, {rect.col0 - part.col0, rect.row0 - part.row0, rect.col1 - part.col0, rect.row1 - part.row0});
    std::vector<Panel> all(panels);
    const ShownBands shown = FindShownBands(scene);
    if (!ReadPanel(pan, {}, all[0], status) || !ReadPanel(upsampled, shown.bands, all[1], status) ||
        !ReadPanel(sharp, shown.bands, all[2], status))
        return false;
    std::vector<unsigned char> picture = Draw(all, rect.GetColumns(), rect.GetRows());
    const auto height = static_cast<int>(rect.GetRows());
    return WritePng(preview.file, request.overwrite, picture, static_cast<int>(picture.size() / 3) / height,
                    height, status);
}

} // namespace

bool CheckPreview(const SharpenRequest& request, const PreviewRequest& preview, Status& status) {
    double seconds = 0.0;
    return RunOperation(
        [&] {
            RunFiles others;
            std::vector<std::string> names = NamesOfDescriptions(preview.file);
            names.push_back(preview.file);
            for (const std::string& name : names)
                if (!CheckNewFile(name, "the preview's file '" + name + "'", request.overwrite, others,
                                  status))
                    return false;
            if (!WorkFolder::Make(preview.file, status)) return false; // whether it can be made
            const auto scene = OpenScene(
                request, [](const std::string&) {}, status); // the run warns
            PixelRect rect;
            return scene && (!request.onlyIntersection || CutToIntersection(*scene, status)) &&
                   FindRect(*scene, preview, rect, status);
        },
        seconds, status);
}

bool WritePreview(const SharpenRequest& request, const Scene& scene, const PreviewRequest& preview,
                  Status& status) {
    double seconds = 0.0;
    return RunOperation([&] { return Make(request, scene, preview, status); }, seconds, status) ||
           Fail(status, HostStatus::OutputNotWritten,
                "the output '%s' is complete; only its preview is missing", request.output.c_str());
}

} // namespace rasterhost
