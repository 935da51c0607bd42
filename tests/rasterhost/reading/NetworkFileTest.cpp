#include "rasterhost/reading/NetworkFile.h"

#include "SceneFiles.h"
#include "rasterhost/reading/FileState.h"

#include <gmock/gmock.h>

// The strips end where the file ends. If the file is said to be shorter, its last strip is missing.
TEST(NetworkFile, RangesLieInTheFile) {
    const testfiles::Folder folder;
    const std::string file =
        folder.Write("a.tif", {512, 64, 1, GDT_Byte, {}, {}}, [](int, int, int) { return 1; });
    const GDALDatasetUniquePtr dataset(rasterhost::OpenRaster(file, true));
    const std::uint64_t bytes = rasterhost::LookAt(file).bytes;
    for (const auto& [size, strips] : {std::pair{bytes, 4u}, std::pair{bytes - 1, 3u}}) {
        const auto ranges = rasterhost::FindByteRanges(*dataset->GetRasterBand(1), {0, 0, 512, 64}, size);
        ASSERT_EQ(ranges.size(), 1u);
        EXPECT_EQ(ranges[0].second - ranges[0].first, strips * 512u * 16u);
    }
}
