#include "cli/ProductInput.h"

#include "cli/ExitCode.h"
#include "cli/TextLayout.h"
#include "fundament/Text.h"
#include "rasterhost/products/SensorTransfers.h"

#include <algorithm>
#include <utility>

namespace cli {

using KOVA::Tessara::Fundament::FormatString;
using rasterhost::InputBand;
using rasterhost::Product;

namespace {

/// "B4.TIF (0.655 µm)"; for a file with several bands also which band.
std::string FormatBand(const InputBand& band, bool saysName) {
    std::string text = saysName && !band.name.empty() ? band.name + " " : "";
    if (band.wavelength) text += FormatString("%.4g µm ", *band.wavelength);
    text += rasterhost::LastPart(band.file);
    if (band.band && *band.band > 1) text += FormatString(" band %d", *band.band);
    return text;
}

/// What is known of samples and sensor; options override it.
std::string FormatDefaults(const Arguments& request) {
    constexpr std::size_t column = 10;
    const Product& product = *request.foundProduct;
    std::string text, transfers, meanings;
    if (product.noData && request.noData == product.noData)
        text += Wrap("no data", column,
                     FormatString("%g, from the product (--nodata, --no-nodata)", *product.noData));
    if (product.bitDepth && request.bitDepth == product.bitDepth)
        text += Wrap("samples", column,
                     FormatString("%d bits, from the product (--bit-depth)", *product.bitDepth));
    const bool isSame = std::ranges::all_of(
        product.bands, [&](const InputBand& band) { return band.meaning == product.bands.front().meaning; });
    for (const InputBand& band : product.bands)
        if (band.meaning && (meanings.empty() || !isSame))
            meanings += (meanings.empty() ? "" : ", ") + (isSame ? "" : band.name + " ") +
                        FormatString("%.6g x sample %+.6g", band.meaning->scale, band.meaning->offset);
    if (!meanings.empty()) text += Wrap("values", column, meanings + "; the output carries this");
    const std::vector<double> published = rasterhost::TransfersOf(product);
    for (std::size_t band = 0; band < published.size(); ++band)
        transfers += FormatString("%s%s %.4g", band == 0 ? "" : ", ", product.bands[band].name.c_str(),
                                  published[band]);
    if (!transfers.empty())
        text += Wrap("blur", column, "published modulation transfer: " + transfers + " (--mtf)");
    return text;
}

} // namespace

bool TakesProduct(const std::string& name, Arguments& to) {
    KOVA::Tessara::Fundament::Status status;
    Product product;
    switch (rasterhost::FindProduct(name, product, status)) {
    case rasterhost::ProductSearch::NoProduct:
        return false;
    case rasterhost::ProductSearch::Failed:
        throw UsageError(status.GetItem(0).message);
    case rasterhost::ProductSearch::Found:
        break;
    }
    rasterhost::TakeProduct(name, product, to, to);
    if (auto transfers = rasterhost::TransfersOf(product); !transfers.empty()) {
        if (to.line.Has(option::infrared)) // its number comes last
            transfers.push_back(rasterhost::PublishedTransfer(product.sensor, "nir")
                                    .value_or(rasterhost::SensorBlur().multispectral.front()));
        to.blur.multispectral = std::move(transfers);
        to.blur.pan = rasterhost::PublishedTransfer(product.sensor, "pan").value_or(to.blur.pan);
    }
    to.foundProduct = std::move(product);
    return true;
}

std::string FormatProduct(const Arguments& request) {
    constexpr std::size_t column = 10, most = 12;
    const Product& product = *request.foundProduct;
    std::string head = product.kind + (product.name.empty() ? "" : ", " + product.name);
    if (!product.acquired.empty()) head += ", " + product.acquired;
    std::string text = Wrap("product", column, head) + Wrap("pan", column, FormatBand(product.pan, false));
    int number = 0;
    for (const InputBand& band : product.bands) {
        text += Wrap(number == 0 ? "bands" : "", column,
                     band.name.empty() ? FormatBand(band, true)
                                       : FormatString("%d ", number + 1) + FormatBand(band, true));
        ++number;
    }
    for (std::size_t i = 0; i < product.leftOut.size(); ++i) {
        if (i == most) {
            text += Wrap("", column, FormatString("and %zu more", product.leftOut.size() - most));
            break;
        }
        text += Wrap(i == 0 ? "left out" : "", column,
                     product.leftOut[i].first + ": " + product.leftOut[i].second);
    }
    return text + FormatDefaults(request);
}

} // namespace cli
