#pragma once

#include "rasterhost/reading/SampleScale.h"
#include "rasterhost/requests/Requests.h"

#include <gdal.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace rasterhost {

/// What marks pixels without data, in addition to values.
enum class MaskKind {
    None,
    Mask,        ///< its mask band
    Transparency ///< another band of its file
};

/// Description of one band of a file.
struct SourceBand {
    int number = 0;   ///< within its file, counted from 1
    std::string file; ///< as named in the request
    /// The band's description, else the file's stem if the file has only this band; may be empty.
    std::string description;
    std::string name;                     ///< as in BandNames.h; empty when unknown
    std::optional<double> wavelength;     ///< central wavelength, in micrometres
    std::optional<SampleMeaning> meaning; ///< of the samples in the file
    GDALDataType type = GDT_Unknown;
    GDALColorInterp colour = GCI_Undefined;
    std::uint32_t bits = 0;          ///< that the samples use: as declared by the file, else all
    std::uint32_t blockRows = 0;     ///< height of its blocks
    std::optional<int> noData;       ///< the sample value that means no data
    std::optional<double> rawNoData; ///< the same value in the file, when samples are scaled
    MaskKind mask = MaskKind::None;
    int transparency = 0; ///< number of the transparency band, if that is the mask
};

/// How the samples of a file are to be interpreted.
struct SampleOptions {
    std::optional<double> value;      ///< value for no data in every band, whatever the file declares
    bool isIgnored = false;           ///< no sample means no data
    std::optional<SampleScale> scale; ///< maps samples of any type to 16 bits
    /// As in a request; null when nothing is known.
    std::shared_ptr<const std::map<std::string, int>> transparency = {};
    bool takesScale = true; ///< false when `scale` cannot be given, so that no message advises it
};

} // namespace rasterhost
