#include "fundament/Numbers.h"
#include "host/Aoi.h"
#include "host/EntryPoints.h"
#include "host/Object.h"

#include <algorithm>
#include <vector>

// A plug-in whose rows are 0, of as many bands as asked for, and fail from row "failRow" on; windows fail
// from row "failWindow" on.
namespace {

using namespace KOVA::Tessara;
using Global::NameValueMap;
using namespace Pixmere;

class FailingProcess final : public Global::Object, public IRasterProcess {
public:
    ~FailingProcess() override = default;

    int SetProperties(const NameValueMap* map) override {
        return NameValueMapToPropertyLookUp(*map, properties);
    }
    int Init() override { return 1; }
    int SetWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1, std::uint32_t) override {
        zeros.assign(std::size_t{col1 - col0} * properties.GetUnsignedLong("outputNBands", 3) * 2, 0);
        return Answer(row0 >= properties.GetUnsignedLong("failWindow", ~0u), "no window here");
    }
    const unsigned char* GetRow(std::uint32_t row) override {
        return Answer(row >= properties.GetUnsignedLong("failRow", ~0u), "no row here") ? zeros.data()
                                                                                        : nullptr;
    }
    int SetWorkspace(void*) override { return 1; }
    const RasterInfo* GetRasterInfo() override { return nullptr; }
    int SetAoi(Aoi*) override { return 1; }
    unsigned short** GetColorMap(unsigned int&) override { return nullptr; }
    int SetColorMap(unsigned short**, unsigned int) override { return 1; }
    const NameValueMap& GetMetadata() override { return metadata; }
    ProcessModifierFlags GetModifierFlags() override { return {}; }
    int SetInputRaster(IRaster*) override { return 1; }
    std::vector<Mapwarp::FGeoTransformers*> GetGeoTransformer() override { return {}; }

private:
    int Answer(bool fails, const char* reason) {
        if (fails) status.Add(0x77, reason, "FailingPlugin");
        return fails ? 0 : 1;
    }

    NameValueMap metadata;
    std::vector<unsigned char> zeros;
};

const PansharpMethod methods[] = {{"KOVA", "", "", "", 1, 0, nullptr}};
const PansharpDescription description = {
    sizeof(PansharpDescription), PANSHARP_CONTRACT_VERSION, "Failing", "1", 1, methods, 0, nullptr};

} // namespace

const PansharpDescription* Pansharp_Describe(void) { return &description; }

extern "C" {
PANSHARP_EXPORT int Tessara_RasterProcess_Initialize(void*, void*) { return 0; }
PANSHARP_EXPORT IRasterProcess* Tessara_RasterProcess_CreateObject(void*, void*, const NameValueMap* map) {
    auto* process = new FailingProcess;
    process->SetProperties(map);
    return process;
}
PANSHARP_EXPORT int Tessara_RasterProcess_DestroyObject(void*, IRasterProcess** object) {
    delete static_cast<Global::IObject*>(*object);
    *object = nullptr;
    return 1;
}
PANSHARP_EXPORT int Tessara_RasterProcess_GetStatus(void*) { return 0; }
PANSHARP_EXPORT int Tessara_RasterProcess_Cleanup(void*) { return 0; }
}
