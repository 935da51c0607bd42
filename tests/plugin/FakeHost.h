#pragma once

#include "host/Aoi.h"
#include "host/EntryPoints.h"
#include "host/IRasterProcessChain.h"
#include "host/IRasterWorkspace.h"
#include "host/Object.h"

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

/// A raster server for tests. It logs every call of the plug-in, keeps a copy of every request record, and
/// fails on request. It shares no code with the host that comes with the plug-in.
namespace fakehost {

using namespace KOVA::Tessara::Pixmere;
using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Global::NameValueMap;
using KOVA::Tessara::Global::Object;

using Log = std::vector<std::string>;

/// Sample of (column, row, band), all absolute.
using SampleOf = std::function<unsigned(std::uint32_t, std::uint32_t, std::uint32_t)>;

class FakeRaster : public Object, public IRaster {
public:
    FakeRaster(std::string rasterName, Log& calls, RasterInfo description, SampleOf sampleOf)
        : info(std::move(description)), name(std::move(rasterName)), log(calls), sample(std::move(sampleOf)) {
    }

    int Init() override {
        log.push_back(name + ".Init");
        return Answer(initFails, "init reason");
    }
    int SetWindow(std::uint32_t c0, std::uint32_t r0, std::uint32_t c1, std::uint32_t r1) override {
        log.push_back(name + ".SetWindow " + std::to_string(c0) + " " + std::to_string(r0) + " " +
                      std::to_string(c1) + " " + std::to_string(r1));
        col0 = c0;
        col1 = c1;
        return Answer(windowFails, "window reason");
    }
    int SetWorkspace(void*) override { return 1; }
    /// A heap block of exactly the row's samples, so that a sanitizer detects any access past it.
    const unsigned char* GetRow(std::uint32_t row) override {
        if (throws) throw std::runtime_error("raster exploded");
        if (Answer(rowFails, "row reason") == 0) return nullptr;
        const std::uint32_t end = std::min(col1, info.cols), bytes = info.bitsPerBand / 8;
        block = std::make_unique<unsigned char[]>(std::size_t{end - col0} * info.bandsPerPixel * bytes);
        unsigned char* out = block.get();
        for (std::uint32_t c = col0; c < end; ++c)
            for (std::uint32_t b = 0; b < info.bandsPerPixel; ++b, out += bytes) {
                const unsigned value = sample(c + originColumn, row + originRow, b);
                if (bytes == 1)
                    *out = static_cast<unsigned char>(value);
                else
                    *reinterpret_cast<unsigned short*>(out) = static_cast<unsigned short>(value);
            }
        return block.get();
    }
    const RasterInfo* GetRasterInfo() override { return hasInfo ? &info : nullptr; }
    int SetProperties(const NameValueMap*) override { return 1; }
    int SetAoi(Aoi*) override { return 1; }
    unsigned short** GetColorMap(unsigned int& count) override {
        count = 77;
        return colorMap;
    }
    int SetColorMap(unsigned short**, unsigned int) override { return 1; }

    RasterInfo info;
    bool initFails = false, windowFails = false, rowFails = false, throws = false, hasInfo = true;
    unsigned short* colorMap[1] = {nullptr};
    std::uint32_t originColumn = 0, originRow = 0; ///< added to the position for the sample function

private:
    int Answer(bool fails, const char* reason) {
        if (!fails) return 1;
        status.Reset(0, {}, "FakeRaster", {});
        status.Add(7, name + " " + reason, {});
        status.Add(8, name + " more", {});
        return 0;
    }
    std::string name;
    Log& log;
    SampleOf sample;
    std::uint32_t col0 = 0;
    std::uint32_t col1 = 0xFFFFFFFFu;
    std::unique_ptr<unsigned char[]> block;
};

/// An image of the workspace, and where its chain fails.
struct FakeImage {
    std::uint32_t bands = 3;
    std::uint32_t bits = 8;
    SampleOf sample = [](auto, auto, auto) { return 0u; };
    int extraColumns = 0, extraRows = 0; ///< by how much its raster is larger or smaller than the request
    bool initializeFails = false, createFails = false;
    std::function<void(FakeRaster&)> prepare = [](FakeRaster&) {};
};

class FakeChain : public Object, public IRasterProcessChain {
public:
    FakeChain(std::string imageId, FakeImage fakeImage, Log& calls, std::vector<Aoi>& requests,
              std::uint32_t col0, std::uint32_t row0)
        : id(std::move(imageId)), image(std::move(fakeImage)), log(calls), initialized(requests),
          originColumn(col0), originRow(row0) {}

