#include "rasterhost/requests/Operation.h"

#include "rasterhost/reading/BandReader.h"

#include <gdal_priv.h>
#include <gmock/gmock.h>

#include <new>
#include <stdexcept>

namespace {

using testing::HasSubstr;

// No exception gets out, and lack of memory is reported in words.
TEST(Operation, WhatIsThrownBecomesAnItem) {
    const std::pair<void (*)(), const char*> cases[] = {
        {[] { throw std::bad_alloc(); }, "there is not enough memory: use fewer --threads"},
        {[] { throw std::length_error("vector"); }, "there is not enough memory"},
        {[] { throw std::runtime_error("odd"); }, "unexpected: odd"}};
    for (const auto& [fail, text] : cases) {
        KOVA::Tessara::Fundament::Status status;
        double seconds = -1.0;
        EXPECT_FALSE(rasterhost::RunOperation([fail = fail] { return fail(), true; }, seconds, status));
        ASSERT_EQ(status.GetCount(), 1u);
        EXPECT_THAT(status.GetItem(0).message, HasSubstr(text));
        EXPECT_GE(seconds, 0.0);
    }
}

/// An image of one pixel that cannot be read, with an error from GDAL's list.
struct Unreadable : GDALDataset {
    struct Band : GDALRasterBand {
        CPLErrorNum reason;
        explicit Band(CPLErrorNum number) : reason(number) {
            eDataType = GDT_Byte;
            nBlockXSize = nBlockYSize = 1;
        }
        CPLErr IReadBlock(int, int, void*) override {
            return CPLError(CE_Failure, reason, "made"), CE_Failure;
        }
    };
    explicit Unreadable(CPLErrorNum reason) { nRasterXSize = nRasterYSize = 1, SetBand(1, new Band(reason)); }
};

TEST(Operation, RowsThatCannotBeReadForWantOfMemoryDoNotBlameTheFile) {
    for (const auto& [reason, text] : {std::pair(CPLE_OutOfMemory, "there is not enough memory"),
                                       std::pair(CPLE_FileIO, "cut short or damaged: made")}) {
        Unreadable image(reason);
        rasterhost::ImageDescription described;
        described.bands.resize(1);
        described.bands[0].number = 1;
        described.bands[0].type = GDT_Byte;
        described.info.bitsPerBand = 8;
        const std::vector<rasterhost::BandHandles> handles{{&image, image.GetRasterBand(1)}};
        KOVA::Tessara::Fundament::Status status;
        unsigned char sample = 0;
        EXPECT_FALSE(rasterhost::BandReader(described, handles).Read({0, 0, 1, 1}, &sample, status));
        EXPECT_THAT(status.GetItem(0).message, HasSubstr(text));
    }
}

} // namespace
