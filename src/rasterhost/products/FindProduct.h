#pragma once

#include "rasterhost/products/Product.h"

namespace rasterhost {

/// The result of looking for a product.
enum class ProductSearch {
    NoProduct, ///< a raster, or nothing known here
    Found,
    Failed ///< with an item
};

/// Recognises the product in a folder, an archive or a metadata file. Several products in one folder, or a
/// damaged one, are failures.
[[nodiscard]] ProductSearch FindProduct(const std::string& name, Product& product, Status& status);

/// Makes the images of a product those of a request, with what is known of them. `name` is the one it was
/// found by.
void TakeProduct(const std::string& name, const Product& product, PairRequest& pair, FusionRequest& fusion);

/// The published modulation transfers of a product's bands, in order; empty when any is unknown.
[[nodiscard]] std::vector<double> TransfersOf(const Product& product);

} // namespace rasterhost
