// Every method, through its image: compared with the oracle on random rows, and on pixels that random rows
// miss.
#include "pansharp/Methods.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"
#include "pansharp/CreatePanSharpImage.h"
#include "support/FakeImage.h"
#include "support/MethodOracle.h"
#include "support/MethodValues.h"
#include "support/StatusText.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace PXL;
using Fundament::FormatString;
using support::Settings;
namespace PropertyNames = KOVA::Tessara::PropertyNames;

template <class T>
std::unique_ptr<PanSharpImage<T>> Create(const std::string& keyword, const Settings& settings) {
    Fundament::Status status;
    auto image = CreatePanSharpImage<T>(keyword, status);
    for (const auto& [name, value] : settings)
        image->properties[name] = value;
    return image;
}

Settings RandomSettings(std::uint32_t bands, std::uint32_t outputBands, std::mt19937& random) {
    const std::vector<std::string> texts = {"0.25", "0.3333333333333333", "0", "-0.4", "1e-3", "none", "1.7"};
    Settings settings = {{"outputNBands", std::to_string(outputBands)}};
    for (std::uint32_t b = 1; b <= bands; ++b)
        if (random() % 2 == 0) settings["BandWeight-" + std::to_string(b)] = texts[random() % texts.size()];
    if (random() % 3 == 0) settings["AdditionalBandWeight"] = texts[random() % texts.size()];
    if (random() % 3 == 0) return settings; // the gains of Injection are its defaults
    for (const std::string gain : {"InjectionGain-", "InjectionRatioGain-"})
        for (std::uint32_t b = 1; b <= bands; ++b)
            if (random() % 4 != 0) settings[gain + std::to_string(b)] = texts[random() % texts.size()];
    if (random() % 2 == 0) settings["InjectionLimit"] = texts[random() % texts.size()];
    if (random() % 2 == 0) settings["InjectionFloor"] = std::to_string(random() % 100);
    return settings;
}

/// Empty when no setting belongs to Injection.
oracle::Gains GainsOf(const Settings& settings, std::uint32_t bands) {
    const auto number = [&](const std::string& name, double otherwise) {
        const auto found = settings.find(name);
        return found == settings.end() ? otherwise : Fundament::StringToDouble(found->second, otherwise);
    };
    oracle::Gains gains;
    const auto first = settings.lower_bound("Injection");
    if (first == settings.end() || !first->first.starts_with("Injection")) return gains;
    for (std::uint32_t b = 1; b <= bands; ++b) {
        gains.gains.push_back(number("InjectionGain-" + std::to_string(b), 1.0));
        gains.ratioGains.push_back(number("InjectionRatioGain-" + std::to_string(b), 0.0));
    }
    gains.limit = number("InjectionLimit", HUGE_VAL);
    gains.floor = number("InjectionFloor", 0.0);
    return gains;
}

template <class T>
void CompareWithOracle(const PansharpMethod& method, kernels::SimdTarget target, std::uint32_t bands,
                       std::uint32_t width, std::mt19937& random) {
    const std::string keyword = method.keyword;
    const auto outputBands = static_cast<std::uint32_t>(1 + random() % bands);
    const Settings settings = RandomSettings(bands, outputBands, random);
    support::FakeImage<T> ms(width, 2, bands);
    support::FakeImage<T> pan(width + 5, 9, 1);
    const auto image = Create<T>(keyword, settings);
    image->UseSimdTarget(target);
    ASSERT_TRUE(image->Init(&ms, &pan)) << support::StatusText(image->status);
    ASSERT_TRUE(image->SetWindow(3, 4, 3 + width, 6));
    const double max = std::numeric_limits<T>::max();
    const auto tables = oracle::MethodTables(keyword, support::MethodValues(method, bands, settings), max);
    const oracle::Gains gains = GainsOf(settings, bands);
    for (std::uint32_t row = 4; row < 6; ++row) {
        const T* actual = image->GetRow(row);
        ASSERT_NE(actual, nullptr);
        for (std::uint32_t p = 0; p < width; ++p) {
            oracle::Pixel pixel;
            for (std::uint32_t b = 0; b < bands; ++b)
                pixel.push_back(ms.sample(p, row - 4, b));
            const auto expected = oracle::Fuse(keyword, pixel, pan.sample(3 + p, row, 0), tables, max, gains);
            for (std::uint32_t c = 0; c < outputBands; ++c)
                ASSERT_EQ(actual[p * outputBands + c], expected[c])
                    << keyword << ", " << sizeof(T) * 8 << " bits, " << bands << " bands, " << width
                    << " columns, row " << row << ", pixel " << p << ", band " << c;
        }
    }
}

template <class T>
void CompareAll(kernels::SimdTarget target) {
    std::mt19937 random(5);
    for (const PansharpMethod& method : MethodDescriptions())
        for (std::uint32_t bands = method.minimumBands; bands <= 8; ++bands)
            for (std::uint32_t width = 1; width <= 67; width += sizeof(T) == 1 ? 1 : 11)
                CompareWithOracle<T>(method, target, bands, width, random);
}

