#include "rasterhost/fusing/RunPlan.h"

#include "rasterhost/requests/HostProcess.h"
#include "rasterhost/writing/CreationOptions.h"

#include <algorithm>
#include <thread>

namespace rasterhost {

using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

std::uint64_t ImageBytes(const InputImage& image) {
    const RasterInfo& info = image.GetInfo();
    return std::uint64_t{info.cols} * info.rows * hostkit::PixelBytes(info);
}

/// The process and the sampler hold single rows; a window holds pan, its share of the source and output.
std::uint64_t RowBytes(const Scene& scene, const RunSizes& sizes) {
    const RasterInfo& pan = scene.pan->GetInfo();
    std::uint64_t bytes =
        hostkit::PixelBytes(pan) * sizes.columns * (1 + sizes.fileBands * (sizes.isCompressed ? 2 : 1));
    for (const PlacedImage& grid : scene.GetGrids()) {
        const RasterInfo ms = grid.GetInfo();
        bytes += static_cast<std::uint64_t>(static_cast<double>(hostkit::PixelBytes(ms)) * ms.cols *
                                            pan.pixelSizeY / ms.pixelSizeY);
    }
    return bytes;
}

/// Numbers of a picture's panels: of pan, of all bands upsampled and again fused, and three colours of each.
std::uint64_t PreviewBytes(const Scene& scene) {
    const std::uint64_t pixels = std::uint64_t{std::min(mostPreviewPixels, scene.part.GetColumns())} *
                                 std::min(mostPreviewPixels, scene.part.GetRows());
    return pixels * sizeof(double) * (10 + scene.bandOrder.size() + scene.outputBands);
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

RunSizes FindSizes(const RunOptions& run, const OutputRequest& output, const Scene& scene,
                   std::uint32_t fileBands) {
    return {scene.part.GetColumns(), scene.part.GetRows(),         fileBands,        ChooseThreads(run),
            run.windowRows,          WritesCompressedTiff(output), output.hasPreview};
}

int ChooseThreads(const RunOptions& run) {
    return run.threads > 0 ? run.threads
                           : static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
}

std::uint32_t ChooseWindowRows(const Scene& scene, const RunSizes& sizes, std::uint32_t blockRows) {
    constexpr std::uint64_t windowBytes = std::uint64_t{4} << 20;
    if (sizes.windowRows > 0) return std::min(sizes.windowRows, sizes.rows);
    const std::uint64_t byMemory = windowBytes / std::max<std::uint64_t>(RowBytes(scene, sizes), 1);
    const std::uint64_t byThreads = sizes.rows / (static_cast<unsigned>(sizes.threads) * 2u) + 1;
    // Blocks of one row, as strips have, need not be kept to.
    const std::uint64_t blocks = std::max<std::uint64_t>(std::min(byMemory, byThreads) / blockRows, 1);
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(blocks * blockRows, sizes.rows));
}

int CountSlots(int threads) { return threads <= 2 ? threads : threads + 1; }

std::int64_t CacheBytes(const Scene& scene, const RunSizes& sizes, std::uint32_t blockRows) {
    // Memory that is new to the process takes longer than reading into what it has already. Windows of
    // grids that lie askew reach over many rows of blocks.
    constexpr std::uint64_t least = std::uint64_t{8} << 20, leastAskew = std::uint64_t{64} << 20;
    std::uint64_t inputs = scene.pan->GetDescription()->GetBlockRowBytes();
    bool isAskew = false;
    for (const PlacedImage& coarse : scene.images) {
        inputs += coarse.image->GetDescription()->GetBlockRowBytes();
        isAskew = isAskew || !coarse.placement->RunsAlong();
    }
    // A block that leaves before it is full is compressed and written again.
    const std::uint64_t outputs = sizes.windowRows % blockRows == 0
                                      ? 0
                                      : std::uint64_t{blockRows} * sizes.fileBands *
                                            hostkit::PixelBytes(scene.pan->GetInfo()) * sizes.columns;
    return static_cast<std::int64_t>(std::max(isAskew ? leastAskew : least, 2 * (inputs + outputs)));
}

std::uint64_t EstimateMemory(const Scene& scene, const RunSizes& sizes, std::uint32_t blockRows) {
    constexpr std::uint64_t program = std::uint64_t{50} << 20; // with its libraries, as measured
    std::uint64_t inputs = ImageBytes(*scene.pan);
    for (const PlacedImage& coarse : scene.images)
        inputs += ImageBytes(*coarse.image);
    const std::uint64_t cache =
        std::min(static_cast<std::uint64_t>(CacheBytes(scene, sizes, blockRows)), inputs);
    const std::uint32_t rows = ChooseWindowRows(scene, sizes, blockRows);
    const std::uint32_t windows = (sizes.rows - 1) / rows + 1;
    const int threads = std::min(sizes.threads, static_cast<int>(std::min(windows, 0x7FFFFFFFu)));
    const std::uint64_t fusing =
        cache + RowBytes(scene, sizes) * rows * static_cast<unsigned>(CountSlots(threads));
    return program + std::max(fusing, sizes.hasPreview ? cache + PreviewBytes(scene) : 0);
}

bool CheckSizes(const Scene& scene, Status& status) {
    return CheckImage(*scene.pan, status) &&
           std::all_of(scene.images.begin(), scene.images.end(),
                       [&](const PlacedImage& coarse) { return CheckImage(*coarse.image, status); });
}

bool CheckMemory(const RunOptions& run, const Scene& scene, const RunSizes& sizes, std::uint32_t blockRows,
                 Status& status) {
    const std::uint64_t most = run.mostMemory > 0 ? run.mostMemory : MachineMemory();
    const std::uint64_t needed = EstimateMemory(scene, sizes, blockRows);
    if (most == 0 || needed <= most) return true;
    return Fail(status, HostStatus::RequestInvalid,
                "fusing %s takes about %.0f MB of memory, and there are %.0f MB: ask for fewer --threads "
                "or a smaller --window, name fewer bands, or fuse it in parts (--projwin)",
                scene.GetMultispectral().image->GetName().c_str(), static_cast<double>(needed) / megabyte,
                static_cast<double>(most) / megabyte);
}

} // namespace rasterhost
