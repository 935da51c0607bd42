#include "operators/CreateBlendPixels.h"
#include "operators/CreateImageViaBinaryRowOperator.h"
#include "support/FakeImage.h"
#include "support/StatusText.h"

#include <gtest/gtest.h>

namespace {

using namespace PXL;
using support::StatusText;
using Log = std::vector<std::string>;

/// A three-band image of 8 x 200 merged with a one-band one of `cols2` x `rows2`.
struct Merged {
    explicit Merged(bool sampled, std::uint32_t cols2 = 8, std::uint32_t rows2 = 20)
        : image2(cols2, rows2, 1), blend(CreateBlendPixels<unsigned char>("mergeBands", status)),
          image(CreateImageViaBinaryRowOperator<unsigned char>("", status)) {
        EXPECT_TRUE(blend->Init(image1.GetInfo(), image2.GetInfo(), false));
        EXPECT_TRUE(image->Init(&image1, &image2, blend.get(), sampled));
    }
    /// Whether a row starts with these pixels of the two images.
    bool Starts(const unsigned char* row, std::uint32_t col, std::uint32_t row1, std::uint32_t row2) const {
        return row && row[0] == image1.sample(col, row1, 0) && row[1] == image1.sample(col, row1, 1) &&
               row[2] == image1.sample(col, row1, 2) && row[3] == image2.sample(col, row2, 0);
    }

