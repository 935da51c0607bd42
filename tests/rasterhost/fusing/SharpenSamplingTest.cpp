#include "SceneFiles.h"
#include "hostkit/AxisPlacement.h"
#include "hostkit/RequestRecord.h"

#include <gdal_utils.h>

#include <random>

namespace {

using namespace testfiles;
using KOVA::Tessara::Pixmere::RasterInfo;

RasterInfo MakeInfo(int columns, int rows, std::uint32_t bits, double size, double left, double top) {
    RasterInfo info;
    info.cols = static_cast<std::uint32_t>(columns);
    info.rows = static_cast<std::uint32_t>(rows);
    info.bandsPerPixel = 1;
    info.bitsPerBand = bits;
    info.pixelSizeX = info.pixelSizeY = size;
    info.xMin = left;
    info.yMax = top;
    return info;
}

template <class T>
class SamplingOracle : public testing::Test {
protected:
    static constexpr GDALDataType type = sizeof(T) == 1 ? GDT_Byte : GDT_UInt16;

    /// All of a source sampled onto a pan grid by the host.
    static std::vector<T> Sampled(const std::vector<T>& source, const RasterInfo& sourceInfo,
                                  const RasterInfo& pan) {
        KOVA::Tessara::Fundament::Status status;
        const hostkit::SampleBlock block{reinterpret_cast<const unsigned char*>(source.data()),
                                         sourceInfo.cols * sizeof(T), hostkit::WholeImage(sourceInfo)};
        const auto raster =
            hostkit::AxisPlacement(pan, sourceInfo)
                .Open(hostkit::WholeImage(pan), sourceInfo, block, hostkit::Resampling::Bilinear, status);
        std::vector<T> all;
        for (std::uint32_t row = 0; row < pan.rows; ++row) {
            const T* samples = reinterpret_cast<const T*>(raster->GetRow(row));
            all.insert(all.end(), samples, samples + pan.cols);
        }
        return all;
    }

    std::vector<T> RandomSource(int columns, int rows) {
        std::vector<T> source(static_cast<std::size_t>(columns * rows));
        for (T& sample : source)
            sample = static_cast<T>(random());
        return source;
    }

    static GDALDatasetUniquePtr InMemory(std::vector<T>& source, int columns, int rows, double size,
                                         double left, double top) {
        GDALAllRegister();
        GDALDatasetUniquePtr dataset(
            GetGDALDriverManager()->GetDriverByName("MEM")->Create("", columns, rows, 1, type, nullptr));
        double transform[] = {left, size, 0.0, top, 0.0, -size};
        dataset->SetGeoTransform(transform);
        OGRSpatialReference reference;
        reference.importFromEPSG(32630);
        dataset->SetSpatialRef(&reference);
        EXPECT_EQ(dataset->GetRasterBand(1)->RasterIO(GF_Write, 0, 0, columns, rows, source.data(), columns,
                                                      rows, type, 0, 0, nullptr),
                  CE_None);
        return dataset;
    }

