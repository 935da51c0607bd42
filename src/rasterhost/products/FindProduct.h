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

/// Makes the images of a product those of a request, with what is known of them.
void TakeProduct(const Product& product, PairRequest& request);

} // namespace rasterhost
