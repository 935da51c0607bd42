#include "Plugin.h"

#include <gtest/gtest.h>

using namespace fakehost;

namespace {

Properties WithInfrared(Properties more = {}) {
    more.emplace_back("AdditionalBandID", "ir");
    return more;
}

/// Bytes of every row of a window.
std::vector<unsigned char> Rows(Session& session, std::uint32_t c0, std::uint32_t r0, std::uint32_t c1,
                                std::uint32_t r1, std::uint32_t bands) {
    std::vector<unsigned char> all;
    EXPECT_EQ(session.SetWindow(c0, r0, c1, r1), 1) << session.process->GetStatus().ToText();
    for (std::uint32_t row = r0; row < r1; ++row) {
        const unsigned char* bytes = session.process->GetRow(row);
        EXPECT_NE(bytes, nullptr) << session.process->GetStatus().ToText();
        if (bytes) all.insert(all.end(), bytes, bytes + std::size_t{c1 - c0} * bands);
    }
    return all;
}

} // namespace

TEST(Infrared, ChainsAreAskedInOrder) {
    Session session(WithInfrared({{"generateMetadata", "1"}}));
    ASSERT_EQ(session.process->Init(), 1);
    ASSERT_EQ(session.SetWindow(10, 5, 20, 8), 1);
    session.Destroy();
    const std::string transmit = ".SetProperty _key_Process_TransmitProcessMetadata_=true";
    EXPECT_EQ(session.log,
              (Log{"pan.Init", "GetProcessChain scene->ms", "ms" + transmit, "GetProcessChain scene->ir",
                   "ir" + transmit, "ir.Initialize", "ir.CreateRaster", "ms.Initialize", "ms.CreateRaster",
                   "msRaster.SetWindow 0 0 10 3", "irRaster.SetWindow 0 0 10 3", "pan.SetWindow 10 5 20 8",
                   "Release ms", "Release ir"}));
}

TEST(Infrared, AsksInPixelsWithItsVerticalBoundsTheOtherWayRound) {
    Session session(WithInfrared({{"ReSampleIR", "no"}}));
    ASSERT_EQ(session.process->Init(), 1);
    ASSERT_EQ(session.SetWindow(10, 5, 20, 8), 1);
    EXPECT_EQ(session.workspace.obtained.at(0).extent.left, 100.0); // the multispectral one came first
    const Aoi& ir = session.workspace.obtained.at(1);
    EXPECT_EQ(ir.extent.left, 9.5);
    EXPECT_EQ(ir.extent.right, 20.5);
    EXPECT_EQ(ir.extent.vertical1, 4.5);
    EXPECT_EQ(ir.extent.vertical2, 8.5);
    EXPECT_EQ(ir.srs, "group srs");
    // Both chains see the one record as it then stands.
    for (const Aoi& seen : session.workspace.initialized)
        EXPECT_EQ(seen.requestExtent.vertical2, 8.5);
}

TEST(Infrared, JoinsAsTheLastBandUnderEveryMethod) {
    // A multispectral raster that carries the infrared band itself must give the same bytes.
    const auto& four = [](std::uint32_t c, std::uint32_t r, std::uint32_t b) {
        return b < 3 ? Session::MsSample(c, r, b) : (c * 5 + r * 11) % 251;
    };
    for (const char* method : {"KOVA", "Brovey", "IHS"})
        for (const char* weight : {"", "0.5", "-0.25"})
            for (const char* bands : {"3", "4"}) {
                const Properties settings{
                    {"Method", method}, {"AdditionalBandWeight", weight}, {"outputNBands", bands}};
                Session merged(WithInfrared(settings));
                Session stacked(settings);
                stacked.workspace.images["ms"] = {4, 8, four};
                ASSERT_EQ(merged.process->Init(), 1);
                ASSERT_EQ(stacked.process->Init(), 1);
                const auto count = static_cast<std::uint32_t>(std::stoul(bands));
                for (const auto& w : {Size{0, 0}, Size{13, 17}})
                    EXPECT_EQ(Rows(merged, w.columns, w.rows, 40, 30, count),
                              Rows(stacked, w.columns, w.rows, 40, 30, count))
                        << method << " " << weight << " " << bands;
            }
}