    std::mt19937 random{11};
};
using Depths = testing::Types<unsigned char, unsigned short>;
TYPED_TEST_SUITE(SamplingOracle, Depths);

// GDAL's bilinear read of a whole image at several times its size has the same grids, corner on corner.
TYPED_TEST(SamplingOracle, EqualsBilinearRead) {
    for (const int ratio : {2, 3, 4})
        for (int trial = 0; trial < 5; ++trial) {
            const int columns = 20 + 13 * trial, rows = 31 - trial;
            auto source = this->RandomSource(columns, rows);
            const auto dataset = this->InMemory(source, columns, rows, ratio, 0.0, 0.0);
            std::vector<TypeParam> expected(source.size() * static_cast<std::size_t>(ratio * ratio));
            GDALRasterIOExtraArg how;
            INIT_RASTERIO_EXTRA_ARG(how);
            how.eResampleAlg = GRIORA_Bilinear;
            ASSERT_EQ(dataset->GetRasterBand(1)->RasterIO(GF_Read, 0, 0, columns, rows, expected.data(),
                                                          columns * ratio, rows * ratio, this->type, 0, 0,
                                                          &how),
                      CE_None);
            const auto found =
                this->Sampled(source, MakeInfo(columns, rows, sizeof(TypeParam) * 8, ratio, 0, 0),
                              MakeInfo(columns * ratio, rows * ratio, sizeof(TypeParam) * 8, 1, 0, 0));
            std::size_t different = 0;
            for (std::size_t i = 0; i < expected.size(); ++i)
                different += found[i] != expected[i];
            EXPECT_EQ(different, 0u) << "of " << expected.size() << " at ratio " << ratio;
        }
}

/// Value of a pan pixel in whole numbers, over (2 * ratio) squared: pan's corner lies `shift2` half pan
/// pixels from the source's.
template <class T>
std::int64_t ExactValue(const std::vector<T>& source, int columns, int rows, int ratio, int shift2, int c,
                        int r) {
    struct Axis {
        int first, second;
        std::int64_t weight; ///< of the second, of 2 * ratio
    };
    const auto axis = [&](int pan, int pixels) {
        const int position = 2 * pan + 1 + shift2 - ratio + 2 * ratio; // one source pixel on: not negative
        const int index = position / (2 * ratio) - 1;
        return Axis{std::clamp(index, 0, pixels - 1), std::clamp(index + 1, 0, pixels - 1),
                    position % (2 * ratio)};
    };
    const Axis x = axis(c, columns), y = axis(r, rows);
    const auto at = [&](int column, int row) {
        return std::int64_t{source[static_cast<std::size_t>(row * columns + column)]};
    };
    const std::int64_t full = 2 * ratio;
    const std::int64_t upper = at(x.first, y.first) * (full - x.weight) + at(x.second, y.first) * x.weight;
    const std::int64_t lower = at(x.first, y.second) * (full - x.weight) + at(x.second, y.second) * x.weight;
    return upper * (full - y.weight) + lower * y.weight;
}

// The warper takes any offset between the grids: half a pan pixel as Landsat has, none, more. At ratio 3 with
// half a pixel its weights are not exactly a half, and it rounds some exact ties down: those alone may
// differ.
TYPED_TEST(SamplingOracle, EqualsBilinearWarp) {
    for (const int ratio : {2, 3, 4})
        for (const double shift : {0.0, 0.5, 1.5, 1.0}) { // pan's corner within the source, in pan pixels
            const int columns = 40, rows = 33;
            auto source = this->RandomSource(columns, rows);
            const double size = 30.0, panSize = size / ratio, left = 438900.0, top = 4478700.0;
            const auto dataset = this->InMemory(source, columns, rows, size, left, top);
            const int panColumns = (columns - 2) * ratio, panRows = (rows - 2) * ratio;
            const double panLeft = left + shift * panSize, panTop = top - shift * panSize;
            const auto number = [](double value) { return CPLString().Printf("%.17g", value); };
            CPLStringList arguments;
            for (const std::string& argument :
                 {std::string("-of"), std::string("MEM"), std::string("-r"), std::string("bilinear"),
                  std::string("-et"), std::string("0"), std::string("-te"), std::string(number(panLeft)),
                  std::string(number(panTop - panRows * panSize)),
                  std::string(number(panLeft + panColumns * panSize)), std::string(number(panTop)),
                  std::string("-ts"), std::to_string(panColumns), std::to_string(panRows)})
                arguments.AddString(argument.c_str());
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
                this->Sampled(source, MakeInfo(columns, rows, sizeof(TypeParam) * 8, size, left, top),
                              MakeInfo(panColumns, panRows, sizeof(TypeParam) * 8, panSize, panLeft, panTop));
            const std::int64_t scale = std::int64_t{4} * ratio * ratio;
            std::size_t different = 0, tiesDifferent = 0;
            for (int r = 0; r < panRows; ++r)
                for (int c = 0; c < panColumns; ++c) {
                    const auto i = static_cast<std::size_t>(r * panColumns + c);
                    const std::int64_t exact =
                        ExactValue(source, columns, rows, ratio, static_cast<int>(2 * shift), c, r);
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
