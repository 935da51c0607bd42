#include "rasterhost/fusing/RunPlan.h"

#include "fitting/BlurFit.h"
#include "fundament/Text.h"
#include "hostkit/AxisPlacement.h"
#include "hostkit/PanLowPass.h"
#include "rasterhost/fusing/ProcessSettings.h"
#include "rasterhost/reading/FetchedBytes.h"
#include "rasterhost/reading/NetworkFile.h"
#include "rasterhost/requests/HostProcess.h"
#include "rasterhost/writing/CogWriter.h"

#include <algorithm>
#include <thread>

namespace rasterhost {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::StartsWith;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

std::uint64_t ImageBytes(const InputImage& image) {
    const RasterInfo& info = image.GetInfo();
    return std::uint64_t{info.cols} * info.rows * hostkit::PixelBytes(info);
}

/// Bytes per row of a window: pan and output.
std::uint64_t FineRowBytes(const Scene& scene, const OutputPlan& output) {
    return std::uint64_t{output.columns} * (hostkit::PixelBytes(scene.pan->GetInfo()) +
                                            output.GetPixelBytes() * (output.isCompressed ? 2 : 1));
}

/// The same, with the share of the coarse images.
std::uint64_t RowBytes(const Scene& scene, const OutputPlan& output) {
    const RasterInfo& pan = scene.pan->GetInfo();
    std::uint64_t bytes = FineRowBytes(scene, output);
    for (const PlacedImage& grid : scene.GetGrids()) {
        const RasterInfo ms = grid.GetInfo();
        bytes += static_cast<std::uint64_t>(static_cast<double>(hostkit::PixelBytes(ms)) * ms.cols *
                                            pan.pixelSizeY / ms.pixelSizeY);
    }
    return bytes;
}

std::uint64_t PixelsOf(const PixelRect& rect) {
    if (rect.IsEmpty()) return 0;
    return std::uint64_t{rect.GetColumns()} * rect.GetRows();
}

/// What a slot holds besides pan and output of its window: the coarse images, pan's low-pass and the rows of
/// pan that it needs, masks, and the rows of numbers that samplers work with.
std::uint64_t BesideBytes(const Scene& scene, const OutputPlan& output, const RunSizes& sizes,
                          std::uint32_t windowRows) {
    const RasterInfo& pan = scene.pan->GetInfo();
    PixelRect window = scene.part;
    window.row0 += (output.rows - windowRows) / 2;
    window.row1 = window.row0 + windowRows;
    const std::uint64_t sampledRows = scene.resampling == hostkit::Resampling::Cubic ? 4 : 2;
    constexpr std::uint64_t tapBytes = 64; // per column and image
    std::uint64_t bytes = 0, sampled = 0;
    const bool mayLackData = scene.MayLackData();
    for (const PlacedImage& coarse : scene.images) {
        const RasterInfo& info = coarse.image->GetInfo();
        const std::uint64_t pixels = PixelsOf(coarse.placement->FindSource(window, scene.resampling));
        bytes += pixels * (hostkit::PixelBytes(info) + (coarse.image->MayLackData() ? 1 : 0));
        sampled += info.bandsPerPixel;
    }
    PixelRect read = window;
    if (sizes.lowPass) {
        const hostkit::PanLowPass lowPass(pan, scene.GetMultispectral().GetInfo(), *sizes.lowPass);
        const PixelRect made =
            hostkit::AxisPlacement(pan, lowPass.GetInfo()).FindSource(window, scene.resampling);
        const PixelRect around = lowPass.PanRect(made);
        read.row0 = std::min(read.row0, around.row0);
        read.row1 = std::max(read.row1, around.row1);
        bytes += PixelsOf(made) * (sizeof(unsigned short) + 1);
        if (mayLackData) bytes += PixelsOf(around) * (hostkit::PixelBytes(pan) + 1);
        ++sampled;
    }
    bytes += (PixelsOf(read) - PixelsOf(window)) * hostkit::PixelBytes(pan);
    if (mayLackData)
        bytes += PixelsOf(read) + PixelsOf(window) / 4; // pan's mask; the output's as bits or runs
    const std::uint64_t images = scene.images.size() + (sizes.lowPass ? 1 : 0);
    return bytes + output.columns * (sampled * sampledRows * sizeof(double) + images * tapBytes);
}

/// The numbers in a preview's panels: pan, all bands upsampled and fused, and three colours per panel.
std::uint64_t PreviewBytes(const Scene& scene) {
    const std::uint64_t pixels = std::uint64_t{std::min(mostPreviewPixels, scene.part.GetColumns())} *
                                 std::min(mostPreviewPixels, scene.part.GetRows());
    return pixels * sizeof(double) * (10 + scene.bandOrder.size() + scene.outputBands);
}

/// Files in memory: an output, and its inputs.
std::uint64_t KeptBytes(const OutputPlan& output) {
    return std::max(2 * output.GetBytes(), output.writesCog ? CogWriter::CountStored(output) : 0);
}

constexpr double megabyte = 1e6;

bool CheckImage(const InputImage& image, Status& status) {
    constexpr std::uint64_t mostRowBytes = std::uint64_t{256} << 20, mostBlockBytes = std::uint64_t{2} << 30;
    const RasterInfo& info = image.GetInfo();
    const std::uint64_t rowBytes = std::uint64_t{info.cols} * hostkit::PixelBytes(info);
    const bool isLong = rowBytes > mostRowBytes;
    if (!isLong && image.GetDescription()->GetBlockRowBytes() <= mostBlockBytes) return true;
    return Fail(status, HostStatus::InputNotSupported,
                "a row of %s of %s, which has %u columns and %u bands, takes %.0f MB; %.0f MB are "
                "supported: name fewer bands, as in FILE,band=1, or cut the file with gdal_translate%s",
                isLong ? "pixels" : "blocks", image.GetName().c_str(), info.cols, info.bandsPerPixel,
                static_cast<double>(isLong ? rowBytes : image.GetDescription()->GetBlockRowBytes()) /
                    megabyte,
                static_cast<double>(isLong ? mostRowBytes : mostBlockBytes) / megabyte,
                isLong ? "" : " -co TILED=YES");
}

} // namespace

