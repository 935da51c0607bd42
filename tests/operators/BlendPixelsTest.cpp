#include "operators/CreateBlendPixels.h"

#include "operators/Oracle.h"
#include "support/Rows.h"
#include "support/StatusText.h"

#include <gtest/gtest.h>

namespace {

using namespace PXL;
using oracle::Settings;
using support::StatusText;

template <class T>
ImageInfo Description(std::uint32_t cols, std::uint32_t bands, const std::string& colorSpace = "RGB") {
    ImageInfo info;
    info.cols = cols;
    info.rows = 6;
    info.bands = bands;
    info.bitsPerSample = 8 * sizeof(T);
    info.originX = 12.5;
    info.properties["ColorSpace"] = colorSpace;
    return info;
}

template <class T>
std::unique_ptr<BlendPixels<T>> Create(const std::string& keyword, const Settings& settings = {}) {
    Fundament::Status status;
    auto blend = CreateBlendPixels<T>(keyword, status);
    for (const auto& [name, value] : settings)
        blend->properties[name] = value;
    return blend;
}

bool TakesOneBand(const std::string& keyword) { return keyword == "Mask" || keyword == "intensityBlend"; }

Settings RandomSettings(std::uint32_t bands, std::mt19937& random) {
    const char* const texts[] = {"2", "0.5", "-0.3333333333333333", "1e-3", "0", "-400", "x", "1e999"};
    Settings settings;
    for (const char* name : {"OutputGain-", "OutputOffset-", "PrimaryGain-", "PrimaryOffset-",
                             "AuxiliaryGain-", "AuxiliaryOffset-"})
        for (std::uint32_t b = 1; b <= bands; ++b)
            if (random() % 4 == 0) settings[name + std::to_string(b)] = texts[random() % std::size(texts)];
    return settings;
}

template <class T>
void CompareWithOracle(const std::string& keyword, std::uint32_t bands, std::uint32_t width,
                       std::mt19937& random) {
    constexpr double max = std::numeric_limits<T>::max();
    const std::uint32_t bands2 = TakesOneBand(keyword)     ? 1
                                 : keyword == "mergeBands" ? static_cast<std::uint32_t>(1 + random() % 3)
                                                           : bands;
    Settings settings = random() % 3 == 0 ? Settings{} : RandomSettings(bands, random);
    settings["FillColor"] = "7,1";
    oracle::Pixel fill(bands, 7);
    if (bands > 1) fill[1] = 1;
    const auto blend = Create<T>(keyword, settings);
    ASSERT_TRUE(blend->Init(Description<T>(width + 3, bands), Description<T>(width + 3, bands2), false));
    ASSERT_TRUE(blend->SetWindow(2, 2 + width));
    const std::uint32_t outputBands = blend->GetOutputInfo().bands;
    const auto row1 = support::RandomRow<T>(width * bands, random);
    const auto row2 = support::RandomRow<T>(width * bands2, random);
    const T* out = blend->ProcessRow(row1.get(), row2.get(), 5);
    ASSERT_NE(out, nullptr);
    const oracle::Lines lines(settings, bands);
    for (std::uint32_t p = 0; p < width; ++p) {
        const T* a = row1.get() + p * bands;
        const T* b = row2.get() + p * bands2;
        const T* actual = out + p * outputBands;
        ASSERT_EQ(oracle::Pixel(actual, actual + outputBands),
                  oracle::Blend(keyword, {a, a + bands}, {b, b + bands2}, lines, fill, max))
            << keyword << ", " << sizeof(T) * 8 << " bits, " << bands << " bands, " << width << " columns, "
            << p;
    }
}

TEST(BlendPixels, GiveTheBytesOfTheOracle) {
    std::mt19937 random(4);
    for (const std::string& keyword : BlendKeywords())
        for (std::uint32_t bands = 1; bands <= 8; ++bands)
            for (std::uint32_t width = 1; width <= 67; ++width) {
                if (keyword == "intensityBlend" && bands != 3) continue;
                CompareWithOracle<unsigned char>(keyword, bands, width, random);
                CompareWithOracle<unsigned short>(keyword, bands, width, random);
            }
}

template <class T>
std::vector<int> BlendOne(const std::string& keyword, const Settings& settings, const std::vector<T>& a,
                          const std::vector<T>& b) {
    const auto blend = Create<T>(keyword, settings);
    const auto bandsOf = [](const auto& pixel) { return static_cast<std::uint32_t>(pixel.size()); };
    if (!blend->Init(Description<T>(1, bandsOf(a)), Description<T>(1, bandsOf(b)), false)) return {-1};
    blend->SetWindow(0, 0);
    const T* out = blend->ProcessRow(a.data(), b.data(), 0);
    return {out, out + blend->GetOutputInfo().bands};
}

TEST(BlendPixels, GiveTheListedPixels) {
    struct Case {
        const char* keyword;
        Settings settings;
        std::vector<unsigned char> a, b;
        std::vector<int> out;
    };
    const Case cases[] = {
        {"Add", {}, {10}, {20}, {157}},                        // 157.5 truncated
        {"Add", {{"OutputOffset-1", "1e999"}}, {1}, {1}, {0}}, // infinite: 0, not 255
        {"Subtract", {}, {20}, {10}, {138}},                   // 137.5 rounded half up
        {"Subtract", {{"OutputOffset-1", "1e999"}}, {1}, {1}, {255}},
        {"Divide", {{"OutputOffset-1", "0"}}, {9, 0, 200}, {0, 0, 3}, {0, 0, 66}},
        {"Mask", {{"FillColor", "255"}}, {1, 2, 3}, {0}, {255, 0, 0}},
        {"Mask", {{"FillColor", "255"}}, {1, 2, 3}, {9}, {1, 2, 3}},
        {"Mask", {{"FillColor", "65280"}}, {1, 2, 3}, {0}, {0, 255, 0}},
        {"Mask", {{"FillColor", "4279173377"}}, {1, 1, 1, 1, 1}, {0}, {1, 1, 15, 15, 15}}, // 0xFF0F0101
        {"Mask", {{"FillColor", "1;2;3"}}, {9, 9, 9}, {0}, {0, 0, 0}},                     // no number
        {"Mask", {{"FillColor", "1.9;x,3"}}, {9, 9, 9}, {0}, {1, 1, 3}},
        {"Mask", {{"FillColor", "-5,300"}}, {9, 9, 9}, {0}, {0, 255, 0}},
        {"Mask", {{"FillColor", ","}}, {9, 9}, {0}, {0, 0}},
        {"Mask", {{"FillColor", "5,5"}, {"FillValue", "7"}}, {9}, {7}, {5}},
        {"Mask", {{"FillColor", "5,5"}, {"FillValue", "263"}}, {9}, {7}, {9}}, // 256 + 7 is not a sample
    };
    for (const Case& c : cases)
        EXPECT_EQ(BlendOne<unsigned char>(c.keyword, c.settings, c.a, c.b), c.out)
            << c.keyword << " " << testing::PrintToString(c.settings);
    EXPECT_EQ(BlendOne<unsigned short>("Mask", {{"FillColor", "65535"}}, {9, 9, 9}, {0}),
              (std::vector{255, 255, 0}))
        << "bytes at both depths";
}

std::string List(std::uint32_t count, const std::string& value) {
    std::string text;
    for (std::uint32_t i = 0; i < count; ++i)
        text += (i == 0 ? "" : ", ") + value;
    return text;
}

/// What each operator publishes, for inputs of three bands, or of one band if it takes only one.
struct Operator {
    const char* name;
    bool output, input, bands; ///< publishes those gains and offsets; refuses unequal bands
    std::uint32_t outputBands;
};
const std::map<std::string, Operator> operators = {
    {"maxAbsoluteDifference", {"MaxAbsoluteDifference", true, false, true, 1}},
    {"Subtract", {"WeightedDifference", true, true, true, 3}},
    {"Add", {"Sum", true, false, true, 3}},
    {"Multiply", {"Multiply", true, false, true, 3}},
    {"Divide", {"Divide", true, false, true, 3}},
    {"Mask", {"Mask", true, false, false, 3}},
    {"scaledDifference", {"ScaledDifference", true, false, true, 3}},
    {"weightedDifference", {"WeightedDifference", true, true, true, 3}},
    {"intensityBlend", {"IntensityBlend", false, true, false, 3}},
    {"mergeBands", {"MergeBands", false, false, false, 6}},
};

template <class T>
void CheckOperator(const std::string& keyword, const Operator& expected) {
    const std::string written = Fundament::ToUpper(keyword);
    const std::uint32_t bands2 = TakesOneBand(keyword) ? 1 : 3;
    const ImageInfo info1 = Description<T>(8, 3);
    const ImageInfo info2 = Description<T>(8, bands2, "Gray");
    const T row[48] = {};
    const auto blend = Create<T>(written, {{"OutputGain-1", "2"}, {"PrimaryOffset-2", "-1.5"}});
    const auto refuses = [&](const char* when) {
        blend->SetWindow(0, 0);
        EXPECT_EQ(blend->ProcessRow(row, row, 0), nullptr) << keyword << " " << when;
        EXPECT_EQ(blend->GetOutputInfo().cols, 0u) << keyword << " " << when;
    };
    refuses("before Init");
    ASSERT_TRUE(blend->Init(info1, info2, false)) << StatusText(blend->status);
    const std::uint32_t outputMaps = expected.output ? expected.outputBands : 0;
    const std::uint32_t inputMaps = expected.input ? 3 : 0, input2Maps = expected.input ? bands2 : 0;
    const std::pair<const char*, std::string> facts[] = {
        {"method", written},
        {"outputGains", List(outputMaps, "2.000")},
        {"outputOffsets", List(outputMaps, "127.500")},
        {"input1Gains", List(inputMaps, "1.000")},
        {"input1Offsets", inputMaps ? "0.000, -1.500, 0.000" : ""},
        {"input2Gains", List(input2Maps, "1.000")},
        {"input2Offsets", List(input2Maps, "0.000")},
        {"input1NumChannels", "3"},
        {"input2NumChannels", std::to_string(bands2)},
        {"outputNumChannels", std::to_string(expected.outputBands)},
    };
    for (const auto& [name, value] : facts)
        EXPECT_EQ(blend->GetMetadata().GetString(name), value) << keyword << " " << name;
    EXPECT_EQ(blend->GetMetadata().GetCount(), 4u + (expected.output ? 2 : 0) + (expected.input ? 4 : 0));
    const ImageInfo output = blend->GetOutputInfo();
    EXPECT_TRUE(output.bands == expected.outputBands && output.rows == 6 && output.originX == 12.5);
    ASSERT_TRUE(blend->SetWindow(3, 100));
    EXPECT_EQ(blend->firstColumn * 100 + blend->endColumn, 308u);
    EXPECT_NE(blend->ProcessRow(row, row, 0), nullptr);
    EXPECT_EQ(blend->ProcessRow(nullptr, row, 0), nullptr);
    EXPECT_EQ(blend->ProcessRow(row, nullptr, 0), nullptr);
    ASSERT_TRUE(blend->Init(Description<T>(2, 3), Description<T>(2, bands2), false));
    EXPECT_EQ(blend->ProcessRow(row, row, 0), nullptr) << "the old window past the new row";

    const std::string differ =
        std::string("4F03 ") + expected.name + "|input image formats do not match; images have different ";
    ImageInfo deep = info2;
    deep.bitsPerSample = 32;
    EXPECT_FALSE(blend->Init(info1, deep, false));
    EXPECT_EQ(StatusText(blend->status),
              differ + "bit-depths (" + std::to_string(8 * sizeof(T)) + " and 32)");
    refuses("of two depths");
    if (expected.bands) {
        EXPECT_FALSE(blend->Init(info1, Description<T>(8, 2), false));
        EXPECT_EQ(StatusText(blend->status), differ + "number of bands (3 and 2)");
        refuses("of unequal bands");
    }
    if (expected.outputBands > 1) {
        const std::uint32_t most = 0x80000000u;
        EXPECT_FALSE(blend->Init(Description<T>(most, 3), Description<T>(most, bands2), false));
        EXPECT_EQ(blend->status.GetItem(0).id, 0x4F10u) << "a row past all memory";
        refuses("too long");
    }

    const auto silent = Create<T>(keyword);
    silent->EnableMetadata(false);
    EXPECT_TRUE(silent->Init(info1, info2, true) && silent->Init(info1, info2, true));
    EXPECT_EQ(silent->GetMetadata().ToXml({}), "<method>" + keyword + "</method>\n");
    EXPECT_EQ(silent->properties.HasProperty("OutputGain-1"), keyword != "mergeBands");
}

TEST(BlendPixels, ShareOneFrame) {
    ASSERT_EQ(BlendKeywords().size(), operators.size());
    for (const auto& [keyword, expected] : operators) {
        CheckOperator<unsigned char>(keyword, expected);
        CheckOperator<unsigned short>(keyword, expected);
    }
}

TEST(BlendPixels, RefuseInputsThatOneOperatorCannotTake) {
    struct Case {
        const char* keyword;
        ImageInfo input1;
        std::uint32_t bands2;
        const char* expected;
    };
    const Case cases[] = {
        {"Mask", Description<unsigned char>(4, 3), 2,
         "4F03 Mask|Mask Image should always have one band.Current Mask Image Num Bands: 2"},
        {"Mask", Description<unsigned char>(4, 3), 0,
         "4F03 Mask|Mask Image should always have one band.Current Mask Image Num Bands: 0"},
        {"intensityBlend", Description<unsigned char>(4, 3), 3,
         "4F05 IntensityBlend|Auxiliary image has 3 bands;  it should be a single-band image"},
        {"intensityBlend", Description<unsigned char>(4, 3, "HSI"), 1,
         "4E02 IntensityBlend|Could not initialize RGB-to-YUV Convertor; 1004 "
         "ColorSpaceConvertor/rgb2yuv|input-image must be in the RGB color-space"},
    };
    for (const Case& c : cases) {
        const auto blend = Create<unsigned char>(c.keyword);
        EXPECT_FALSE(blend->Init(c.input1, Description<unsigned char>(4, c.bands2), false));
        EXPECT_EQ(StatusText(blend->status), c.expected);
        const unsigned char row[16] = {};
        blend->SetWindow(0, 4);
        EXPECT_EQ(blend->ProcessRow(row, row, 0), nullptr) << c.keyword;
    }
    EXPECT_FALSE(Create<unsigned char>("intensityBlend")->SetWindow(0, 4)) << "no converters";
}

TEST(BlendPixels, AreCreatedByKeyword) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "4F01 |method not specified.; 0 BlendPixels/create|"},
        {"Sum", "4F02 |unrecognized method specified: 'Sum'; 0 BlendPixels/create|"},
        {"add", "0 BlendPixels/create|"},
    };
    for (const auto& [keyword, expected] : cases) {
        Fundament::Status status;
        EXPECT_EQ(CreateBlendPixels<unsigned char>(keyword, status) != nullptr, keyword[0] == 'a');
        EXPECT_EQ(StatusText(status), expected);
    }
}

} // namespace
