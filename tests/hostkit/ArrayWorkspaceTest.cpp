#include "hostkit/ArrayWorkspace.h"

#include "CodedImage.h"
#include "hostkit/HostKitStatus.h"

#include <gtest/gtest.h>

namespace {

using namespace testimages;
using hostkit::ArrayWorkspace;
using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Pixmere::IRasterProcessChain;

TEST(ArrayWorkspace, IssuesChainsAndTakesThemBack) {
    const CodedImage<unsigned char> source(MakeInfo(4, 4, 1, 8));
    ArrayWorkspace workspace(source.info);
    workspace.SetImage("ms", source.Whole());
    ArrayWorkspace other(source.info);
    Status reasons;
    IRasterProcessChain* a = workspace.GetProcessChain("scene", "ms", nullptr, reasons);
    IRasterProcessChain* b = workspace.GetProcessChain("scene", "ms", nullptr, reasons);
    ASSERT_NE(a, nullptr);
    EXPECT_NE(a, b);
    EXPECT_EQ(workspace.GetOutstandingChains(), 2u);
    EXPECT_EQ(other.ReleaseProcessChain(&a), 0); // issued elsewhere
    IRasterProcessChain* copy = a;
    EXPECT_EQ(workspace.ReleaseProcessChain(&a), 1);
    EXPECT_EQ(a, nullptr);
    EXPECT_EQ(workspace.ReleaseProcessChain(&copy), 0); // given back already
    EXPECT_EQ(workspace.ReleaseProcessChain(&a), 1);    // holds null
    EXPECT_EQ(workspace.ReleaseProcessChain(nullptr), 1);
    EXPECT_EQ(workspace.GetOutstandingChains(), 1u); // b is destroyed with the workspace
    EXPECT_EQ(reasons.GetCount(), 0u);
}

TEST(ArrayWorkspace, NamesAnImageThatItDoesNotHave) {
    ArrayWorkspace workspace(MakeInfo(4, 4, 1, 8));
    Status reasons;
    EXPECT_EQ(workspace.GetProcessChain("scene", "infrared", nullptr, reasons), nullptr);
    ASSERT_EQ(reasons.GetCount(), 1u);
    EXPECT_EQ(reasons.GetItem(0).id, hostkit::HostKitStatus::NoSuchImage);
    EXPECT_NE(reasons.GetItem(0).message.find("'infrared'"), std::string::npos);
    EXPECT_EQ(workspace.GetImageInfo("infrared"), nullptr);
    EXPECT_EQ(workspace.GetImageId(0), "");
}

} // namespace
