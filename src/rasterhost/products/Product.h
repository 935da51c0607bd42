#pragma once

#include "rasterhost/products/ProductFiles.h"
#include "rasterhost/requests/Requests.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace rasterhost {

/// A recognised product as delivered: which of its files are pan and bands, and which are left out.
struct Product {
    std::string kind;                  ///< such as "Landsat 8 Level-1"
    std::string name;                  ///< the product's own name
    std::vector<std::string> metadata; ///< paths of the files that describe it, relative to the folder
    std::string sensor;                ///< name that PublishedTransfer (SensorTransfers.h) may know
    std::string acquired; ///< date, and time if known, as in 2017-08-13T15:48:30Z; empty when unknown
    InputBand pan;
    std::vector<InputBand> bands; ///< each with its name
    /// Files that are not used, each with the reason.
    std::vector<std::pair<std::string, std::string>> leftOut;
    std::string fault; ///< why it cannot be fused; empty if it can

    // Applies to those of its files that do not say it themselves.
    std::optional<double> noData;
    std::optional<int> bitDepth;
    bool sameFirstCentre = false; ///< as in a request
};

/// A kind of product. `find` adds the products of its kind among the files; damaged ones get a fault.
struct ProductKind {
    const char* name;
    void (*find)(const ProductFiles& files, std::vector<Product>& found);
};

} // namespace rasterhost
