#include "rasterhost/reading/InputImage.h"

#include "SceneFiles.h"
#include "hostkit/SourceRaster.h"
#include "imagery/ZeroCollar.h"

#include <gmock/gmock.h>

namespace {

using namespace testfiles;
using hostkit::SourceRaster;
using imagery::ZeroCollar;
using rasterhost::InputBand;
using rasterhost::InputImage;

unsigned Coded(int column, int row, int band) {
    return static_cast<unsigned>(column + 10 * row + 1000 * band);
}

std::unique_ptr<InputImage> OpenImage(const std::vector<InputBand>& inputs) {
    rasterhost::Status status;
    auto image = InputImage::Open(inputs, "multispectral", {}, status);
    EXPECT_NE(image, nullptr) << status.ToText();
    return image;
}

// Bands of two files in the given order, some from the middle of a file. Samples encode their position, so a
// wrong band or pixel is noticed.
TEST(InputImage, ServesBandsOfSeveralFilesInOrder) {
    const Folder folder;
    const FileShape shape{30, 40, 3, GDT_UInt16, Grid(2.0), {}};
    const std::string a = folder.Write("a.tif", shape, Coded);
    const std::string b =
        folder.Write("b.tif", shape, [](int c, int r, int band) { return Coded(c, r, band + 10); });
    const auto image = OpenImage({{b, 2}, {a, {}}, {b, 1}});
    SourceRaster raster(*image);
    ASSERT_EQ(raster.GetRasterInfo()->bandsPerPixel, 5u);
    ASSERT_EQ(raster.SetWindow(7, 11, 12, 14), 1);
    constexpr int bands[] = {11, 0, 1, 2, 10};
    for (int row = 11; row < 14; ++row) {
        const auto* samples =
            reinterpret_cast<const unsigned short*>(raster.GetRow(static_cast<unsigned>(row)));
        ASSERT_NE(samples, nullptr);
        for (int column = 7; column < 12; ++column)
            for (const int band : bands)
                EXPECT_EQ(*samples++, Coded(column, row, band)) << column << " " << row << " " << band;
    }
    EXPECT_EQ(raster.GetRow(10), nullptr);
    EXPECT_EQ(raster.SetWindow(0, 0, 31, 1), 0); // past the last column
}

// A process sets, on another thread, the window that the host has read already: no file may be accessed then.
TEST(InputImage, SameWindowIsNotReadAgain) {
    const Folder folder;
    const std::string file = folder.Write("a.tif", {2000, 400, 1, GDT_Byte, {}, {}},
                                          [](int c, int r, int) { return (c + r) % 251; });
    const auto image = OpenImage({{file, {}}});
    SourceRaster raster(*image);
    ASSERT_EQ(raster.SetWindow(0, 10, 2000, 20), 1);
    const unsigned char* row = raster.GetRow(15);
    std::filesystem::resize_file(file, 100000); // rows from about 50 on are gone
    EXPECT_EQ(raster.SetWindow(0, 10, 2000, 20), 1);
    EXPECT_EQ(raster.GetRow(15), row);
    EXPECT_EQ(row[3], 18);
    EXPECT_EQ(raster.SetWindow(0, 300, 2000, 310), 0);
    ASSERT_EQ(raster.GetStatus().GetCount(), 1u);
    EXPECT_THAT(raster.GetStatus().GetItem(0).message, testing::HasSubstr(file));
    EXPECT_EQ(raster.GetRow(15), nullptr); // the contents of the buffer are undefined now
    EXPECT_EQ(raster.SetWindow(0, 10, 2000, 20), 1);
    EXPECT_EQ(raster.GetRow(15)[3], 18);
}

// A second reader has files of its own, and the same samples and masks. For another file it is refused.
TEST(InputImage, IsOpenedAgainByItsDescription) {
    const Folder folder;
    const FileShape shape{30, 40, 3, GDT_UInt16, Grid(2.0), {}};
    const std::string file = folder.Write("a.tif", shape, Coded);
    auto first = OpenImage({{file, {}}});
    first->Reorder({2, 0});
    rasterhost::Status status;
    const auto second = InputImage::Open(first->GetDescription(), status);
    ASSERT_NE(second, nullptr) << status.ToText();
    first.reset();
    std::vector<unsigned short> samples(2 * 2);
    ASSERT_TRUE(second->Read({7, 11, 9, 12}, reinterpret_cast<unsigned char*>(samples.data()), status));
    EXPECT_THAT(samples,
                testing::ElementsAre(Coded(7, 11, 2), Coded(7, 11, 0), Coded(8, 11, 2), Coded(8, 11, 0)));
    folder.Write("a.tif", {30, 41, 3, GDT_UInt16, Grid(2.0), {}}, Coded);
    EXPECT_EQ(InputImage::Open(second->GetDescription(), status), nullptr);
    EXPECT_THAT(status.ToText(), testing::HasSubstr("has changed"));
}

// 'x' are samples other than 0; '.' are zeros of the collar; 'o' are zeros that are data. The winding path
// distinguishes a search by rows from one that joins areas.
TEST(ZeroCollar, HangsTogetherWithTheEdge) {
    const std::vector<std::string> pictures[] = {
        {"xxxxx", "xoxox", "xxxxx"},
        {"....xx", "..xxxx", ".xoxxx", "xxxxx."},
        {"xxxxxxx", "xx...xx", "xx.x.xx", "xx.x.x.", "xxxx...", "xxxxxxx"},
        {".x.", "x.x", "..."},
        {"xxxxxx", "xox.xx", "xxx.ox", "xxx.xx"},
    };
    for (auto picture : pictures) {
        if (picture[0] == "xxxxxx") picture[2][4] = '.'; // connected by a side, not by a corner
        const auto columns = static_cast<std::uint32_t>(picture[0].size());
        const auto rows = static_cast<std::uint32_t>(picture.size());
        ZeroCollar::Finder finder(columns, 2);
        for (const std::string& row : picture) {
            std::vector<unsigned char> samples;
            for (const char pixel : row)
                samples.insert(samples.end(), {0, static_cast<unsigned char>(pixel == 'x' ? 1 : 0)});
            finder.AddRow(samples.data());
        }
        const auto bytes = finder.Finish().ToBytes();
        EXPECT_FALSE(ZeroCollar::FromBytes(std::span(bytes).first(bytes.size() - 1), columns, rows));
        EXPECT_FALSE(ZeroCollar::FromBytes(bytes, columns, rows + 1));
        const auto kept = ZeroCollar::FromBytes(bytes, columns, rows);
        ASSERT_TRUE(kept) << picture[0];
        const hostkit::PixelRect part{1, 1, columns, rows};
        for (const hostkit::PixelRect& rect : {hostkit::PixelRect{0, 0, columns, rows}, part}) {
            std::vector<unsigned char> valid(std::size_t{rect.GetColumns()} * rect.GetRows(), 1);
            kept->Clear(rect, valid.data());
            for (std::uint32_t r = rect.row0; r < rect.row1; ++r)
                for (std::uint32_t c = rect.col0; c < rect.col1; ++c)
                    EXPECT_EQ(valid[(r - rect.row0) * rect.GetColumns() + c - rect.col0] == 0,
                              picture[r][c] == '.')
                        << picture[0] << " column " << c << " row " << r;
        }
    }
}

} // namespace
