#pragma once

#include "rasterhost/products/ProductFiles.h"
#include "rasterhost/requests/Requests.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace rasterhost {

/// A product as people get it, recognised: which of its files are pan and bands, and what is left out.
struct Product {
    std::string kind;                  ///< such as "Landsat 8 Level-1"
    std::string name;                  ///< its own
    std::vector<std::string> metadata; ///< the files that describe it, relative to the folder
    std::string sensor;                ///< that PublishedTransfer (SensorTransfers.h) may know
    std::string acquired; ///< date, and time where it is known, as in 2017-08-13T15:48:30Z; empty for unknown
    InputBand pan;
    std::vector<InputBand> bands; ///< each with its name
    /// What there is and is not taken, and why.
    std::vector<std::pair<std::string, std::string>> leftOut;
    std::string fault; ///< why it cannot be fused; empty for none

    // What holds for all its files where they say nothing themselves.
    std::optional<double> noData;
    std::optional<int> bitDepth;
    bool sameFirstCentre = false; ///< as in a request
};

/// A kind of products. Those of its kind that are among the files are added, damaged ones with a fault.
struct ProductKind {
    const char* name;
    void (*find)(const ProductFiles& files, std::vector<Product>& found);
};

} // namespace rasterhost
