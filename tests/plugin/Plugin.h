#pragma once

#include "FakeHost.h"

#include <cstring>
#include <dlfcn.h>

namespace fakehost {

/// The built plug-in, loaded by its file name as a server would.
struct Plugin {
    Plugin() : library(dlopen(PANSHARP_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL)) {
        if (!library) throw std::runtime_error(dlerror());
    }
    ~Plugin() { dlclose(library); }
    template <class Function>
    Function Entry(const char* name) const {
        void* address = dlsym(library, name);
        if (!address) throw std::runtime_error(name);
        Function function;
        std::memcpy(&function, &address, sizeof function);
        return function;
    }
    IRasterProcess* Create(const NameValueMap* map) const {
        namespace Names = KOVA::Tessara::EntryPoints;
        return Entry<TessaraCreateObject>(Names::createObject)(nullptr, nullptr, map);
    }
    int Destroy(IRasterProcess** object) const {
        namespace Names = KOVA::Tessara::EntryPoints;
        return Entry<TessaraDestroyObject>(Names::destroyObject)(nullptr, object);
    }

    void* library;
};

/// An item of the process as Session::Items() gives it.
inline std::string P(const char* id, const char* message) {
    return std::string(id) + " PanSharp Process: " + message;
}

using Properties = std::vector<std::pair<std::string, std::string>>;

/// One process in a server: a pan raster of 40 x 30, a workspace with the images "ms" and "ir", and a request
/// record.
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
        workspace.images["ir"] = {1, bits, [](auto c, auto r, auto) { return (c * 5 + r * 11) % 251; }};
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

    int SetWindow(std::uint32_t c0, std::uint32_t r0, std::uint32_t c1, std::uint32_t r1) {
        workspace.windowColumn = c0;
        workspace.windowRow = r0;
        return process->SetWindow(c0, r0, c1, r1);
    }
    /// The items of the status, one "ID source: message" each.
    [[nodiscard]] Log Items() const {
        Log items;
        const Status& status = process->GetStatus();
        for (std::uint32_t i = 0; i < status.GetCount(); ++i) {
            const auto& item = status.GetItem(i);
            char id[16];
            std::snprintf(id, sizeof id, "%X ", item.id);
            items.push_back(id + item.source + ": " + item.message);
        }
        return items;
    }

    static unsigned PanSample(std::uint32_t c, std::uint32_t r, std::uint32_t) {
        return (c * 7 + r * 13) % 256;
    }
    static unsigned MsSample(std::uint32_t c, std::uint32_t r, std::uint32_t b) {
        return (c * 3 + r * 17 + b * 50) % 256;
    }

    Log log;
    FakeWorkspace workspace;
    Aoi aoi;
    std::unique_ptr<FakeRaster> pan;
    IRasterProcess* process = nullptr;

private:
    Plugin plugin;
};

} // namespace fakehost
