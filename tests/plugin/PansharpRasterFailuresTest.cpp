#include "Plugin.h"

#include <gmock/gmock.h>

using namespace fakehost;

namespace {

FakeImage& Ms(Session& s) { return s.workspace.images["ms"]; }
FakeImage& Ir(Session& s) { return s.workspace.images["ir"]; }
void Nothing(Session&) {}

/// One way in which a run fails: the items that the host then reads, in order, and how the fault is caused.
struct Case {
    std::string items;
    std::function<void(Session&)> spoil; ///< before Init
    Properties properties = {};
    Window window = {0, 0, 40, 10};
};

const Properties infrared = {{"AdditionalBandID", "ir"}};
const std::string fusionFailed = "A215 PXL::PanSharp initialization failed; ";
const std::string withinPan =
    "; each must end past its start and within the pan raster's 40 columns and 30 rows";
const std::string depthsDiffer = " images are incompatible : images are of different bit-depths (";

const std::string tooLong = "is too long: at most 4096 channels and 256 MiB";

const Case initCases[] = {
    {"A20A Could not initialize pan image; 7 FakeRaster|pan init reason; 8 FakeRaster|pan more",
     [](Session& s) { s.pan->initFails = true; }},
    {"A201 Image format not supported : bits per channel (12) invalid",
     [](Session& s) { s.pan->info.bitsPerBand = 12; }},
    {"A223 the pan raster has no description", [](Session& s) { s.pan->hasInfo = false; }},
};

const Case windowCases[] = {
    {"A20C no multispectral Image specified", Nothing, {{"MSImageID", ""}}},
    {"A203 Could not get ProcessChain for MultiSpectral Image ID: scene->ms; B FakeWorkspace|no image ms",
     [](Session& s) { s.workspace.images.erase("ms"); }},
    {"A204 Could not get ProcessChain for Infrared Image ID: scene->x; B FakeWorkspace|no image x",
     Nothing,
     {{"AdditionalBandID", "x"}}},
    {"A209 Failed to Initialize Multispectral Raster: 'ms'; 9 FakeChain|ms refuses",
     [](Session& s) { Ms(s).initializeFails = true; }},
    {"A20C Failed to create Multispectral Raster: 'ms'; A FakeChain|ms has no raster",
     [](Session& s) { Ms(s).createFails = true; }},
    {"A20F multispectral and pan" + depthsDiffer + "16, 8 respectively)",
     [](Session& s) { Ms(s).bits = 16; }},
    {"A214 could not create PXL::PanSharp object; 3902 |unrecognized method specified: 'kovA2'",
     Nothing,
     {{"Method", "kovA2"}}},
    {fusionFailed + "3904 Pansharp|pan image has too many channels (3);  it must be a grayscale image",
     [](Session& s) { s.pan->info.bandsPerPixel = 3; }},
    {fusionFailed + "3915 Pansharp|pan image has no channel;  it must be a grayscale image",
     [](Session& s) { s.pan->info.bandsPerPixel = 0; }},
    // A declared size causes an error, not an allocation: 2 x 10^10 bytes per row.
    {fusionFailed + "3914 Pansharp|a row of 1000000 columns and 4000 bands, of 4096 input channels, " +
         tooLong,
     [](Session& s) {
         s.pan->info.cols = s.pan->info.rows = 1'000'000;
         Ms(s).bands = 4096;
     },
     {{"outputNBands", "4000"}}},
    {fusionFailed + "3914 Pansharp|a row of 40 columns and 3 bands, of 4097 input channels, " + tooLong,
     [](Session& s) { Ms(s).bands = 4097; }},
    {"A211 PXL::BlendPixels initialization failed; 4F10 MergeBands|a row of 40 columns and 4294967296 bands "
     "is too long: at most 4096 bands and 256 MiB",
     [](Session& s) { Ms(s).bands = 0xFFFFFFFFu; }, infrared},
    {fusionFailed + "3907 Pansharp|too few input channels: 3; require at least 4 channels",
     Nothing,
     {{"outputNBands", "4"}}},
    {fusionFailed + "3908 Pansharp|invalid output channels specified '0'", Nothing, {{"outputNBands", "0"}}},
    {"390D Pixmere.PXL.Pansharp.SetWindow|Pan Image SetWindow Failed; 7 FakeRaster|pan window reason; "
     "8 FakeRaster|pan more",
     [](Session& s) { s.pan->windowFails = true; }},
    // A failing infrared chain leaves the multispectral one untouched.
    {"A209 Failed to Initialize Infrared Image: 'ir'; 9 FakeChain|ir refuses",
     [](Session& s) { Ir(s).initializeFails = Ms(s).initializeFails = true; }, infrared},
    {"A20D Failed to create Infrared Image: 'ir'; A FakeChain|ir has no raster",
     [](Session& s) { Ir(s).createFails = Ms(s).initializeFails = true; }, infrared},
    {"A209 Failed to Initialize Multispectral Image: 'ms'; 9 FakeChain|ms refuses",
     [](Session& s) { Ms(s).initializeFails = true; }, infrared},
    {"A20C Failed to create Multispectral Image: 'ms'; A FakeChain|ms has no raster",
     [](Session& s) { Ms(s).createFails = true; }, infrared},
    {"A20F multispectral and infra-red" + depthsDiffer + "multispectral : 8 bits; infrared : 16 bits)",
     [](Session& s) { Ir(s).bits = 16; }, infrared},
    {"A20F multispectral and pan" + depthsDiffer + "16, 8 respectively)",
     [](Session& s) { Ms(s).bits = Ir(s).bits = 16; }, infrared},
    // Faults of the host that the process itself detects, so that they cause an error and do not bring down
    // the server.
    {"A225 the infrared raster of 39 x 10 pixels is too small; it must cover 40 x 10",
     [](Session& s) { Ir(s).extraColumns = -1; }, infrared},
    {"A225 the infrared raster of 40 x 10 pixels is too small; it must cover 45 x 10",
     [](Session& s) { Ms(s).extraColumns = 5; }, infrared},
    {"A225 the infrared raster of 40 x 8 pixels is too small; it must cover 40 x 10",
     [](Session& s) { Ir(s).extraRows = -2; }, infrared},
    {"A225 the multispectral raster of 39 x 10 pixels is too small; it must cover 40 x 10",
     [](Session& s) { Ms(s).extraColumns = -1; }},
    {"A225 the multispectral raster of 40 x 7 pixels is too small; it must cover 40 x 10",
     [](Session& s) { Ms(s).extraRows = -3; }},
    {"A223 the multispectral raster has no description",
     [](Session& s) { Ms(s).prepare = [](FakeRaster& raster) { raster.hasInfo = false; }; }},
    {"A222 no workspace: call SetWorkspace before SetWindow",
     [](Session& s) { s.process->SetWorkspace(nullptr); }},
    {"A221 no request record: call SetAoi before SetWindow", [](Session& s) { s.process->SetAoi(nullptr); }},
    {"A220 invalid window: columns 5 to 5, rows 0 to 10" + withinPan, Nothing, {}, {5, 0, 5, 10}},
    {"A220 invalid window: columns 0 to 41, rows 0 to 10" + withinPan, Nothing, {}, {0, 0, 41, 10}},
    {"A220 invalid window: columns 0 to 40, rows 20 to 4294967295" + withinPan,
     Nothing,
     {},
     {0, 20, 40, 0xFFFFFFFFu}},
};

} // namespace

