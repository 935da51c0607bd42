#include "Plugin.h"

#include "support/MethodOracle.h"
#include "support/MethodValues.h"

using namespace fakehost;

namespace {

/// "left right vertical1 vertical2, columns x rows, reference" of a request record.
std::string Text(const Aoi& asked) {
    const Extent& e = asked.extent;
    EXPECT_EQ(asked.requestExtent.vertical2, e.vertical2);
    EXPECT_EQ(asked.requestSize.rows, asked.size.rows);
    return KOVA::Tessara::Fundament::FormatString("%g %g %g %g, %u x %u, %s", e.left, e.right, e.vertical1,
                                                  e.vertical2, asked.size.columns, asked.size.rows,
                                                  asked.srs.c_str());
}

} // namespace

TEST(PansharpRaster, PublishesPanWithTheBandCountOfTheOutput) {
    const struct {
        const char* outputBands;
        std::uint32_t bands, colorSpace;
    } cases[] = {{"", 3, 1}, {"1", 1, 0}, {" 4 ", 4, 1}, {"many", 3, 1}};
    for (const auto& c : cases) {
        Session session(Properties{{"outputNBands", c.outputBands}});
        const RasterInfo* before = session.process->GetRasterInfo();
        ASSERT_EQ(session.process->Init(), 1);
        const RasterInfo& info = *session.process->GetRasterInfo();
        EXPECT_EQ(&info, before) << "a host keeps the address";
        EXPECT_EQ(info.bandsPerPixel, c.bands);
        EXPECT_EQ(info.colorSpace, c.colorSpace);
        EXPECT_NE(session.process->ToString().find(
                      "\n\nRows: 30\nCols: 40\nBandsPerPixel: " + std::to_string(c.bands) +
                      "\nBitsPerBand: 8\nPixelSizeX: 0.5\nPixelSizeY: 0.5\n\n"),
                  std::string::npos);
    }
}

TEST(PansharpRaster, AsksTheHostInOrder) {
    const std::string transmit = ".SetProperty _key_Process_TransmitProcessMetadata_=true";
    const std::pair<Properties, Log> cases[] = {
        {{},
         {"pan.Init", "GetProcessChain scene->ms", "ms" + transmit, "ms.Initialize", "ms.CreateRaster",
          "pan.SetWindow 10 5 20 8", "Release ms"}},
        {{{"AdditionalBandID", "ir"}},
         {"pan.Init", "GetProcessChain scene->ms", "ms" + transmit, "GetProcessChain scene->ir",
          "ir" + transmit, "ir.Initialize", "ir.CreateRaster", "ms.Initialize", "ms.CreateRaster",
          "msRaster.SetWindow 0 0 10 3", "irRaster.SetWindow 0 0 10 3", "pan.SetWindow 10 5 20 8",
          "Release ms", "Release ir"}},
    };
    for (auto [properties, log] : cases) {
        properties.emplace_back("generateMetadata", "yes");
        ReadySession session(properties);
        ASSERT_EQ(session.SetWindow({10, 5, 20, 8}), 1);
        session.Destroy();
        EXPECT_EQ(session.log, log);
    }
}

TEST(PansharpRaster, WritesTheRequestRecordForTheWindow) {
    const std::string map = "100 120 500 515, 10 x 3, EPSG:32630";
    const std::string pixels = "9.5 20.5 8.5 4.5, 10 x 3, group srs";
    const std::string otherWayRound =
        "9.5 20.5 4.5 8.5, 10 x 3, group srs"; // the infrared request's own order
    const struct {
        Properties properties;
        std::string ms, ir, initialized; ///< both chains see one record, in its final state
    } cases[] = {{{}, map, map, map},
                 {{{"ReSampleMS", "false"}}, pixels, pixels, pixels},
                 {{{"ReSampleIR", "no"}}, map, otherWayRound, otherWayRound}};
    for (const auto& c : cases) {
        Properties properties = c.properties;
        properties.emplace_back("AdditionalBandID", "ir");
        ReadySession session(properties);
        ASSERT_EQ(session.SetWindow({10, 5, 20, 8}), 1);
        EXPECT_EQ(Text(session.workspace.obtained.at(0)), c.ms);
        EXPECT_EQ(Text(session.workspace.obtained.at(1)), c.ir);
        for (const Aoi& asked : session.workspace.initialized) {
            EXPECT_EQ(Text(asked), c.initialized);
            EXPECT_TRUE(asked.bandIds.empty() && asked.bandRecords.empty());
            EXPECT_TRUE(asked.extent.reserved1 == 1.0 && asked.extent.reserved2 == 2.0);
            EXPECT_EQ(*asked.properties.Find("ClientProperties/SamplingMethod"), "Bilinear");
        }
        EXPECT_EQ(*session.aoi.properties.Find("ClientProperties/SamplingMethod"), "Nearest");
    }
}

