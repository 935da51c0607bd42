#include "gdaldriver/SceneDataset.h"

#include "gdaldriver/StatusErrors.h"
#include "hostkit/Coarsening.h"
#include "rasterhost/serving/OpenSceneFile.h"
#include "rasterhost/writing/OutputDescription.h"

#include <cpl_multiproc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <future>
#include <numeric>
#include <utility>

namespace gdaldriver {

using hostkit::PixelRect;
using rasterhost::SharpenedDataset;

namespace {

constexpr std::size_t blockPixels = std::size_t{SceneDataset::blockSize} * SceneDataset::blockSize;

/// What a written image would have besides its pixels, as a dataset without pixels.
std::shared_ptr<GDALDataset> Describe(const SharpenedDataset& scene, rasterhost::Status& status) {
    GDALDriver* memory = GetGDALDriverManager()->GetDriverByName("MEM");
    GDALDataset* described =
        memory ? memory->Create("", 1, 1, static_cast<int>(scene.GetBands()), GDT_UInt16, nullptr) : nullptr;
    if (!described) {
        (void)rasterhost::Fail(status, rasterhost::HostStatus::Unexpected,
                               "GDAL has no driver MEM: let the program register all drivers");
        return nullptr;
    }
    std::shared_ptr<GDALDataset> description(described, [](GDALDataset* dataset) { GDALClose(dataset); });
    rasterhost::OutputMetadata metadata;
    if (!scene.Describe(metadata, status)) return nullptr;
    const rasterhost::Scene& images = scene.GetPair().GetScene();
    rasterhost::DescribeOutput(images, images.part, scene.GetFusion().rules, metadata, *description);
    return description;
}

/// The number of threads for large reads.
std::size_t CountThreads(const GDALOpenInfo& how) {
    const char* asked = CSLFetchNameValue(how.papszOpenOptions, "NUM_THREADS");
    if (!asked) asked = CPLGetConfigOption("GDAL_NUM_THREADS", "1");
    constexpr int most = 128;
    return static_cast<std::size_t>(
        std::clamp(EQUAL(asked, "ALL_CPUS") ? CPLGetNumCPUs() : std::atoi(asked), 1, most));
}

bool IsCached(GDALRasterBand& band, std::uint32_t column, std::uint32_t row) {
    GDALRasterBlock* cached = band.TryGetLockedBlockRef(static_cast<int>(column), static_cast<int>(row));
    if (cached) cached->DropLock();
    return cached != nullptr;
}

/// Puts samples that were fused at the same time into the cache, unless they are there.
void Offer(GDALRasterBand& band, std::uint32_t column, std::uint32_t row, const BlockSamples& samples) {
    if (IsCached(band, column, row)) return;
    if (GDALRasterBlock* block =
            band.GetLockedBlockRef(static_cast<int>(column), static_cast<int>(row), TRUE)) {
        samples.CopyTo(block->GetDataRef());
        block->DropLock();
    }
}

} // namespace

void BlockSamples::CopyTo(void* block) const {
    for (std::size_t row = 0; row < rows; ++row)
        std::memcpy(static_cast<unsigned char*>(block) + row * blockRowBytes, first + row * rowStride,
                    rowBytes);
}

SceneDataset::SceneDataset(Scene sharpened, std::shared_ptr<GDALDataset> described, unsigned levelNumber)
    : scene(std::move(sharpened)), description(std::move(described)), level(levelNumber) {
    nRasterXSize = static_cast<int>(hostkit::CoarseCount(scene->GetColumns(), level));
    nRasterYSize = static_cast<int>(hostkit::CoarseCount(scene->GetRows(), level));
    eAccess = GA_ReadOnly;
    for (int band = 1; band <= static_cast<int>(scene->GetBands()); ++band)
        SetBand(band, new SceneBand(*this, band, GetType(), *description->GetRasterBand(band)));
    const imagery::OutputRules& rules = scene->GetFusion().rules;
    if (!rules.noData && !rules.hasAlpha && scene->MayLackData()) mask = std::make_unique<SceneMask>(*this);
    TakeMetadata();
    if (level > 0) {
        nPamFlags |= GPF_DISABLED | GPF_NOSAVE;
        return;
    }
    const auto size = [](GDALDataset& image) {
        return std::max(image.GetRasterXSize(), image.GetRasterYSize());
    };
    for (unsigned next = 1;
         next < scene->CountLevels() && size(coarser.empty() ? *this : *coarser.back()) > blockSize; ++next)
        coarser.emplace_back(new SceneDataset(scene, description, next));
}

/// Statistics and the like are saved while all members still exist.
SceneDataset::~SceneDataset() { GDALPamDataset::FlushCache(true); }

/// Metadata is set without the persistent part, so that nothing is written when the dataset is closed.
void SceneDataset::TakeMetadata() {
    for (const char* domain : {"", "RPC", "IMAGERY"})
        if (char** items = description->GetMetadata(domain)) oMDMD.SetMetadata(items, domain);
    oMDMD.SetMetadataItem("INTERLEAVE", "PIXEL", "IMAGE_STRUCTURE");
}

std::unique_ptr<SceneDataset> SceneDataset::OpenDescription(const char* name, GDALOpenInfo& how) {
    std::unique_ptr<SceneDataset> dataset;
    const bool isOpen = RunReporting([&](rasterhost::Status& status) {
        std::vector<std::string> warnings; // what is reported while it opens is caught
        const auto warn = [&](const std::string& text) { warnings.push_back(text); };
        const Scene opened = rasterhost::OpenSceneFile(name, {}, CountThreads(how), warn, status);
        for (const std::string& text : warnings)
            CPLError(CE_Warning, CPLE_AppDefined, "%s", text.c_str());
        if (!opened) return false;
        const auto described = Describe(*opened, status);
        if (!described) return false;
        dataset.reset(new SceneDataset(opened, described, 0));
        return true;
    });
    if (!isOpen) return nullptr;
    dataset->SetDescription(name);
    dataset->TryLoadXML(how.GetSiblingFiles());
    dataset->oOvManager.Initialize(dataset.get(), name, how.GetSiblingFiles());
    return dataset;
}

char** SceneDataset::GetFileList() {
    CPLStringList files(GDALPamDataset::GetFileList());
    const rasterhost::Scene& images = scene->GetPair().GetScene();
    const auto add = [&](const rasterhost::InputImage& image) {
        for (const auto& [name, dataset] : image.GetDatasets())
            if (VSIStatBufL state; files.FindString(name.c_str()) < 0 &&
                                   VSIStatExL(name.c_str(), &state, VSI_STAT_EXISTS_FLAG) == 0)
                files.AddString(name.c_str());
    };
    add(*images.pan);
    for (const rasterhost::PlacedImage& image : images.images)
        add(*image.image);
    return files.StealList();
}

bool SceneDataset::Fuse(const PixelRect& rect, std::span<const std::uint32_t> wanted,
                        const rasterhost::WindowTarget& target, rasterhost::Status& status) const {
    const auto atFullSize = [&](std::uint32_t end, std::uint32_t size) {
        return static_cast<std::uint32_t>(std::min<std::uint64_t>(std::uint64_t{end} << level, size));
    };
    const PixelRect window{rect.col0 << level, rect.row0 << level, atFullSize(rect.col1, scene->GetColumns()),
                           atFullSize(rect.row1, scene->GetRows())};
    return scene->Read(window, rect.GetColumns(), rect.GetRows(), wanted, target, status);
}

bool SceneDataset::FuseAs(GDALDataType type, const PixelRect& rect, std::span<const std::uint32_t> wanted,
                          const rasterhost::WindowTarget& target, rasterhost::Status& status) const {
    if (type == GetType()) return Fuse(rect, wanted, target, status);
    constexpr std::uint32_t mostPixels = 1u << 20; // at a time
    const std::uint32_t height = std::clamp(mostPixels / rect.GetColumns(), 1u, rect.GetRows());
    const std::size_t sample = scene->GetBits() / 8, pixel = sample * wanted.size();
    const std::size_t line = pixel * rect.GetColumns();
    std::vector<unsigned char> made(line * height);
    const rasterhost::WindowTarget own{made.data(), std::ptrdiff_t(pixel), std::ptrdiff_t(line),
                                       std::ptrdiff_t(sample), nullptr};
    PixelRect part = rect;
    for (; part.row0 < rect.row1; part.row0 = part.row1) {
        part.row1 = part.row0 + std::min(height, rect.row1 - part.row0);
        if (!Fuse(part, wanted, own, status)) return false;
        for (std::size_t row = 0; row < part.GetRows(); ++row)
            for (std::size_t band = 0; band < wanted.size(); ++band)
                GDALCopyWords64(made.data() + row * line + band * sample, GetType(), static_cast<int>(pixel),
                                target.samples +
                                    std::ptrdiff_t(part.row0 - rect.row0 + row) * target.rowStride +
                                    std::ptrdiff_t(band) * target.bandStride,
                                type, static_cast<int>(target.pixelStride), rect.GetColumns());
    }
    return true;
}

bool SceneDataset::FuseSideBySide(GDALDataType type, const PixelRect& rect,
                                  std::span<const std::uint32_t> wanted,
                                  const rasterhost::WindowTarget& target, rasterhost::Status& status) const {
    constexpr std::uint32_t leastRows = 32; // the rows around a strip are read twice
    const auto most = static_cast<std::uint32_t>(scene->GetPair().GetMostReaders());
    const std::uint32_t count = std::clamp(rect.GetRows() / leastRows, 1u, most);
    std::vector<rasterhost::Status> failures(count);
    const auto fuse = [&](std::uint32_t strip) {
        const auto start = [&](std::uint32_t number) {
            return static_cast<std::uint32_t>(std::uint64_t{rect.GetRows()} * number / count);
        };
        rasterhost::WindowTarget into = target;
        into.samples += static_cast<std::ptrdiff_t>(start(strip)) * target.rowStride;
        if (into.mask) into.mask += std::size_t{start(strip)} * rect.GetColumns();
        const PixelRect rows{rect.col0, rect.row0 + start(strip), rect.col1, rect.row0 + start(strip + 1)};
        return FuseAs(type, rows, wanted, into, failures[strip]);
    };
    std::vector<std::future<bool>> others; // their destructors wait, whatever happens
    // A strip for which no thread can be started is fused by this one.
    constexpr auto beside = std::launch::async | std::launch::deferred;
    for (std::uint32_t strip = 1; strip < count; ++strip)
        others.push_back(std::async(beside, fuse, strip));
    bool isDone = fuse(0);
    for (std::future<bool>& other : others)
        isDone = other.get() && isDone;
    for (const rasterhost::Status& failure : failures)
        status.Append(failure);
    return isDone;
}

/// Makes a rectangle of blocks, either all bands and the mask or only the mask, and passes them on one by
/// one.
bool SceneDataset::MakeBlocks(const PixelRect& blocks, bool isMaskAlone, Scratch& scratch,
                              const TakeBlock& take) {
    const auto pixels = [](std::uint32_t number, int size) {
        return std::min(number * blockSize, static_cast<std::uint32_t>(size));
    };
    const PixelRect rect{blocks.col0 * blockSize, blocks.row0 * blockSize, pixels(blocks.col1, nRasterXSize),
                         pixels(blocks.row1, nRasterYSize)};
    const std::size_t sample = scene->GetBits() / 8, line = sample * rect.GetColumns();
    const std::size_t plane = line * rect.GetRows();
    std::vector<unsigned char>&samples = scratch.samples, &valid = scratch.valid;
    const auto hand = [&](int band, const unsigned char* first, std::size_t bytes) {
        for (std::uint32_t row = blocks.row0; row < blocks.row1; ++row)
            for (std::uint32_t column = blocks.col0; column < blocks.col1; ++column) {
                const std::uint32_t down = row * blockSize - rect.row0,
                                    across = column * blockSize - rect.col0;
                const std::size_t rowStride = bytes * rect.GetColumns();
                take(band, column, row,
                     {first + down * rowStride + across * bytes, rowStride,
                      bytes * std::min<std::size_t>(blockSize, rect.GetColumns() - across),
                      std::min<std::size_t>(blockSize, rect.GetRows() - down), bytes * blockSize});
            }
    };
    return RunReporting([&](rasterhost::Status& status) {
        std::vector<std::uint32_t> wanted(isMaskAlone ? 0 : scene->GetBands());
        std::iota(wanted.begin(), wanted.end(), 0u);
        const std::size_t masked = mask ? std::size_t{rect.GetColumns()} * rect.GetRows() : 0;
        samples.resize(std::max(samples.size(), wanted.size() * plane));
        valid.resize(std::max(valid.size(), masked));
        const rasterhost::WindowTarget target{samples.data(), std::ptrdiff_t(sample), std::ptrdiff_t(line),
                                              std::ptrdiff_t(plane), mask ? valid.data() : nullptr};
        const bool isOne = blocks.GetColumns() == 1 && blocks.GetRows() == 1;
        if (!(isOne ? Fuse(rect, wanted, target, status)
                    : FuseSideBySide(GetType(), rect, wanted, target, status)))
            return false;
        if (mask) hand(0, valid.data(), 1);
        for (const std::uint32_t band : wanted)
            hand(static_cast<int>(band) + 1, samples.data() + band * plane, sample);
        return true;
    });
}

CPLErr SceneDataset::ReadBlock(int asked, int column, int row, void* block) {
    const auto take = [&](int band, std::uint32_t c, std::uint32_t r, const BlockSamples& samples) {
        if (band == asked)
            samples.CopyTo(block);
        else
            Offer(GetBandOrMask(band), c, r, samples);
    };
    return MakeBlocks(RectOf(column, row, 1, 1), asked == 0, ofOneBlock, std::cref(take)) ? CE_None
                                                                                          : CE_Failure;
}

CPLErr SceneDataset::FillCache(int asked, const PixelRect& rect) {
    constexpr std::size_t mostBlocks = 64; // at a time
    GDALRasterBand& band = GetBandOrMask(asked);
    Scratch ofMany;
    const auto take = [&](int other, std::uint32_t column, std::uint32_t row, const BlockSamples& samples) {
        Offer(GetBandOrMask(other), column, row, samples);
    };
    const std::uint32_t first = rect.col0 / blockSize, end = (rect.col1 - 1) / blockSize + 1;
    const auto height = static_cast<std::uint32_t>(std::max<std::size_t>(mostBlocks / (end - first), 1));
    const std::uint32_t endRow = (rect.row1 - 1) / blockSize + 1;
    for (std::uint32_t row = rect.row0 / blockSize; row < endRow; row += height) {
        PixelRect missing{end, row, first, std::min(row + height, endRow)};
        for (std::uint32_t r = missing.row0; r < missing.row1; ++r)
            for (std::uint32_t column = first; column < end; ++column)
                if (!IsCached(band, column, r))
                    missing = {std::min(missing.col0, column), missing.row0,
                               std::max(missing.col1, column + 1), missing.row1};
        if (missing.col0 < missing.col1 && !MakeBlocks(missing, asked == 0, ofMany, std::cref(take)))
            return CE_Failure;
    }
    return CE_None;
}

/// Large reads without resampling are fused in one go. They bypass the cache when all bands are read
/// together, or when the cache has no room for the other bands.
SceneDataset::ReadPath SceneDataset::ChooseReadPath(const PixelRect& rect, int bands, bool isResampled,
                                                    const GDALRasterIOExtraArg* extra) const {
    const bool tellsProgress = extra && extra->pfnProgress; // called after each block; may cancel there
    const std::size_t pixels = std::size_t{rect.GetColumns()} * rect.GetRows();
    if (isResampled || tellsProgress || pixels < 4 * blockPixels) return ReadPath::ByBlocks;
    const std::size_t bytes = pixels * scene->GetBands() * (scene->GetBits() / 8);
    return bands == nBands || bytes > static_cast<std::size_t>(GDALGetCacheMax64()) / 2
               ? ReadPath::PastCache
               : ReadPath::ThroughCache;
}

CPLErr SceneDataset::ReadPastCache(const PixelRect& rect, std::span<const int> bandMap, void* samples,
                                   GDALDataType type, GSpacing pixelSpace, GSpacing lineSpace,
                                   GSpacing bandSpace) {
    const bool isFused = RunReporting([&](rasterhost::Status& status) {
        std::vector<std::uint32_t> wanted;
        for (const int band : bandMap)
            wanted.push_back(static_cast<std::uint32_t>(band - 1));
        return FuseSideBySide(type, rect, wanted,
                              {static_cast<unsigned char*>(samples), static_cast<std::ptrdiff_t>(pixelSpace),
                               static_cast<std::ptrdiff_t>(lineSpace), static_cast<std::ptrdiff_t>(bandSpace),
                               nullptr},
                              status);
    });
    return isFused ? CE_None : CE_Failure;
}

CPLErr SceneDataset::IRasterIO(GDALRWFlag flag, int column, int row, int columns, int rows, void* samples,
                               int outColumns, int outRows, GDALDataType type, int bandCount, int* bandMap,
                               GSpacing pixelSpace, GSpacing lineSpace, GSpacing bandSpace,
                               GDALRasterIOExtraArg* extra) {
    if (flag == GF_Read) {
        const PixelRect rect = RectOf(column, row, columns, rows);
        const ReadPath path =
            ChooseReadPath(rect, bandCount, columns != outColumns || rows != outRows, extra);
        if (path == ReadPath::PastCache)
            return ReadPastCache(rect, {bandMap, static_cast<std::size_t>(bandCount)}, samples, type,
                                 pixelSpace, lineSpace, bandSpace);
        if (path == ReadPath::ThroughCache && FillCache(bandMap[0], rect) != CE_None) return CE_Failure;
    }
    if (flag == GF_Read && (outColumns < columns || outRows < rows)) {
        int isTried = FALSE;
        const CPLErr result =
            TryOverviewRasterIO(flag, column, row, columns, rows, samples, outColumns, outRows, type,
                                bandCount, bandMap, pixelSpace, lineSpace, bandSpace, extra, &isTried);
        if (isTried) return result;
    }
    return GDALPamDataset::IRasterIO(flag, column, row, columns, rows, samples, outColumns, outRows, type,
                                     bandCount, bandMap, pixelSpace, lineSpace, bandSpace, extra);
}

/// Overviews in files are made from full size; the coarser levels would otherwise be mistaken for existing
/// overviews.
CPLErr SceneDataset::IBuildOverviews(const char* resampling, int overviews, const int* factors, int listed,
                                     const int* bandList, GDALProgressFunc progress, void* progressData,
                                     CSLConstList options) {
    if (mask && overviews > 0) {
        CPLError(CE_Failure, CPLE_NotSupported,
                 "the scene has a mask, which overviews in files would lack; describe the scene with "
                 "--nodata or --alpha");
        return CE_Failure;
    }
    hidesLevels = true;
    const CPLErr result = GDALPamDataset::IBuildOverviews(resampling, overviews, factors, listed, bandList,
                                                          progress, progressData, options);
    hidesLevels = false;
    return result;
}

} // namespace gdaldriver
