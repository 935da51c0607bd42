#include "rasterhost/writing/OutputRow.h"

#include "rasterhost/reading/ZeroCollar.h"

#include <gmock/gmock.h>

namespace {

using rasterhost::LimitTally;
using rasterhost::OutputRules;
using rasterhost::ZeroCollar;
using testing::ElementsAreArray;
using testing::Pair;

// Two bands; a pixel without data beside one whose sample equals the nodata value.
TEST(OutputRow, ShowsWhereThereIsNoData) {
    const std::vector<unsigned short> fused = {0, 7, 4095, 5000, 8, 9, 7, 6};
    const std::vector<unsigned char> valid = {1, 1, 0, 1};
    const struct {
        OutputRules rules;
        bool isGapped;
        std::vector<unsigned short> row;
        LimitTally tally;
    } cases[] = {
        {{2, 65535, {}, false}, false, {0, 7, 4095, 5000, 8, 9, 7, 6}, {{1, 0}, {0, 0}}},
        {{2, 4095, {}, false}, true, {0, 7, 4095, 4095, 0, 0, 7, 6}, {{1, 1}, {0, 1}}},
        {{2, 65535, 0u, false}, true, {1, 7, 4095, 5000, 0, 0, 7, 6}, {{0, 0}, {0, 0}}},
        {{2, 65535, 7u, false}, true, {0, 8, 4095, 5000, 7, 7, 8, 6}, {{1, 0}, {0, 0}}},
        {{2, 4095, 4095u, false}, true, {0, 7, 4094, 4094, 4095, 4095, 7, 6}, {{1, 0}, {0, 0}}},
        {{2, 65535, {}, true},
         true,
         {0, 7, 65535, 4095, 5000, 65535, 0, 0, 0, 7, 6, 65535},
         {{1, 0}, {0, 0}}},
        {{2, 65535, {}, true},
         false,
         {0, 7, 65535, 4095, 5000, 65535, 8, 9, 65535, 7, 6, 65535},
         {{1, 0}, {0, 0}}},
    };
    for (const auto& c : cases) {
        std::vector<unsigned short> row(c.row.size());
        LimitTally tally(2);
        MakeOutputRow(fused.data(), c.isGapped ? valid.data() : nullptr, 4, c.rules, row.data(), tally);
        EXPECT_THAT(row, ElementsAreArray(c.row));
        EXPECT_THAT(tally, ElementsAreArray(c.tally));
    }
}

// 'x' has samples other than 0; what is to count as collar is '.', zeros that are data are 'o'. The long way
// round tells a search by rows alone from one that joins areas.
TEST(ZeroCollar, HangsTogetherWithTheEdge) {
    const std::vector<std::string> pictures[] = {
        {"xxxxx", "xoxox", "xxxxx"},
        {"....xx", "..xxxx", ".xoxxx", "xxxxx."},
        {"xxxxxxx", "xx...xx", "xx.x.xx", "xx.x.x.", "xxxx...", "xxxxxxx"},
        {".x.", "x.x", "..."},
        {"xxxxxx", "xox.xx", "xxx.ox", "xxx.xx"},
    };
    for (auto picture : pictures) {
        if (picture[0] == "xxxxxx") picture[2][4] = '.'; // a side, not a corner, joins it
        const auto columns = static_cast<std::uint32_t>(picture[0].size());
        const auto rows = static_cast<std::uint32_t>(picture.size());
        ZeroCollar::Finder finder(columns, 2);
        for (const std::string& row : picture) {
            std::vector<unsigned char> samples;
            for (const char pixel : row)
                samples.insert(samples.end(), {0, static_cast<unsigned char>(pixel == 'x' ? 1 : 0)});
            finder.AddRow(samples.data());
        }
        const ZeroCollar collar = finder.Finish();
        const hostkit::PixelRect part{1, 1, columns, rows};
        for (const hostkit::PixelRect& rect : {hostkit::PixelRect{0, 0, columns, rows}, part}) {
            std::vector<unsigned char> valid(std::size_t{rect.GetColumns()} * rect.GetRows(), 1);
            collar.Clear(rect, valid.data());
            for (std::uint32_t r = rect.row0; r < rect.row1; ++r)
                for (std::uint32_t c = rect.col0; c < rect.col1; ++c)
                    EXPECT_EQ(valid[(r - rect.row0) * rect.GetColumns() + c - rect.col0] == 0,
                              picture[r][c] == '.')
                        << picture[0] << " column " << c << " row " << r;
        }
    }
}

} // namespace
