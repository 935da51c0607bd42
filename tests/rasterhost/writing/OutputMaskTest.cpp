#include "rasterhost/writing/OutputMask.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace {

// Rows with few runs and with many, so that both ways of storing them are used; tiles that reach beyond the
// image.
TEST(OutputMask, TilesHaveOneBitPerPixel) {
    std::mt19937 random(3);
    rasterhost::TileForm form;
    form.columns = form.rows = 16;
    form.bits = form.samples = 1;
    for (std::uint32_t step = 1; step < 75; ++step) {
        const std::uint32_t columns = step + step % 3 * 1000;
        constexpr std::uint32_t rows = 21;
        const std::uint32_t across = (columns + 15) / 16;
        rasterhost::OutputMask mask(columns);
        std::vector<std::vector<unsigned char>> valid(rows, std::vector<unsigned char>(columns));
        for (auto& row : valid) {
            const unsigned change = std::array{2u, 9u, 60u, 700u}[random() % 4];
            bool has = random() % 2 != 0;
            for (unsigned char& pixel : row)
                pixel = (has = random() % change == 0 ? !has : has) ? 255 : 0;
            mask.AddRow(row.data());
        }
        for (std::uint32_t top = 0; top < rows; top += form.rows) {
            std::vector<unsigned char> tiles(across * form.GetBytes(), 0x55);
            mask.MakeTiles(top, form, tiles.data());
            for (std::uint32_t row = top; row < top + form.rows; ++row)
                for (std::uint32_t column = 0; column < across * 16; ++column) {
                    const unsigned char byte =
                        tiles[column / 16 * form.GetBytes() + (row - top) * 2 + column % 16 / 8];
                    const bool isInside = row < rows && column < columns;
                    EXPECT_EQ((byte >> (7 - column % 8) & 1) != 0, isInside && valid[row][column] != 0)
                        << columns << " columns; row " << row << " column " << column;
                }
        }
    }
}

} // namespace
