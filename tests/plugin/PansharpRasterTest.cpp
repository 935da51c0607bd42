#include "Plugin.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

using namespace fakehost;
using ::testing::Test;

namespace {

std::string Text(const Extent& e) {
    char text[200];
    std::snprintf(text, sizeof text, "%g %g %g %g %g %g", e.left, e.right, e.vertical1, e.vertical2,
                  e.reserved1, e.reserved2);
    return text;
}

/// KOVA by its formula, in the order in which it is written.
unsigned Kova(const std::vector<unsigned>& ms, unsigned pan, const std::vector<double>& weights,
              std::uint32_t band, double most) {
    volatile double s = 0.0;
    for (std::size_t b = 0; b < ms.size(); ++b) {
        volatile double product = ms[b] * weights[b];
        s = s + product;
    }
    volatile double d = pan - s;
    double x = ms[band] + d;
    if (std::isnan(x) || x < 0) x = 0;
    return static_cast<unsigned>(std::floor(std::min(x, most) + 0.5));
}

} // namespace

TEST(PansharpRaster, PublishesPanWithTheBandCountOfTheOutput) {
    const struct {
        Properties properties;
        std::uint32_t bands, colorSpace;
    } cases[] = {{{}, 3, 1},
                 {{{"outputNBands", "1"}}, 1, 0},
                 {{{"outputNBands", " 4 "}}, 4, 1},
                 {{{"outputNBands", "many"}}, 3, 1}};
    for (const auto& c : cases) {
        Session session(c.properties);
        ASSERT_EQ(session.process->Init(), 1);
        const RasterInfo& info = *session.process->GetRasterInfo();
        EXPECT_EQ(info.bandsPerPixel, c.bands);
        EXPECT_EQ(info.colorSpace, c.colorSpace);
        EXPECT_EQ(info.cols, 40u);
        EXPECT_EQ(info.bitsPerBand, 8u);
    }
}

TEST(PansharpRaster, AsksTheHostInOrder) {
    Session session(Properties{{"generateMetadata", "yes"}});
    ASSERT_EQ(session.process->Init(), 1);
    ASSERT_EQ(session.SetWindow(10, 5, 20, 8), 1);
    session.Destroy();
    EXPECT_EQ(session.log, (Log{"pan.Init", "GetProcessChain scene->ms",
                                "ms.SetProperty _key_Process_TransmitProcessMetadata_=true", "ms.Initialize",
                                "ms.CreateRaster", "pan.SetWindow 10 5 20 8", "Release ms"}));
}

TEST(PansharpRaster, WritesTheRequestRecordForTheWindow) {
    Session session;
    ASSERT_EQ(session.process->Init(), 1);
    ASSERT_EQ(session.SetWindow(10, 20, 40, 30), 1);
    const Aoi& asked = session.workspace.obtained.at(0);
    EXPECT_EQ(Text(asked.extent), "100 120 500 515 1 2");
    EXPECT_EQ(Text(asked.requestExtent), "100 120 500 515 1 2");
    EXPECT_EQ(asked.size.columns, 30u);
    EXPECT_EQ(asked.requestSize.rows, 10u);
    EXPECT_EQ(asked.srs, "EPSG:32630");
    EXPECT_TRUE(asked.bandIds.empty());
    EXPECT_TRUE(asked.bandRecords.empty());
    EXPECT_EQ(*asked.properties.Find("ClientProperties/SamplingMethod"), "Bilinear");
    EXPECT_EQ(*session.aoi.properties.Find("ClientProperties/SamplingMethod"), "Nearest");
}

TEST(PansharpRaster, AsksInPixelsWhenToldNotToResample) {
    Session session(Properties{{"ReSampleMS", "false"}});
    session.pan->info.cols = 200;
    session.pan->info.rows = 300;
    ASSERT_EQ(session.process->Init(), 1);
    ASSERT_EQ(session.SetWindow(10, 20, 110, 220), 1);
    const Aoi& asked = session.workspace.initialized.at(0);
    EXPECT_EQ(Text(asked.extent), "9.5 110.5 220.5 19.5 1 2");
    EXPECT_EQ(Text(asked.requestExtent), "9.5 110.5 220.5 19.5 1 2");
    EXPECT_EQ(asked.size.columns, 100u);
    EXPECT_EQ(asked.size.rows, 200u);
    EXPECT_EQ(asked.srs, "group srs");
}

