#include "rasterhost/writing/LevelRows.h"

#include "fundament/Text.h"

#include <cpl_string.h>
#include <gdal_priv.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/task_arena.h>

#include <algorithm>
#include <atomic>
#include <cmath>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;

void LevelRows::Append(std::uint32_t count) {
    end += count;
    samples.resize(At(end) * GetRowBytes());
    valid.resize(At(end) * columns, 0xFF);
}

void LevelRows::DropBefore(std::uint32_t row) {
    if (row <= first) return;
    samples.erase(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(At(row) * GetRowBytes()));
    valid.erase(valid.begin(), valid.begin() + static_cast<std::ptrdiff_t>(At(row) * columns));
    first = row;
}

namespace {

double Ratio(const LevelRows& fine, const LevelRows& coarse) {
    return static_cast<double>(fine.GetRows()) / coarse.GetRows();
}

/// Rows beyond those that an overview's rows cover, to which the kernel reaches: two of its own pixels, less
/// half of one, and one for rounding.
double Reach(double ratio) { return std::ceil(1.5 * ratio) + 1.0; }

/// Some rows of an overview and what they are made of.
class Reduction {
public:
    Reduction(LevelRows& fineRows, LevelRows& coarseRows, std::uint32_t firstRow, std::uint32_t endRow)
        : fine(fineRows), coarse(coarseRows), first(firstRow), rows(endRow - firstRow) {
        const double ratio = Ratio(fine, coarse);
        top = FirstNeeded(fine, coarse, first);
        bottom = static_cast<std::uint32_t>(
            std::min<double>(fine.GetRows(), std::ceil(endRow * ratio + Reach(ratio))));
        offset = first * ratio - top;
        height = rows * ratio;
    }

    bool Run(Marking marking) {
        const SampleForm& form = fine.GetForm();
        const auto type = form.bits == 8 ? GDT_Byte : GDT_UInt16;
        const std::size_t sampleBytes = form.bits / 8, pixelBytes = form.GetPixelBytes();
        const bool isMarked = !form.noData && LacksData();
        const GDALDatasetUniquePtr image = Wrap();
        for (std::size_t band = 0; band < form.bands; ++band)
            AddBand(*image, type, fine.GetSamples(top) + band * sampleBytes, pixelBytes);
        if (image->GetRasterCount() != static_cast<int>(form.bands)) return false;
        if (form.noData)
            for (GDALRasterBand* band : image->GetBands())
                band->SetNoDataValue(*form.noData);
        if (isMarked && !AddMask(*image)) return false;
        for (std::size_t band = 0; band < form.bands; ++band)
            if (!Read(*image->GetRasterBand(static_cast<int>(band) + 1), type,
                      coarse.GetSamples(first) + band * sampleBytes, pixelBytes))
                return false;
        return !isMarked || ReduceMask(marking);
    }

private:
    [[nodiscard]] bool LacksData() {
        const unsigned char* valid = fine.GetValid(top);
        const unsigned char* end = valid + std::size_t{bottom - top} * fine.GetColumns();
        return std::find(valid, end, static_cast<unsigned char>(0)) != end;
    }

    /// An image without bands of the rows that are needed.
    [[nodiscard]] GDALDatasetUniquePtr Wrap() const {
        return GDALDatasetUniquePtr(GetGDALDriverManager()->GetDriverByName("MEM")->Create(
            "", static_cast<int>(fine.GetColumns()), static_cast<int>(bottom - top), 0, GDT_Byte, nullptr));
    }

    void AddBand(GDALDataset& image, GDALDataType type, unsigned char* samples,
                 std::size_t pixelBytes) const {
        CPLStringList options;
        char address[32] = {};
        address[CPLPrintPointer(address, samples, sizeof address - 1)] = '\0';
        options.SetNameValue("DATAPOINTER", address);
        options.SetNameValue("PIXELOFFSET", FormatString("%zu", pixelBytes).c_str());
        options.SetNameValue("LINEOFFSET", FormatString("%zu", pixelBytes * fine.GetColumns()).c_str());
        image.AddBand(type, options.List());
    }

