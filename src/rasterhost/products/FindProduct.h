#pragma once

#include "rasterhost/products/Product.h"

namespace rasterhost {

/// What a name turned out to be.
enum class ProductSearch {
    NoProduct, ///< a raster or nothing that is known here
    Found,
    Failed ///< with an item
};

/// Recognises the product that a folder, an archive, or a metadata file is. Several products in one folder,
/// or a damaged one, are failures.
[[nodiscard]] ProductSearch FindProduct(const std::string& name, Product& product, Status& status);

/// Makes the images of a product those of a request, with what is known of them. The name is that
/// which found it.
void TakeProduct(const std::string& name, const Product& product, PairRequest& pair, FusionRequest& fusion);

/// The published modulation transfers of a product's bands, in their order; none where one is not known.
[[nodiscard]] std::vector<double> TransfersOf(const Product& product);

} // namespace rasterhost
