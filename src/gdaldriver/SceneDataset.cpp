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

/// What an image written in one step would have beside its pixels, as a dataset without any.
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
    rasterhost::DescribeOutput(scene.GetPair().GetScene(), scene.GetFusion().rules, metadata, *description);
    return description;
}

/// That large reads may take.
std::size_t CountThreads(const GDALOpenInfo& how) {
    const char* asked = CSLFetchNameValue(how.papszOpenOptions, "NUM_THREADS");
    if (!asked) asked = CPLGetConfigOption("GDAL_NUM_THREADS", "1");
    constexpr int most = 128;
    return static_cast<std::size_t>(
        std::clamp(EQUAL(asked, "ALL_CPUS") ? CPLGetNumCPUs() : std::atoi(asked), 1, most));
}

/// Puts samples that were fused along into the cache, unless they are there.
void Offer(GDALRasterBand& band, int column, int row, const unsigned char* samples, std::size_t bytes) {
    if (GDALRasterBlock* cached = band.TryGetLockedBlockRef(column, row)) {
        cached->DropLock();
    } else if (GDALRasterBlock* block = band.GetLockedBlockRef(column, row, TRUE)) {
        std::memcpy(block->GetDataRef(), samples, bytes);
        block->DropLock();
    }
}

} // namespace

