#include "Plugin.h"

#include "host/Describe.h"
#include "host/IReporter.h"

using namespace fakehost;
namespace Names = KOVA::Tessara::EntryPoints;

TEST(EntryPoints, AnswerWhateverTheyAreGiven) {
    const Plugin plugin;
    int anything = 0;
    EXPECT_EQ(plugin.Entry<TessaraInitialize>(Names::initialize)(&anything, nullptr), 0);
    EXPECT_EQ(plugin.Entry<TessaraGetStatus>(Names::getStatus)(&anything), 0);
    EXPECT_EQ(plugin.Entry<TessaraCleanup>(Names::cleanup)(nullptr), 0);
    EXPECT_EQ(plugin.Entry<TessaraGetStatus>(Names::getStatus), plugin.Entry<TessaraCleanup>(Names::cleanup));
}

TEST(EntryPoints, CreateNeedsAPropertyAndDestroyClearsTheHolder) {
    const Plugin plugin;
    NameValueMap map;
    EXPECT_EQ(plugin.Create(nullptr), nullptr);
    EXPECT_EQ(plugin.Create(&map), nullptr);
    map["outputNBands"] = "7"; // sorted after the next, since capitals come first; the first of a name wins
    map["OUTPUTNBANDS"] = "2";
    IRasterProcess* process = plugin.Create(&map);
    ASSERT_NE(process, nullptr);
    EXPECT_EQ(process->GetProperty("outputnbands"), "2");
    EXPECT_EQ(process->Init(), 0);
    EXPECT_EQ(support::StatusText(process->GetStatus()), "A216 PanSharp Process|No Input Raster.");
    EXPECT_EQ(plugin.Destroy(&process), 1);
    EXPECT_EQ(process, nullptr);
    EXPECT_EQ(plugin.Destroy(&process), 1);
}

TEST(EntryPoints, DescriptionTellsContractAndMethods) {
    const Plugin plugin;
    const PansharpDescription* description = plugin.Entry<PansharpDescribe>(Names::describe)();
    ASSERT_EQ(description->contractVersion, PANSHARP_CONTRACT_VERSION);
    ASSERT_EQ(description->structSize, sizeof(PansharpDescription));
    EXPECT_STREQ(description->version, PANSHARP_VERSION);
    EXPECT_GE(description->methodCount, 1u);
}

TEST(RasterProcess, BookkeepingBeforeAnything) {
    const Plugin plugin;
    NameValueMap map;
    map["Name"] = "value";
    IRasterProcess* process = plugin.Create(&map);
    unsigned int count = 5;
    EXPECT_EQ(process->GetColorMap(count), nullptr);
    EXPECT_EQ(count, 5u);
    unsigned short* colors[1] = {nullptr};
    EXPECT_EQ(process->SetColorMap(colors, 1), 1);
    EXPECT_EQ(process->GetColorMap(count), colors);
    EXPECT_EQ(process->SetInputRaster(nullptr), 0);
    EXPECT_EQ(process->SetWorkspace(nullptr), 1);
    EXPECT_EQ(process->SetAoi(nullptr), 1);
    EXPECT_TRUE(process->GetGeoTransformer().empty());
    EXPECT_EQ(process->GetModifierFlags().word, 0u);
    EXPECT_EQ(process->GetModifierFlags().halfWord, 0u);
    EXPECT_EQ(process->GetRasterInfo()->rows, 0u);
    EXPECT_EQ(process->ToString(),
              "<Name>value</Name>\n\nRows: 0\nCols: 0\nBandsPerPixel: 0\nBitsPerBand: 0\n"
              "PixelSizeX: 0\nPixelSizeY: 0\n\n");
    plugin.Destroy(&process);
}

TEST(RasterProcess, InputRasterAnswersForTheColorMapAndStaysWhenNullIsGiven) {
    Session session;
    unsigned short* colors[1] = {nullptr};
    session.process->SetColorMap(colors, 1);
    EXPECT_EQ(session.process->SetInputRaster(nullptr), 0);
    unsigned int count = 0;
    EXPECT_EQ(session.process->GetColorMap(count), session.pan->colorMap);
    EXPECT_EQ(count, 77u);
}

TEST(Object, ReportsGoToTheReporterOfTheirKind) {
    struct Reporter : KOVA::Tessara::Global::IReporter {
        int Report(const Status& status) override {
            last = status.ToText();
            return 3;
        }
        std::string last;
    } errors, states;
    struct Thing : Object {
        Thing() { status.Add(1, "own", "Thing"); }
    } thing;
    EXPECT_EQ(thing.ReportStatus(), 0);
    EXPECT_EQ(thing.Report("Thing", "%d", 1), 0);
    thing.SetErrorHandler(&errors);
    thing.SetStatusReporter(&states);
    EXPECT_EQ(thing.ReportStatus(), 3);
    EXPECT_EQ(states.last, "[Thing : 000001] Error: own");
    EXPECT_EQ(thing.Report("Thing", "%d of %s", 2, "three"), 3);
    EXPECT_EQ(errors.last, "[Thing] 2 of three");
}
