#include "SceneFiles.h"

#include <gmock/gmock.h>

#include <cmath>

namespace {

using rasterhost::NoDataBy;
using namespace testfiles;
using rasterhost::SharpenRequest;
using testing::HasSubstr;

constexpr int ratio = 4, msColumns = 40, msRows = 30, columns = msColumns * ratio, rows = msRows * ratio;
constexpr double step = 200.0; // samples per source pixel

/// A hole inside, a slanted collar and single pixels.
bool IsHole(int c, int r) { return (c >= 12 && c < 19 && r >= 8 && r < 13) || c * 7 + r * 13 == 333; }
bool IsCollar(int c, int r) { return c + 2 * r < 18 || c - r > 30; }

enum class Kind { Value, OtherBand, Mask, Alpha, Collar, Pan, Infrared, Option, Ignored };

/// A pair whose first multispectral band encodes the column and whose second encodes the row.
struct CodedPair {
    CodedPair(const Folder& folder, Kind kind) {
        const bool isCollar = kind == Kind::Collar;
        const auto isGap = [isCollar](int c, int r) { return isCollar ? IsCollar(c, r) : IsHole(c, r); };
        const auto coded = [&](int c, int r, int band) -> unsigned {
            if (isGap(c, r) && (isCollar || (kind != Kind::Pan && kind != Kind::Infrared &&
                                             band == (kind == Kind::OtherBand ? 1 : 0))))
                return 0;
            if (isCollar && c == 20 && r == 15) return 0; // a zero inside is data
            return static_cast<unsigned>(1000 + step * (band == 0 ? c : r));
        };
        const bool isDeclared = kind == Kind::Value || kind == Kind::OtherBand || kind == Kind::Ignored;
        FileShape panShape{columns, rows, 1, GDT_UInt16, Grid(10.0), {}};
        FileShape shape{msColumns, msRows, kind == Kind::Alpha ? 3 : 2, GDT_UInt16, Grid(40.0), {}};
        if (isDeclared) shape.noData = 0.0;
        if (kind == Kind::Pan) panShape.noData = 5.0;
        request.pan.file = folder.Write("pan.tif", panShape, [&](int c, int r, int) {
            return kind == Kind::Pan && IsHole(c / ratio, r / ratio) ? 5u : 3u;
        });
        const std::string ms = folder.Write("ms.tif", shape, [&](int c, int r, int band) {
            return band == 2 ? (isGap(c, r) ? 0u : 65535u) : coded(c, r, band);
        });
        request.multispectral = {{ms, {}}};
        if (kind == Kind::Infrared) {
            const std::string ir =
                folder.Write("ir.tif", {msColumns, msRows, 1, GDT_UInt16, Grid(40.0), {}, 9.0},
                             [&](int c, int r, int) { return isGap(c, r) ? 9u : 100u; });
            request.infrared = rasterhost::InputBand{ir, {}};
            request.infraredWeight = 0.0;
        }
        request.weights = {1e-300, 1e-300}; // so that fusing adds pan, which is 3
        request.output = folder / "fused.tif";
        if (kind == Kind::Option) request.noData = 0.0;
        request.ignoreNoData = kind == Kind::Ignored;
        GDALDatasetUniquePtr file(GDALDataset::Open(ms.c_str(), GDAL_OF_RASTER | GDAL_OF_UPDATE));
        if (kind == Kind::Alpha) file->GetRasterBand(3)->SetColorInterpretation(GCI_AlphaBand);
        if (kind == Kind::Mask) {
            CPLConfigOptionSetter inside("GDAL_TIFF_INTERNAL_MASK", "YES", false);
            file->CreateMaskBand(GMF_PER_DATASET);
            std::vector<unsigned char> mask;
            for (int i = 0; i < msColumns * msRows; ++i)
                mask.push_back(isGap(i % msColumns, i / msColumns) ? 0 : 255);
            EXPECT_EQ(file->GetRasterBand(1)->GetMaskBand()->RasterIO(GF_Write, 0, 0, msColumns, msRows,
                                                                      mask.data(), msColumns, msRows,
                                                                      GDT_Byte, 0, 0, nullptr),
                      CE_None);
        }
    }
    SharpenRequest request = MakeRequest();
};

/// The mask of the output.
std::vector<unsigned char> ReadMask(const std::string& file) {
    GDALDatasetUniquePtr dataset(GDALDataset::Open(file.c_str()));
    std::vector<unsigned char> mask(std::size_t{columns} * rows);
    GDALRasterBand* last = dataset->GetRasterBand(dataset->GetRasterCount());
    const bool isAlpha = last->GetColorInterpretation() == GCI_AlphaBand;
    GDALRasterBand* band = isAlpha ? last : dataset->GetRasterBand(1)->GetMaskBand();
    EXPECT_EQ(
        band->RasterIO(GF_Read, 0, 0, columns, rows, mask.data(), columns, rows, GDT_Byte, 0, 0, nullptr),
        CE_None);
    return mask;
}

struct Expected {
    bool isValid = false;
    double column = 0.0, row = 0.0; ///< mean position of the source pixels used
    bool isWhole = false;
};

Expected At(int c, int r, Kind kind) {
    const double x = (c + 0.5) / ratio - 0.5, y = (r + 0.5) / ratio - 0.5;
    Expected at{false, 0.0, 0.0, true};
    double weights = 0.0;
    for (int j = static_cast<int>(std::floor(y)); j <= std::floor(y) + 1; ++j)
        for (int i = static_cast<int>(std::floor(x)); i <= std::floor(x) + 1; ++i) {
            const int column = std::clamp(i, 0, msColumns - 1), row = std::clamp(j, 0, msRows - 1);
            const double weight = (1.0 - std::fabs(i - x)) * (1.0 - std::fabs(j - y));
            const bool isGap = kind == Kind::Collar ? IsCollar(column, row) : IsHole(column, row);
            if (isGap && kind != Kind::Pan && kind != Kind::Infrared) {
                at.isWhole = false;
                continue;
            }
            // The infrared band's gaps make pixels invalid and do not change the others.
            at.isValid = at.isValid || kind != Kind::Infrared || !isGap;
            weights += weight;
            at.column += weight * column;
            at.row += weight * row;
        }
    if (kind == Kind::Pan && IsHole(c / ratio, r / ratio)) at.isValid = false;
    at.column /= weights;
    at.row /= weights;
    return at;
}

// Each kind of no data is compared with its mask. Every valid pixel lies at the mean position of its
// neighbours with data, to 1/100 of a source pixel, next to the gaps as well.
TEST(SharpenNoData, EveryKindLeavesTheOthersInPlace) {
    const struct {
        Kind kind;
        NoDataBy by;
        unsigned value;
        std::size_t warnings;
    } cases[] = {{Kind::Value, NoDataBy::Value, 0, 0},    {Kind::OtherBand, NoDataBy::Value, 0, 0},
                 {Kind::Mask, NoDataBy::Mask, 0, 0},      {Kind::Alpha, NoDataBy::Mask, 0, 0},
                 {Kind::Collar, NoDataBy::Mask, 0, 1},    {Kind::Pan, NoDataBy::Value, 5, 0},
                 {Kind::Infrared, NoDataBy::Value, 9, 0}, {Kind::Option, NoDataBy::Value, 0, 0}};
    for (const auto& c : cases)
        for (const bool alpha : {false, true}) {
            SCOPED_TRACE(testing::Message() << "kind " << static_cast<int>(c.kind) << " alpha " << alpha);
            const Folder folder;
            CodedPair pair(folder, c.kind);
            pair.request.alpha = alpha;
            pair.request.windowRows = 13;
            const Outcome outcome = RunWell(pair.request);
            EXPECT_EQ(outcome.report.warnings.size(), c.warnings);
            EXPECT_EQ(outcome.report.noDataBy, alpha ? NoDataBy::Alpha : c.by);
            EXPECT_THAT(folder.List(), testing::Not(testing::Contains(HasSubstr(".msk"))));
            const auto mask = ReadMask(pair.request.output);
            const auto samples = ReadAll(pair.request.output);
            const std::size_t bands = alpha ? 3 : 2;
            ASSERT_EQ(samples.size(), mask.size() * bands);
            std::uint64_t gaps = 0;
            for (int r = 0; r < rows; ++r)
                for (int col = 0; col < columns; ++col) {
                    const auto i = static_cast<std::size_t>(r * columns + col);
                    const Expected at = At(col, r, c.kind);
                    ASSERT_EQ(mask[i] != 0, at.isValid) << "column " << col << " row " << r;
                    gaps += !at.isValid;
                    if (!at.isValid) {
                        ASSERT_EQ(samples[i * bands], alpha ? 0 : c.value);
                        continue;
                    }
                    if (c.kind == Kind::Collar && std::abs(at.column - 20) < 1 && std::abs(at.row - 15) < 1)
                        continue; // beside the zero that is data
                    ASSERT_NEAR((samples[i * bands] - 1003.0) / step, at.column, 0.01) << col << " " << r;
                    ASSERT_NEAR((samples[i * bands + 1] - 1003.0) / step, at.row, 0.01) << col << " " << r;
                }
            EXPECT_EQ(outcome.report.pixelsWithoutData, gaps);
        }
}

TEST(SharpenNoData, IsDataWhenItIsToBe) {
    const Folder folder;
    CodedPair pair(folder, Kind::Ignored);
    const Outcome outcome = RunWell(pair.request);
    EXPECT_EQ(outcome.report.noDataBy, NoDataBy::None);
    const auto samples = ReadAll(pair.request.output);
    // The middle of the hole: 0 of the source, and pan.
    EXPECT_EQ(samples[static_cast<std::size_t>((10 * ratio + 1) * columns + 15 * ratio + 1) * 2], 3u);
}

/// 320 m wide, with one value everywhere except in one pixel; -9999 means no data.
std::string WriteOdd(const Folder& folder, const char* name, GDALDataType type, double pixel, double value,
                     double odd) {
    const int size = static_cast<int>(320.0 / pixel);
    return folder.Write(name, {size, size, 1, type, Grid(pixel), {}, -9999.0},
                        [=](int c, int r, int) { return c == 2 && r == 2 ? odd : value; });
}

TEST(SharpenNoData, SignedSamplesOfZeroAndMoreAreTaken) {
    const Folder folder;
    SharpenRequest request = MakeRequest();
    request.pan.file = WriteOdd(folder, "pan.tif", GDT_Int16, 10.0, 100, -9999);
    request.output = folder / "fused.tif";
    request.multispectral = {{WriteOdd(folder, "ms.tif", GDT_Int16, 20.0, 100, 7), {}}};
    const Outcome good = RunWell(request);
    EXPECT_EQ(good.report.pixelsWithoutData, 1u);
    EXPECT_EQ(good.report.noDataBy, NoDataBy::Mask); // the file's samples cannot be -9999
    request.multispectral = {{WriteOdd(folder, "bad.tif", GDT_Int16, 20.0, 100, -5), {}}};
    request.overwrite = true;
    const Outcome bad = RunSharpen(request);
    EXPECT_FALSE(bad.isDone);
    EXPECT_THAT(bad.status.ToText(),
                testing::AllOf(HasSubstr("bad.tif"), HasSubstr("-5"), HasSubstr("--nodata")));
}

// Values of -1 to 1 in floating point; NaN and declared values mean no data.
TEST(SharpenNoData, ScaledSamplesOfAnyType) {
    const Folder folder;
    SharpenRequest request = MakeRequest();
    request.pan.file = WriteOdd(folder, "pan.tif", GDT_Float32, 10.0, -0.25, -9999);
    request.output = folder / "fused.tif";
    request.weights = {1.0};
    request.scale = {-1.0, 1.0};
    request.overwrite = true;
    Outcome outcome;
    // Infinities become the largest value if they count as data.
    for (const double odd : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
        request.multispectral = {{WriteOdd(folder, "ms.tif", GDT_Float32, 20.0, -0.5, odd), {}}};
        outcome = RunWell(request);
        // Pan's pixel; around one source pixel there are always others.
        EXPECT_EQ(outcome.report.pixelsWithoutData, 1u);
        EXPECT_EQ(ReadAll(request.output)[4 * 32 + 4], ReadAll(request.output)[0]);
    }
    GDALDatasetUniquePtr fused(GDALDataset::Open(request.output.c_str()));
    GDALRasterBand& band = *fused->GetRasterBand(1);
    EXPECT_EQ(band.GetNoDataValue(), 0.0);
    const auto samples = ReadAll(request.output);
    EXPECT_EQ(samples[2 * 32 + 2], 0u);
    // With a weight of 1 the result is pan.
    EXPECT_NEAR(samples[0] * band.GetScale() + band.GetOffset(), -0.25, 2.0 / 65534);

    // The range found is that of both inputs plus a quarter, without values for no data and the odd sample.
    fused.reset();
    request.scale.reset();
    request.findScale = true;
    outcome = RunSharpen(request);
    ASSERT_TRUE(outcome.isDone) << outcome.status.ToText();
    EXPECT_THAT(outcome.report.warnings.front(), testing::HasSubstr("--scale -0.5,-0.1875"));
    EXPECT_EQ(ReadAll(request.output)[0], 1u + 52427u); // floor(0.8 * 65534 + 0.5)
}

// Cloud-optimised files and copies have masks, position and everything else; no temporary file is left.
TEST(SharpenNoData, GoesIntoFormatsThatAreCopied) {
    const Folder folder;
    CodedPair pair(folder, Kind::Collar);
    const auto samples = Fused(pair.request);
    const auto mask = ReadMask(pair.request.output);
    const auto before = folder.List();
    for (const char* format : {"COG", "PNG"}) {
        pair.request.format = format;
        pair.request.multispectral[0].band = std::string(format) == "PNG" ? std::optional(1) : std::nullopt;
        pair.request.weights.resize(std::string(format) == "PNG" ? 1 : 2);
        pair.request.output = folder / (std::string("copy.") + format);
        std::vector<double> seen;
        pair.request.progress = [&](double done) { return seen.push_back(done), true; };
        const Outcome outcome = RunWell(pair.request);
        EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
        EXPECT_EQ(seen.back(), 1.0);
        if (std::string(format) == "COG") {
            EXPECT_EQ(ReadAll(pair.request.output), samples);
            EXPECT_EQ(ReadMask(pair.request.output), mask);
        }
        for (const std::string& name : folder.List())
            EXPECT_THAT(name, testing::AnyOf(testing::StartsWith("copy."), testing::AnyOfArray(before)));
        // A run that is cancelled while it copies leaves the existing file.
        pair.request.overwrite = true;
        pair.request.progress = [&](double done) { return done < 0.95; };
        const auto names = folder.List();
        const auto bytes = ReadText(pair.request.output);
        EXPECT_TRUE(RunSharpen(pair.request).report.cancelled);
        EXPECT_EQ(folder.List(), names);
        EXPECT_TRUE(ReadText(pair.request.output) == bytes);
        pair.request.overwrite = false;
    }
}

} // namespace