TEST(PansharpRaster, FusesEveryPixelOfEveryWindowAsDefined) {
    struct Case {
        std::uint32_t bits, bands;
        const PansharpMethod* method;
        std::string infrared, weight; ///< that of the last band
    };
    const Plugin plugin;
    std::vector<Case> cases;
    for (const std::uint32_t bits : {8u, 16u})
        for (const std::uint32_t bands : {1u, 3u, 4u, 8u})
            for (const PansharpMethod& method : plugin.Methods())
                for (const char* infrared : {"", "ir"})
                    for (const char* weight : {"", "-0.25"})
                        if (bands >= method.minimumBands)
                            cases.push_back({bits, bands, &method, infrared, weight});
    for (const Case& c : cases) {
        const std::uint32_t allBands = c.bands + (c.infrared.empty() ? 0 : 1);
        const std::uint32_t outBands = 1 + allBands / 2;
        const std::string keyword = c.method->keyword;
        support::Settings settings = {{"Method", keyword},
                                      {"AdditionalBandID", c.infrared},
                                      {"outputNBands", std::to_string(outBands)},
                                      {"BandWeight-1", "-1.5"},
                                      {"BandWeight-2", "0.3333"}};
        if (!c.weight.empty()) settings["AdditionalBandWeight"] = c.weight;
        const double most = c.bits == 8 ? 255 : 65535;
        const auto tables =
            oracle::MethodTables(keyword, support::MethodValues(*c.method, allBands, settings), most);
        const auto ms = [most](std::uint32_t column, std::uint32_t row, std::uint32_t band) {
            return (column * 2654435761u + row * 40503u + band * 977u) & static_cast<unsigned>(most);
        };
        Session session({settings.begin(), settings.end()}, c.bits);
        session.workspace.images["ms"] = {c.bands, c.bits, ms};
        ASSERT_EQ(session.process->Init(), 1);
        for (const Window& w : {Window{0, 0, 40, 30}, Window{13, 17, 40, 30}, Window{39, 29, 40, 30}}) {
            std::vector<unsigned> expected;
            for (std::uint32_t row = w.row0; row < w.row1; ++row)
                for (std::uint32_t column = w.col0; column < w.col1; ++column) {
                    oracle::Pixel pixel;
                    for (std::uint32_t b = 0; b < c.bands; ++b)
                        pixel.push_back(ms(column, row, b));
                    if (!c.infrared.empty()) pixel.push_back(Session::IrSample(column, row, 0));
                    const auto fused =
                        oracle::Fuse(keyword, pixel, Session::PanSample(column, row, 0), tables, most);
                    expected.insert(expected.end(), fused.begin(), fused.begin() + outBands);
                }
            EXPECT_EQ(session.Read(w), expected)
                << c.bits << " bits, " << c.bands << " bands, " << keyword << c.infrared << c.weight;
        }
    }
}

TEST(PansharpRaster, RowsComeInAnyOrderAndStayTheSame) {
    ReadySession session;
    const auto all = session.Read({0, 10, 40, 20});
    for (const std::uint32_t row : {19u, 10u, 19u, 10u}) {
        const unsigned char* bytes = session.process->GetRow(row);
        EXPECT_TRUE(bytes && std::equal(bytes, bytes + 120, all.begin() + (row - 10) * 120)) << row;
    }
}

