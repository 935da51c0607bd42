#pragma once

#include "rasterhost/products/Product.h"

namespace rasterhost {

/// One delivered image of a product whose pan and multispectral images are delivered apart: it has a pan or
/// bands, not both.
struct ProductPart {
    Product product;
    std::string key; ///< that pan and bands of one scene have in common
};

/// Joins each pan with the bands of the same key; where there is one of each, whatever their keys. A scene of
/// which one is missing, or there several times, gets a fault.
void JoinParts(std::vector<ProductPart> parts, std::vector<Product>& found);

} // namespace rasterhost