TEST(Failures, OfInitReachTheHost) {
    for (const Case& c : initCases) {
        Session session(c.properties);
        c.spoil(session);
        EXPECT_EQ(session.process->Init(), 0);
        EXPECT_EQ(session.Items(), c.items);
        EXPECT_EQ(session.SetWindow(c.window), 0); // nothing is bound: it fails without an item
        EXPECT_EQ(session.Items(), c.items);
        EXPECT_EQ(session.process->GetRow(0), nullptr);
    }
}

TEST(Failures, OfAWindowReachTheHost) {
    for (const Case& c : windowCases)
        for (const std::uint32_t bits : {8u, 16u}) {
            if (bits == 16 && c.items.find(" Failed to ") == std::string::npos) continue;
            std::string items = c.items; // 16 bits have messages of their own
            if (const auto at = items.find("Raster: 'ms'"); bits == 16 && at != std::string::npos)
                items.replace(at, 6, "Image");
            Session session(c.properties, bits);
            c.spoil(session);
            ASSERT_EQ(session.process->Init(), 1);
            EXPECT_EQ(session.SetWindow(c.window), 0);
            EXPECT_EQ(session.Items(), items);
            // The reason given by a chain that refuses is left to the host.
            EXPECT_EQ(session.aoi.resultValue == 42.5, c.items.ends_with(" refuses"));
            EXPECT_EQ(session.process->GetRow(0), nullptr);
            session.Destroy();
            EXPECT_EQ(session.workspace.Outstanding(), 0u);
        }
}

