#include "rasterhost/writing/LevelRows.h"

#include "fundament/Text.h"
#include "kernels/HalveRow.h"
#include "rasterhost/requests/GdalErrors.h"

#include <cpl_string.h>
#include <gdal_priv.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/task_arena.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;

void LevelRows::Append(std::uint32_t count) {
    const std::size_t held = At(end);
    if ((held + count) * columns > valid.size()) {
        const std::size_t room = std::max<std::size_t>(held + count, expected);
        samples.reserve(room * GetRowBytes()); // exactly
        samples.resize(room * GetRowBytes());
        valid.reserve(room * columns);
        valid.resize(room * columns);
    }
    std::memset(GetValid(end), 0xFF, std::size_t{count} * columns);
    end += count;
}

void LevelRows::DropBefore(std::uint32_t row) {
    if (row <= first) return;
    std::memmove(samples.data(), GetSamples(row), (end - row) * GetRowBytes());
    std::memmove(valid.data(), GetValid(row), std::size_t{end - row} * columns);
    first = row;
}

namespace {

constexpr std::uint32_t rowsOfATask = 32; // of an overview

double Ratio(const LevelRows& fine, const LevelRows& coarse) {
    return static_cast<double>(fine.GetRows()) / coarse.GetRows();
}

/// How many rows beyond those that an overview's rows cover the kernel needs: two overview pixels less half
/// of one, plus one for rounding.
double Reach(double ratio) { return std::ceil(1.5 * ratio) + 1.0; }

/// Some rows of an overview and the rows that they are made from.
class Reduction {
public:
    Reduction(LevelRows& fineRows, LevelRows& coarseRows, std::uint32_t firstRow, std::uint32_t endRow)
        : fine(fineRows), coarse(coarseRows), first(firstRow), rows(endRow - firstRow) {
        const double ratio = Ratio(fine, coarse);
        top = FirstNeeded(fine, coarse, first);
        bottom = static_cast<std::uint32_t>(
            std::min<double>(fine.GetRows(), std::ceil(endRow * ratio + Reach(ratio))));
    }

    bool Run(Marking marking, std::atomic<bool>& marks) {
        const SampleForm& form = fine.GetForm();
        const auto type = form.bits == 8 ? GDT_Byte : GDT_UInt16;
        const std::size_t sampleBytes = form.bits / 8, pixelBytes = form.GetPixelBytes();
        const bool isMarked = !form.noData && LacksData();
        if (isMarked) marks = true;
        const GDALDatasetUniquePtr image = Wrap();
        for (std::size_t band = 0; band < form.bands; ++band)
            AddBand(*image, type, fine.GetSamples(top) + band * sampleBytes, pixelBytes);
        if (image->GetRasterCount() != static_cast<int>(form.bands)) return false;
        if (form.noData)
            for (GDALRasterBand* band : image->GetBands())
                band->SetNoDataValue(*form.noData);
        if (isMarked && !AddMask(*image)) return false;
        std::vector<Part> parts{All()};
        if (!isMarked && (form.bits == 8 ? Halve<unsigned char>() : Halve<unsigned short>())) parts = Edges();
        for (std::size_t band = 0; band < form.bands; ++band)
            for (const Part& part : parts)
                if (part.rows > 0 && !Read(*image->GetRasterBand(static_cast<int>(band) + 1), type,
                                           coarse.GetSamples(first) + band * sampleBytes, pixelBytes, part))
                    return false;
        return !isMarked || ReduceMask(marking);
    }

private:
    /// A part of the overview.
    struct Part {
        std::uint32_t column, columns, row, rows;
    };

    [[nodiscard]] Part All() const { return {0, coarse.GetColumns(), first, rows}; }
    /// The rows whose kernel lies completely within the image.
    [[nodiscard]] Part Inside() const {
        const std::uint32_t row = std::max(first, edge), most = coarse.GetRows() - edge;
        const std::uint32_t end = std::max(std::min(first + rows, most), row);
        return {edge, coarse.GetColumns() - 2 * edge, row, end - row};
    }
    /// The parts where the kernel reaches beyond the image.
    [[nodiscard]] std::vector<Part> Edges() const {
        const Part inside = Inside();
        const std::uint32_t columns = coarse.GetColumns(), end = inside.row + inside.rows;
        return {{0, columns, first, inside.row - first},
                {0, edge, inside.row, inside.rows},
                {columns - edge, edge, inside.row, inside.rows},
                {0, columns, end, first + rows - end}};
    }

