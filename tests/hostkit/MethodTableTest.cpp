#include "hostkit/MethodTable.h"

#include "hostkit/PluginLibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using KOVA::Tessara::Fundament::PropertyLookUp;
using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Global::NameValueMap;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

/// Every value is half the number in its property.
constexpr PansharpBandParameter halves = {
    {"Gain-N", "double", "1", ""},
    {},
    0.0,
    4.0,
    PansharpFit::Gain,
    [](const double* values, std::uint32_t count, std::uint32_t, double* numbers, double* additional) {
        for (std::uint32_t b = 0; b < count; ++b)
            numbers[b] = b == 1 ? std::nan("") : 2.0 * values[b];
        *additional = 9.0;
    },
    nullptr};
constexpr PansharpScalarParameter scalars[] = {
    {{"Limit", "double", "", ""}, PansharpSetting::Constant, 2.0},
    {{"Floor", "double", "0", ""}, PansharpSetting::ShareOfMean, 0.25},
    {{"Depth", "double", "1", ""}, PansharpSetting::None, 7.0}};

PansharpMethod Fake(const char* keyword, bool isRecommended) {
    return {keyword, "",      "", "",     1, 0, isRecommended ? 1u : 0u, PansharpAdditionalBand::Infrared,
            1,       &halves, 3,  scalars};
}

TEST(MethodTable, MethodIsFoundInAnyCaseAndTheRecommendedOneWithoutAName) {
    const PansharpMethod methods[] = {Fake("First", false), Fake("Second", true)};
    PansharpDescription plugin = {sizeof plugin, PANSHARP_CONTRACT_VERSION, "Fake", "1", 2, methods, 0,
                                  nullptr};
    Status status;
    EXPECT_EQ(hostkit::FindMethod(plugin, "first", status), &methods[0]);
    EXPECT_EQ(hostkit::FindMethod(plugin, "", status), &methods[1]);
    plugin.methodCount = 1; // none is recommended
    EXPECT_EQ(hostkit::FindMethod(plugin, "", status), &methods[0]);
    plugin.methodCount = 2;
    EXPECT_EQ(status.GetCount(), 0u);
    EXPECT_EQ(hostkit::FindMethod(plugin, "Median", status), nullptr);
    EXPECT_THAT(status.ToText(), HasSubstr("'Median'; the plug-in has First, Second"));
}

TEST(MethodTable, ParametersBecomeProperties) {
    PansharpMethod method = Fake("Trial", false);
    NameValueMap properties;
    Status status;
    EXPECT_FALSE(hostkit::WeighsBands(method));
    const PansharpBandParameter* gains = hostkit::FindParameter(method, PansharpFit::Gain);
    ASSERT_EQ(gains, &halves);
    for (const double wrong : {-0.1, 4.5, std::nan("")})
        EXPECT_FALSE(hostkit::SetValues(*gains, {1.0, wrong}, false, properties, status));
    EXPECT_THAT(status.GetItem(0).message,
                HasSubstr("-0.1 is not a value for Gain-N; give numbers from 0 to 4"));
    EXPECT_EQ(properties.GetCount(), 0u);
    ASSERT_TRUE(hostkit::SetValues(*gains, {0.1, 1.0, 3.0}, false, properties, status));
    hostkit::SetScalars(method, {}, properties);
    EXPECT_THAT(std::vector(properties.begin(), properties.end()),
                ElementsAre(Pair("Gain-1", "0.2"), Pair("Gain-3", "6"), Pair("Limit", "2")));
    hostkit::SetScalars(method, 100.0, properties);
    EXPECT_EQ(*properties.Find("Floor"), "25");
    method.additionalBand = PansharpAdditionalBand::LowPass;
    NameValueMap withoutLowPass;
    hostkit::SetScalars(method, {}, withoutLowPass);
    EXPECT_EQ(withoutLowPass.GetCount(), 0u);
    std::string names;
    for (const PansharpProperty& property : hostkit::PropertiesOf(method))
        names += std::string(property.name) + " ";
    EXPECT_EQ(names, "Gain-N Limit Floor Depth ");
    EXPECT_TRUE(hostkit::IsNamed(halves.band, "gain-12") && !hostkit::IsNamed(halves.band, "gain-") &&
                !hostkit::IsNamed(halves.band, "gain-1x") && !hostkit::IsNamed(halves.additional, "gain-1"));
}

// KOVA's defaults are 1/n and 0, Brovey's 1 and 1, here times 4.
TEST(MethodTable, RawPropertiesAreReadAsTheMethodDoes) {
    Status status;
    const auto plugin = hostkit::PluginLibrary::Load(PANSHARP_PLUGIN_FILE, status);
    ASSERT_NE(plugin, nullptr) << status.ToText();
    const auto read = [&](const char* keyword, const PropertyLookUp& properties) {
        const PansharpMethod* method = hostkit::FindMethod(plugin->GetDescription(), keyword, status);
        return hostkit::ReadValues(*hostkit::FindParameter(*method, PansharpFit::Share), 4, properties);
    };
    PropertyLookUp properties;
    properties["BandWeight-2"] = " 0.5 ";
    properties["bandweight-3"] = "many";
    EXPECT_THAT(read("KOVA", properties), ElementsAre(0.25, 0.5, 0.0, 0.25));
    EXPECT_THAT(read("Brovey", properties), ElementsAre(4.0, 2.0, 4.0, 4.0));
    properties["AdditionalBandWeight"] = "0.125";
    EXPECT_THAT(read("KOVA", properties), ElementsAre(0.25, 0.5, 0.0, 0.125));
    EXPECT_THAT(read("Brovey", properties), ElementsAre(4.0, 2.0, 4.0, 0.125));
}

} // namespace
