#pragma once

#include "host/Describe.h"

#include <string>

/// Names of the properties that every process reads, in one place for hosts and plug-in.
namespace KOVA::Tessara::PropertyNames {

inline constexpr const char* method = "Method";                        ///< keyword of the method
inline constexpr const char* multispectralImage = "MSImageID";         ///< ID of the multispectral image
inline constexpr const char* additionalImage = "AdditionalBandID";     ///< ID of the additional band's image
inline constexpr const char* processRaster = "_key_Process_RasterId_"; ///< ID of the fused scene
inline constexpr const char* outputBands = "outputNBands";             ///< number of bands to write
inline constexpr const char* resampleMultispectral = "ReSampleMS";     ///< false: requests in pixels
inline constexpr const char* resampleAdditional = "ReSampleIR";        ///< the same for the additional band
inline constexpr const char* generateMetadata = "generateMetadata";    ///< whether to record facts about the
                                                                       ///< run

/// The property of one band, counted from 0: "BandWeight-1" for band 0 of "BandWeight-N".
[[nodiscard]] inline std::string OfBand(const PansharpProperty& property, std::size_t band) {
    const std::string pattern = property.name;
    return pattern.substr(0, pattern.size() - 1) + std::to_string(band + 1);
}

} // namespace KOVA::Tessara::PropertyNames