    /// Makes all but the edges in whole numbers, if exactly two pixels become one, all of them have data, and
    /// no result has the value for no data. GDAL gives the same result but takes many times as long.
    template <class T>
    [[nodiscard]] bool Halve() {
        const bool isHalf =
            fine.GetColumns() == 2 * coarse.GetColumns() && fine.GetRows() == 2 * coarse.GetRows();
        if (!isHalf || coarse.GetColumns() <= 2 * edge || coarse.GetRows() <= 2 * edge) return false;
        const Part inside = Inside();
        if (inside.row > first + rows) return false;
        const std::size_t bands = fine.GetForm().bands, samples = coarse.GetColumns() * bands;
        const auto isData = [&](const unsigned char* from, std::size_t count) {
            const T* begin = reinterpret_cast<const T*>(from);
            return !fine.GetForm().noData ||
                   std::find(begin, begin + count, static_cast<T>(*fine.GetForm().noData)) == begin + count;
        };
        if (!isData(fine.GetSamples(top), 2 * samples * (bottom - top))) return false;
        static const auto halveRow = kernels::HalveRowFor<T>(kernels::ChosenSimdTarget());
        std::vector<kernels::HalvingSum<T>> room(4 * samples);
        for (std::uint32_t row = inside.row; row < inside.row + inside.rows; ++row) {
            std::array<const T*, 8> around{};
            for (std::uint32_t i = 0; i < around.size(); ++i)
                around[i] = reinterpret_cast<const T*>(fine.GetSamples(2 * row - 3 + i));
            halveRow(around, coarse.GetColumns(), bands, room.data(),
                     reinterpret_cast<T*>(coarse.GetSamples(row)));
            if (!isData(coarse.GetSamples(row) + edge * bands * sizeof(T), samples - bands * edge * 2))
                return false;
        }
        return true;
    }

    [[nodiscard]] bool LacksData() {
        return std::memchr(fine.GetValid(top), 0, std::size_t{bottom - top} * fine.GetColumns()) != nullptr;
    }

    /// A dataset without bands for the rows that are needed.
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
            !Read(*image->GetRasterBand(1), GDT_Byte, coarse.GetValid(first), 1, All()))
            return false;
        unsigned char* valid = coarse.GetValid(first);
        std::transform(
            valid, valid + std::size_t{rows} * coarse.GetColumns(), valid,
            [](unsigned char weight) { return static_cast<unsigned char>(weight < 0x80 ? 0 : 0xFF); });
        return true;
    }

    /// Reads a part of the overview into the samples of one band, beginning at its first sample.
    bool Read(GDALRasterBand& band, GDALDataType type, unsigned char* out, std::size_t pixelBytes,
              const Part& part) {
        GDALRasterIOExtraArg how;
        INIT_RASTERIO_EXTRA_ARG(how);
        how.eResampleAlg = GRIORA_Cubic;
        how.bFloatingPointWindowValidity = TRUE;
        const double across = static_cast<double>(fine.GetColumns()) / coarse.GetColumns();
        const double down = Ratio(fine, coarse);
        how.dfXOff = part.column * across;
        how.dfXSize = part.columns * across;
        how.dfYOff = part.row * down - top;
        how.dfYSize = part.rows * down;
        const auto whole = [](double offset, double size, std::uint32_t most) {
            const auto start = static_cast<int>(std::floor(offset));
            return std::pair(start,
                             static_cast<int>(std::min<double>(std::ceil(offset + size), most)) - start);
        };
        const auto [x, width] = whole(how.dfXOff, how.dfXSize, fine.GetColumns());
        const auto [y, height] = whole(how.dfYOff, how.dfYSize, bottom - top);
        const auto spacing = static_cast<GSpacing>(pixelBytes), rowBytes = spacing * coarse.GetColumns();
        unsigned char* at = out + (part.row - first) * rowBytes + part.column * spacing;
        return band.RasterIO(GF_Read, x, y, width, height, at, static_cast<int>(part.columns),
                             static_cast<int>(part.rows), type, spacing, rowBytes, &how) == CE_None;
    }

    static constexpr std::uint32_t edge = 2;

    LevelRows& fine;
    LevelRows& coarse;
    const std::uint32_t first, rows;
    std::uint32_t top = 0, bottom = 0; ///< rows of the finer image
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

bool Reduce(LevelRows& fine, LevelRows& coarse, std::uint32_t end, Marking marking, bool& isMarked) {
    const std::uint32_t first = coarse.GetEnd();
    isMarked = false;
    if (end <= first) return true;
    coarse.Append(end - first);
    std::atomic<bool> isGood = true, marks = false;
    oneapi::tbb::this_task_arena::isolate([&] {
        oneapi::tbb::parallel_for(
            std::uint32_t{0}, (end - first - 1) / rowsOfATask + 1, [&](std::uint32_t i) {
                const GdalErrors silence; // on the current thread
                const std::uint32_t row = first + i * rowsOfATask;
                if (!Reduction(fine, coarse, row, std::min(row + rowsOfATask, end)).Run(marking, marks))
                    isGood = false;
            });
    });
    isMarked = marks;
    return isGood;
}

std::uint64_t CountReducing(std::uint32_t columns, int threads) {
    // GDAL resamples a million pixels at a time, in float with a mask; half of them also need double
    // temporarily.
    constexpr std::uint64_t mostPixels = std::uint64_t{1} << 20, pixelBytes = 9;
    const std::uint64_t pixels = std::uint64_t{columns} * 2 * (rowsOfATask + 4);
    return std::min(mostPixels, pixels) * pixelBytes * static_cast<unsigned>(threads);
}

} // namespace rasterhost
