#include "host/Describe.h"

#include "pansharp/Methods.h"

namespace {

constexpr PansharpProperty processProperties[] = {
    {"Method", "text", "KOVA", "the method: one of the keywords, in any letter case"},
    {"MSImageID", "text", "", "image ID of the multispectral raster in the workspace; required"},
    {"AdditionalBandID", "text", "", "image ID of the infrared raster; empty for none"},
    {"_key_Process_RasterId_", "text", "", "ID of this process's raster, given with every chain request"},
    {"outputNBands", "unsigned", "3", "bands to write: the first so many of the multispectral raster"},
    {"ReSampleMS", "boolean", "true", "false: the multispectral request is made in pixel coordinates"},
    {"ReSampleIR", "boolean", "true", "false: the infrared request is made in pixel coordinates"},
    {"generateMetadata", "boolean", "false", "record facts about the run in the process metadata"},
};

} // namespace

const PansharpDescription* Pansharp_Describe(void) {
    static const PansharpDescription description = {
        sizeof(PansharpDescription),
        PANSHARP_CONTRACT_VERSION,
        "Pansharp",
        PANSHARP_VERSION,
        static_cast<std::uint32_t>(PXL::MethodDescriptions().size()),
        PXL::MethodDescriptions().data(),
        sizeof processProperties / sizeof *processProperties,
        processProperties,
    };
    return &description;
}
