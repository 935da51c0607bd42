#pragma once

#include "rasterhost/SampleScale.h"

#include <optional>
#include <string>

class GDALDataset;
class GDALRasterBand;

namespace rasterhost {

/// One band of an open file.
struct SourceBand {
    GDALDataset* dataset = nullptr;
    GDALRasterBand* band = nullptr;
    int number = 0;   ///< in its file, counted from 1
    std::string file; ///< as the request names it
    std::string
        description; ///< the band's, else the file's stem when the file has no other band; may be empty
    std::optional<int> noData;       ///< the sample value that means no data
    std::optional<double> rawNoData; ///< likewise, in the file, when samples are scaled
    GDALRasterBand* mask = nullptr;  ///< 0 where there is no data: a mask band or transparency; may be null
};

/// What the samples of a file are to be taken for.
struct SampleOptions {
    std::optional<double> value;      ///< this value in every band, whatever the file declares
    bool isIgnored = false;           ///< no sample means no data
    std::optional<SampleScale> scale; ///< brings samples of any kind to 16 bits
};

} // namespace rasterhost
