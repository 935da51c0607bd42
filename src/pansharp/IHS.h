#pragma once

#include "pansharp/PanSharp.h"

namespace PXL {

template <class Base>
class IHS;

/// The method "IHS" (kernels/IhsRow.h). It takes the first three multispectral bands as red, green and blue
/// and band index 3, where there is one, as infrared.
template <class Info, class T, class Traits>
class IHS<ImageBase<Info, T*, Traits>> final : public PanSharp<ImageBase<Info, T*, Traits>> {
public:
    using typename PanSharp<ImageBase<Info, T*, Traits>>::InputImage;

    IHS();
    ~IHS() override;

    /// Reads "outputNBands" (default 3) and "AdditionalBandWeight", the share of the infrared band that is
    /// taken off pan (default 0, also for a text that is no number). Fewer than three multispectral bands
    /// are refused. Publishes no metadata.
    bool Init(InputImage* multispectral, InputImage* pan) override;
    bool Reset() override; ///< leaves an empty item with id 0 in the status
};

template <class T>
using IHSImage = IHS<Image<T>>;
using IHS8 = IHSImage<unsigned char>;
using IHS16 = IHSImage<unsigned short>;

} // namespace PXL