TEST(Failures, AFailedWindowServesNoRowsOfTheOneBefore) {
    ReadySession session(infrared);
    session.Read({0, 0, 40, 10});
    session.pan->windowFails = true;
    ASSERT_EQ(session.SetWindow({0, 10, 40, 20}), 0);
    EXPECT_EQ(session.process->GetRow(3), nullptr);
    session.pan->windowFails = false;
    session.Read({0, 0, 40, 10});
    Ir(session).prepare = [](FakeRaster& raster) { raster.windowFails = true; };
    ASSERT_EQ(session.SetWindow({0, 0, 40, 10}), 1); // the merge's result is not checked
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(session.process->GetRow(0), nullptr);
    EXPECT_THAT(session.Items(), testing::HasSubstr("irRaster window reason"));
}

TEST(Failures, AFailedSecondInitLeavesNoWayToReadRowsOfAnotherDepth) {
    ReadySession session;
    session.pan->info.bitsPerBand = 12;
    ASSERT_EQ(session.process->Init(), 0);
    EXPECT_EQ(session.SetWindow({0, 0, 40, 10}), 0);
    EXPECT_THAT(session.Items(), testing::EndsWith("A224 the pan raster has 12 bits per channel, but the "
                                                   "process was initialized for 8; call Init again"));
}

// Between Init and SetWindow the pan raster changes its size: the window counts, whichever size is larger.
TEST(Failures, APanRasterDescribedAnewServesRowsOfTheWindowOnly) {
    for (const auto [columns, rows] : {Size{40, 0xFFFFFFFFu}, Size{60, 45}, Size{20, 25}}) {
        Session session;
        Ms(session).extraRows = 100; // else the multispectral image would end with the window
        ASSERT_EQ(session.process->Init(), 1);
        session.pan->info.cols = columns;
        session.pan->info.rows = rows;
        EXPECT_EQ(session.Read({5, 10, columns, 20}).size(), (columns - 5) * 10 * 3);
        for (const std::uint32_t row : {9u, 20u, 24u, 29u, 44u, 0xFFFFFFFFu})
            EXPECT_EQ(session.process->GetRow(row), nullptr) << row << " of " << rows;
    }
}

TEST(Failures, OfRowsAreReportedOnceHoweverOftenTheyAreAsked) {
    ReadySession session;
    ASSERT_EQ(session.SetWindow({0, 10, 40, 20}), 1);
    for (int i = 0; i < 3; ++i)
        for (const std::uint32_t row : {9u, 20u, 30u, 0xFFFFFFFFu})
            EXPECT_EQ(session.process->GetRow(row), nullptr) << row;
    const std::string outside = "A227 row 9 lies outside the window (rows 10 to 20); "
                                "A227 row 20 lies outside the window (rows 10 to 20); "
                                "3906 Pixmere.PXL.Pansharp.SetWindow|requesting beyond end of image";
    EXPECT_EQ(session.Items(), outside);
    EXPECT_NE(session.process->GetRow(19), nullptr);
    session.pan->rowFails = true;
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(session.process->GetRow(12), nullptr);
    EXPECT_EQ(session.Items(), outside +
                                   "; 3913 Pixmere.PXL.Pansharp.SetWindow|the pan image delivers no row 12; "
                                   "7 FakeRaster|pan row reason; 8 FakeRaster|pan more");
}

TEST(Failures, ByTheHundredThousandAreNotCollected) {
    ReadySession session;
    ASSERT_EQ(session.SetWindow({0, 10, 40, 20}), 1);
    session.pan->rowFails = true;
    for (std::uint32_t i = 0; i < 2'000; ++i)
        ASSERT_EQ(session.process->GetRow(10 + i % 10), nullptr);
    ASSERT_LE(session.process->GetStatus().GetCount(), 100u) << "each row once";
    for (std::uint32_t i = 0; i < 100'000; ++i) { // messages differ from window to window
        ASSERT_EQ(session.process->SetWindow(i, 9, i, 9), 0);
        ASSERT_LE(session.process->GetStatus().GetCount(), 1001u);
    }
    EXPECT_THAT(session.Items(), testing::HasSubstr("columns 99999 to 99999")) << "the newest is there";
    EXPECT_THAT(session.Items(), testing::StartsWith("A228 older items were dropped"))
        << "and what tells of the rest";
}

TEST(Failures, RowsHaveThePublishedBandsWhateverIsSetLater) {
    ReadySession session;
    const auto before = session.Read({0, 0, 40, 2});
    session.process->SetProperty("outputNBands", "1");
    EXPECT_TRUE(session.Read({0, 0, 40, 2}) == before);
}

TEST(Failures, ExceptionsOfTheHostStayInside) {
    ReadySession session;
    ASSERT_EQ(session.SetWindow({0, 0, 40, 10}), 1);
    session.pan->throws = true;
    EXPECT_EQ(session.process->GetRow(0), nullptr);
    EXPECT_EQ(session.Items(), "A22F GetRow failed: raster exploded");
    session.pan->throws = false;
    EXPECT_NE(session.process->GetRow(0), nullptr);
}
