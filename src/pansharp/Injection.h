#pragma once

#include "kernels/InjectionRow.h"
#include "pansharp/PanSharp.h"

namespace PXL {

template <class Base>
class Injection;

/// The method "Injection" (kernels/InjectionRow.h): KOVA with gains.
template <class Info, class T, class Traits>
class Injection<ImageBase<Info, T*, Traits>> final : public PanSharp<ImageBase<Info, T*, Traits>> {
public:
    using typename PanSharp<ImageBase<Info, T*, Traits>>::InputImage;

    Injection();
    ~Injection() override;

    /// Reads "outputNBands", "BandWeight-1" ... and "AdditionalBandWeight" as KOVA does; further
    /// "InjectionGain-1" ... (default 1), "InjectionRatioGain-1" ... (default 0), "InjectionLimit" (default
    /// none) and "InjectionFloor" (default 0). In these four a text that is no number counts as missing, and
    /// any number is taken as it is. Publishes KOVA's metadata and the gains.
    bool Init(InputImage* multispectral, InputImage* pan) override;
    bool Reset() override;

private:
    std::vector<double> gains;
    std::vector<double> ratioGains;
    kernels::InjectionGains injectionGains; ///< points to them
};

template <class T>
using InjectionImage = Injection<Image<T>>;
using Injection8 = InjectionImage<unsigned char>;
using Injection16 = InjectionImage<unsigned short>;

} // namespace PXL
