#pragma once

#include "rasterhost/products/Product.h"

namespace rasterhost {

/// One delivered image of a product whose pan and bands are delivered separately. It has pan or bands, not
/// both.
struct ProductPart {
    Product product;
    std::string key; ///< the same for pan and bands of one scene
};

/// Joins each pan with the bands of the same key. If there is only one of each, they are joined whatever
/// their keys. A scene that lacks one of them, or has one several times, gets a fault.
void JoinParts(std::vector<ProductPart> parts, std::vector<Product>& found);

/// Sorts bands in single files by wavelength, for lists of files or assets without an order of their own.
/// Bands of one file keep their order, and so do all bands beside them.
void SortBySpectrum(std::vector<InputBand>& bands);

} // namespace rasterhost
