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
    /// After a failed or cancelled run, the existing output is unchanged and nothing lies beside it.
    void RunInVain(Outcome& outcome) {
        std::ofstream(request.output) << "precious";
        request.overwrite = true;
        outcome = RunSharpen(request);
        EXPECT_FALSE(outcome.isDone);
        EXPECT_THAT(folder.List(), ElementsAre("fused.tif", "ms.tif", "pan.tif"));
        EXPECT_EQ(ReadText(request.output), "precious");
    }

    const Folder folder;
    SharpenRequest request = MakeRequest();
};

TEST_F(Output, AppearsWhenItIsComplete) {
    std::vector<std::vector<std::string>> seen;
    request.progress = [&](double done) {
        if (done > 0.3 && done < 0.6) seen.push_back(folder.List());
        return true;
    };
    RunWell(request);
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
    // The search at the edge finds it before there is an output; without that search it is found in the
    // middle.
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

// The host's item comes first, then the process's own. The first window that fails is the one reported.
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
    request.method.clear();
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

/// The bytes of the tiles, along rows of tiles.
std::vector<std::string> TileSizes(const std::string& file) {
    const GDALDatasetUniquePtr dataset(GDALDataset::Open(file.c_str()));
    const auto size = [&](int column, int row) {
        const std::string name = "BLOCK_SIZE_" + std::to_string(column) + "_" + std::to_string(row);
        return dataset->GetRasterBand(1)->GetMetadataItem(name.c_str(), "TIFF");
    };
    std::vector<std::string> sizes;
    for (int row = 0; size(0, row); ++row)
        for (int column = 0; const char* bytes = size(column, row); ++column)
            sizes.emplace_back(bytes);
    return sizes;
}

// The tiles equal those that GDAL makes from the same pixels with the same options, whoever writes them:
// quality, level, predictor and size take effect, at any number of threads.
TEST_F(Output, CreationOptionsReachTheTiles) {
    RunWell(request);
    const std::string plain = folder / "plain.tif", expected = folder / "expected.tif";
    std::filesystem::rename(request.output, plain);
    const GDALDatasetUniquePtr source(GDALDataset::Open(plain.c_str()));
    const std::vector<std::vector<std::string>> cases = {
        {},
        {"COMPRESS=NONE", "BIGTIFF=YES"},
        {"COMPRESS=DEFLATE"},
        {"COMPRESS=DEFLATE", "ZLEVEL=1"},
        {"compress=deflate", "ZLEVEL=9", "PREDICTOR=2"},
        {"COMPRESS=ZSTD", "ZSTD_LEVEL=1"},
        {"COMPRESS=LZW", "PREDICTOR=2"},
        {"COMPRESS=PACKBITS"},
        {"COMPRESS=DEFLATE", "ENDIANNESS=BIG"},
        {"COMPRESS=DEFLATE", "INTERLEAVE=BAND", "ZLEVEL=9"},
        {"COMPRESS=LERC", "MAX_Z_ERROR=10"},
        {"DISCARD_LSB=3"},
    };
    for (const auto& options : cases)
        for (const auto& [blockRows, threads] : {std::pair{64, 1}, {64, 3}, {48, 2}}) {
            const std::string height = "BLOCKYSIZE=" + std::to_string(blockRows);
            request.creationOptions = options;
            request.creationOptions.insert(request.creationOptions.end(), {"BLOCKXSIZE=64", height});
            request.threads = threads;
            SCOPED_TRACE(testing::PrintToString(request.creationOptions));
            const Outcome outcome = RunWell(request);
            const bool isLossy =
                !options.empty() && (options[0] == "COMPRESS=LERC" || options[0] == "DISCARD_LSB=3");
            EXPECT_EQ(outcome.report.warnings.size(), isLossy ? 1u : 0u);
            std::vector<const char*> theirs = {"TILED=YES", "INTERLEAVE=PIXEL"};
            for (const std::string& option : request.creationOptions)
                theirs.insert(theirs.begin(), option.c_str());
            theirs.push_back(nullptr);
            GDALDatasetUniquePtr(GetGDALDriverManager()->GetDriverByName("GTiff")->CreateCopy(
                expected.c_str(), source.get(), FALSE, const_cast<char**>(theirs.data()), nullptr, nullptr));
            EXPECT_EQ(ReadAll(request.output), ReadAll(expected));
            EXPECT_EQ(TileSizes(request.output), TileSizes(expected));
            std::filesystem::remove(request.output);
        }
    const CPLConfigOptionSetter order("GDAL_TIFF_ENDIANNESS", "BIG", false);
    request.creationOptions = {"BLOCKXSIZE=64", "BLOCKYSIZE=64"};
    RunWell(request);
    EXPECT_EQ(ReadAll(request.output), ReadAll(plain));
}

} // namespace
