#pragma once

#include <gdal.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What bands are called: one name for each part of the spectrum, and what people and products write for it.
namespace rasterhost {

/// The name of a text that is nothing else, such as "Red" or "near infrared"; empty for no such name.
[[nodiscard]] std::string FindBandName(std::string_view text);

/// The one name that stands in a description such as "B4 - red"; empty without one, or with several.
[[nodiscard]] std::string NameInDescription(std::string_view description);

/// The name with which a file's stem ends, as that of "scene_red" does; empty without one.
[[nodiscard]] std::string NameAtEnd(std::string_view stem);

/// The name of the band in whose part of the spectrum a wavelength lies, in micrometres; empty for none.
[[nodiscard]] std::string NameOfWavelength(double micrometres);

/// Red, green or blue, or undefined for other names.
[[nodiscard]] GDALColorInterp ColourOfName(std::string_view name);
/// Empty for other colours.
[[nodiscard]] std::string NameOfColour(GDALColorInterp colour);

/// Where GDAL keeps the centre of what a band sees, in micrometres: an item of a band, and its domain.
inline constexpr const char* wavelengthItem = "CENTRAL_WAVELENGTH_UM";
inline constexpr const char* imageryDomain = "IMAGERY";
/// Where it keeps when an image was taken: an item of the dataset, in the same domain.
inline constexpr const char* acquisitionItem = "ACQUISITIONDATETIME";

/// All names that there are, from the shortest wavelength to the longest, pan last.
[[nodiscard]] std::vector<std::string> AllBandNames();

} // namespace rasterhost
