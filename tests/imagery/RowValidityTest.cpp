#include "imagery/RowValidity.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using hostkit::Reach;

class Image final : public hostkit::PlacedWindow {
public:
    explicit Image(std::vector<Reach> rowReach) : PlacedWindow("test"), reach(std::move(rowReach)) {}
    const unsigned char* GetRow(std::uint32_t) override { return nullptr; }
    const Reach* FindReach(std::uint32_t) override { return reach.empty() ? nullptr : reach.data(); }

private:
    std::vector<Reach> reach;
};

// Gaps of pan and of two coarse images; the row is the second of pan, from its second column on.
TEST(RowValidity, JoinsTheGapsOfAllImages) {
    using Bytes = std::vector<unsigned char>;
    const Bytes none, whole{0, 9, 9, 9, 9, 0}, gap{0, 9, 0, 9, 9, 0};
    const Reach no = Reach::None, some = Reach::Some, all = Reach::All;
    const struct {
        Bytes pan;
        std::vector<Reach> first, second;
        Bytes expected; ///< 1 with data; empty when all have
    } cases[] = {{none, {}, {}, {}},
                 {whole, {}, {some, all, some, all}, {}},
                 {gap, {}, {some, some, all, all}, {1, 0, 1, 1}},
                 {none, {all, all, no, some}, {}, {1, 1, 0, 1}},
                 {whole, {}, {no, all, all, all}, {0, 1, 1, 1}},
                 {gap, {all, all, no, some}, {all, no, all, no}, {1, 0, 0, 0}},
                 {none, {no, all, all, all}, {all, all, all, no}, {0, 1, 1, 0}}};
    for (const auto& c : cases) {
        Bytes valid(6, 0), merged(4);
        valid.insert(valid.end(), c.pan.begin(), c.pan.end());
        const hostkit::SampleBlock pan{nullptr, 0, {10, 20, 16, 22}, c.pan.empty() ? nullptr : valid.data()};
        Image first(c.first), second(c.second);
        hostkit::PlacedWindow* const coarse[] = {&first, &second};
        const unsigned char* found =
            imagery::FindRowValidity(pan, {11, 20, 15, 22}, 21, coarse, merged.data());
        ASSERT_EQ(found != nullptr, !c.expected.empty());
        Bytes has;
        for (std::size_t i = 0; found && i < 4; ++i)
            has.push_back(found[i] != 0 ? 1 : 0);
        EXPECT_EQ(has, c.expected);
    }
}

} // namespace
