#include "Plugin.h"

#include <gmock/gmock.h>

using namespace fakehost;

namespace {

/// One way in which a run fails: what is wrong, and the items that the host then reads, in order.
struct Case {
    const char* name;
    Properties properties;
    std::function<void(Session&)> spoil; ///< before Init
    Log items;
    Size from = {0, 0};
    Size to = {40, 10};
};

const std::string panInit = P("A20A", "Could not initialize pan image");
const std::string fusionFailed = P("A215", "PXL::PanSharp initialization failed");

const Case initCases[] = {
    {"pan refuses",
     {},
     [](Session& s) { s.pan->initFails = true; },
     {panInit, "7 FakeRaster: pan init reason", "8 FakeRaster: pan more"}},
    {"12 bits",
     {},
     [](Session& s) { s.pan->info.bitsPerBand = 12; },
     {P("A201", "Image format not supported : bits per channel (12) invalid")}},
    {"no description",
     {},
     [](Session& s) { s.pan->hasInfo = false; },
     {P("A223", "the pan raster has no description")}},
};

const Case windowCases[] = {
    {"no image", {{"MSImageID", ""}}, [](Session&) {}, {P("A20C", "no multispectral Image specified")}},
    {"no chain",
     {},
     [](Session& s) { s.workspace.images["ms"].missing = true; },
     {P("A203", "Could not get ProcessChain for MultiSpectral Image ID: scene->ms"),
      "B FakeWorkspace: no image ms"}},
    {"no infrared chain",
     {{"AdditionalBandID", "heat"}},
     [](Session&) {},
     {P("A204", "Could not get ProcessChain for Infrared Image ID: scene->heat"),
      "B FakeWorkspace: no image heat"}},
    {"chain refuses",
     {},
     [](Session& s) { s.workspace.images["ms"].initializeFails = true; },
     {P("A209", "Failed to Initialize Multispectral Raster: 'ms'"), "9 FakeChain: ms refuses"}},
    {"no raster",
     {},
     [](Session& s) { s.workspace.images["ms"].createFails = true; },
     {P("A20C", "Failed to create Multispectral Raster: 'ms'"), "A FakeChain: ms has no raster"}},
    {"depths differ",
     {},
     [](Session& s) { s.workspace.images["ms"].bits = 16; },
     {P("A20F", "multispectral and pan images are incompatible : images are of different bit-depths (16, 8 "
                "respectively)")}},
    {"unknown method",
     {{"Method", "kovA2"}},
     [](Session&) {},
     {P("A214", "could not create PXL::PanSharp object"), "3902 : unrecognized method specified: 'kovA2'"}},
    {"pan with bands",
     {},
     [](Session& s) { s.pan->info.bandsPerPixel = 3; },
     {fusionFailed, "3904 Pansharp: pan image has too many channels (3);  it must be a grayscale image"}},
    {"too few bands",
     {{"outputNBands", "4"}},
     [](Session&) {},
     {fusionFailed, "3907 Pansharp: too few input channels: 3; require at least 4 channels"}},
    {"pan without a band",
     {},
     [](Session& s) { s.pan->info.bandsPerPixel = 0; },
     {fusionFailed, "3915 Pansharp: pan image has no channel;  it must be a grayscale image"}},
    // A size that is only declared costs an error, not the memory: 2 x 10^10 bytes a row.
    {"endless rows",
     {{"outputNBands", "10000"}},
     [](Session& s) {
         s.pan->info.cols = s.pan->info.rows = 1'000'000;
         s.workspace.images["ms"].bands = 10'000;
     },
     {fusionFailed,
      "3914 Pansharp: a row of 1000000 columns and 10000 bands, of 10000 input channels, is too "
      "long: at most 4096 channels and 256 MiB"}},
    {"endless bands",
     {{"AdditionalBandID", "ir"}, {"outputNBands", "1"}},
     [](Session& s) { s.workspace.images["ms"].bands = 0xFFFFFFFFu; },
     {P("A211", "PXL::BlendPixels initialization failed"),
      "4F10 MergeBands: a row of 40 columns and 4294967296 bands is too long: at most 4096 bands and 256 "
      "MiB"}},
    {"a band too many",
     {},
     [](Session& s) { s.workspace.images["ms"].bands = 4097; },
     {fusionFailed, "3914 Pansharp: a row of 40 columns and 3 bands, of 4097 input channels, is too long: at "
                    "most 4096 channels and 256 MiB"}},
    {"no output bands",
     {{"outputNBands", "0"}},
     [](Session&) {},
     {fusionFailed, "3908 Pansharp: invalid output channels specified '0'"}},
    {"pan window refused",
     {},
     [](Session& s) { s.pan->windowFails = true; },
     {"390D Pixmere.PXL.Pansharp.SetWindow: Pan Image SetWindow Failed", "7 FakeRaster: pan window reason",
      "8 FakeRaster: pan more"}},
    // What the process itself checks, so that a host's mistake costs an error and not the server.
    {"narrow raster",
     {},
     [](Session& s) { s.workspace.images["ms"].extraColumns = -1; },
     {P("A225", "the multispectral raster of 39 x 10 pixels is too small; it must cover 40 x 10")}},
    {"short raster",
     {},
     [](Session& s) { s.workspace.images["ms"].extraRows = -3; },
     {P("A225", "the multispectral raster of 40 x 7 pixels is too small; it must cover 40 x 10")}},
    {"undescribed raster",
     {},
     [](Session& s) {
         s.workspace.images["ms"].prepare = [](FakeRaster& raster) { raster.hasInfo = false; };
         s.workspace.images["ms"].bits = 8;
     },
     {P("A223", "the multispectral raster has no description")}},
    {"no workspace",
     {},
     [](Session& s) { s.process->SetWorkspace(nullptr); },
     {P("A222", "no workspace: call SetWorkspace before SetWindow")}},
    {"no request",
     {},
     [](Session& s) { s.process->SetAoi(nullptr); },
     {P("A221", "no request record: call SetAoi before SetWindow")}},
    {"empty window",
     {},
     [](Session&) {},
     {P("A220",
        "invalid window: columns 5 to 5, rows 0 to 10; each must end past its start and within the pan "
        "raster's 40 columns and 30 rows")},
     {5, 0},
     {5, 10}},
    {"window past the end",
     {},
     [](Session&) {},
     {P("A220",
        "invalid window: columns 0 to 41, rows 0 to 10; each must end past its start and within the pan "
        "raster's 40 columns and 30 rows")},
     {0, 0},
     {41, 10}},
    {"window that wraps",
     {},
     [](Session&) {},
     {P("A220",
        "invalid window: columns 0 to 40, rows 20 to 4294967295; each must end past its start and within "
        "the pan raster's 40 columns and 30 rows")},
     {0, 20},
     {40, 0xFFFFFFFFu}},
};

} // namespace

