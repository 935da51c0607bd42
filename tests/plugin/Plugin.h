#pragma once

#include "FakeHost.h"
#include "PluginFile.h"
#include "fundament/Text.h"
#include "support/StatusText.h"

#include <gtest/gtest.h>

namespace fakehost {

/// First column and row, and the ends.
struct Window {
    std::uint32_t col0, row0, col1, row1;
};

using Properties = std::vector<std::pair<std::string, std::string>>;

/// One process in a server, with a pan raster of 40 x 30, a workspace with the images "ms" and "ir", and a
/// request record.
class Session {
public:
    explicit Session(Properties settings = {}, std::uint32_t bits = 8) : workspace(log) {
        RasterInfo info;
        info.cols = 40;
        info.rows = 30;
        info.bandsPerPixel = 1;
        info.bitsPerBand = bits;
        info.pixelSizeX = info.pixelSizeY = 0.5;
        pan = std::make_unique<FakeRaster>("pan", log, info, PanSample);
        workspace.images["ms"] = {3, bits, MsSample};
        workspace.images["ir"] = {1, bits, IrSample};
        aoi.requestExtent = {100.0, 120.0, 500.0, 515.0, 1.0, 2.0};
        aoi.requestSize = {40, 30};
        aoi.srs = "EPSG:32630";
        aoi.bandIds = {1, 2};
        aoi.bandRecords.resize(2);
        aoi.properties["ClientProperties/SamplingMethod"] = "Nearest";
        aoi.properties["RasterGroup/Srs"] = "group srs";
        NameValueMap map;
        map["MSImageID"] = "ms";
        map["_key_Process_RasterId_"] = "scene";
        for (const auto& [name, value] : settings)
            map[name] = value;
        process = plugin.Create(&map);
        if (!process) throw std::runtime_error("no process");
        process->SetInputRaster(pan.get());
        process->SetWorkspace(static_cast<IRasterWorkspace*>(&workspace));
        process->SetAoi(&aoi);
    }
    ~Session() { Destroy(); }
    void Destroy() { plugin.Destroy(&process); }

    int SetWindow(const Window& w) {
        workspace.windowColumn = w.col0;
        workspace.windowRow = w.row0;
        return process->SetWindow(w.col0, w.row0, w.col1, w.row1);
    }
    /// All samples of a window, row by row.
    std::vector<unsigned> Read(const Window& w) {
        std::vector<unsigned> all;
        EXPECT_EQ(SetWindow(w), 1) << Items();
        for (std::uint32_t row = w.row0; row < w.row1; ++row) {
            const unsigned char* bytes = process->GetRow(row);
            EXPECT_NE(bytes, nullptr) << Items();
            if (!bytes) break;
            const std::uint32_t samples = (w.col1 - w.col0) * process->GetRasterInfo()->bandsPerPixel;
            if (pan->info.bitsPerBand == 8)
                all.insert(all.end(), bytes, bytes + samples);
            else
                all.insert(all.end(), reinterpret_cast<const unsigned short*>(bytes),
                           reinterpret_cast<const unsigned short*>(bytes) + samples);
        }
        return all;
    }
    /// The items of the status: "ID message" of the process itself, "ID source|message" of the others.
    [[nodiscard]] std::string Items() const {
        std::string text = support::StatusText(process->GetStatus());
        KOVA::Tessara::Fundament::ReplaceAll(text, " PanSharp Process|", " ", false, 0xFFFFFFFFu);
        return text;
    }

    static unsigned PanSample(std::uint32_t c, std::uint32_t r, std::uint32_t) {
        return (c * 7 + r * 13) % 256;
    }
    static unsigned MsSample(std::uint32_t c, std::uint32_t r, std::uint32_t b) {
        return (c * 3 + r * 17 + b * 50) % 256;
    }
    static unsigned IrSample(std::uint32_t c, std::uint32_t r, std::uint32_t) {
        return (c * 5 + r * 11) % 251;
    }

    Log log;
    FakeWorkspace workspace;
    Aoi aoi;
    std::unique_ptr<FakeRaster> pan;
    IRasterProcess* process = nullptr;

private:
    Plugin plugin;
};

/// A session whose process is initialised.
struct ReadySession : Session {
    explicit ReadySession(Properties settings = {}, std::uint32_t bits = 8)
        : Session(std::move(settings), bits) {
        if (process->Init() != 1) throw std::runtime_error(Items());
    }
};

} // namespace fakehost
