#include "hostkit/EffectiveWeights.h"

#include "hostkit/MethodTable.h"
#include "hostkit/PluginLibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using hostkit::EffectiveWeights;
using hostkit::WeightedBands;
using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Global::NameValueMap;
using testing::HasSubstr;

const PansharpMethod& Method(const char* keyword) {
    static Status status;
    static const auto plugin = hostkit::PluginLibrary::Load(PANSHARP_PLUGIN_FILE, status);
    return *hostkit::FindMethod(plugin->GetDescription(), keyword, status);
}

TEST(EffectiveWeights, AreEqualUnlessGiven) {
    const struct {
        const char* method;
        WeightedBands bands;
        std::optional<double> infrared;
        std::vector<double> wanted;
        std::optional<double> wantedInfrared;
        std::vector<std::string> texts; ///< of BandWeight-1 ..., then of AdditionalBandWeight
    } cases[] = {
        {"KOVA", {2, false}, {}, {0.5, 0.5}, {}, {"0.5", "0.5", ""}},
        {"KOVA", {3, true}, {}, {0.25, 0.25, 0.25}, 0.25, {"0.25", "0.25", "0.25", "", "0.25"}},
        // Scaled by 4, except for the last of four.
        {"Brovey", {4, false}, {}, std::vector(4, 0.25), {}, {"0.0625", "0.0625", "0.0625", "1", "0.25"}},
        {"Brovey", {3, true}, 0.0, std::vector(3, 0.25), 0.0, {"0.0625", "0.0625", "0.0625", "1", "0"}},
        {"Brovey", {4, true}, {}, std::vector(4, 0.2), 0.2, {"0.05", "0.05", "0.05", "0.05", "1", "0.2"}},
        // IHS weighs only the fourth band, wherever it comes from.
        {"IHS", {3, false}, {}, {}, 0.0, {"", "", "", ""}},
        {"IHS", {3, true}, 0.25, {}, 0.25, {"", "", "", "0.25"}},
        {"IHS", {4, false}, 0.25, {}, 0.25, {"", "", "", "", "0.25"}},
        {"IHS", {5, true}, {}, {}, 0.0, {"", "", "", "", "", ""}},
        // Pan's low-pass is the simulated pan.
        {"Injection", {2, false, true}, {}, {}, {}, {"0", "0", "", "1"}},
    };
    for (const auto& c : cases) {
        EffectiveWeights weights{{}, c.infrared};
        NameValueMap properties;
        Status status;
        ASSERT_TRUE(hostkit::SetWeights(Method(c.method), c.bands, weights, properties, status)) << c.method;
        EXPECT_EQ(weights.bands, c.wanted) << c.method;
        EXPECT_EQ(weights.infrared, c.wantedInfrared) << c.method;
        for (std::size_t i = 0; i < c.texts.size(); ++i) {
            const bool isLast = i + 1 == c.texts.size();
            const std::string* text =
                properties.Find(isLast ? "AdditionalBandWeight" : "BandWeight-" + std::to_string(i + 1));
            EXPECT_EQ(text ? *text : "", c.texts[i]) << c.method << " " << i;
        }
    }
}

TEST(EffectiveWeights, RefusesWhatDoesNotFit) {
    PansharpMethod plain = Method("IHS");
    plain.bandParameterCount = 0;
    const struct {
        const PansharpMethod& method;
        WeightedBands bands;
        EffectiveWeights weights;
        const char* says;
    } cases[] = {
        {Method("KOVA"), {3, false}, {{0.5, 0.5}, {}}, "2 weights are given for 3 multispectral bands"},
        {Method("KOVA"), {2, false}, {{0.5, NAN}, {}}, "weight of band 2 is not a finite number"},
        {Method("Brovey"), {1, true}, {{0.5}, HUGE_VAL}, "infrared band is not a finite number"},
        {Method("KOVA"), {2, false}, {{0.5, 0.5}, 0.1}, "there is no infrared band"},
        {Method("KOVA"), {2, true}, {{0.5, 0.5}, {}}, "the infrared band has none"},
        {Method("IHS"), {3, false}, {{0.3, 0.3, 0.4}, {}}, "IHS has no weights of the multispectral bands"},
        {Method("IHS"), {3, false}, {{}, 0.25}, "no infrared band"},
        {Method("IHS"),
         {4, true},
         {{}, 0.25},
         "IHS takes band 4 for the infrared one; with an infrared image give it 3"},
        {Method("KOVA"), {0, false}, {}, "no multispectral bands"},
        {Method("KOVA"), {3, true, true}, {}, "leave weights and infrared band out"},
        {Method("KOVA"), {1, false, true}, {{1.0}, {}}, "leave weights and infrared band out"},
        {plain, {3, true}, {{}, 0.25}, "no weight of the infrared band"},
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

} // namespace
