#include "hostkit/EffectiveWeights.h"

#include "support/MethodWeights.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

using hostkit::EffectiveWeights;
using hostkit::WeightedBands;
using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Fundament::StringToDouble;
using KOVA::Tessara::Global::NameValueMap;
using testing::HasSubstr;

std::vector<double> WeightsOfProcess(const std::string& method, std::size_t bands,
                                     const NameValueMap& properties) {
    return support::MethodWeights(method, bands,
                                  [&](const std::string& name) { return properties.Find(name); });
}

bool IsProductOf3(double weight) {
    double raw = weight / 3.0;
    for (int i = 0; i < 4; ++i)
        raw = std::nextafter(raw, -HUGE_VAL);
    for (int i = 0; i < 8; ++i, raw = std::nextafter(raw, HUGE_VAL))
        if (raw * 3.0 == weight) return true;
    return false;
}

void CheckRandomWeights(const std::string& method) {
    const bool brovey = method == "Brovey";
    std::mt19937 random(7);
    std::uniform_real_distribution<double> positive(1e-3, 2.0);
    bool inexact = false;
    for (int run = 0; run < 20000; ++run) {
        const std::size_t count = 1 + random() % 8;
        const bool infrared = count > 1 && random() % 2;
        std::vector<double> wanted;
        for (std::size_t b = 0; b < count; ++b) {
            const auto kind = random() % 12;
            wanted.push_back(kind == 0 ? 0.0 : kind == 1 ? -positive(random) : positive(random));
        }
        EffectiveWeights weights{{wanted.begin(), wanted.end() - infrared}, {}};
        if (infrared) weights.infrared = wanted.back();
        const WeightedBands bands{static_cast<std::uint32_t>(count - infrared), infrared};
        NameValueMap properties;
        Status status;
        ASSERT_TRUE(hostkit::SetWeights(method, bands, weights, properties, status)) << status.ToText();

        std::vector<double> used = weights.bands;
        if (infrared) used.push_back(weights.infrared.value());
        EXPECT_EQ(used, WeightsOfProcess(method, count, properties));
        if (used == wanted) continue;
        inexact = true;
        ASSERT_TRUE(brovey && count > 4) << "run " << run;
        for (std::size_t b = 0; b < count; ++b) {
            if (used[b] == wanted[b]) continue;
            EXPECT_LT(b, 4u);
            EXPECT_FALSE(IsProductOf3(wanted[b]));
            EXPECT_EQ(used[b], std::nextafter(wanted[b], used[b]));
        }
    }
    EXPECT_EQ(inexact, brovey); // the runs do reach the weights that have no third
}

TEST(EffectiveWeights, ProcessArrivesAtTheWantedWeights) {
    CheckRandomWeights("KOVA");
    CheckRandomWeights("Brovey");
}

TEST(EffectiveWeights, AreEqualUnlessGiven) {
    const struct {
        const char *given, *method;
        WeightedBands bands;
        std::optional<double> infrared;
        std::vector<double> wanted; // the infrared one last
    } cases[] = {
        {"KOVA", "KOVA", {3, false}, {}, {1.0 / 3, 1.0 / 3, 1.0 / 3}},
        {"kova", "KOVA", {3, true}, {}, {0.25, 0.25, 0.25, 0.25}},
        {"BROVEY", "Brovey", {4, false}, {}, {0.25, 0.25, 0.25, 0.25}},
        {"Brovey", "Brovey", {3, true}, 0.0, {0.25, 0.25, 0.25, 0.0}},
        {"Brovey", "Brovey", {4, true}, {}, {0.2, 0.2, 0.2, 0.2, 0.2}},
        // IHS weighs the fourth band only, wherever it comes from.
        {"ihs", "IHS", {3, false}, {}, {0}},
        {"ihs", "IHS", {3, true}, 0.25, {0.25}},
        {"ihs", "IHS", {4, false}, 0.25, {0.25}},
        {"IHS", "IHS", {5, true}, {}, {0}},
    };
    for (const auto& c : cases) {
        EffectiveWeights weights{{}, c.infrared};
        NameValueMap properties;
        Status status;
        ASSERT_TRUE(hostkit::SetWeights(c.given, c.bands, weights, properties, status)) << c.given;
        EXPECT_EQ(WeightsOfProcess(c.method, c.wanted.size(), properties), c.wanted) << c.given;
        if (*c.method == 'I') {
            EXPECT_EQ(properties.GetCount(), 1u);
            EXPECT_EQ(weights.infrared, c.wanted[0]);
        }
    }
}

