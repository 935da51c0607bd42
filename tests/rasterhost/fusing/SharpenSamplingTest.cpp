#include "SceneFiles.h"
#include "hostkit/AxisPlacement.h"
#include "hostkit/CodedImage.h"
#include "hostkit/RequestRecord.h"

#include <gdal_utils.h>

#include <random>

namespace {

using namespace testfiles;
using KOVA::Tessara::Pixmere::RasterInfo;
using testimages::CodedImage;
using testimages::MakeInfo;

template <class T>
class SamplingOracle : public testing::Test {
protected:
    using Image = CodedImage<T>;
    static constexpr GDALDataType type = sizeof(T) == 1 ? GDT_Byte : GDT_UInt16;

    /// All of a source sampled onto a pan grid by the host.
    static std::vector<T> Sampled(const Image& source, const RasterInfo& pan) {
        KOVA::Tessara::Fundament::Status status;
        const auto raster = hostkit::AxisPlacement(pan, source.info)
                                .Open(hostkit::WholeImage(pan), source.info, source.Whole().block,
                                      hostkit::Resampling::Bilinear, status);
        std::vector<T> all;
        for (std::uint32_t row = 0; row < pan.rows; ++row) {
            const T* samples = reinterpret_cast<const T*>(raster->GetRow(row));
            all.insert(all.end(), samples, samples + pan.cols);
        }
        return all;
    }

    Image RandomSource(int columns, int rows, double size, double left, double top) {
        return Image(MakeInfo(Whole(columns), Whole(rows), 1, sizeof(T) * 8, size, left, top),
                     [this](auto, auto, auto) { return static_cast<unsigned>(random()); });
    }
    static std::uint32_t Whole(int count) { return static_cast<std::uint32_t>(count); }

    GDALDatasetUniquePtr Open(const Image& source) const {
        const RasterInfo& info = source.info;
        return GDALDatasetUniquePtr(
            GDALDataset::Open(folder
                                  .Write("source.tif",
                                         {static_cast<int>(info.cols), static_cast<int>(info.rows), 1, type,
                                          Grid(info.pixelSizeX, info.xMin, info.yMax), "EPSG:32630"},
                                         [&](int c, int r, int) { return source.At(Whole(c), Whole(r), 0); })
                                  .c_str()));
    }

    const Folder folder;
    std::mt19937 random{11};
};
using Depths = testing::Types<unsigned char, unsigned short>;
TYPED_TEST_SUITE(SamplingOracle, Depths);

/// The value of a pan pixel in whole numbers, over (2 * ratio) squared. Pan's corner lies `shift2` half pan
/// pixels from the source's.
template <class T>
std::int64_t ExactValue(const CodedImage<T>& source, int ratio, int shift2, int c, int r) {
    struct Axis {
        std::uint32_t first, second;
        std::int64_t weight; ///< of the second, of 2 * ratio
    };
    const auto axis = [&](int pan, std::uint32_t pixels) {
        const int position = 2 * pan + 1 + shift2 - ratio + 2 * ratio; // one source pixel on: not negative
        const int index = position / (2 * ratio) - 1;
        const auto clamp = [&](int i) {
            return static_cast<std::uint32_t>(std::clamp(i, 0, static_cast<int>(pixels) - 1));
        };
        return Axis{clamp(index), clamp(index + 1), position % (2 * ratio)};
    };
    const Axis x = axis(c, source.info.cols), y = axis(r, source.info.rows);
    const auto at = [&](auto column, auto row) { return std::int64_t{source.At(column, row, 0)}; };
    const std::int64_t full = 2 * ratio;
    const std::int64_t upper = at(x.first, y.first) * (full - x.weight) + at(x.second, y.first) * x.weight;
    const std::int64_t lower = at(x.first, y.second) * (full - x.weight) + at(x.second, y.second) * x.weight;
    return upper * (full - y.weight) + lower * y.weight;
}

// The warper supports any offset between the grids: half a pan pixel as in Landsat, none, more. At ratio 3
// with half a pixel its weights are not exactly one half, and it rounds some exact ties down: only those may
// differ.
TYPED_TEST(SamplingOracle, EqualsBilinearWarp) {
    for (const int ratio : {2, 3, 4})
        for (const double shift : {0.0, 0.5, 1.5, 1.0}) { // pan's corner within the source, in pan pixels
            const int columns = 40, rows = 33;
            const double size = 30.0, panSize = size / ratio, left = 438900.0, top = 4478700.0;
            const auto source = this->RandomSource(columns, rows, size, left, top);
            const auto dataset = this->Open(source);
            const int panColumns = (columns - 2) * ratio, panRows = (rows - 2) * ratio;
            const double panLeft = left + shift * panSize, panTop = top - shift * panSize;
            CPLStringList arguments(CSLTokenizeString(CPLSPrintf(
                "-of MEM -r bilinear -et 0 -te %.17g %.17g %.17g %.17g -ts %d %d", panLeft,
                panTop - panRows * panSize, panLeft + panColumns * panSize, panTop, panColumns, panRows)));
            GDALWarpAppOptions* options = GDALWarpAppOptionsNew(arguments.List(), nullptr);
            GDALDatasetH sources[] = {GDALDataset::ToHandle(dataset.get())};
            GDALDatasetUniquePtr warped(
                GDALDataset::FromHandle(GDALWarp("", nullptr, 1, sources, options, nullptr)));
            GDALWarpAppOptionsFree(options);
            ASSERT_NE(warped, nullptr);
            std::vector<TypeParam> expected(static_cast<std::size_t>(panColumns * panRows));
            ASSERT_EQ(warped->GetRasterBand(1)->RasterIO(GF_Read, 0, 0, panColumns, panRows, expected.data(),
                                                         panColumns, panRows, this->type, 0, 0, nullptr),
                      CE_None);
            const auto found =
                this->Sampled(source, MakeInfo(this->Whole(panColumns), this->Whole(panRows), 1,
                                               sizeof(TypeParam) * 8, panSize, panLeft, panTop));
            const std::int64_t scale = std::int64_t{4} * ratio * ratio;
            std::size_t different = 0, tiesDifferent = 0;
            for (int r = 0; r < panRows; ++r)
                for (int c = 0; c < panColumns; ++c) {
                    const auto i = static_cast<std::size_t>(r * panColumns + c);
                    const std::int64_t exact = ExactValue(source, ratio, static_cast<int>(2 * shift), c, r);
                    if (found[i] == expected[i]) continue;
                    const bool isTie = exact % scale == scale / 2;
                    tiesDifferent += isTie;
                    different += !isTie;
                }
            EXPECT_EQ(different, 0u) << "of " << expected.size() << " at ratio " << ratio << " shift "
                                     << shift;
            const bool weightsAreExact = ratio != 3 || shift == std::floor(shift);
            EXPECT_TRUE(tiesDifferent == 0 || !weightsAreExact) << "at ratio " << ratio << " shift " << shift;
        }
}

} // namespace