TEST(Failures, OfInitReachTheHost) {
    for (const Case& c : initCases) {
        SCOPED_TRACE(c.name);
        Session session(c.properties);
        c.spoil(session);
        EXPECT_EQ(session.process->Init(), 0);
        EXPECT_EQ(session.Items(), c.items);
        const Log before = session.Items();
        EXPECT_EQ(session.SetWindow(0, 0, 40, 10), 0); // nothing is bound: it answers without a word
        EXPECT_EQ(session.Items(), before);
        EXPECT_EQ(session.process->GetRow(0), nullptr);
    }
}

TEST(Failures, WithoutAnInputRaster) {
    const Plugin plugin;
    NameValueMap map;
    map["a"] = "b";
    IRasterProcess* process = plugin.Create(&map);
    EXPECT_EQ(process->Init(), 0);
    ASSERT_EQ(process->GetStatus().GetCount(), 1u);
    EXPECT_EQ(process->GetStatus().GetItem(0),
              (KOVA::Tessara::Fundament::StatusItem{0xA216, "No Input Raster.", "PanSharp Process", ""}));
    plugin.Destroy(&process);
}

TEST(Failures, OfAWindowReachTheHostAndTheNextWindowWorks) {
    for (const Case& c : windowCases) {
        SCOPED_TRACE(c.name);
        Session session(c.properties);
        c.spoil(session);
        ASSERT_EQ(session.process->Init(), 1);
        EXPECT_EQ(session.SetWindow(c.from.columns, c.from.rows, c.to.columns, c.to.rows), 0);
        EXPECT_EQ(session.Items(), c.items);
        EXPECT_EQ(session.process->GetRow(0), nullptr);
        session.Destroy();
        EXPECT_EQ(session.workspace.Outstanding(), 0u);
    }
}

TEST(Failures, SixteenBitsHaveWordsOfTheirOwn) {
    Session session({}, 16);
    session.workspace.images["ms"].initializeFails = true;
    ASSERT_EQ(session.process->Init(), 1);
    EXPECT_EQ(session.SetWindow(0, 0, 40, 10), 0);
    session.workspace.images["ms"].initializeFails = false;
    session.workspace.images["ms"].createFails = true;
    EXPECT_EQ(session.SetWindow(0, 0, 40, 10), 0);
    EXPECT_EQ(
        session.Items(),
        (Log{P("A209", "Failed to Initialize Multispectral Image: 'ms'"), "9 FakeChain: ms refuses",
             P("A20C", "Failed to create Multispectral Image: 'ms'"), "A FakeChain: ms has no raster"}));
    EXPECT_EQ(session.aoi.resultValue, 42.5); // the refusing chain's reason is the host's to read
}

