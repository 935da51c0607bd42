#include "colourspace/CreateColorSpaceConvertor.h"

#include "colourspace/Oracle.h"
#include "support/Rows.h"
#include "support/StatusText.h"

#include <gtest/gtest.h>

namespace {

using namespace PXL;
using support::StatusText;

const std::string keywords[] = {"hsi2rgb", "rgb2hsi", "yuv2rgb", "rgb2yuv"};
std::string From(const std::string& keyword) { return Fundament::ToUpper(keyword.substr(0, 3)); }
std::string To(const std::string& keyword) { return Fundament::ToUpper(keyword.substr(4)); }

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
void CompareWithOracle(const std::string& keyword) {
    constexpr double max = std::numeric_limits<T>::max();
    std::mt19937 random(3);
    Fundament::Status status;
    const auto convertor = CreateColorSpaceConvertor<T>(keyword, status);
    for (std::uint32_t width = 0; width <= 67; ++width) {
        ASSERT_TRUE(convertor->Init(Description(width + (width ? 2 : 0), 3, From(keyword))));
        ASSERT_TRUE(convertor->SetWindow(1, width + 1));
        auto row = support::RandomRow<T>(width * 3, random);
        if (keyword == "hsi2rgb" || width % 4 == 0)
            for (std::uint32_t i = 0; i < width * 3; ++i)
                row[i] = static_cast<T>(row[i] % 3); // near grey, and the samples that RGB to HSI makes
        const T* out = convertor->ProcessRow(row.get(), 0);
        ASSERT_EQ(out == nullptr, width == 0);
        for (std::uint32_t p = 0; p < width; ++p) {
            const T* in = row.get() + 3 * p;
            const oracle::Pixel expected = oracle::Convert(keyword, {in, in + 3}, max);
            EXPECT_EQ(oracle::Pixel(out + 3 * p, out + 3 * p + 3), expected)
                << keyword << " of " << +in[0] << " " << +in[1] << " " << +in[2];
        }
    }
}

TEST(ColorSpaceConvertor, GivesTheBytesOfTheOracle) {
    for (const std::string& keyword : keywords) {
        CompareWithOracle<unsigned char>(keyword);
        CompareWithOracle<unsigned short>(keyword);
    }
}

template <class T>
void CheckFrame(const std::string& keyword) {
    Fundament::Status status;
    const auto convertor = CreateColorSpaceConvertor<T>(Fundament::ToUpper(keyword), status);
    ASSERT_NE(convertor, nullptr);
    EXPECT_EQ(StatusText(status), "0 ColorSpaceConvertor/create|");
    const std::string source = "ColorSpaceConvertor/" + keyword + "|";
    const bool fromRgb = From(keyword) == "RGB"; // the two directions use "input-image" in different messages
    const T row[24] = {};
    const auto refuses = [&](const char* when) {
        convertor->SetWindow(0, 0);
        EXPECT_EQ(convertor->ProcessRow(row, 0), nullptr) << keyword << " " << when;
        EXPECT_EQ(convertor->GetOutputInfo().cols, 0u);
    };
    refuses("before Init");
    const ImageInfo good = Description(8, 3, Fundament::ToLower(From(keyword)));
    ASSERT_TRUE(convertor->Init(good));
    const ImageInfo output = convertor->GetOutputInfo();
    EXPECT_EQ(output.properties.GetString("ColorSpace"), To(keyword));
    const bool yuv = keyword.find("yuv") != std::string::npos;
    EXPECT_EQ(output.bitsPerSample, yuv ? sizeof(T) * 8 : 5);
    ASSERT_TRUE(convertor->SetWindow(2, 5));
    EXPECT_NE(convertor->ProcessRow(row, 0), nullptr);
    EXPECT_EQ(convertor->ProcessRow(nullptr, 0), nullptr);
    ASSERT_TRUE(convertor->Init(Description(2, 3, From(keyword))));
    EXPECT_EQ(convertor->ProcessRow(row, 0), nullptr) << "the old window past the new row";
    EXPECT_EQ(convertor->GetMetadata().GetCount(), 0u);

    EXPECT_FALSE(convertor->Init(Description(8, 4, "CMYK")));
    EXPECT_EQ(StatusText(convertor->status), "1003 " + source + (fromRgb ? "input image" : "input-image") +
                                                 " has 4 bands; must be a 3-band image");
    refuses("of four bands");
    EXPECT_FALSE(convertor->Init(Description(8, 3, To(keyword))));
    EXPECT_EQ(StatusText(convertor->status),
              "1004 " + source +
                  (fromRgb ? "input-image must be in the RGB"
                           : "input image must be in the " + keyword.substr(0, 3)) +
                  " color-space");
    ImageInfo without = good;
    without.properties.Clear();
    EXPECT_FALSE(convertor->Init(without));
    EXPECT_FALSE(convertor->Init(Description(0x80000000u, 3, From(keyword)))) << "a row past all memory";
    EXPECT_EQ(convertor->status.GetItem(0).id, 0x1010u);
    refuses("after a failed Init");
}

TEST(ColorSpaceConvertor, SharesOneFrame) {
    for (const std::string& keyword : keywords) {
        CheckFrame<unsigned char>(keyword);
        CheckFrame<unsigned short>(keyword);
    }
    for (const char* keyword : {"", "rgb2ihs"}) {
        Fundament::Status status;
        EXPECT_EQ(CreateColorSpaceConvertor<unsigned char>(keyword, status), nullptr);
        EXPECT_EQ(StatusText(status), std::string("1002 |Unrecognized method specified: '") + keyword +
                                          "'; 0 ColorSpaceConvertor/create|");
    }
}

} // namespace
