#pragma once

#include "rasterhost/products/Product.h"

namespace rasterhost {

// One function per kind, each in a file of its own (docs/products.md tells how to add one). Their table is in
// FindProduct.cpp.
void FindLandsat(const ProductFiles& files, std::vector<Product>& found);
void FindDimap(const ProductFiles& files, std::vector<Product>& found);
void FindWorldView(const ProductFiles& files, std::vector<Product>& found);
void FindStac(const ProductFiles& files, std::vector<Product>& found);
void FindNumbered(const ProductFiles& files, std::vector<Product>& found);
void FindPlain(const ProductFiles& files, std::vector<Product>& found);

} // namespace rasterhost
