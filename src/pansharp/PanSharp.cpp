#include "pansharp/PanSharp.h"

#include "fundament/Text.h"
#include "host/PropertyNames.h"
#include "kernels/KovaRow.h"
#include "pxl/WorkingMemory.h"

#include <algorithm>
#include <new>
#include <tuple>

namespace PXL {

using Fundament::FormatString;
namespace PropertyNames = KOVA::Tessara::PropertyNames;

void ReadKovaWeights(const ParameterTexts& texts, std::span<double> weights) {
    ReadBandValues(texts, 1.0 / static_cast<double>(weights.size()), 0.0, weights);
    ReadAdditionalValue(texts, weights);
}

template <class Info, class T, class Traits>
PanSharp<ImageBase<Info, T*, Traits>>::PanSharp() {
    this->properties["BandWeight"];
    this->properties[PropertyNames::outputBands];
    PanSharp::Reset();
}

template <class Info, class T, class Traits>
PanSharp<ImageBase<Info, T*, Traits>>::~PanSharp() = default;

template <class Info, class T, class Traits>
bool PanSharp<ImageBase<Info, T*, Traits>>::Reset() {
    this->status.Reset(0, {}, "Pansharp", {});
    outputRow = {};
    bandWeights = {};
    msBandCount = 0;
    windowColumns = 0;
    nextRow = 0;
    return true;
}

template <class Info, class T, class Traits>
bool PanSharp<ImageBase<Info, T*, Traits>>::PrepareInit(InputImage* multispectral, InputImage* pan,
                                                        std::uint32_t fewestBands) {
    if (!multispectral || !pan) {
        outputRow = {};
        windowColumns = 0;
        this->status.Insert(PanSharpStatus::InputsMissing, "input images not specified");
        return false;
    }
    this->Reset();
    msImage = multispectral;
    panImage = pan;
    msInfo = msImage->GetInfo();
    panInfo = panImage->GetInfo();
    if (msInfo.bitsPerSample != panInfo.bitsPerSample) {
        this->status.Insert(PanSharpStatus::DepthsDiffer,
                            FormatString("input image formats do not match; images have different bit-depths "
                                         "(multispectral : %u bits; pan : %u bits)",
                                         msInfo.bitsPerSample, panInfo.bitsPerSample));
        return false;
    }
    if (panInfo.bands >= 2) {
        this->status.Insert(
            PanSharpStatus::PanNotGray,
            FormatString("pan image has too many channels (%u);  it must be a grayscale image",
                         panInfo.bands));
        return false;
    }
    if (panInfo.bands == 0) {
        this->status.Insert(PanSharpStatus::PanWithoutBand,
                            "pan image has no channel;  it must be a grayscale image");
        return false;
    }
    return CheckBands(fewestBands);
}

template <class Info, class T, class Traits>
bool PanSharp<ImageBase<Info, T*, Traits>>::CheckBands(std::uint32_t fewestBands) {
    msBandCount = msInfo.bands;
    outputInfo = panInfo;
    outputBandCount = this->properties.GetUnsignedLong(PropertyNames::outputBands, 3);
    outputInfo.bands = outputBandCount;
    if (outputBandCount == 0) {
        this->status.Insert(PanSharpStatus::NoOutputBands,
                            FormatString("invalid output channels specified '%u'", outputBandCount));
        return false;
    }
    const std::uint32_t needed = std::max(outputBandCount, fewestBands);
    if (msBandCount < needed) {
        this->status.Insert(
            PanSharpStatus::TooFewBands,
            FormatString("too few input channels: %u; require at least %u channels", msBandCount, needed));
        return false;
    }
    if (msBandCount > mostBands || !RowFits(panInfo.cols, outputBandCount, sizeof(T))) {
        this->status.Insert(
            PanSharpStatus::RowTooLong,
            FormatString("a row of %u columns and %u bands, of %u input channels, is too long: at most "
                         "%u channels and %u MiB",
                         panInfo.cols, outputBandCount, msBandCount, mostBands,
                         static_cast<unsigned>(mostRowBytes >> 20)));
        return false;
    }
    return true;
}

template <class Info, class T, class Traits>
std::vector<double> PanSharp<ImageBase<Info, T*, Traits>>::ReadValues(const PansharpBandParameter& parameter,
                                                                      std::uint32_t count) {
    std::vector<std::string> texts(count);
    std::vector<const char*> addresses;
    for (std::uint32_t b = 0; b < count; ++b) {
        if (parameter.band.name) texts[b] = this->properties[PropertyNames::OfBand(parameter.band, b)];
        addresses.push_back(texts[b].c_str());
    }
    const std::string additional =
        parameter.additional.name ? this->properties[parameter.additional.name] : std::string();
    std::vector<double> values(count);
    if (parameter.fromProperties(addresses.data(), additional.c_str(), count, values.data()) == 0)
        throw std::bad_alloc();
    return values;
}

template <class Info, class T, class Traits>
void PanSharp<ImageBase<Info, T*, Traits>>::FinishInit(kernels::FuseRow<T> kernel,
                                                       const kernels::InjectionGains* gains) {
    outputInfo.properties["ColorSpace"] = outputBandCount == 1   ? "Gray"
                                          : outputBandCount == 3 ? "RGB"
                                                                 : "Unknown";
    outputRow.assign(std::size_t{outputBandCount} * panInfo.cols, 0);
    fuseRow = kernel;
    injection = gains;
}

template <class Info, class T, class Traits>
void PanSharp<ImageBase<Info, T*, Traits>>::PublishBands() {
    if (!this->metadataEnabled) return;
    this->metadata["outputNumChannels"] = FormatString("%u", outputBandCount);
    this->metadata["multispectralImageNumChannels"] = FormatString("%u", msBandCount);
    this->metadata["panImageNumChannels"] = "1";
    this->metadata["channelWeights"] = NumberList(bandWeights);
}

template <class Info, class T, class Traits>
bool PanSharp<ImageBase<Info, T*, Traits>>::Init(InputImage* multispectral, InputImage* pan) {
    this->status.Reset(0, {}, "Pixmere.PXL.Pansharp.Init", {});
    if (!PrepareInit(multispectral, pan)) return false;
    bandWeights = ReadValues(kovaWeights[0], msBandCount);
    FinishInit(RowFor(this->simd.Get()));
    PublishBands();
    return true;
}

template <class Info, class T, class Traits>
kernels::FuseRow<T> PanSharp<ImageBase<Info, T*, Traits>>::RowFor(kernels::SimdTarget target) {
    return kernels::KovaRowFor<T>(target);
}

template <class Info, class T, class Traits>
bool PanSharp<ImageBase<Info, T*, Traits>>::SetWindow(std::uint32_t col0, std::uint32_t row0,
                                                      std::uint32_t col1, std::uint32_t row1) {
    this->status.Reset(0, {}, "Pixmere.PXL.Pansharp.SetWindow", {});
    windowColumns = 0;
    this->firstColumn = 0;
    this->firstRow = 0;
    this->endColumn = col1 - col0;
    this->endRow = row1 - row0;
    windowFirstRow = row0;
    if (!panImage || !panImage->SetWindow(col0, row0, col1, row1)) {
        this->status.Insert(PanSharpStatus::PanWindowFailed, "Pan Image SetWindow Failed");
        if (panImage) this->status.Append(panImage->status);
        return false;
    }
    const bool withinPan =
        !outputRow.empty() && col0 < col1 && row0 < row1 && col1 <= panInfo.cols && row1 <= panInfo.rows;
    if (!withinPan || msInfo.cols < this->endColumn || msInfo.rows < this->endRow) {
        this->status.Insert(
            PanSharpStatus::WindowDoesNotFit,
            FormatString("the window (columns %u to %u, rows %u to %u) does not fit the pan image "
                         "(%u x %u) and the multispectral image (%u x %u)",
                         col0, col1, row0, row1, panInfo.cols, panInfo.rows, msInfo.cols, msInfo.rows));
        return false;
    }
    windowColumns = this->endColumn;
    if (this->metadataEnabled) {
        this->metadata["PanNCols"] = FormatString("%u", this->endColumn);
        this->metadata["PanNRows"] = FormatString("%u", this->endRow);
        this->metadata["MSNCols"] = FormatString("%u", msInfo.cols);
        this->metadata["MSNRows"] = FormatString("%u", msInfo.rows);
    }
    return true;
}

template <class Info, class T, class Traits>
bool PanSharp<ImageBase<Info, T*, Traits>>::FetchRows(std::uint32_t row, kernels::FusionRows<T>& rows) {
    nextRow = row;
    if (row >= panInfo.rows) {
        this->InsertOnce(PanSharpStatus::BeyondEnd, "requesting beyond end of image");
        return false;
    }
    if (windowColumns == 0) {
        this->InsertOnce(PanSharpStatus::NoWindow, "no window is set: call SetWindow before asking for rows");
        return false;
    }
    if (row < windowFirstRow || row - windowFirstRow >= msInfo.rows) {
        this->InsertOnce(
            PanSharpStatus::RowNotCovered,
            FormatString("row %u is outside the rows that the multispectral image covers (%u from "
                         "row %u)",
                         row, msInfo.rows, windowFirstRow));
        return false;
    }
    const std::uint32_t msRow = row - windowFirstRow;
    rows.pan = panImage->GetRow(row);
    if (rows.pan && apartRows)
        std::tie(rows.ms, rows.additional) = apartRows(msRow);
    else if (rows.pan)
        rows.ms = msImage->GetRow(msRow);
    if (!rows.ms || (apartRows && !rows.additional)) {
        this->InsertOnce(PanSharpStatus::NoInputRow, FormatString("the %s image delivers no row %u",
                                                                  rows.pan ? "multispectral" : "pan", row));
        return false;
    }
    nextRow = row + 1;
    return true;
}

template <class Info, class T, class Traits>
T* PanSharp<ImageBase<Info, T*, Traits>>::GetRow(std::uint32_t row) {
    kernels::FusionRows<T> rows;
    if (!FetchRows(row, rows)) return nullptr;
    fuseRow(rows, outputRow.data(), windowColumns,
            {bandWeights.data(), msBandCount, outputBandCount, injection});
    return outputRow.data();
}

template class PanSharp<Image<unsigned char>>;
template class PanSharp<Image<unsigned short>>;

} // namespace PXL
