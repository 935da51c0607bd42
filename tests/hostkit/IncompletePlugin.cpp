#include "host/Describe.h"

namespace {
const PansharpDescription description = {
    sizeof(PansharpDescription), PANSHARP_CONTRACT_VERSION, "Incomplete", "1", 0, nullptr, 0, nullptr};
}

const PansharpDescription* Pansharp_Describe(void) { return &description; }

extern "C" PANSHARP_EXPORT int Tessara_RasterProcess_Initialize(void*, void*) { return 0; }
