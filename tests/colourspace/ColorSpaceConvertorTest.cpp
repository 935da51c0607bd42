#include "colourspace/CreateColorSpaceConvertor.h"

#include "colourspace/Oracle.h"
#include "support/Rows.h"
#include "support/StatusText.h"

#include <gtest/gtest.h>

namespace {

using namespace PXL;
using support::StatusText;

struct Kind {
    const char* keyword;
    const char* from;
    const char* to;
    const char* bandMessage; ///< for 4 bands
    const char* colorSpaceMessage;
};
const Kind kinds[] = {
    {"hsi2rgb", "HSI", "RGB", "input-image has 4 bands; must be a 3-band image",
     "input image must be in the hsi color-space"},
    {"rgb2hsi", "RGB", "HSI", "input image has 4 bands; must be a 3-band image",
     "input-image must be in the RGB color-space"},
    {"yuv2rgb", "YUV", "RGB", "input-image has 4 bands; must be a 3-band image",
     "input image must be in the yuv color-space"},
    {"rgb2yuv", "RGB", "YUV", "input image has 4 bands; must be a 3-band image",
     "input-image must be in the RGB color-space"},
};

ImageInfo Description(std::uint32_t cols, std::uint32_t bands, const std::string& colorSpace) {
    ImageInfo info;
    info.cols = cols;
    info.rows = 1;
    info.bands = bands;
    info.bitsPerSample = 5;
    info.properties["ColorSpace"] = colorSpace;
    return info;
}

template <class T>
void CompareWithOracle(const Kind& kind) {
    constexpr double max = std::numeric_limits<T>::max();
    std::mt19937 random(3);
    Fundament::Status status;
    const auto convertor = CreateColorSpaceConvertor<T>(kind.keyword, status);
    for (std::uint32_t width = 0; width <= 67; ++width) {
        ASSERT_TRUE(convertor->Init(Description(width + (width ? 2 : 0), 3, kind.from)));
        ASSERT_TRUE(convertor->SetWindow(1, width + 1));
        auto row = support::RandomRow<T>(width * 3, random);
        if (std::string(kind.keyword) == "hsi2rgb" || width % 4 == 0)
            for (std::uint32_t i = 0; i < width * 3; ++i)
                row[i] = static_cast<T>(row[i] % 3); // near grey, and the samples that the HSI way makes
        const T* out = convertor->ProcessRow(row.get(), 0);
        ASSERT_EQ(out == nullptr, width == 0);
        for (std::uint32_t p = 0; p < width; ++p) {
            const T* in = row.get() + 3 * p;
            const oracle::Pixel expected = oracle::Convert(kind.keyword, {in, in + 3}, max);
            EXPECT_EQ(oracle::Pixel(out + 3 * p, out + 3 * p + 3), expected)
                << kind.keyword << " of " << +in[0] << " " << +in[1] << " " << +in[2];
        }
    }
}

TEST(ColorSpaceConvertor, GivesTheBytesOfTheOracle) {
    for (const Kind& kind : kinds) {
        CompareWithOracle<unsigned char>(kind);
        CompareWithOracle<unsigned short>(kind);
    }
}

TEST(ColorSpaceConvertor, GivesTheListedPixels) {
    struct Case {
        const char* keyword;
        const char* from;
        std::vector<unsigned char> in, out;
    };
    const Case cases[] = {
        {"rgb2yuv", "RGB", {255, 255, 255, 0, 0, 0, 255, 0, 0}, {235, 128, 128, 16, 128, 128, 82, 90, 240}},
        {"yuv2rgb", "YUV", {235, 128, 128, 82, 90, 240, 0, 0, 0}, {255, 255, 255, 255, 1, 0, 0, 135, 0}},
        {"rgb2hsi", "RGB", {255, 0, 0, 128, 128, 128, 255, 255, 255}, {1, 1, 1, 0, 0, 0, 0, 0, 1}},
        {"hsi2rgb", "HSI", {0, 0, 1, 0, 1, 0, 9, 0, 255}, {255, 255, 255, 0, 0, 0, 255, 255, 255}},
    };
    for (const Case& c : cases) {
        Fundament::Status status;
        const auto convertor = CreateColorSpaceConvertor<unsigned char>(c.keyword, status);
        ASSERT_TRUE(convertor->Init(Description(3, 3, c.from)) && convertor->SetWindow(0, 0));
        const unsigned char* out = convertor->ProcessRow(c.in.data(), 0);
        EXPECT_EQ(std::vector<unsigned char>(out, out + 9), c.out) << c.keyword;
    }
}

template <class T>
void CheckFrame(const Kind& kind) {
    Fundament::Status status;
    const auto convertor = CreateColorSpaceConvertor<T>(Fundament::ToUpper(kind.keyword), status);
    ASSERT_NE(convertor, nullptr);
    EXPECT_EQ(StatusText(status), "0 ColorSpaceConvertor/create|");
    const std::string source = std::string("ColorSpaceConvertor/") + kind.keyword + "|";
    const T row[24] = {};
    const auto refuses = [&](const char* when) {
        convertor->SetWindow(0, 0);
        EXPECT_EQ(convertor->ProcessRow(row, 0), nullptr) << kind.keyword << " " << when;
        EXPECT_EQ(convertor->GetOutputInfo().cols, 0u);
    };
    refuses("before Init");
    const ImageInfo good = Description(8, 3, Fundament::ToLower(kind.from));
    ASSERT_TRUE(convertor->Init(good));
    const ImageInfo output = convertor->GetOutputInfo();
    EXPECT_EQ(output.properties.GetString("ColorSpace"), kind.to);
    const bool yuv = std::string(kind.keyword).find("yuv") != std::string::npos;
    EXPECT_EQ(output.bitsPerSample, yuv ? sizeof(T) * 8 : 5);
    ASSERT_TRUE(convertor->SetWindow(2, 5));
    EXPECT_NE(convertor->ProcessRow(row, 0), nullptr);
    EXPECT_EQ(convertor->ProcessRow(nullptr, 0), nullptr);
    ASSERT_TRUE(convertor->Init(Description(2, 3, kind.from)));
    EXPECT_EQ(convertor->ProcessRow(row, 0), nullptr) << "the old window past the new row";
    EXPECT_EQ(convertor->GetMetadata().GetCount(), 0u);

    EXPECT_FALSE(convertor->Init(Description(8, 4, "CMYK")));
    EXPECT_EQ(StatusText(convertor->status), "1003 " + source + kind.bandMessage);
    refuses("of four bands");
    EXPECT_FALSE(convertor->Init(Description(8, 3, kind.to)));
    EXPECT_EQ(StatusText(convertor->status), "1004 " + source + kind.colorSpaceMessage);
    ImageInfo without = good;
    without.properties.Clear();
    EXPECT_FALSE(convertor->Init(without));
    EXPECT_FALSE(convertor->Init(Description(0x80000000u, 3, kind.from))) << "a row past all memory";
    EXPECT_EQ(convertor->status.GetItem(0).id, 0x1010u);
    refuses("after a failed Init");
}

TEST(ColorSpaceConvertor, SharesOneFrame) {
    for (const Kind& kind : kinds) {
        CheckFrame<unsigned char>(kind);
        CheckFrame<unsigned short>(kind);
    }
    for (const char* keyword : {"", "rgb2ihs"}) {
        Fundament::Status status;
        EXPECT_EQ(CreateColorSpaceConvertor<unsigned char>(keyword, status), nullptr);
        EXPECT_EQ(StatusText(status), std::string("1002 |Unrecognized method specified: '") + keyword +
                                          "'; 0 ColorSpaceConvertor/create|");
    }
}

} // namespace
