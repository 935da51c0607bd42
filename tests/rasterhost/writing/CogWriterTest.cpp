#include "SceneFiles.h"
#include "rasterhost/writing/TileSpool.h"

#include <cpl_conv.h>
#include <gmock/gmock.h>

#include <cstring>

namespace {

using namespace testfiles;

struct Case {
    int columns, rows, bands;
    GDALDataType type;
    std::string marking; ///< of no data: "", "mask", "value", "alpha"
    std::vector<std::string> options;
    bool isLeftToGdal = false;
};

/// The offsets of a level's tiles in a file, in order.
std::vector<std::uint64_t> Offsets(GDALRasterBand& band) {
    int width = 0, height = 0;
    band.GetBlockSize(&width, &height);
    std::vector<std::uint64_t> offsets;
    for (int y = 0; y < (band.GetYSize() - 1) / height + 1; ++y)
        for (int x = 0; x < (band.GetXSize() - 1) / width + 1; ++x) {
            const std::string item = "BLOCK_OFFSET_" + std::to_string(x) + "_" + std::to_string(y);
            const char* text = band.GetMetadataItem(item.c_str(), "TIFF");
            offsets.push_back(text ? std::stoull(text) : 0);
        }
    return offsets;
}

std::vector<std::string> Texts(CSLConstList list) { return {list, list + CSLCount(list)}; }

std::vector<unsigned> Samples(GDALRasterBand& band) {
    std::vector<unsigned> samples(static_cast<std::size_t>(band.GetXSize() * band.GetYSize()));
    EXPECT_EQ(band.RasterIO(GF_Read, 0, 0, band.GetXSize(), band.GetYSize(), samples.data(), band.GetXSize(),
                            band.GetYSize(), GDT_UInt32, 0, 0, nullptr),
              CE_None);
    return samples;
}

std::vector<GDALRasterBand*> Levels(GDALRasterBand& band) {
    std::vector<GDALRasterBand*> levels;
    for (int level = band.GetOverviewCount(); level-- > 0;)
        levels.push_back(band.GetOverview(level));
    levels.push_back(&band);
    return levels;
}

/// Each tile follows its size and precedes a copy of its last four bytes. Overviews come before the levels
/// that they are made from, and each tile's mask before the next tile.
void ExpectLayout(GDALDataset& file, const std::string& bytes) {
    EXPECT_STREQ(file.GetMetadataItem("LAYOUT", "IMAGE_STRUCTURE"), "COG");
    const auto number = [&](std::uint64_t at) {
        std::uint32_t read = 0;
        std::memcpy(&read, bytes.data() + at, 4);
        return read;
    };
    std::uint64_t end = Offsets(*Levels(*file.GetRasterBand(1)).front()).front() - 4;
    for (GDALRasterBand* level : Levels(*file.GetRasterBand(1))) {
        const bool hasMask = level->GetMaskFlags() == GMF_PER_DATASET;
        const auto tiles = Offsets(*level);
        const auto masks = hasMask ? Offsets(*level->GetMaskBand()) : std::vector<std::uint64_t>();
        for (std::size_t tile = 0; tile < tiles.size(); ++tile)
            for (const std::uint64_t at : {tiles[tile], hasMask ? masks[tile] : 0}) {
                if (at == 0) continue;
                ASSERT_EQ(at, end + 4);
                end = at + number(at - 4) + 4;
                ASSERT_LE(end, bytes.size());
                EXPECT_EQ(number(end - 8), number(end - 4));
            }
    }
    EXPECT_EQ(end, bytes.size());
}

void ExpectSame(GDALDataset& made, GDALDataset& expected) {
    ASSERT_EQ(made.GetRasterCount(), expected.GetRasterCount());
    for (const char* domain : {"", "RPC"})
        EXPECT_EQ(Texts(made.GetMetadata(domain)), Texts(expected.GetMetadata(domain)));
    EXPECT_TRUE(made.GetSpatialRef()->IsSame(expected.GetSpatialRef()));
    for (GDALRasterBand* band : made.GetBands()) {
        GDALRasterBand& other = *expected.GetRasterBand(band->GetBand());
        EXPECT_EQ(band->GetColorInterpretation(), other.GetColorInterpretation());
        EXPECT_EQ(band->GetNoDataValue(), other.GetNoDataValue());
        const auto levels = Levels(*band), others = Levels(other);
        ASSERT_EQ(levels.size(), others.size());
        for (std::size_t level = 0; level < levels.size(); ++level) {
            SCOPED_TRACE(levels[level]->GetXSize());
            ASSERT_EQ(levels[level]->GetXSize(), others[level]->GetXSize());
            ASSERT_EQ(levels[level]->GetYSize(), others[level]->GetYSize());
            EXPECT_EQ(levels[level]->GetMaskFlags(), others[level]->GetMaskFlags());
            EXPECT_TRUE(Samples(*levels[level]) == Samples(*others[level]));
            EXPECT_TRUE(Samples(*levels[level]->GetMaskBand()) == Samples(*others[level]->GetMaskBand()));
        }
    }
}

// The file written in one pass has the pixels, overviews, masks and tags that GDAL's driver makes from the
// finished image.
TEST(CogWriter, WritesWhatGdalMakes) {
    const Case cases[] = {
        {400, 300, 4, GDT_Byte, "", {"BLOCKSIZE=128"}},
        {701, 503, 4, GDT_Byte, "mask", {"BLOCKSIZE=128", "COMPRESS=ZSTD", "LEVEL=3"}},
        {532, 604, 2, GDT_UInt16, "value", {"BLOCKSIZE=256", "COMPRESS=DEFLATE", "PREDICTOR=YES"}},
        {300, 270, 3, GDT_UInt16, "alpha", {"BLOCKSIZE=128", "COMPRESS=NONE", "BIGTIFF=YES"}},
        {310, 280, 4, GDT_Byte, "alpha", {"BLOCKSIZE=128"}},
        {40, 30, 3, GDT_Byte, "mask", {"GEOTIFF_VERSION=1.1"}},
        {1999, 3, 1, GDT_Byte, "", {"BLOCKSIZE=256", "OVERVIEW_RESAMPLING=CUBIC"}},
        {1030, 800, 1, GDT_UInt16, "mask", {"COMPRESS=LZW", "BIGTIFF=YES"}},
        {300, 200, 1, GDT_UInt16, "", {"BLOCKSIZE=128", "OVERVIEWS=NONE"}},
        {2, 700, 1, GDT_Byte, "", {"BLOCKSIZE=128"}, true},
        {300, 200, 3, GDT_Byte, "", {"BLOCKSIZE=128", "COMPRESS=JPEG"}, true},
        {300, 200, 1, GDT_UInt16, "mask", {"BLOCKSIZE=128", "RESAMPLING=AVERAGE"}, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.columns) + " " + c.marking + " " + c.options.front());
        const Folder folder;
        const auto hasData = [&](int x, int y) {
            return x > std::min(20, c.columns / 20) && std::hypot(x - c.columns / 2, y - 90) > 60;
        };
        const auto noise = [](int x, int y, int band) {
            return static_cast<unsigned>(1 + (x * 7919 + y * 104729 + x * y * 31 + band * 17) % 250);
        };
        FileShape shape{c.columns, c.rows, 1, c.type, Grid(1.0), "EPSG:32631"};
        if (c.marking == "value") shape.noData = 0.0;
        rasterhost::SharpenRequest request = MakeRequest();
        request.pan.file = folder.Write(
            "pan.tif", shape, [&](int x, int y, int) { return hasData(x, y) ? noise(x, y, 0) : 0u; });
        if (c.marking == "mask" || c.marking == "alpha") {
            const CPLConfigOptionSetter inside("GDAL_TIFF_INTERNAL_MASK", "YES", false);
            GDALDatasetUniquePtr pan(GDALDataset::Open(request.pan.file.c_str(), GDAL_OF_UPDATE));
            std::vector<unsigned> valid = Samples(*pan->GetRasterBand(1));
            for (unsigned& value : valid)
                value = value > 0 ? 255 : 0;
            pan->CreateMaskBand(GMF_PER_DATASET);
            EXPECT_EQ(pan->GetRasterBand(1)->GetMaskBand()->RasterIO(GF_Write, 0, 0, c.columns, c.rows,
                                                                     valid.data(), c.columns, c.rows,
                                                                     GDT_UInt32, 0, 0, nullptr),
                      CE_None);
        }
        shape = {(c.columns + 1) / 2, (c.rows + 1) / 2, c.bands, c.type, Grid(2.0), "EPSG:32631"};
        request.multispectral = {{folder.Write("ms.tif", shape, noise), {}}};
        request.weightSource = rasterhost::WeightSource::Equal;
        request.threads = 2;
        request.acquired = "2020-01-02T03:04:05Z";
        request.metadata = {{"Ä", "ö"}};
        request.alpha = c.marking == "alpha";
        request.output = folder / "plain.tif";
        RunWell(request);
        CPLStringList options;
        for (const std::string& option : c.options)
            options.AddString(option.c_str());
        GDALDatasetUniquePtr plain(GDALDataset::Open(request.output.c_str()));
        GDALDatasetUniquePtr expected(GetGDALDriverManager()->GetDriverByName("COG")->CreateCopy(
            (folder / "expected.tif").c_str(), plain.get(), FALSE, options.List(), nullptr, nullptr));
        ASSERT_TRUE(expected);
        request.format = "COG";
        request.creationOptions = c.options;
        for (const std::string& output : {folder / "cog.tif", std::string("/vsimem/cog/made.tif")}) {
            request.output = output;
            RunWell(request);
            GDALDatasetUniquePtr made(GDALDataset::Open(output.c_str()));
            ASSERT_TRUE(made);
            ExpectSame(*made, *expected);
            EXPECT_STREQ(made->GetMetadataItem("ACQUISITIONDATETIME", "IMAGERY"), "2020-01-02 03:04:05");
            if (!output.starts_with("/vsimem/")) ExpectLayout(*made, ReadText(output));
        }
        // A file that GDAL wrote has its time beside it.
        std::vector<std::string> files{"cog.tif", "expected.tif", "ms.tif", "pan.tif", "plain.tif"};
        std::vector<std::string> filesInMemory{"made.tif"};
        if (c.isLeftToGdal) {
            files.insert(files.begin() + 1, "cog.tif.aux.xml");
            filesInMemory.push_back("made.tif.aux.xml");
        }
        EXPECT_THAT(folder.List(), testing::ElementsAreArray(files));
        const CPLStringList inMemory(VSIReadDir("/vsimem/cog"));
        EXPECT_THAT(Texts(inMemory.List()), testing::UnorderedElementsAreArray(filesInMemory));
        VSIRmdirRecursive("/vsimem/cog");
    }
}

