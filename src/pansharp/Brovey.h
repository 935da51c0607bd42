#pragma once

#include "pansharp/PanSharp.h"

namespace PXL {

template <class Base>
class Brovey;

/// The method "Brovey" (kernels/BroveyRow.h).
template <class Info, class T, class Traits>
class Brovey<ImageBase<Info, T*, Traits>> final : public PanSharp<ImageBase<Info, T*, Traits>> {
public:
    using typename PanSharp<ImageBase<Info, T*, Traits>>::InputImage;

    Brovey();
    ~Brovey() override;

    /// Reads "outputNBands" (default 3) and "BandWeight-1" ... (default 1, also for a text that is no
    /// number). With four bands or more, when the first three weights are positive, the first four are
    /// multiplied by 4, or by 3 when the fourth is not positive. "AdditionalBandWeight" then replaces the
    /// weight of the last band, unscaled. Publishes no metadata.
    bool Init(InputImage* multispectral, InputImage* pan) override;
    bool Reset() override; ///< leaves an empty item with id 0 in the status

private:
    void ScaleBandWeights();
};

template <class T>
using BroveyImage = Brovey<Image<T>>;
using Brovey8 = BroveyImage<unsigned char>;
using Brovey16 = BroveyImage<unsigned short>;

} // namespace PXL