TEST(Infrared, MetadataAreThoseOfTheFusionNotOfTheMerge) {
    Session session(WithInfrared({{"generateMetadata", "true"}}));
    ASSERT_EQ(session.process->Init(), 1);
    ASSERT_EQ(session.SetWindow(0, 0, 40, 30), 1);
    const NameValueMap& metadata = session.process->GetMetadata();
    EXPECT_EQ(*metadata.Find("multispectralImageNumChannels"), "4");
    EXPECT_EQ(*metadata.Find("channelWeights"), "0.250, 0.250, 0.250, 0.250");
    for (const char* name : {"method", "input1NumChannels", "PanExtents", "MSExtents"})
        EXPECT_EQ(metadata.Find(name), nullptr) << name;
}

TEST(Infrared, FailuresReachTheHostInOrder) {
    const struct {
        const char* name;
        std::function<void(FakeImage& ms, FakeImage& ir)> spoil;
        Log items;
        bool msTouched; ///< the multispectral chain was initialised
    } cases[] = {
        {"chain refuses",
         [](auto&, auto& ir) { ir.initializeFails = true; },
         {P("A209", "Failed to Initialize Infrared Image: 'ir'"), "9 FakeChain: ir refuses"},
         false},
        {"no raster",
         [](auto&, auto& ir) { ir.createFails = true; },
         {P("A20D", "Failed to create Infrared Image: 'ir'"), "A FakeChain: ir has no raster"},
         false},
        {"multispectral chain refuses",
         [](auto& ms, auto&) { ms.initializeFails = true; },
         {P("A209", "Failed to Initialize Multispectral Image: 'ms'"), "9 FakeChain: ms refuses"},
         true},
        {"no multispectral raster",
         [](auto& ms, auto&) { ms.createFails = true; },
         {P("A20C", "Failed to create Multispectral Image: 'ms'"), "A FakeChain: ms has no raster"},
         true},
        {"depths differ",
         [](auto&, auto& ir) { ir.bits = 16; },
         {P("A20F",
            "multispectral and infra-red images are incompatible : images are of different bit-depths "
            "(multispectral : 8 bits; infrared : 16 bits)")},
         true},
        {"both of another depth than pan",
         [](auto& ms, auto& ir) { ms.bits = ir.bits = 16; },
         {P("A20F",
            "multispectral and pan images are incompatible : images are of different bit-depths (16, 8 "
            "respectively)")},
         true},
        {"narrower than the window",
         [](auto&, auto& ir) { ir.extraColumns = -1; },
         {P("A225", "the infrared raster of 39 x 10 pixels is too small; it must cover 40 x 10")},
         true},
        {"narrower than the multispectral raster",
         [](auto& ms, auto&) { ms.extraColumns = 5; },
         {P("A225", "the infrared raster of 40 x 10 pixels is too small; it must cover 45 x 10")},
         true},
        {"shorter",
         [](auto&, auto& ir) { ir.extraRows = -2; },
         {P("A225", "the infrared raster of 40 x 8 pixels is too small; it must cover 40 x 10")},
         true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Session session(WithInfrared());
        c.spoil(session.workspace.images["ms"], session.workspace.images["ir"]);
        ASSERT_EQ(session.process->Init(), 1);
        EXPECT_EQ(session.SetWindow(0, 0, 40, 10), 0);
        EXPECT_EQ(session.Items(), c.items);
        EXPECT_EQ(session.process->GetRow(0), nullptr);
        EXPECT_EQ(std::count(session.log.begin(), session.log.end(), "ms.Initialize") == 1, c.msTouched);
        session.Destroy();
        EXPECT_EQ(session.workspace.Outstanding(), 0u);
    }
}

TEST(Infrared, ARefusedWindowOfTheMergeServesNoOldMemory) {
    Session session(WithInfrared());
    ASSERT_EQ(session.process->Init(), 1);
    ASSERT_EQ(session.SetWindow(0, 0, 40, 10), 1);
    ASSERT_NE(session.process->GetRow(0), nullptr);
    session.workspace.images["ir"].prepare = [](FakeRaster& raster) { raster.windowFails = true; };
    ASSERT_EQ(session.SetWindow(0, 0, 40, 10), 1); // the merge's answer is not asked for
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(session.process->GetRow(0), nullptr);
    EXPECT_NE(session.process->GetStatus().ToText().find("irRaster window reason"), std::string::npos);
}
