#include "host/Describe.h"

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

constexpr PansharpProperty kovaProperties[] = {
    {"BandWeight-N", "double", "1 / bands", "weight of multispectral band N in the simulated pan"},
    {"AdditionalBandWeight", "double", "",
     "replaces the weight of the last band, the infrared one when there is one"},
};

constexpr PansharpMethod methods[] = {
    {"KOVA", "adds the difference between pan and a weighted sum of the bands to every band",
     "out[c] = ms[c] + (pan - sum of ms[b] * weight[b])",
     "the default: keeps colours well when pan is close to a weighted sum of the bands", 1,
     sizeof kovaProperties / sizeof *kovaProperties, kovaProperties},
};

constexpr PansharpDescription description = {
    sizeof(PansharpDescription),
    PANSHARP_CONTRACT_VERSION,
    "Pansharp",
    PANSHARP_VERSION,
    sizeof methods / sizeof *methods,
    methods,
    sizeof processProperties / sizeof *processProperties,
    processProperties,
};

} // namespace

const PansharpDescription* Pansharp_Describe(void) { return &description; }
