#include "rasterhost/requests/Operation.h"

#include <gmock/gmock.h>

#include <new>
#include <stdexcept>

namespace {

using testing::HasSubstr;

// Nothing that is thrown gets out, and memory that does not suffice is told in words.
TEST(Operation, WhatIsThrownBecomesAnItem) {
    const std::pair<void (*)(), const char*> cases[] = {
        {[] { throw std::bad_alloc(); }, "the memory does not suffice: ask for fewer --threads"},
        {[] { throw std::length_error("vector"); }, "the memory does not suffice"},
        {[] { throw std::runtime_error("odd"); }, "unexpected: odd"}};
    for (const auto& [fail, text] : cases) {
        KOVA::Tessara::Fundament::Status status;
        double seconds = -1.0;
        EXPECT_FALSE(rasterhost::RunOperation([fail = fail] { return fail(), true; }, seconds, status));
        ASSERT_EQ(status.GetCount(), 1u);
        EXPECT_THAT(status.GetItem(0).message, HasSubstr(text));
        EXPECT_GE(seconds, 0.0);
    }
}

} // namespace