SceneDataset::SceneDataset(Scene sharpened, std::shared_ptr<GDALDataset> described, unsigned levelNumber)
    : scene(std::move(sharpened)), description(std::move(described)), level(levelNumber) {
    nRasterXSize = static_cast<int>(hostkit::CoarseCount(scene->GetColumns(), level));
    nRasterYSize = static_cast<int>(hostkit::CoarseCount(scene->GetRows(), level));
    eAccess = GA_ReadOnly;
    const GDALDataType type = scene->GetBits() == 8 ? GDT_Byte : GDT_UInt16;
    for (int band = 1; band <= static_cast<int>(scene->GetBands()); ++band)
        SetBand(band, new SceneBand(*this, band, type, *description->GetRasterBand(band)));
    const rasterhost::OutputRules& rules = scene->GetFusion().rules;
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

/// What is to be kept, such as statistics, is written while all of this is there.
SceneDataset::~SceneDataset() { GDALPamDataset::FlushCache(true); }

/// Beside what is kept in files, so that nothing is written when this is closed.
void SceneDataset::TakeMetadata() {
    for (const char* domain : {"", "RPC"})
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

bool SceneDataset::FuseSideBySide(const PixelRect& rect, std::span<const std::uint32_t> wanted,
                                  const rasterhost::WindowTarget& target, rasterhost::Status& status) const {
    constexpr std::uint32_t leastRows = 32; // rows above and below a strip are read twice
    const auto most = static_cast<std::uint32_t>(scene->GetPair().GetMostReaders());
    const std::uint32_t count = std::clamp(rect.GetRows() / leastRows, 1u, most);
    std::vector<rasterhost::Status> failures(count);
    const auto fuse = [&](std::uint32_t strip) {
        const auto start = [&](std::uint32_t number) {
            return static_cast<std::uint32_t>(std::uint64_t{rect.GetRows()} * number / count);
        };
        rasterhost::WindowTarget into = target;
        into.samples += static_cast<std::ptrdiff_t>(start(strip)) * target.rowStride;
        const PixelRect rows{rect.col0, rect.row0 + start(strip), rect.col1, rect.row0 + start(strip + 1)};
        return Fuse(rows, wanted, into, failures[strip]);
    };
    std::vector<std::future<bool>> others; // each is waited for, whatever happens
    for (std::uint32_t strip = 1; strip < count; ++strip)
        others.push_back(std::async(std::launch::async, fuse, strip));
    bool isDone = fuse(0);
    for (std::future<bool>& other : others)
        isDone = other.get() && isDone;
    for (const rasterhost::Status& failure : failures)
        status.Append(failure);
    return isDone;
}

CPLErr SceneDataset::ReadBlock(int asked, int column, int row, void* block) {
    const std::size_t bytes = scene->GetBits() / 8, plane = blockPixels * bytes;
    const auto first = [](int number) { return static_cast<std::uint32_t>(number) * blockSize; };
    const auto end = [&](int number, int size) {
        return std::min(first(number) + blockSize, static_cast<std::uint32_t>(size));
    };
    const PixelRect rect{first(column), first(row), end(column, nRasterXSize), end(row, nRasterYSize)};
    std::vector<std::uint32_t> all(scene->GetBands());
    std::iota(all.begin(), all.end(), 0u);
    std::vector<unsigned char> samples, valid, spread;
    const bool isFused = RunReporting([&](rasterhost::Status& status) {
        samples.resize(all.size() * plane);
        valid.resize(mask ? blockPixels : 0);
        spread.resize(valid.size());
        const auto signedOf = [](std::size_t size) { return static_cast<std::ptrdiff_t>(size); };
        return Fuse(rect, all,
                    {samples.data(), signedOf(bytes), signedOf(bytes * blockSize), signedOf(plane),
                     mask ? valid.data() : nullptr},
                    status);
    });
    if (!isFused) return CE_Failure;
    for (std::uint32_t line = 0; mask && line < rect.GetRows(); ++line)
        std::memcpy(spread.data() + std::size_t{line} * blockSize,
                    valid.data() + std::size_t{line} * rect.GetColumns(), rect.GetColumns());
    const auto deliver = [&](int number, GDALRasterBand& band, const unsigned char* from, std::size_t size) {
        if (number == asked)
            std::memcpy(block, from, size);
        else
            Offer(band, column, row, from, size);
    };
    if (mask) deliver(0, *mask, spread.data(), blockPixels);
    for (int band = 1; band <= nBands; ++band)
        deliver(band, *GetRasterBand(band), samples.data() + static_cast<std::size_t>(band - 1) * plane,
                plane);
    return CE_None;
}

/// True for what is quicker to fuse in one go than block by block. The cache does not see it.
bool SceneDataset::IsLargeRead(GDALRWFlag flag, int columns, int rows, int outColumns, int outRows,
                               GDALDataType type, int bandCount) const {
    return flag == GF_Read && columns == outColumns && rows == outRows && bandCount == nBands &&
           type == (scene->GetBits() == 8 ? GDT_Byte : GDT_UInt16) &&
           std::size_t(columns) * std::size_t(rows) >= 4 * blockPixels;
}

CPLErr SceneDataset::IRasterIO(GDALRWFlag flag, int column, int row, int columns, int rows, void* samples,
                               int outColumns, int outRows, GDALDataType type, int bandCount, int* bandMap,
                               GSpacing pixelSpace, GSpacing lineSpace, GSpacing bandSpace,
                               GDALRasterIOExtraArg* extra) {
    const bool tellsProgress = extra && extra->pfnProgress; // after each block, and may be stopped there
    if (!tellsProgress && IsLargeRead(flag, columns, rows, outColumns, outRows, type, bandCount)) {
        const auto number = [](int value) { return static_cast<std::uint32_t>(value); };
        const bool isFused = RunReporting([&](rasterhost::Status& status) {
            std::vector<std::uint32_t> wanted;
            for (const int band : std::span(bandMap, static_cast<std::size_t>(bandCount)))
                wanted.push_back(number(band - 1));
            return FuseSideBySide(
                {number(column), number(row), number(column + columns), number(row + rows)}, wanted,
                {static_cast<unsigned char*>(samples), static_cast<std::ptrdiff_t>(pixelSpace),
                 static_cast<std::ptrdiff_t>(lineSpace), static_cast<std::ptrdiff_t>(bandSpace), nullptr},
                status);
        });
        return isFused ? CE_None : CE_Failure;
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

/// Overviews in files are made of full size, and would else be taken for there already.
CPLErr SceneDataset::IBuildOverviews(const char* resampling, int overviews, const int* factors, int listed,
                                     const int* bandList, GDALProgressFunc progress, void* progressData,
                                     CSLConstList options) {
    if (mask && overviews > 0) {
        CPLError(
            CE_Failure, CPLE_NotSupported,
            "the scene has a mask, which overviews in files would lack; describe the scene with --nodata "
            "or --alpha, or do without");
        return CE_Failure;
    }
    hidesLevels = true;
    const CPLErr result = GDALPamDataset::IBuildOverviews(resampling, overviews, factors, listed, bandList,
                                                          progress, progressData, options);
    hidesLevels = false;
    return result;
}

} // namespace gdaldriver
