#pragma once

#include <gdal.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Names of bands: one name per part of the spectrum, and the texts that users and products write for it.
namespace rasterhost {

/// The band name that a whole text stands for, such as "Red" or "near infrared"; empty when it is none.
[[nodiscard]] std::string FindBandName(std::string_view text);

/// The only band name in a description such as "B4 - red"; empty without one, or with several.
[[nodiscard]] std::string NameInDescription(std::string_view description);

/// The band name at the end of a file's stem, as in "scene_red"; empty without one.
[[nodiscard]] std::string NameAtEnd(std::string_view stem);

/// The name of the band whose part of the spectrum contains a wavelength in micrometres; empty when there is
/// none.
[[nodiscard]] std::string NameOfWavelength(double micrometres);

/// Red, green or blue; undefined for other names.
[[nodiscard]] GDALColorInterp ColourOfName(std::string_view name);
/// The name of a colour; empty for colours other than these.
[[nodiscard]] std::string NameOfColour(GDALColorInterp colour);

/// Where GDAL stores a band's central wavelength in micrometres: an item of the band, and its domain.
inline constexpr const char* wavelengthItem = "CENTRAL_WAVELENGTH_UM";
inline constexpr const char* imageryDomain = "IMAGERY";
/// Where GDAL stores the time of acquisition: an item of the dataset, in the same domain.
inline constexpr const char* acquisitionItem = "ACQUISITIONDATETIME";

/// All names, from the shortest wavelength to the longest, pan last.
[[nodiscard]] std::vector<std::string> AllBandNames();

} // namespace rasterhost
