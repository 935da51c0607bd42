#include "host/Describe.h"

#include "host/PropertyNames.h"
#include "pansharp/Methods.h"

namespace {

namespace PropertyNames = KOVA::Tessara::PropertyNames;

constexpr PansharpProperty processProperties[] = {
    {PropertyNames::method, "text", PXL::kovaMethod.keyword,
     "the method: one of the keywords, in any letter case"},
    {PropertyNames::multispectralImage, "text", "",
     "image ID of the multispectral raster in the workspace; required"},
    {PropertyNames::additionalImage, "text", "", "image ID of the infrared raster; empty for none"},
    {PropertyNames::processRaster, "text", "", "ID of this process's raster, given with every chain request"},
    {PropertyNames::outputBands, "unsigned", "3",
     "how many bands to write: the first ones of the multispectral raster"},
    {PropertyNames::resampleMultispectral, "boolean", "true",
     "false: the multispectral request is made in pixel coordinates"},
    {PropertyNames::resampleAdditional, "boolean", "true",
     "false: the infrared request is made in pixel coordinates"},
    {PropertyNames::generateMetadata, "boolean", "false",
     "record facts about the run in the process metadata"},
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