TEST(PansharpRaster, FusesEveryPixelOfEveryWindowAsDefined) {
    std::mt19937 random(7);
    const std::vector<std::string> weightTexts = {"0.25", "-1.5", "1e-9", "0.3333", "7", "", "abc", "1e308"};
    for (const std::uint32_t bits : {8u, 16u})
        for (std::uint32_t bands = 1; bands <= 8; ++bands) {
            Properties properties{{"outputNBands", std::to_string(1 + random() % bands)}};
            std::vector<double> weights;
            for (std::uint32_t b = 1; b <= bands; ++b) {
                const std::string& text = weightTexts[random() % weightTexts.size()];
                properties.emplace_back("BandWeight-" + std::to_string(b), text);
                weights.push_back(text.empty() ? 1.0 / bands : text == "abc" ? 0.0 : std::stod(text));
            }
            Session session(properties, bits);
            const unsigned most = bits == 8 ? 255 : 65535;
            const auto salt = static_cast<unsigned>(random());
            const auto ms = [=](auto c, auto r, auto b) {
                return (c * 2654435761u + r * 40503u + b * 977u + salt) % (most + 1);
            };
            session.workspace.images["ms"] = {bands, bits, ms};
            ASSERT_EQ(session.process->Init(), 1);
            const std::uint32_t outBands = session.process->GetRasterInfo()->bandsPerPixel;
            for (const auto& w :
                 {Aoi{}.size, Size{3, 4}, Size{39, 29}}) { // first column and row of the window
                ASSERT_EQ(session.SetWindow(w.columns, w.rows, 40, 30), 1);
                for (std::uint32_t row = w.rows; row < 30; ++row) {
                    const unsigned char* bytes = session.process->GetRow(row);
                    ASSERT_NE(bytes, nullptr);
                    for (std::uint32_t i = 0; i < (40 - w.columns) * outBands; ++i) {
                        const std::uint32_t c = w.columns + i / outBands;
                        std::vector<unsigned> pixel;
                        for (std::uint32_t b = 0; b < bands; ++b)
                            pixel.push_back(ms(c, row, b));
                        const unsigned got =
                            bits == 8 ? bytes[i] : reinterpret_cast<const unsigned short*>(bytes)[i];
                        ASSERT_EQ(got,
                                  Kova(pixel, Session::PanSample(c, row, 0), weights, i % outBands, most))
                            << bits << " bits, " << bands << " bands, column " << c << ", row " << row;
                    }
                }
            }
        }
}

TEST(PansharpRaster, RowsComeInAnyOrderAndStayTheSame) {
    Session session;
    ASSERT_EQ(session.process->Init(), 1);
    ASSERT_EQ(session.SetWindow(0, 10, 40, 20), 1);
    const auto read = [&](std::uint32_t row) {
        const unsigned char* bytes = session.process->GetRow(row);
        return bytes ? std::vector<unsigned char>(bytes, bytes + 120) : std::vector<unsigned char>();
    };
    const auto row19 = read(19);
    const auto row10 = read(10);
    ASSERT_FALSE(row10.empty());
    EXPECT_NE(row10, row19);
    EXPECT_EQ(read(19), row19);
    EXPECT_EQ(read(10), row10);
}

TEST(PansharpRaster, MetadataTellOfTheWindowWhenAskedFor) {
    for (const std::uint32_t bits : {8u, 16u}) {
        Session session(Properties{{"generateMetadata", "true"}}, bits);
        ASSERT_EQ(session.process->Init(), 1);
        ASSERT_EQ(session.SetWindow(1, 2, 11, 7), 1);
        std::string text;
        for (const auto& [name, value] : session.process->GetMetadata())
            text += name + "=" + value + "\n";
        const std::string extents = "100.000000, 120.000000, 500.000000, 515.000000\n";
        EXPECT_EQ(text, (bits == 8 ? "MSExtents=" + extents : "") + "MSNCols=10\nMSNRows=5\n" +
                            (bits == 8 ? "PanExtents=" + extents : "") +
                            "PanNCols=10\nPanNRows=5\nchannelWeights=0.333, 0.333, 0.333\n"
                            "multispectralImageNumChannels=3\noutputNumChannels=3\npanImageNumChannels=1\n");
    }
    Session session;
    ASSERT_EQ(session.process->Init(), 1);
    ASSERT_EQ(session.SetWindow(1, 2, 11, 7), 1);
    EXPECT_EQ(session.process->GetMetadata().GetCount(), 0u);
}

TEST(PansharpRaster, EveryChainGoesBackOnceToTheWorkspaceThatIssuedIt) {
    for (const bool clears : {true, false}) {
        Session session;
        session.workspace.clearsHolder = clears;
        FakeWorkspace other(session.log);
        other.images = session.workspace.images;
        ASSERT_EQ(session.process->Init(), 1);
        for (int window = 0; window < 3; ++window) {
            ASSERT_EQ(session.SetWindow(0, 0, 40, 10), 1);
            EXPECT_EQ(session.workspace.Outstanding(), 1u);
        }
        session.process->SetWorkspace(static_cast<IRasterWorkspace*>(&other));
        ASSERT_EQ(session.SetWindow(0, 0, 40, 10), 1);
        EXPECT_EQ(session.workspace.Outstanding(), 0u);
        ASSERT_EQ(session.process->Init(), 1);
        EXPECT_EQ(other.Outstanding(), 0u);
        ASSERT_EQ(session.SetWindow(0, 0, 40, 10), 1);
        session.Destroy();
        EXPECT_EQ(other.Outstanding(), 0u);
        EXPECT_EQ(std::count(session.log.begin(), session.log.end(), "Release of a chain that is not out"),
                  0);
    }
}