// Tiles that do not fit into memory are read back from the spool file, which is then removed.
TEST(CogWriter, SpoolsToAFile) {
    const Folder folder;
    std::vector<rasterhost::TilePlace> places;
    {
        rasterhost::TileSpool spool(folder / "tiles", 150);
        std::vector<unsigned char> room;
        for (unsigned char tile = 1; tile < 5; ++tile)
            EXPECT_TRUE(spool.Add(std::vector<unsigned char>(60u + tile, tile).data(), 60u + tile, places));
        EXPECT_THAT(folder.List(), testing::ElementsAre("tiles"));
        for (unsigned char tile = 4; tile > 0; --tile) {
            const unsigned char* bytes = spool.Get(places[tile - 1u], room);
            ASSERT_TRUE(bytes);
            EXPECT_EQ(std::vector<unsigned char>(bytes, bytes + 60u + tile),
                      std::vector<unsigned char>(60u + tile, tile));
        }
    }
    EXPECT_THAT(folder.List(), testing::IsEmpty());
}

// The spool takes the memory of a window that is full. One that is nearly empty keeps it, since all of it
// counts.
TEST(CogWriter, SpoolTakesFullWindows) {
    const Folder folder;
    constexpr std::size_t room = std::size_t{8} << 20;
    for (const std::size_t used : {std::size_t{9}, room}) {
        rasterhost::TileSpool spool(folder / "tiles", used);
        std::vector<rasterhost::TilePlace> places;
        std::vector<unsigned char> unused;
        rasterhost::PackedTiles window;
        window.bytes.reserve(room);
        window.bytes.resize(used, 7);
        window.places = {{0, 4}, {4, 5}};
        EXPECT_TRUE(spool.Add(window, places));
        EXPECT_EQ(window.bytes.capacity(), used == room ? 0 : room);
        EXPECT_EQ(spool.Get(places[1], unused)[4], 7);
        EXPECT_THAT(folder.List(), testing::IsEmpty());
    }
}

} // namespace