RunSizes FindSizes(const SharpenRequest& request, const PansharpDescription& plugin) {
    const bool wantsDetail = WantsDetail(request, plugin);
    RunSizes sizes{ChooseThreads(request), request.windowRows, request.hasPreview, {}, {}, {}};
    sizes.isKeptInMemory = StartsWith(request.output, "/vsimem/", false);
    sizes.fits = wantsDetail ? !request.transfer || request.gains.empty() : WantsFit(request, plugin);
    // The lowest transfer gives the widest low-pass.
    if (wantsDetail) sizes.lowPass = request.transfer.value_or(fitting::leastTransfer);
    return sizes;
}

int ChooseThreads(const RunOptions& run) {
    return run.threads > 0 ? run.threads
                           : static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
}

std::uint32_t ChooseWindowRows(const Scene& scene, const OutputPlan& output, const RunSizes& sizes) {
    constexpr std::uint64_t windowBytes = std::uint64_t{4} << 20;
    if (sizes.windowRows > 0) return std::min(sizes.windowRows, output.rows);
    const std::uint64_t byMemory = windowBytes / std::max<std::uint64_t>(RowBytes(scene, output), 1);
    const std::uint64_t byThreads = output.rows / (static_cast<unsigned>(sizes.threads) * 2u) + 1;
    // Blocks of one row, such as strips, set no constraint.
    const std::uint64_t blocks = std::max<std::uint64_t>(std::min(byMemory, byThreads) / output.blockRows, 1);
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(blocks * output.blockRows, output.rows));
}

int CountSlots(int threads, const OutputPlan& output) {
    return threads <= (output.writesCog ? 1 : 2) ? threads : threads + 1;
}

