#include "rasterhost/reading/PlainTiff.h"

#include "support/RasterFiles.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <fstream>

namespace {

using namespace testfiles;
using rasterhost::PlainTiff;

// Files that are read without GDAL give the samples that GDAL gives, for rectangles on all sides of the edges
// of blocks. Other files are left to GDAL, and so are blocks that are not there.
TEST(PlainTiff, ReadsWhatGdalReads) {
    struct Case {
        const char* name;
        int bands;
        GDALDataType type;
        std::vector<const char*> options;
        bool isPlain;
    };
    const Case cases[] = {
        {"tiles of 8 bits", 1, GDT_Byte, {"TILED=YES", "BLOCKXSIZE=16", "BLOCKYSIZE=32"}, true},
        {"tiles of all bands", 4, GDT_UInt16, {"TILED=YES", "BLOCKXSIZE=32", "BLOCKYSIZE=16"}, true},
        {"a row a strip", 3, GDT_Int16, {"BLOCKYSIZE=1"}, true},
        {"a last strip of fewer rows", 2, GDT_UInt16, {"BLOCKYSIZE=7", "INTERLEAVE=PIXEL"}, true},
        {"one strip", 1, GDT_UInt16, {"BLOCKYSIZE=75", "BIGTIFF=YES"}, true},
        {"bands apart", 3, GDT_Byte, {"INTERLEAVE=BAND"}, false},
        {"another byte order", 1, GDT_UInt16, {"ENDIANNESS=BIG"}, false},
        {"0 is white", 1, GDT_Byte, {"PHOTOMETRIC=MINISWHITE"}, false},
        {"12 bits", 1, GDT_UInt16, {"NBITS=12"}, false},
        {"compressed", 1, GDT_Byte, {"COMPRESS=LZW"}, false},
    };
    const int rects[][4] = {{0, 0, 83, 75}, {15, 31, 17, 33}, {16, 16, 32, 48}, {82, 74, 83, 75},
                            {5, 3, 83, 60}, {0, 20, 83, 22},  {64, 0, 80, 75}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Folder folder;
        const std::string file = folder.Write("a.tif", {83, 75, c.bands, c.type, {}, {}, {}, c.options},
                                              [](int x, int y, int b) { return (x + 83 * y + 7 * b) % 251; });
        GDALDatasetUniquePtr dataset(GDALDataset::Open(file.c_str()));
        const auto plain = PlainTiff::Open(file, *dataset);
        ASSERT_EQ(plain != nullptr, c.isPlain);
        if (!plain) continue;
        ASSERT_EQ(plain->GetBands(), static_cast<unsigned>(c.bands));
        const int pixel = c.bands * GDALGetDataTypeSizeBytes(c.type);
        for (const auto& [left, top, right, bottom] : rects) {
            const int across = right - left, down = bottom - top;
            const auto bytes = static_cast<std::size_t>(across * down * pixel);
            std::vector<unsigned char> wanted(bytes), found(bytes);
            ASSERT_EQ(dataset->RasterIO(GF_Read, left, top, across, down, wanted.data(), across, down, c.type,
                                        c.bands, nullptr, pixel, GSpacing{pixel} * across,
                                        GDALGetDataTypeSizeBytes(c.type), nullptr),
                      CE_None);
            const hostkit::PixelRect rect{static_cast<unsigned>(left), static_cast<unsigned>(top),
                                          static_cast<unsigned>(right), static_cast<unsigned>(bottom)};
            EXPECT_TRUE(plain->Read(rect, found.data()));
            EXPECT_EQ(found, wanted) << left << " " << top;
        }
        std::vector<unsigned char> row(static_cast<std::size_t>(83 * pixel));
        std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2);
        EXPECT_FALSE(plain->Read({0, 74, 83, 75}, row.data()));
    }
    const Folder folder;
    const std::string sparse =
        folder.Write("sparse.tif", {83, 75, 1, GDT_Byte, {}, {}, {}, {"SPARSE_OK=YES", "TILED=YES"}}, {});
    GDALDatasetUniquePtr dataset(GDALDataset::Open(sparse.c_str()));
    unsigned char sample = 0;
    EXPECT_FALSE(PlainTiff::Open(sparse, *dataset)->Read({0, 0, 1, 1}, &sample));
}

// Replaces an entry with a number, of the first directory of a small little-endian file.
void ReplaceTag(const std::string& file, std::uint16_t tag, std::uint16_t by, std::uint32_t value) {
    std::fstream bytes(file, std::ios::in | std::ios::out | std::ios::binary);
    const auto at = [&](std::uint32_t place, auto number) {
        bytes.seekg(place).read(reinterpret_cast<char*>(&number), sizeof number);
        return number;
    };
    std::uint32_t entry = at(4, std::uint32_t{}) + 2;
    while (bytes && at(entry, std::uint16_t{}) != tag)
        entry += 12;
    ASSERT_TRUE(bytes) << tag;
    bytes.seekp(entry).write(reinterpret_cast<const char*>(&by), sizeof by);
    bytes.seekp(entry + 8).write(reinterpret_cast<const char*>(&value), sizeof value);
}

// A file may say that its samples are to be read in another way, or that fewer of them are there.
TEST(PlainTiff, LeavesOddTagsToGdal) {
    const struct {
        const char* name;
        std::uint16_t tag, by;
        std::uint32_t value;
        bool isOpened;
    } cases[] = {{"as it is", TIFFTAG_IMAGELENGTH, TIFFTAG_IMAGELENGTH, 75, true},
                 {"the lowest bit first", TIFFTAG_PLANARCONFIG, TIFFTAG_FILLORDER, FILLORDER_LSB2MSB, false},
                 {"too few bytes", TIFFTAG_STRIPBYTECOUNTS, TIFFTAG_STRIPBYTECOUNTS, 3000 << 16 | 3154, true},
                 {"no places", TIFFTAG_STRIPOFFSETS, TIFFTAG_STRIPOFFSETS, 1 << 20, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Folder folder;
        const std::string file =
            folder.Write("a.tif", {83, 75, 1, GDT_Byte, {}, {}, {}, {"BLOCKYSIZE=38"}}, {});
        GDALDatasetUniquePtr dataset(GDALDataset::Open(file.c_str()));
        ReplaceTag(file, c.tag, c.by, c.value);
        const auto plain = PlainTiff::Open(file, *dataset);
        ASSERT_EQ(plain != nullptr, c.isOpened);
        std::vector<unsigned char> samples(83 * 75);
        if (!plain) continue;
        EXPECT_EQ(plain->Read({0, 0, 83, 75}, samples.data()), &c == cases);
    }
}

} // namespace