TEST(Failures, AFailedWindowServesNoRowsOfTheOneBefore) {
    Session session;
    ASSERT_EQ(session.process->Init(), 1);
    ASSERT_EQ(session.SetWindow(0, 0, 40, 10), 1);
    ASSERT_NE(session.process->GetRow(3), nullptr);
    session.pan->windowFails = true;
    ASSERT_EQ(session.SetWindow(0, 10, 40, 20), 0);
    EXPECT_EQ(session.process->GetRow(3), nullptr);
    session.pan->windowFails = false;
    ASSERT_EQ(session.SetWindow(0, 0, 40, 10), 1);
    EXPECT_NE(session.process->GetRow(3), nullptr);
}

TEST(Failures, AFailedSecondInitLeavesNoWayToReadRowsOfAnotherDepth) {
    Session session;
    ASSERT_EQ(session.process->Init(), 1);
    session.pan->info.bitsPerBand = 12;
    ASSERT_EQ(session.process->Init(), 0);
    EXPECT_EQ(session.SetWindow(0, 0, 40, 10), 0);
    EXPECT_EQ(session.Items().back(), P("A224", "the pan raster has 12 bits per channel, but the process was "
                                                "initialized for 8; call Init again"));
}

TEST(Failures, ByTheHundredThousandAreNotCollected) {
    Session session;
    ASSERT_EQ(session.process->Init(), 1);
    ASSERT_EQ(session.SetWindow(0, 10, 40, 20), 1);
    session.pan->rowFails = true;
    for (int i = 0; i < 2'000; ++i)
        ASSERT_EQ(session.process->GetRow(10 + i % 10), nullptr);
    ASSERT_LE(session.process->GetStatus().GetCount(), 100u) << "each kind of row once";
    for (std::uint32_t i = 0; i < 100'000; ++i) { // the words differ from window to window
        ASSERT_EQ(session.process->SetWindow(i, 9, i, 9), 0);
        ASSERT_LE(session.process->GetStatus().GetCount(), 1001u);
    }
    EXPECT_THAT(session.Items().back(), testing::HasSubstr("columns 99999 to 99999"))
        << "the newest is there";
}

TEST(Failures, RowsHaveThePublishedBandsWhateverIsSetLater) {
    std::vector<std::vector<unsigned char>> rows;
    for (const char* set : {"3", "1"}) {
        Session session;
        ASSERT_EQ(session.process->Init(), 1);
        session.process->SetProperty("outputNBands", set);
        ASSERT_EQ(session.SetWindow(0, 0, 40, 10), 1);
        const unsigned char* row = session.process->GetRow(3);
        ASSERT_NE(row, nullptr);
        rows.emplace_back(row, row + 40 * session.process->GetRasterInfo()->bandsPerPixel);
    }
    EXPECT_EQ(rows[0], rows[1]);
}

TEST(Failures, OfRowsAreReportedOnceHoweverOftenTheyAreAsked) {
    Session session;
    ASSERT_EQ(session.process->Init(), 1);
    ASSERT_EQ(session.SetWindow(0, 10, 40, 20), 1);
    for (int i = 0; i < 3; ++i)
        for (const std::uint32_t row : {9u, 20u, 30u, 0xFFFFFFFFu})
            EXPECT_EQ(session.process->GetRow(row), nullptr) << row;
    EXPECT_THAT(session.Items(), testing::UnorderedElementsAre(
                                     P("A227", "row 9 lies outside the window (rows 10 to 20)"),
                                     P("A227", "row 20 lies outside the window (rows 10 to 20)"),
                                     "3906 Pixmere.PXL.Pansharp.SetWindow: requesting beyond end of image"));
    EXPECT_NE(session.process->GetRow(19), nullptr);
    session.pan->rowFails = true;
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(session.process->GetRow(12), nullptr);
    EXPECT_EQ(session.Items().size(), 6u); // the image's item and the raster's two
    EXPECT_THAT(session.Items(), testing::Contains("7 FakeRaster: pan row reason"));
}

TEST(Failures, ExceptionsOfTheHostStayInside) {
    Session session;
    ASSERT_EQ(session.process->Init(), 1);
    ASSERT_EQ(session.SetWindow(0, 0, 40, 10), 1);
    session.pan->throws = true;
    EXPECT_EQ(session.process->GetRow(0), nullptr);
    EXPECT_EQ(session.Items(), Log{P("A22F", "GetRow failed: raster exploded")});
    session.pan->throws = false;
    EXPECT_NE(session.process->GetRow(0), nullptr);
}
