// Metadata of products that anybody may have written, under the names of every kind. What is recognised has
// pan and bands, in the folder or on the network.
#include "Input.h"

#include "rasterhost/products/FindProduct.h"

#include <cpl_vsi.h>

using fuzz::Require;
using rasterhost::InputBand;

namespace {

constexpr const char* images[] = {
    "x_B8.TIF",           "x_B4.TIF", "P.TIF", "M.TIF", "x.TIF", "pan.tif", "ms.tif", "LC08_L1TP_16_B8.TIF",
    "LC08_L1TP_16_B4.TIF"};

void WriteText(const std::string& name, const std::uint8_t* data, std::size_t size) {
    VSILFILE* file = VSIFOpenL(name.c_str(), "wb");
    Require(file && VSIFWriteL(data, 1, size, file) == size, "memory takes a file");
    VSIFCloseL(file);
}

bool IsTaken(const InputBand& band, const std::string& folder) {
    return band.file.starts_with(folder) || band.file.starts_with("/vsicurl/http") ||
           band.file.starts_with("/vsis3/") || band.file.starts_with("/vsigs/") ||
           (band.file.starts_with('/') && !band.file.starts_with("/vsi"));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > std::size_t{64} << 10) return 0;
    for (const char* name : {"a/x_MTL.txt", "b/DIM_x.XML", "c/x.IMD", "d/x.json"}) {
        const std::string metadata = std::string("/vsimem/fuzz-product/") + name;
        const std::string folder = metadata.substr(0, metadata.rfind('/') + 1);
        for (const char* image : images)
            WriteText(folder + image, nullptr, 0);
        WriteText(metadata, data, size);
        for (const std::string& asked : {metadata, folder}) {
            rasterhost::Product product;
            KOVA::Tessara::Fundament::Status status;
            const auto result = rasterhost::FindProduct(asked, product, status);
            Require((result == rasterhost::ProductSearch::Failed) == (status.GetCount() > 0),
                    "a failure says why");
            if (result != rasterhost::ProductSearch::Found) continue;
            Require(IsTaken(product.pan, folder) && !product.bands.empty(), "a product has pan and bands");
            for (const InputBand& band : product.bands)
                Require(IsTaken(band, folder) && band.band.value_or(1) > 0, "bands lie where they may");
        }
    }
    return 0;
}