    support::FakeImage<unsigned char> image1{8, 200, 3};
    support::FakeImage<unsigned char> image2;
    Fundament::Status status;
    std::unique_ptr<BlendPixels8> blend;
    std::unique_ptr<BinaryRowImage8> image;
};

TEST(ImageViaBinaryRowOperator, ReadsASampledInputFromItsOwnFirstRow) {
    Merged merged(true);
    ASSERT_TRUE(merged.image->SetWindow(0, 100, 8, 120));
    EXPECT_TRUE(merged.Starts(merged.image->GetRow(100), 0, 100, 0));
    EXPECT_TRUE(merged.Starts(merged.image->GetNextRow(), 0, 101, 1));
    EXPECT_EQ(merged.image1.log, (Log{"SetWindow 0 100 8 120", "GetRow 100", "GetRow 101"}));
    EXPECT_EQ(merged.image2.log, (Log{"SetWindow 0 0 8 20", "GetRow 0", "GetRow 1"}));
    EXPECT_TRUE(merged.image->firstColumn == 0 && merged.image->firstRow == 0);
    EXPECT_TRUE(merged.image->endColumn == 8 && merged.image->endRow == 200);
    for (const std::uint32_t uncovered : {99u, 120u, 0u}) {
        EXPECT_EQ(merged.image->GetRow(uncovered), nullptr);
        EXPECT_EQ(merged.image->status.GetItem(0).id, 0x5012u);
    }
    EXPECT_EQ(merged.image->GetNextRow(), nullptr) << "row 0 again, which the image itself refused";
}

TEST(ImageViaBinaryRowOperator, WindowsBothInputsAlikeOtherwise) {
    Merged merged(false, 8, 200);
    ASSERT_TRUE(merged.image->SetWindow(2, 100, 6, 104));
    EXPECT_TRUE(merged.Starts(merged.image->GetRow(101), 2, 101, 101));
    EXPECT_EQ(merged.image2.log, (Log{"SetWindow 2 100 6 104", "GetRow 101"}));
}

TEST(ImageViaBinaryRowOperator, EndsWithItsLastRow) {
    Merged merged(false, 8, 200);
    ASSERT_TRUE(merged.image->SetWindow(0, 0, 8, 200));
    EXPECT_NE(merged.image->GetRow(199), nullptr);
    EXPECT_EQ(merged.image->GetNextRow(), nullptr);
    EXPECT_EQ(merged.image->GetRow(200), nullptr);
    EXPECT_EQ(StatusText(merged.image->status),
              "5003 ImageViaBinaryRowOperator|requesting beyond end of image");
    for (auto* input : {&merged.image1, &merged.image2}) {
        input->rowFails = true;
        EXPECT_EQ(merged.image->GetRow(5), nullptr);
        EXPECT_EQ(merged.image->status.GetItem(0).id, 0x5013u);
        input->rowFails = false;
        EXPECT_TRUE(merged.Starts(merged.image->GetNextRow(), 0, 6, 6))
            << "on past the row that an input lacks";
    }
}

TEST(ImageViaBinaryRowOperator, ServesNoRowAfterAWindowThatFailed) {
    Merged merged(true);
    EXPECT_EQ(merged.image->GetRow(0), nullptr);
    EXPECT_EQ(merged.image->status.GetItem(0).id, 0x5011u);
    merged.image->status.Reset(0, {}, {}, {});
    for (auto* input : {&merged.image1, &merged.image2}) {
        ASSERT_TRUE(merged.image->SetWindow(0, 0, 8, 20));
        input->windowFails = true;
        EXPECT_FALSE(merged.image->SetWindow(0, 1, 8, 20));
        input->windowFails = false;
        EXPECT_EQ(StatusText(merged.image->status), "4D FakeImage|no such window");
        EXPECT_EQ(merged.image->GetRow(1), nullptr);
        merged.image->status.Reset(0, {}, {}, {});
    }
    // The operator would read past rows that are narrower than its window.
    Merged narrow(true, 7);
    EXPECT_FALSE(narrow.image->SetWindow(0, 0, 8, 20));
    EXPECT_EQ(narrow.image->status.GetItem(0).message,
              "the window is 8 columns wide, but rows of the input images have 8 and 7");
    EXPECT_EQ(narrow.image->GetRow(0), nullptr);
    EXPECT_TRUE(narrow.image->SetWindow(1, 0, 8, 20) && narrow.image->GetRow(0));
    for (const std::uint32_t end : {0u, 3u}) {
        EXPECT_FALSE(merged.image->SetWindow(3, 0, end, 20)) << "a window of no columns, end " << end;
        EXPECT_EQ(merged.image->GetRow(0), nullptr);
    }
    // An operator without converters refuses every window.
    const auto blend = CreateBlendPixels<unsigned char>("intensityBlend", merged.status);
    ASSERT_TRUE(merged.image->Init(&merged.image1, &merged.image2, blend.get(), true));
    blend->status.Add(9, "reason", "operator");
    EXPECT_FALSE(merged.image->SetWindow(0, 0, 8, 20));
    EXPECT_EQ(StatusText(merged.image->status), "9 operator|reason");
}

TEST(ImageViaBinaryRowOperator, ChecksWhatItIsGiven) {
    Fundament::Status status;
    status.Add(1, "old", {});
    const auto image = CreateImageViaBinaryRowOperator<unsigned char>("any", status);
    EXPECT_EQ(status.GetCount(), 0u);
    status.Insert(1, "new");
    EXPECT_EQ(status.GetItem(0).source, "ImageViaBinaryRowOperator/create");
    EXPECT_EQ(image->GetRow(0), nullptr);
    EXPECT_FALSE(image->SetWindow(0, 0, 1, 1));
    image->Reset();

    Merged merged(true);
    const std::string inputs = "5001 ImageViaBinaryRowOperator|one of the input images not specified";
    EXPECT_FALSE(image->Init(nullptr, &merged.image2, nullptr, true));
    EXPECT_EQ(StatusText(image->status), inputs);
    image->Reset();
    EXPECT_FALSE(image->Init(&merged.image1, nullptr, merged.blend.get(), true));
    EXPECT_EQ(StatusText(image->status), inputs);
    EXPECT_FALSE(image->Init(&merged.image1, &merged.image2, nullptr, true));
    EXPECT_EQ(StatusText(image->status),
              "5002 ImageViaBinaryRowOperator|Binary Row-operator not specified; " + inputs);

    ASSERT_TRUE(merged.image->SetWindow(0, 0, 8, 20));
    EXPECT_FALSE(merged.image->Init(&merged.image1, &merged.image2, nullptr, true));
    EXPECT_EQ(merged.image->GetRow(0), nullptr) << "no window after a failed Init";
    EXPECT_TRUE(merged.image->SetWindow(0, 0, 8, 20) && merged.image->GetRow(0)) << "still bound";
    EXPECT_EQ(merged.image->GetInfo().bands, 4u);
    EXPECT_EQ(merged.image->GetMetadata().GetString("outputNumChannels"), "4") << "its operator's";
    EXPECT_EQ(image->GetMetadata().GetCount(), 0u);
    merged.blend->Reset();
    EXPECT_EQ(merged.image->GetRow(0), nullptr) << "the operator has no row";
}

} // namespace
