#include "SceneFiles.h"

#include <gmock/gmock.h>

namespace {

using namespace testfiles;
using rasterhost::SharpenRequest;
using testing::ElementsAre;
using testing::HasSubstr;

/// A scene of several windows.
class Output : public testing::Test {
protected:
    Output() {
        request.pan.file =
            folder.Write("pan.tif", {400, 600, 1, GDT_Byte, Grid(10.0), {}},
                         [](int c, int r, int) { return static_cast<unsigned>((c + r) % 200); });
        request.multispectral = {
            {folder.Write("ms.tif", {200, 300, 2, GDT_Byte, Grid(20.0), {}},
                          [](int c, int r, int) { return static_cast<unsigned>((c + r) % 200); }),
             {}}};
        request.output = folder / "fused.tif";
        request.weightSource = rasterhost::WeightSource::Equal;
        request.windowRows = 64;
        request.threads = 2;
    }
    /// The existing output of a failed or cancelled run is as it was, and nothing lies beside it.
    void RunInVain(Outcome& outcome) {
        std::ofstream(request.output) << "precious";
        request.overwrite = true;
        outcome = RunSharpen(request);
        EXPECT_FALSE(outcome.isDone);
        EXPECT_THAT(folder.List(), ElementsAre("fused.tif", "ms.tif", "pan.tif"));
        EXPECT_EQ(ReadText(request.output), "precious");
    }

    const Folder folder;
    SharpenRequest request;
};

TEST_F(Output, AppearsWhenItIsComplete) {
    std::vector<std::vector<std::string>> seen;
    request.progress = [&](double done) {
        if (done > 0.3 && done < 0.6) seen.push_back(folder.List());
        return true;
    };
    ASSERT_TRUE(RunSharpen(request).isDone);
    ASSERT_FALSE(seen.empty());
    for (const auto& names : seen)
        EXPECT_THAT(names, ElementsAre(testing::StartsWith(".fused.pansharp-"), "ms.tif", "pan.tif"));
    EXPECT_THAT(folder.List(), ElementsAre("fused.tif", "ms.tif", "pan.tif"));
}

TEST_F(Output, CancelledRunsLeaveNothing) {
    for (const double when : {0.0, 0.01, 0.5, 1.0}) {
        request.progress = [when](double done) { return done < when; };
        Outcome outcome;
        RunInVain(outcome);
        EXPECT_TRUE(outcome.report.cancelled);
        EXPECT_THAT(outcome.status.GetItem(0).message, HasSubstr("cancelled"));
    }
}

TEST_F(Output, DamagedInputsFailWithTheirName) {
    std::filesystem::resize_file(request.pan.file, 150000); // of 240000 and some bytes
    // The look at the edge finds it before there is an output; without that look it is found in the middle.
    for (const bool isInTheMiddle : {false, true}) {
        request.ignoreNoData = isInTheMiddle;
        Outcome outcome;
        RunInVain(outcome);
        EXPECT_FALSE(outcome.report.cancelled);
        ASSERT_EQ(outcome.status.GetCount(), isInTheMiddle ? 2u : 1u);
        EXPECT_THAT(outcome.status.GetItem(outcome.status.GetCount() - 1).message,
                    testing::AllOf(HasSubstr(request.pan.file), HasSubstr("damaged")));
    }
}

// The host's item comes first, then the process's own; the first window that fails is the one that is told.
TEST_F(Output, FailingProcessesTellWhy) {
    const struct {
        const char* property;
        const char* value;
        const char* host;
        const char* process;
    } cases[] = {{"failRow", "300", "rows 256 to 320", "no row here"},
                 {"failWindow", "300", "rows 320 to 384", "no window here"},
                 {"failRow", "0", "rows 0 to 1", "no row here"}};
    request.plugin = FAILING_PLUGIN_FILE;
    for (const auto& c : cases)
        for (const int threads : {1, 2, 5}) {
            request.threads = threads;
            request.properties = {{c.property, c.value}};
            Outcome outcome;
            RunInVain(outcome);
            ASSERT_EQ(outcome.status.GetCount(), 2u) << outcome.status.ToText();
            EXPECT_THAT(outcome.status.GetItem(0).message, HasSubstr(c.host));
            EXPECT_EQ(outcome.status.GetItem(1).message, c.process);
            EXPECT_EQ(outcome.status.GetItem(1).source, "FailingPlugin");
        }
}

// Statistics and overviews beside the file that is overwritten were those of that file.
TEST_F(Output, OverwritingTakesAwayWhatDescribedTheOldFile) {
    ASSERT_TRUE(RunSharpen(request).isDone);
    std::ofstream(request.output + ".aux.xml") << "<PAMDataset/>";
    std::ofstream(request.output + ".ovr") << "overviews";
    request.overwrite = true;
    ASSERT_TRUE(RunSharpen(request).isDone);
    EXPECT_THAT(folder.List(), ElementsAre("fused.tif", "ms.tif", "pan.tif"));
}

TEST_F(Output, OtherFormatsKeepTheirFilesTogether) {
    ASSERT_TRUE(RunSharpen(request).isDone);
    const auto expected = ReadAll(request.output);
    request.format = "ENVI";
    request.output = folder / "fused.img";
    for (const bool overwrite : {false, true}) {
        request.overwrite = overwrite;
        const Outcome outcome = RunSharpen(request);
        ASSERT_TRUE(outcome.isDone) << outcome.status.ToText();
        EXPECT_EQ(ReadAll(request.output), expected);
        for (const std::string& name : folder.List())
            EXPECT_THAT(name, testing::Not(HasSubstr("pansharp-")));
    }
}

} // namespace
