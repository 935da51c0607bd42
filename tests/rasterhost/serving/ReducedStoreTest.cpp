#include "rasterhost/serving/ReducedStore.h"

#include "hostkit/Coarsening.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using hostkit::PixelRect;
using rasterhost::ReducedStore;
using rasterhost::Status;

/// Two bands of 16 bits that encode their position, without data at regular positions.
class ReducedForTest final : public hostkit::ImageSource {
public:
    explicit ReducedForTest(const RasterInfo& description) : info(description) {}
    [[nodiscard]] const RasterInfo& GetInfo() const override { return info; }
    [[nodiscard]] std::string GetName() const override { return "made"; }
    [[nodiscard]] bool MayLackData() const override { return true; }
    bool Read(const PixelRect& rect, unsigned char* out, Status&) override {
        pixelsRead += std::size_t{rect.GetColumns()} * rect.GetRows();
        auto* sample = reinterpret_cast<unsigned short*>(out);
        for (std::uint32_t row = rect.row0; row < rect.row1; ++row)
            for (std::uint32_t column = rect.col0; column < rect.col1; ++column) {
                *sample++ = static_cast<unsigned short>(column);
                *sample++ = static_cast<unsigned short>(row);
            }
        return true;
    }
    bool ReadValid(const PixelRect& rect, const unsigned char* samples, unsigned char* valid,
                   Status&) override {
        const auto* sample = reinterpret_cast<const unsigned short*>(samples);
        for (std::size_t i = 0; i < std::size_t{rect.GetColumns()} * rect.GetRows(); ++i, sample += 2)
            valid[i] = (sample[0] + 3 * sample[1]) % 7 == 0 ? 0 : 0xFF;
        return true;
    }

    RasterInfo info;
    std::size_t pixelsRead = 0;
};

// Every window of the stored image has the right pixels, and no tile is read twice. An image that is too
// large is stored in larger pixels.
TEST(ReducedStore, KeepsWhatWasReadOnce) {
    hostkit::ImageSource::RasterInfo image;
    image.cols = 2402;
    image.rows = 1604;
    image.bandsPerPixel = 2;
    image.bitsPerBand = 16;
    image.pixelSizeX = image.pixelSizeY = 1.0;
    const PixelRect part{2, 4, image.cols, image.rows};
    ReducedStore store(image, part, 5 * 300 * 200);
    EXPECT_EQ(store.GetLevel(), 3u);
    EXPECT_EQ(ReducedStore(image, part, 5 * 300 * 200 - 1).GetLevel(), 4u);
    ReducedForTest reduced(hostkit::CoarseInfo(image, part, 3));
    std::mt19937 random(3);
    const auto below = [&](std::uint32_t end) { return static_cast<std::uint32_t>(random() % end); };
    Status status;
    for (int turn = 0; turn < 40; ++turn) {
        const std::uint32_t c = below(300), r = below(200);
        const PixelRect rect{c, r, c + 1 + below(300 - c), r + 1 + below(200 - r)};
        const std::size_t pixels = std::size_t{rect.GetColumns()} * rect.GetRows();
        std::vector<unsigned short> samples(2 * pixels), expected(2 * pixels);
        std::vector<unsigned char> valid(pixels), expectedValid(pixels);
        ASSERT_TRUE(store.Read(rect, reduced, reinterpret_cast<unsigned char*>(samples.data()), valid.data(),
                               status));
        ReducedForTest again(reduced.info);
        auto* bytes = reinterpret_cast<unsigned char*>(expected.data());
        ASSERT_TRUE(again.Read(rect, bytes, status) &&
                    again.ReadValid(rect, bytes, expectedValid.data(), status));
        EXPECT_EQ(samples, expected);
        EXPECT_EQ(valid, expectedValid);
    }
    EXPECT_EQ(reduced.pixelsRead, 300u * 200u);
}

} // namespace