    bool AddMask(GDALDataset& image) {
        const auto across = static_cast<int>(fine.GetColumns()), down = static_cast<int>(bottom - top);
        return image.CreateMaskBand(GMF_PER_DATASET) == CE_None &&
               image.GetRasterBand(1)->GetMaskBand()->RasterIO(GF_Write, 0, 0, across, down,
                                                               fine.GetValid(top), across, down, GDT_Byte, 0,
                                                               0, nullptr) == CE_None;
    }

    bool ReduceMask(Marking marking) {
        const GDALDatasetUniquePtr image = Wrap();
        AddBand(*image, GDT_Byte, fine.GetValid(top), 1);
        if (image->GetRasterCount() != 1 || (marking == Marking::Any && !AddMask(*image)) ||
            !Read(*image->GetRasterBand(1), GDT_Byte, coarse.GetValid(first), 1))
            return false;
        unsigned char* valid = coarse.GetValid(first);
        std::transform(
            valid, valid + std::size_t{rows} * coarse.GetColumns(), valid,
            [](unsigned char weight) { return static_cast<unsigned char>(weight < 0x80 ? 0 : 0xFF); });
        return true;
    }

    bool Read(GDALRasterBand& band, GDALDataType type, unsigned char* out, std::size_t pixelBytes) {
        GDALRasterIOExtraArg how;
        INIT_RASTERIO_EXTRA_ARG(how);
        how.eResampleAlg = GRIORA_Cubic;
        how.bFloatingPointWindowValidity = TRUE;
        how.dfXOff = 0.0;
        how.dfXSize = fine.GetColumns();
        how.dfYOff = offset;
        how.dfYSize = height;
        const double start = std::floor(offset);
        const double stop = std::min<double>(std::ceil(offset + height), bottom - top);
        return band.RasterIO(GF_Read, 0, static_cast<int>(start), static_cast<int>(fine.GetColumns()),
                             static_cast<int>(stop - start), out, static_cast<int>(coarse.GetColumns()),
                             static_cast<int>(rows), type, static_cast<GSpacing>(pixelBytes),
                             static_cast<GSpacing>(pixelBytes * coarse.GetColumns()), &how) == CE_None;
    }

    LevelRows& fine;
    LevelRows& coarse;
    const std::uint32_t first, rows;
    std::uint32_t top = 0, bottom = 0; ///< rows of the finer image
    double offset = 0.0, height = 0.0; ///< what the rows cover, from `top`
};

} // namespace

std::uint32_t CountReducible(const LevelRows& fine, const LevelRows& coarse) {
    if (fine.GetEnd() == fine.GetRows()) return coarse.GetRows();
    const double ratio = Ratio(fine, coarse);
    const double rows = std::floor((fine.GetEnd() - Reach(ratio)) / ratio);
    return static_cast<std::uint32_t>(std::clamp<double>(rows, coarse.GetEnd(), coarse.GetRows()));
}

std::uint32_t FirstNeeded(const LevelRows& fine, const LevelRows& coarse, std::uint32_t row) {
    const double ratio = Ratio(fine, coarse);
    return static_cast<std::uint32_t>(std::max(0.0, std::floor(row * ratio - Reach(ratio))));
}

bool Reduce(LevelRows& fine, LevelRows& coarse, std::uint32_t end, Marking marking) {
    constexpr std::uint32_t rowsOfATask = 32;
    const std::uint32_t first = coarse.GetEnd();
    if (end <= first) return true;
    coarse.Append(end - first);
    std::atomic<bool> isGood = true;
    oneapi::tbb::this_task_arena::isolate([&] {
        oneapi::tbb::parallel_for(
            std::uint32_t{0}, (end - first - 1) / rowsOfATask + 1, [&](std::uint32_t i) {
                const std::uint32_t row = first + i * rowsOfATask;
                if (!Reduction(fine, coarse, row, std::min(row + rowsOfATask, end)).Run(marking))
                    isGood = false;
            });
    });
    return isGood;
}

} // namespace rasterhost