TEST(PansharpRaster, MetadataTellOfTheWindowWhenAskedFor) {
    const std::string extents = "Extents=100.000000, 120.000000, 500.000000, 515.000000\n";
    const std::string pan = "PanNCols=10\nPanNRows=5\nchannelWeights=", ms = "MSNCols=10\nMSNRows=5\n";
    const std::string three = "0.333, 0.333, 0.333\nmultispectralImageNumChannels=3\n";
    const std::string four = "0.250, 0.250, 0.250, 0.250\nmultispectralImageNumChannels=4\n";
    const std::string tail = "outputNumChannels=3\npanImageNumChannels=1\n";
    const struct {
        std::uint32_t bits;
        const char *asked, *infrared;
        std::string text;
    } cases[] = {{8, "true", "", "MS" + extents + ms + "Pan" + extents + pan + three + tail},
                 {16, "true", "", ms + pan + three + tail},
                 {8, "true", "ir", ms + pan + four + tail}, // of the fusion, not of the merge
                 {8, "no", "", ""}};
    for (const auto& c : cases) {
        ReadySession session(Properties{{"generateMetadata", c.asked}, {"AdditionalBandID", c.infrared}},
                             c.bits);
        ASSERT_EQ(session.SetWindow({1, 2, 11, 7}), 1);
        std::string text;
        for (const auto& [name, value] : session.process->GetMetadata())
            text += name + "=" + value + "\n";
        EXPECT_EQ(text, c.text);
    }
}

TEST(PansharpRaster, EveryChainGoesBackOnceToTheWorkspaceThatIssuedIt) {
    for (const bool clears : {true, false}) {
        Session session;
        session.workspace.clearsHolder = clears;
        FakeWorkspace other(session.log);
        other.images = session.workspace.images;
        ASSERT_EQ(session.process->Init(), 1);
        for (int window = 0; window < 3; ++window) {
            ASSERT_EQ(session.SetWindow({0, 0, 40, 10}), 1);
            EXPECT_EQ(session.workspace.Outstanding(), 1u);
        }
        session.process->SetWorkspace(static_cast<IRasterWorkspace*>(&other));
        ASSERT_EQ(session.SetWindow({0, 0, 40, 10}), 1);
        EXPECT_EQ(session.workspace.Outstanding(), 0u);
        ASSERT_EQ(session.process->Init(), 1);
        EXPECT_EQ(other.Outstanding(), 0u);
        ASSERT_EQ(session.SetWindow({0, 0, 40, 10}), 1);
        session.Destroy();
        EXPECT_EQ(other.Outstanding(), 0u);
        EXPECT_EQ(std::count(session.log.begin(), session.log.end(), "Release of a chain that is not out"),
                  0);
    }
}

TEST(PansharpRaster, ChainsOfAWorkspaceThatIsTakenAwayGoWithIt) {
    for (const char* infrared : {"", "ir"})
        for (const bool another : {false, true}) {
            Session session(Properties{{"AdditionalBandID", infrared}});
            const auto images = session.workspace.images;
            auto taken = std::make_unique<FakeWorkspace>(session.log);
            taken->images = images;
            session.process->SetWorkspace(static_cast<IRasterWorkspace*>(taken.get()));
            ASSERT_EQ(session.process->Init(), 1);
            ASSERT_EQ(session.SetWindow({0, 0, 40, 10}), 1);
            session.process->SetWorkspace(nullptr);
            EXPECT_EQ(session.SetWindow({0, 0, 40, 10}), 0);
            EXPECT_GT(taken->Outstanding(), 0u);
            session.process->SetWorkspace(static_cast<IRasterWorkspace*>(taken.get()));
            ASSERT_EQ(session.process->Init(), 1);
            EXPECT_EQ(taken->Outstanding(), 0u) << "set again, it gets them back";
            ASSERT_EQ(session.SetWindow({0, 0, 40, 10}), 1);
            session.process->SetWorkspace(nullptr);
            taken.reset();
            if (another) {
                session.process->SetWorkspace(static_cast<IRasterWorkspace*>(&session.workspace));
                ASSERT_EQ(session.SetWindow({0, 0, 40, 10}), 1);
            }
            session.Destroy(); // calls nothing that has been destroyed
            EXPECT_EQ(session.workspace.Outstanding(), 0u);
        }
}