std::int64_t CacheBytes(const Scene& scene, const OutputPlan& output, const RunSizes& sizes) {
    // Allocating new memory takes longer than reading into memory that the process already has. Windows of
    // grids that are not parallel to pan's touch many rows of blocks.
    constexpr std::uint64_t least = std::uint64_t{8} << 20, leastAskew = std::uint64_t{64} << 20;
    const ImageDescription& pan = *scene.pan->GetDescription();
    std::uint64_t samples = pan.GetBlockRowBytes(), masks = pan.GetMaskRowBytes();
    bool isAskew = false;
    for (const PlacedImage& coarse : scene.images) {
        samples += coarse.image->GetDescription()->GetBlockRowBytes();
        masks += coarse.image->GetDescription()->GetMaskRowBytes();
        isAskew = isAskew || !coarse.placement->RunsAlong();
    }
    // A block that leaves the cache before it is full is compressed and written again.
    const std::uint64_t outputs =
        sizes.windowRows % output.blockRows == 0
            ? 0
            : std::uint64_t{output.blockRows} * output.columns * output.GetPixelBytes();
    // GDAL counts its own record of each block too. A cache that is a little too small reads blocks twice.
    // Masks are read after the samples, so that more blocks lie between those that windows share.
    const std::uint64_t rows = (masks > 0 ? 3 : 2) * (samples + masks + outputs), records = rows / 16;
    return static_cast<std::int64_t>(std::max(isAskew ? leastAskew : least, rows + records));
}

std::uint64_t EstimateMemory(const Scene& scene, const OutputPlan& output, const RunSizes& sizes) {
    // Measured: the program with its libraries, and the survey for fits.
    constexpr std::uint64_t program = std::uint64_t{58} << 20, survey = std::uint64_t{24} << 20;
    std::uint64_t inputs = 0, onServers = 0, inArchives = 0;
    const auto add = [&](const InputImage& image) {
        const std::uint64_t bytes = ImageBytes(image);
        const std::vector<std::string>& files = image.GetDescription()->files;
        inputs += bytes;
        if (std::ranges::any_of(files, &IsOnNetwork)) onServers += bytes;
        if (std::ranges::any_of(files, &IsWithinNetworkFile)) inArchives += bytes;
    };
    add(*scene.pan);
    for (const PlacedImage& coarse : scene.images)
        add(*coarse.image);
    const std::uint64_t cache =
        std::min(static_cast<std::uint64_t>(CacheBytes(scene, output, sizes)), inputs);
    const std::uint32_t rows = ChooseWindowRows(scene, output, sizes);
    const std::uint32_t windows = (output.rows - 1) / rows + 1;
    const int threads = std::min(sizes.threads, static_cast<int>(std::min(windows, 0x7FFFFFFFu)));
    const std::uint64_t fusing =
        cache + (output.writesCog ? CogWriter::CountBytes(output) : 0) +
        (FineRowBytes(scene, output) * rows + BesideBytes(scene, output, sizes, rows)) *
            static_cast<unsigned>(CountSlots(threads, output));
    // Measured: GDAL has a cache of half the size, and copies of bytes on their way. An archive is read
    // through GDAL's cache alone.
    constexpr std::uint64_t copies = std::uint64_t{160} << 20, copiesOfArchives = std::uint64_t{96} << 20;
    const std::uint64_t bound = FetchedBytes::Get().GetBound();
    const std::uint64_t fetched = std::min(onServers, bound) + std::min(onServers, bound / 2) +
                                  std::min(onServers, copies) + std::min(inArchives, bound / 2) +
                                  std::min(inArchives, copiesOfArchives);
    return program + fetched + (sizes.fits ? survey : 0) + (sizes.isKeptInMemory ? KeptBytes(output) : 0) +
           std::max(fusing, sizes.hasPreview ? cache + PreviewBytes(scene) : 0);
}

bool CheckSizes(const Scene& scene, Status& status) {
    return CheckImage(*scene.pan, status) &&
           std::all_of(scene.images.begin(), scene.images.end(),
                       [&](const PlacedImage& coarse) { return CheckImage(*coarse.image, status); });
}

bool CheckMemory(const RunOptions& run, const Scene& scene, const OutputPlan& output, const RunSizes& sizes,
                 Status& status) {
    const std::uint64_t most = run.mostMemory > 0 ? run.mostMemory : MachineMemory();
    const std::uint64_t needed = EstimateMemory(scene, output, sizes);
    if (most == 0 || needed <= most) return true;
    return Fail(status, HostStatus::RequestInvalid,
                "fusing %s takes about %.0f MB of memory, but there are only %.0f MB: use fewer --threads or "
                "a smaller --window, name fewer bands, or fuse it in parts (--projwin)",
                scene.GetMultispectral().image->GetName().c_str(), static_cast<double>(needed) / megabyte,
                static_cast<double>(most) / megabyte);
}

} // namespace rasterhost
