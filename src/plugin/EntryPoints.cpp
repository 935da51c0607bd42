#include "host/EntryPoints.h"

#include "plugin/PansharpRaster.h"

#include <memory>

using KOVA::Tessara::Global::IObject;
using KOVA::Tessara::Global::NameValueMap;
using KOVA::Tessara::Pixmere::IRasterProcess;
using KOVA::Tessara::Pixmere::PansharpRaster;

extern "C" {

PANSHARP_EXPORT int Tessara_RasterProcess_Initialize(void*, void*) { return 0; }

PANSHARP_EXPORT IRasterProcess* Tessara_RasterProcess_CreateObject(void*, void*,
                                                                   const NameValueMap* properties) {
    try {
        auto object = std::make_unique<PansharpRaster>();
        if (object->SetProperties(properties) == 0) return nullptr;
        return object.release(); // now owned by the host
    } catch (...) {
        return nullptr;
    }
}

PANSHARP_EXPORT int Tessara_RasterProcess_DestroyObject(void*, IRasterProcess** object) {
    if (!object) return 1;
    delete static_cast<IObject*>(*object);
    *object = nullptr;
    return 1;
}

PANSHARP_EXPORT int Tessara_RasterProcess_GetStatus(void*) { return 0; }

PANSHARP_EXPORT int Tessara_RasterProcess_Cleanup(void*)
    __attribute__((alias("Tessara_RasterProcess_GetStatus")));
}