    int SetProperty(const std::string& name, const std::string& value) override {
        log.push_back(id + ".SetProperty " + name + "=" + value);
        return 1;
    }
    std::string GetImageId() override { return id; }
    int SetWorkspace(void*) override { return 1; }
    int SetProperties(const NameValueMap*) override { return 1; }
    std::uint32_t GetProcessCount() override { return 0; }
    IRasterProcess* GetProcess(std::uint32_t) override { return nullptr; }
    int Initialize(Aoi* aoi) override {
        log.push_back(id + ".Initialize");
        initialized.push_back(*aoi);
        size = aoi->size;
        if (!image.initializeFails) return 1;
        aoi->resultValue = 42.5;
        status.Add(9, id + " refuses", "FakeChain");
        return 0;
    }
    const RasterInfo* GetRasterInfo() override { return nullptr; }
    int SetInputRaster(IRaster*) override { return 1; }
    const NameValueMap& GetMetadata() override { return metadata; }
    int Close() override { return 1; }
    IRaster* CreateRaster() override {
        log.push_back(id + ".CreateRaster");
        if (image.createFails) {
            status.Add(10, id + " has no raster", "FakeChain");
            return nullptr;
        }
        RasterInfo info;
        info.cols = size.columns + static_cast<std::uint32_t>(image.extraColumns);
        info.rows = size.rows + static_cast<std::uint32_t>(image.extraRows);
        info.bandsPerPixel = image.bands;
        info.bitsPerBand = image.bits;
        raster = std::make_unique<FakeRaster>(id + "Raster", log, info, image.sample);
        raster->originColumn = originColumn;
        raster->originRow = originRow;
        image.prepare(*raster);
        return raster.get();
    }

private:
    std::string id;
    FakeImage image;
    Log& log;
    std::vector<Aoi>& initialized;
    std::uint32_t originColumn, originRow;
    Size size;
    NameValueMap metadata;
    std::unique_ptr<FakeRaster> raster;
};

class FakeWorkspace : public Object, public IRasterWorkspace {
public:
    explicit FakeWorkspace(Log& calls) : log(calls) {}

    IRasterProcessChain* GetProcessChain(const std::string& processRasterId, const std::string& imageId,
                                         Aoi* aoi, Status& reasons) override {
        log.push_back("GetProcessChain " + processRasterId + "->" + imageId);
        obtained.push_back(*aoi);
        if (!images.contains(imageId)) {
            reasons.Add(11, "no image " + imageId, "FakeWorkspace");
            return nullptr;
        }
        issued.push_back(
            std::make_unique<FakeChain>(imageId, images[imageId], log, initialized, windowColumn, windowRow));
        return issued.back().get();
    }
    int ReleaseProcessChain(IRasterProcessChain** holder) override {
        const auto chain =
            std::find_if(issued.begin(), issued.end(), [&](const auto& out) { return out.get() == *holder; });
        if (chain == issued.end()) {
            log.push_back("Release of a chain that is not out");
            return 0;
        }
        log.push_back("Release " + (*chain)->GetImageId());
        issued.erase(chain);
        if (clearsHolder) *holder = nullptr;
        return 1;
    }
    [[nodiscard]] std::size_t Outstanding() const { return issued.size(); }
    int Open(const std::string&) override { return 1; }
    int SetProperties(const NameValueMap*) override { return 1; }
    const NameValueMap& GetProperties() override { return none; }
    std::uint32_t GetImageCount() override { return static_cast<std::uint32_t>(images.size()); }
    std::string GetImageId(std::uint32_t) override { return {}; }
    int HasImage(const std::string& imageId) override { return images.contains(imageId) ? 1 : 0; }
    const RasterInfo* GetImageInfo(const std::string&) override { return nullptr; }
    int Close() override { return 1; }

    std::map<std::string, FakeImage> images;
    std::vector<Aoi> obtained;                     ///< request records as GetProcessChain saw them
    std::vector<Aoi> initialized;                  ///< and as Initialize did
    std::uint32_t windowColumn = 0, windowRow = 0; ///< where the next window starts
    bool clearsHolder = true;

private:
    Log& log;
    std::vector<std::unique_ptr<FakeChain>> issued;
    NameValueMap none;
};

} // namespace fakehost
