// Metadata of products from untrusted sources, under the names of every kind. A recognised product has pan
// and bands, in the folder or on the network.
#include "Input.h"

#include "rasterhost/products/FindProduct.h"

#include <cpl_vsi.h>

using fuzz::Require;
using rasterhost::InputBand;

namespace {

constexpr const char* images[] = {
    "x_B8.TIF",           "x_B4.TIF", "P.TIF", "M.TIF", "x.TIF", "pan.tif", "ms.tif", "LC08_L1TP_16_B8.TIF",
    "LC08_L1TP_16_B4.TIF"};

constexpr const char* metadataNames[] = {"/vsimem/fuzz-product/a/x_MTL.txt",
                                         "/vsimem/fuzz-product/b/DIM_x.XML", "/vsimem/fuzz-product/c/x.IMD",
                                         "/vsimem/fuzz-product/d/x.json"};

std::string FolderOf(const std::string& name) { return name.substr(0, name.rfind('/') + 1); }

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

/// Creates empty images under all names that the kinds look for, once.
bool PrepareFolders() {
    for (const char* metadata : metadataNames)
        for (const char* image : images)
            WriteText(FolderOf(metadata) + image, nullptr, 0);
    return true;
}

} // namespace

/// The first byte selects the metadata file that the rest is, and whether the file or its folder is searched.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > std::size_t{64} << 10) return 0;
    [[maybe_unused]] static const bool isPrepared = PrepareFolders();
    const std::string metadata = metadataNames[data[0] % std::size(metadataNames)];
    const std::string folder = FolderOf(metadata);
    WriteText(metadata, data + 1, size - 1);
    rasterhost::Product product;
    KOVA::Tessara::Fundament::Status status;
    const auto result = rasterhost::FindProduct((data[0] & 4) != 0 ? folder : metadata, product, status);
    Require((result == rasterhost::ProductSearch::Failed) == (status.GetCount() > 0), "a failure says why");
    if (result != rasterhost::ProductSearch::Found) return 0;
    Require(IsTaken(product.pan, folder) && !product.bands.empty(), "a product has pan and bands");
    for (const InputBand& band : product.bands)
        Require(IsTaken(band, folder) && band.band.value_or(1) > 0, "bands lie where they may");
    return 0;
}
