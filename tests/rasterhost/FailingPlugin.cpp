#include "fundament/Numbers.h"
#include "host/Aoi.h"
#include "host/EntryPoints.h"
#include "host/Object.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <vector>

// A plug-in whose rows are 0, with any number of bands. Rows fail from row "failRow" on, windows from row
// "failWindow" on. The environment variable FAILING_PLUGIN_SLOT names an operation that fails: GetRow fails
// from row 20 on; GetStatus then has no items for that row.
namespace {

using namespace KOVA::Tessara;
using Global::NameValueMap;
using namespace Pixmere;

bool FailsAt(std::string_view slot) {
    const char* named = std::getenv("FAILING_PLUGIN_SLOT");
    return named && slot == named;
}

class FailingProcess final : public Global::Object, public IRasterProcess {
public:
    ~FailingProcess() override = default;

    int SetProperties(const NameValueMap* map) override {
        return NameValueMapToPropertyLookUp(*map, properties);
    }
    int Init() override { return Answer(FailsAt("Init"), "no start here"); }
    int SetWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1, std::uint32_t) override {
        zeros.assign(std::size_t{col1 - col0} * properties.GetUnsignedLong("outputNBands", 3) * 2, 0);
        return Answer(row0 >= properties.GetUnsignedLong("failWindow", ~0u) || FailsAt("SetWindow"),
                      "no window here");
    }
    const unsigned char* GetRow(std::uint32_t row) override {
        if (row >= 20 && FailsAt("GetStatus")) return nullptr;
        const bool fails = row >= properties.GetUnsignedLong("failRow", FailsAt("GetRow") ? 20 : ~0u);
        return Answer(fails, "no row here") ? zeros.data() : nullptr;
    }
    int SetWorkspace(void*) override { return Answer(FailsAt("SetWorkspace"), "no workspace here"); }
    const RasterInfo* GetRasterInfo() override { return nullptr; }
    int SetAoi(Aoi*) override { return Answer(FailsAt("SetAoi"), "no request here"); }
    unsigned short** GetColorMap(unsigned int&) override { return nullptr; }
    int SetColorMap(unsigned short**, unsigned int) override { return 1; }
    const NameValueMap& GetMetadata() override { return metadata; }
    ProcessModifierFlags GetModifierFlags() override { return {}; }
    int SetInputRaster(IRaster*) override { return Answer(FailsAt("SetInputRaster"), "no raster here"); }
    std::vector<Mapwarp::FGeoTransformers*> GetGeoTransformer() override { return {}; }

private:
    int Answer(bool fails, const char* reason) {
        if (fails) status.Add(0x77, reason, "FailingPlugin");
        return fails ? 0 : 1;
    }

    NameValueMap metadata;
    std::vector<unsigned char> zeros;
};

const PansharpMethod methods[] = {
    {"Zeros", "", "", "", 1, 0, 1, PansharpAdditionalBand::Infrared, 0, nullptr, 0, nullptr}};
const PansharpDescription description = {
    sizeof(PansharpDescription), PANSHARP_CONTRACT_VERSION, "Failing", "1", 1, methods, 0, nullptr};

} // namespace

const PansharpDescription* Pansharp_Describe(void) { return FailsAt("Describe") ? nullptr : &description; }

extern "C" {
PANSHARP_EXPORT int Tessara_RasterProcess_Initialize(void*, void*) { return FailsAt("Initialize") ? 1 : 0; }
PANSHARP_EXPORT IRasterProcess* Tessara_RasterProcess_CreateObject(void*, void*, const NameValueMap* map) {
    if (FailsAt("CreateObject")) return nullptr;
    auto* process = new FailingProcess;
    process->SetProperties(map);
    return process;
}
PANSHARP_EXPORT int Tessara_RasterProcess_DestroyObject(void*, IRasterProcess** object) {
    delete static_cast<Global::IObject*>(*object);
    *object = nullptr;
    return FailsAt("DestroyObject") ? 0 : 1;
}
PANSHARP_EXPORT int Tessara_RasterProcess_GetStatus(void*) { return 0; }
PANSHARP_EXPORT int Tessara_RasterProcess_Cleanup(void*) { return 0; }
}