TEST(EffectiveWeights, SmallestNumberStaysAboveZero) {
    const double least = std::numeric_limits<double>::denorm_min();
    EffectiveWeights weights{{least, 0.5, 0.5, 0.5, 0.5}, {}};
    NameValueMap properties;
    Status status;
    ASSERT_TRUE(hostkit::SetWeights("Brovey", {5, false}, weights, properties, status));
    // A quarter of it would be 0, and nothing would be scaled any more.
    EXPECT_EQ(WeightsOfProcess("Brovey", 5, properties),
              (std::vector<double>{4 * least, 0.5, 0.5, 0.5, 0.5}));
}

TEST(EffectiveWeights, RefusesWhatDoesNotFit) {
    const struct {
        const char* method;
        WeightedBands bands;
        EffectiveWeights weights;
        const char* says;
    } cases[] = {
        {"KOVA", {3, false}, {{0.5, 0.5}, {}}, "2 weights are given for 3 multispectral bands"},
        {"KOVA", {2, false}, {{0.5, NAN}, {}}, "weight of band 2 is no finite number"},
        {"Brovey", {1, true}, {{0.5}, HUGE_VAL}, "infrared band is no finite number"},
        {"KOVA", {2, false}, {{0.5, 0.5}, 0.1}, "there is no infrared band"},
        {"KOVA", {2, true}, {{0.5, 0.5}, {}}, "the infrared band has none"},
        {"IHS", {3, false}, {{0.3, 0.3, 0.4}, {}}, "no weights of the multispectral bands"},
        {"IHS", {3, false}, {{}, 0.25}, "no infrared band"},
        {"IHS", {4, true}, {{}, 0.25}, "fourth band"},
        {"Median", {3, false}, {}, "'Median'"},
        {"KOVA", {0, false}, {}, "no multispectral bands"},
    };
    for (const auto& c : cases) {
        EffectiveWeights weights = c.weights;
        NameValueMap properties;
        Status status;
        EXPECT_FALSE(hostkit::SetWeights(c.method, c.bands, weights, properties, status)) << c.says;
        ASSERT_EQ(status.GetCount(), 1u) << c.says;
        EXPECT_THAT(status.GetItem(0).message, HasSubstr(c.says));
        EXPECT_EQ(properties.GetCount(), 0u);
    }
}

TEST(EffectiveWeights, MethodIsFoundInAnyCase) {
    const PansharpMethod methods[] = {{"KOVA", "", "", "", 1, 0, nullptr},
                                      {"IHS", "", "", "", 3, 0, nullptr}};
    const PansharpDescription plugin = {sizeof plugin, PANSHARP_CONTRACT_VERSION, "Fake", "1", 2, methods, 0,
                                        nullptr};
    Status status;
    EXPECT_EQ(hostkit::FindMethod(plugin, "ihs", status), &methods[1]);
    EXPECT_EQ(hostkit::FindMethod(plugin, "", status), &methods[0]);
    EXPECT_EQ(status.GetCount(), 0u);
    EXPECT_EQ(hostkit::FindMethod(plugin, "Median", status), nullptr);
    EXPECT_THAT(status.ToText(), HasSubstr("'Median'; the plug-in has KOVA, IHS"));
}

} // namespace
