#include "fundament/Console.h"

#include "support/System.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

using namespace KOVA::Tessara::Fundament;

TEST(Console, AsksOnlyWhatIsOpen) {
    const support::Folder folder;
    const std::string file = folder / "file";
    testing::internal::CaptureStderr();
    EXPECT_EQ(ConfirmOverwrite(file, false), 1);
    EXPECT_EQ(ConfirmOverwriteOrAppend(file, false, false), 1u);
    std::ofstream{file};
    EXPECT_EQ(ConfirmOverwrite(file, true), 1);
    EXPECT_EQ(ConfirmOverwriteOrAppend(file, true, true), 1u);
    EXPECT_EQ(ConfirmOverwriteOrAppend(file, false, true), 2u);
    std::filesystem::permissions(file, std::filesystem::perms{0444});
    const support::OrdinaryUser user;
    EXPECT_EQ(ConfirmOverwrite(file, true), -1);
    EXPECT_EQ(ConfirmOverwriteOrAppend(file, false, true), 0xFFFFFFFFu);
    EXPECT_TRUE(user.IsBack());
    std::filesystem::permissions(file, std::filesystem::perms::all);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