TEST(Methods, GiveTheBytesOfTheOracle) {
    for (const kernels::SimdTarget target : {kernels::SimdTarget{0}, kernels::ChosenSimdTarget()}) {
        CompareAll<unsigned char>(target);
        CompareAll<unsigned short>(target);
    }
}

std::string Listed(const std::vector<double>& values) {
    std::string text;
    for (const double value : values)
        text += FormatString(text.empty() ? "%g" : " %g", value);
    return text;
}

template <class T>
std::string FuseOne(const std::string& keyword, const Settings& settings, const std::vector<double>& pixel,
                    double panSample) {
    support::FakeImage<T> ms(1, 1, static_cast<std::uint32_t>(pixel.size()));
    support::FakeImage<T> pan(1, 1, 1);
    ms.sample = [&](auto, auto, std::uint32_t band) { return static_cast<T>(pixel[band]); };
    pan.sample = [&](auto, auto, auto) { return static_cast<T>(panSample); };
    const auto image = Create<T>(keyword, settings);
    const T* row = image->Init(&ms, &pan) && image->SetWindow(0, 0, 1, 1) ? image->GetRow(0) : nullptr;
    if (!row) return support::StatusText(image->status);
    return Listed({row, row + image->GetInfo().bands});
}

struct ListedPixel {
    int bits;
    Settings settings;
    std::vector<double> ms;
    double pan;
    std::string expected;
};

const Settings halves = {{"BandWeight-1", "0.5"}, {"BandWeight-2", "0.5"}, {"BandWeight-3", "0.5"}};
const Settings fourOut = {{"outputNBands", "4"}};
const Settings infrared = {{"outputNBands", "4"}, {"AdditionalBandWeight", "1"}};

/// Injection of three bands with gains of a half and ratio gains of a quarter; the fourth band is the
/// intensity.
Settings Gained(Settings settings) {
    settings.insert({{"BandWeight-1", "0"}, {"BandWeight-2", "0"}, {"BandWeight-3", "0"}});
    settings["AdditionalBandWeight"] = "1";
    for (const std::string band : {"1", "2", "3"}) {
        settings["InjectionGain-" + band] = "0.5";
        settings["InjectionRatioGain-" + band] = "0.25";
    }
    return settings;
}

const std::map<std::string, std::vector<ListedPixel>> listedPixels = {
    {"KOVA",
     {
         {8, {}, {30, 60, 90}, 100, "70 100 130"},
         {8, {}, {40, 80, 120, 200}, 50, "0 20 60"},  // s = 110, d = -60
         {8, {}, {250, 10, 10}, 255, "255 175 175"},  // 415 is clamped
         {16, {}, {250, 10, 10}, 255, "415 175 175"}, // and fits here
         {8, halves, {1, 0, 0}, 0, "1 0 0"},          // d = -0.5: 0.5 rounds up, -0.5 is clamped
         {8, {{"BandWeight-2", "x"}}, {30, 60, 90}, 100, "90 120 150"}, // no number: weight 0
         {8, {{"BandWeight-1", "1e999"}}, {1, 1, 1}, 9, "0 0 0"},       // d is minus infinity
         {8, {{"BandWeight-1", "1e999"}}, {0, 1, 1}, 9, "0 0 0"},       // and here not a number
     }},
    {"", {{8, {}, {30, 60, 90}, 100, "70 100 130"}}},
    {"kova", {{16, {}, {30, 60, 90}, 100, "70 100 130"}}},
    {"BROVEY", {{16, {}, {30, 60, 90}, 90, "15 30 45"}}},
    {"ihs", {{16, {}, {60, 120, 180}, 100, "33 66 100"}}},
    {"Brovey",
     {
         {8, {}, {30, 60, 90}, 90, "15 30 45"},
         {8, {}, {10, 20, 30}, 100, "16 33 50"},       // 16.67 and 33.33: truncated
         {8, halves, {200, 50, 50}, 200, "255 66 66"}, // 266.67
         {16, halves, {200, 50, 50}, 200, "266 66 66"},
         {8, {}, {0, 0, 0}, 255, "0 0 0"},
         {8, {}, {40, 80, 120, 160}, 100, "2 5 7"},                                 // weights 4 4 4 4
         {8, {{"BandWeight-4", "0"}}, {40, 80, 120, 160}, 100, "5 11 16"},          // 3 3 3 0
         {8, {{"AdditionalBandWeight", "0.5"}}, {40, 80, 120, 160}, 100, "3 7 11"}, // 4 4 4 0.5, s = 1040
         {8, {}, {40, 80, 120, 160, 100}, 100, "2 4 7"},                            // 4 4 4 4 1, s = 1700
         {8, {{"BandWeight-1", "-1"}}, {200, 50, 50, 50}, 100, "0 0 0"},            // a negative sum
     }},
    {"injection",
     {
         {8, Gained({}), {50, 200, 100, 100}, 120, "63 220 115"}, // g is 0.625, 1 and 0.75
         {8, Gained({{"InjectionLimit", "1"}}), {50, 200, 20, 100}, 140, "70 240 28"}, // 0.5, 1 and 0.2
         {8, Gained({{"InjectionLimit", "2"}, {"InjectionFloor", "40"}}), {5, 2, 0, 10}, 50, "15 6 0"},
         {8, Gained({}), {5, 2, 9, 0}, 50, "30 27 34"}, // no ratio to 0
         {8, {{"InjectionGain-1", "x"}, {"InjectionLimit", "no"}}, {30, 60, 90}, 100, "70 100 130"},
         {8, {{"outputNBands", "1"}, {"BandWeight-1", "1e-320"}}, {9}, 3, "12"}, // 1 / I overflows
     }},
    {"IHS",
     {
         {8, {}, {255, 0, 0}, 128, "128 0 0"},
         {8, {}, {100, 150, 200}, 120, "60 90 120"},
         {8, {}, {60, 120, 180}, 100, "33 66 100"},
         {8, {}, {50, 50, 50}, 200, "200 200 200"},
         {8, {}, {50, 50, 50}, 33, "32 32 32"}, // 33 * (1 / 255) * 255 is just below 33
         {8, {}, {0, 0, 0}, 0, "0 0 0"},
         {8, {}, {200, 200, 100}, 150, "150 150 75"},
         {8, {}, {100, 200, 200}, 150, "75 150 150"},
         {8, {}, {200, 100, 200}, 150, "150 75 150"},
         {8, {}, {200, 100, 50}, 255, "255 127 63"},
         {8, {}, {50, 200, 100}, 99, "24 99 49"},
         {8, {}, {100, 50, 200}, 33, "16 8 32"},
         {8, infrared, {100, 150, 200, 100}, 120, "10 15 20 105"},
         {8, fourOut, {100, 150, 200, 100}, 20, "10 15 20 5"},
         {8, fourOut, {100, 150, 200, 100}, 10, "5 7 10 2"}, // 10 - 22 / 3
         {8, {{"AdditionalBandWeight", "-1"}}, {0, 0, 0, 255}, 0, "255 255 255"},
         {8, {{"BandWeight-1", "9"}}, {255, 0, 0}, 128, "128 0 0"},
     }},
};

