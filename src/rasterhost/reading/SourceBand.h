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

/// What tells, beside values, where a band has data.
enum class MaskKind {
    None,
    Mask,        ///< its mask band
    Transparency ///< another band of its file
};

/// What is known of one band of a file.
struct SourceBand {
    int number = 0;   ///< in its file, counted from 1
    std::string file; ///< as the request names it
    std::string
        description;  ///< the band's, else the file's stem when the file has no other band; may be empty
    std::string name; ///< as in BandNames.h; empty where nothing tells it
    std::optional<double> wavelength;     ///< centre of what it sees, in micrometres
    std::optional<SampleMeaning> meaning; ///< of the samples in the file
    GDALDataType type = GDT_Unknown;
    GDALColorInterp colour = GCI_Undefined;
    std::uint32_t bits = 0;          ///< that the samples use: as the file declares, else all
    std::uint32_t blockRows = 0;     ///< height of its blocks
    std::optional<int> noData;       ///< the sample value that means no data
    std::optional<double> rawNoData; ///< likewise, in the file, when samples are scaled
    MaskKind mask = MaskKind::None;
    int transparency = 0; ///< number of the band that is the mask, where one is
};

/// What the samples of a file are to be taken for.
struct SampleOptions {
    std::optional<double> value;      ///< this value in every band, whatever the file declares
    bool isIgnored = false;           ///< no sample means no data
    std::optional<SampleScale> scale; ///< brings samples of any kind to 16 bits
    /// As of a request; null for nothing known.
    std::shared_ptr<const std::map<std::string, int>> transparency = {};
};

} // namespace rasterhost
