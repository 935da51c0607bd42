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

/// Puts bands that lie in a file each into the order of the spectrum, where a list of files or assets tells
/// none. Bands of one file keep the order that they have there, and so do all others beside them.
void SortBySpectrum(std::vector<InputBand>& bands);

} // namespace rasterhost
