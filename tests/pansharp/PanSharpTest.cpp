// What the images of all methods share: checks, description, metadata, windows, rows.
#include "pansharp/CreatePanSharpImage.h"
#include "support/FakeImage.h"
#include "support/StatusText.h"

#include <gtest/gtest.h>

namespace {

using namespace PXL;
using support::FakeImage;
using support::StatusText;
using Image8 = FakeImage<unsigned char>;

std::unique_ptr<PanSharp8> Create(const std::string& keyword, const std::string& outputBands = {}) {
    Fundament::Status status;
    auto image = CreatePanSharpImage<unsigned char>(keyword, status);
    image->properties["outputNBands"] = outputBands;
    return image;
}

TEST(PanSharp, RefusesWhatItCannotFuse) {
    Image8 good(4, 4, 4), few(4, 4, 2), pan(4, 4, 1), deep(4, 4, 1);
    deep.info.bitsPerSample = 16;
    for (const std::string keyword : {"KOVA", "Brovey", "IHS", "Injection"}) {
        // Two methods keep an empty item behind what they report of a first Init.
        const std::string tail = keyword == "Brovey" || keyword == "IHS" ? "; 0 Pansharp|" : "";
        const std::string source = keyword == "KOVA" ? "Pixmere.PXL.Pansharp.Init" : "Pansharp";
        const auto image = Create(keyword, "2");
        EXPECT_FALSE(image->Init(nullptr, &pan));
        EXPECT_EQ(StatusText(image->status), "3901 " + source + "|input images not specified" + tail);
        const auto refuses = [&](Image8* input1, Image8* input2, const std::string& expected) {
            EXPECT_TRUE(image->Init(&good, &pan) && image->SetWindow(0, 0, 4, 4) && image->GetRow(0));
            EXPECT_FALSE(image->Init(input1, input2));
            EXPECT_EQ(StatusText(image->status).substr(0, expected.size()), expected) << keyword;
            EXPECT_EQ(image->GetRow(0), nullptr) << "rows of the inputs before the failed Init";
            EXPECT_FALSE(image->SetWindow(0, 0, 4, 4));
        };
        refuses(&good, nullptr, "3901 Pixmere.PXL.Pansharp.");
        refuses(&good, &deep,
                "3905 Pansharp|input image formats do not match; images have different bit-depths "
                "(multispectral : 8 bits; pan : 16 bits)" +
                    tail);
        if (keyword == "IHS")
            refuses(&few, &pan, "3907 Pansharp|too few input channels: 2; require at least 3 channels");
    }
}

TEST(PanSharp, DescribesItsOutputAndPublishesItsConfiguration) {
    struct Case {
        const char* keyword;
        bool enabled;
        const char* outputBands;
        const char* colorSpace;
        std::string afterInit;
    };
    const std::string ofBands = "<outputNumChannels>3</outputNumChannels>\n"
                                "<multispectralImageNumChannels>4</multispectralImageNumChannels>\n"
                                "<panImageNumChannels>1</panImageNumChannels>\n"
                                "<channelWeights>0.250, 0.250, 0.250, 0.667</channelWeights>\n";
    const Case cases[] = {
        {"KOVA", true, "3", "RGB", ofBands},
        {"Injection", true, "3", "RGB",
         ofBands + "<injectionGains>1.000, 1.000, 1.000, 1.000</injectionGains>\n"
                   "<injectionRatioGains>0.000, 0.000, 0.000, 0.000</injectionRatioGains>\n"},
        {"KOVA", false, "1", "Gray", ""},
        {"Brovey", true, "1", "Gray", ""},
        {"IHS", true, "4", "Unknown", ""},
    };
    const std::string window = "<PanNCols>3</PanNCols>\n<PanNRows>2</PanNRows>\n"
                               "<MSNCols>4</MSNCols>\n<MSNRows>5</MSNRows>\n";
    for (const Case& c : cases) {
        Image8 ms(4, 5, 4);
        Image8 pan(6, 7, 1);
        pan.info.originX = 100.5;
        pan.info.pixelSizeY = 15.0;
        pan.info.properties["ColorSpace"] = "Paletted";
        const auto image = Create(c.keyword, c.outputBands);
        image->properties["additionalbandweight"] = "0.6666";
        EXPECT_EQ(image->EnableMetadata(c.enabled), c.enabled);
        ASSERT_TRUE(image->Init(&ms, &pan));
        EXPECT_EQ(image->GetMetadata().ToXml({}), c.afterInit) << c.keyword;
        const ImageInfo info = image->GetInfo();
        EXPECT_EQ(std::to_string(info.bands), c.outputBands);
        EXPECT_EQ(info.properties.GetString("ColorSpace"), c.colorSpace) << c.keyword;
        EXPECT_TRUE(info.cols == 6 && info.rows == 7 && info.originX == 100.5 && info.pixelSizeY == 15.0);
        ASSERT_TRUE(image->SetWindow(1, 2, 4, 4));
        EXPECT_EQ(image->GetMetadata().ToXml({}), c.enabled ? c.afterInit + window : "") << c.keyword;
    }
}

TEST(PanSharp, WindowsPanAndReadsEachInputInItsOwnRows) {
    Image8 ms(3, 2, 3);
    Image8 pan(9, 9, 1);
    const auto image = Create("KOVA");
    ASSERT_TRUE(image->Init(&ms, &pan));
    EXPECT_EQ(image->GetRow(5), nullptr) << "no window yet";
    EXPECT_EQ(image->status.GetItem(0).id, 0x3911u);
    ASSERT_TRUE(image->SetWindow(4, 5, 7, 7));
    EXPECT_NE(image->GetRow(5), nullptr);
    EXPECT_NE(image->GetNextRow(), nullptr);
    EXPECT_EQ(pan.log, (std::vector<std::string>{"SetWindow 4 5 7 7", "GetRow 5", "GetRow 6"}));
    EXPECT_EQ(ms.log, (std::vector<std::string>{"GetRow 0", "GetRow 1"})) << "never windowed";
    EXPECT_TRUE(image->firstColumn == 0 && image->firstRow == 0);
    EXPECT_TRUE(image->endColumn == 3 && image->endRow == 2);

    for (const std::uint32_t uncovered : {4u, 7u, 0u})
        EXPECT_EQ(image->GetRow(uncovered), nullptr);
    EXPECT_EQ(image->status.GetItem(0).id, 0x3912u);
    EXPECT_EQ(image->GetRow(9), nullptr);
    EXPECT_EQ(image->GetNextRow(), nullptr);
    EXPECT_EQ(image->status.GetItem(0).message, "requesting beyond end of image");
    EXPECT_NE(image->status.GetItem(1).id, 0x3906u) << "the same failure twice stands once";

    ms.rowFails = true;
    EXPECT_EQ(image->GetRow(5), nullptr);
    EXPECT_EQ(image->status.GetItem(0).id, 0x3913u);
    ms.rowFails = false;
    ms.log.clear();
    EXPECT_NE(image->GetNextRow(), nullptr) << "asks again for the row that failed";
    EXPECT_EQ(ms.log, (std::vector<std::string>{"GetRow 0"}));
}

TEST(PanSharp, ServesNoRowAfterAWindowThatFailed) {
    Image8 ms(3, 2, 3);
    Image8 pan(9, 9, 1);
    const auto image = Create("Brovey");
    ASSERT_TRUE(image->Init(&ms, &pan));
    struct Window {
        std::uint32_t col0, row0, col1, row1;
    };
    const Window bad[] = {{8, 0, 11, 2}, {0, 8, 3, 10}, {5, 0, 5, 2}, {5, 0, 3, 2},
                          {0, 3, 3, 3},  {0, 0, 4, 2},  {0, 0, 3, 3}, {0, 0, 0xFFFFFFFFu, 1}};
    for (const Window& w : bad) {
        ASSERT_TRUE(image->SetWindow(0, 0, 3, 2));
        EXPECT_FALSE(image->SetWindow(w.col0, w.row0, w.col1, w.row1));
        EXPECT_EQ(image->status.GetItem(0).id, 0x3910u);
        EXPECT_EQ(image->GetRow(w.row0), nullptr);
    }
    ASSERT_TRUE(image->SetWindow(0, 0, 3, 2));
    pan.windowFails = true;
    EXPECT_FALSE(image->SetWindow(1, 0, 4, 2));
    EXPECT_EQ(StatusText(image->status),
              "390D Pixmere.PXL.Pansharp.SetWindow|Pan Image SetWindow Failed; 4D FakeImage|no such window");
    EXPECT_EQ(image->GetRow(0), nullptr);
}

} // namespace
