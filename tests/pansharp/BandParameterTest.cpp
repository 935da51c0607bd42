#include "pansharp/BandParameter.h"

#include "fundament/Numbers.h"
#include "pansharp/Methods.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace {

using Values = std::vector<double>;

/// Converts values to properties, these to texts, and back.
Values ThereAndBack(const PansharpBandParameter& parameter, const Values& values, bool hasAdditional) {
    const auto count = static_cast<std::uint32_t>(values.size());
    Values numbers(count);
    double additional = 0.0;
    parameter.toProperties(values.data(), count, hasAdditional ? 1 : 0, numbers.data(), &additional);
    const auto text = [](double number) {
        return std::isnan(number) ? std::string() : KOVA::Tessara::Fundament::NumberText(number);
    };
    std::vector<std::string> texts;
    for (const double number : numbers)
        texts.push_back(text(number));
    std::vector<const char*> addresses;
    for (const std::string& each : texts)
        addresses.push_back(each.c_str());
    Values back(count);
    EXPECT_EQ(parameter.fromProperties(addresses.data(), text(additional).c_str(), count, back.data()), 1);
    return back;
}

bool IsProductOf3(double value) {
    double raw = value / 3.0;
    for (int i = 0; i < 4; ++i)
        raw = std::nextafter(raw, -HUGE_VAL);
    for (int i = 0; i < 8; ++i, raw = std::nextafter(raw, HUGE_VAL))
        if (raw * 3.0 == value) return true;
    return false;
}

/// Within the range of the parameter, including 0 and negative numbers where they are allowed.
double RandomValue(const PansharpBandParameter& parameter, std::mt19937& random) {
    const double value = std::uniform_real_distribution<double>(1e-3, 2.0)(random);
    const auto kind = random() % 12;
    return std::clamp(kind == 0 ? 0.0 : kind == 1 ? -value : value, parameter.minimum, parameter.maximum);
}

// Bit for bit, except where a method multiplies by 3 and no number times 3 gives the value.
TEST(BandParameter, PropertiesGiveTheValuesThatTheyWereMadeOf) {
    for (const PansharpMethod& method : PXL::MethodDescriptions())
        for (std::uint32_t i = 0; i < method.bandParameterCount; ++i) {
            const PansharpBandParameter& parameter = method.bandParameters[i];
            std::mt19937 random(7);
            for (int run = 0; run < 20000; ++run) {
                const std::size_t count = parameter.band.name ? 1 + random() % 8 : 1;
                const bool hasAdditional =
                    !parameter.band.name || (parameter.additional.name && count > 1 && random() % 2);
                Values wanted(count);
                for (double& value : wanted)
                    value = RandomValue(parameter, random);
                const Values used = ThereAndBack(parameter, wanted, hasAdditional);
                for (std::size_t b = 0; b < count && used != wanted; ++b) {
                    if (used[b] == wanted[b]) continue;
                    ASSERT_TRUE(count > 4 && !IsProductOf3(wanted[b])) << method.keyword << " run " << run;
                    ASSERT_EQ(used[b], std::nextafter(wanted[b], used[b])) << method.keyword;
                }
            }
        }
}

// A quarter of it would be 0, and then nothing would be scaled any more.
TEST(BandParameter, TheSmallestNumberStaysAboveZero) {
    const double least = std::numeric_limits<double>::denorm_min();
    for (const PansharpMethod& method : PXL::MethodDescriptions())
        for (std::uint32_t i = 0; i < method.bandParameterCount; ++i) {
            if (!method.bandParameters[i].band.name) continue;
            const Values used = ThereAndBack(method.bandParameters[i], {least, 0.5, 0.5, 0.5, 0.5}, false);
            EXPECT_EQ((Values{used.begin() + 1, used.end()}), Values(4, 0.5)) << method.keyword;
            EXPECT_GT(used[0], 0.0) << method.keyword;
        }
}

} // namespace