TEST(Methods, GiveTheListedPixels) {
    for (const auto& [keyword, pixels] : listedPixels)
        for (const ListedPixel& listed : pixels)
            EXPECT_EQ(listed.bits == 8
                          ? FuseOne<unsigned char>(keyword, listed.settings, listed.ms, listed.pan)
                          : FuseOne<unsigned short>(keyword, listed.settings, listed.ms, listed.pan),
                      listed.expected)
                << keyword << " of " << Listed(listed.ms) << " with pan " << listed.pan;
}

TEST(Methods, AreNoneForAnUnknownKeyword) {
    Fundament::Status status;
    status.Add(5, "earlier", "test");
    EXPECT_EQ(CreatePanSharpImage<unsigned char>("Brovey ", status), nullptr);
    EXPECT_EQ(support::StatusText(status), "3902 |unrecognized method specified: 'Brovey '; 5 test|earlier");
}

TEST(Methods, DescribeWhatTheyReadAndNeed) {
    // A property that is described but not read, or read but not described, would mislead users: when it gets
    // a new value, exactly the described ones must change the result of four bands.
    for (const PansharpMethod& method : MethodDescriptions()) {
        const auto fuse = [&](const Settings& settings) {
            return FuseOne<unsigned char>(method.keyword, settings, {90, 60, 200, 40}, 120);
        };
        const auto describes = [&](const std::string& name) {
            const std::span bands(method.bandParameters, method.bandParameterCount);
            const std::span scalars(method.scalarParameters, method.scalarParameterCount);
            return std::any_of(bands.begin(), bands.end(),
                               [&](const PansharpBandParameter& p) {
                                   return (p.band.name && PropertyNames::OfBand(p.band, 0) == name) ||
                                          (p.additional.name && p.additional.name == name);
                               }) ||
                   std::any_of(scalars.begin(), scalars.end(),
                               [&](const PansharpScalarParameter& p) { return p.property.name == name; });
        };
        for (const std::string name : {"BandWeight-1", "AdditionalBandWeight", "InjectionGain-1",
                                       "InjectionRatioGain-1", "InjectionLimit"})
            EXPECT_EQ(fuse({{name, "0.125"}}) != fuse({}), describes(name)) << method.keyword << " " << name;
        support::FakeImage<unsigned char> pan(1, 1, 1);
        for (std::uint32_t bands = 1; bands <= 3; ++bands) {
            support::FakeImage<unsigned char> ms(1, 1, bands);
            EXPECT_EQ(Create<unsigned char>(method.keyword, {{"outputNBands", "1"}})->Init(&ms, &pan),
                      bands >= method.minimumBands)
                << method.keyword << " " << bands;
        }
    }
}

} // namespace
