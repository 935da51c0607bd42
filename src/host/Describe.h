#pragma once

#include "host/Export.h"

#include <cstdint>

/// What a plug-in says about itself before any object crosses the border, as plain C. A host reads
/// `contractVersion` first and refuses a plug-in built against another contract. From the rest it learns the
/// methods and their parameters, so it need not know any method by name.
extern "C" {

/// One setting of the process or of a method. All texts are UTF-8, zero-terminated, and live as long as the
/// library.
struct PansharpProperty {
    const char* name;         ///< of a per-band property it ends in "-N", which stands for the number of the
                              ///< band
    const char* type;         ///< "text", "boolean", "unsigned" or "double"
    const char* defaultValue; ///< the value when it is not set, as text
    const char* help;         ///< one line
};

/// Where a host gets the values of a per-band parameter that the user does not give.
enum class PansharpFit : std::uint32_t {
    None = 0, ///< nowhere: the properties stay unset
    /// The share of the band in a simulated pan: the sum of the bands times their shares comes as near to pan
    /// as possible. If it cannot be fitted, equal shares that add up to 1, the additional band counted.
    Share = 1,
    Gain = 2,     ///< how much of pan's detail is added to the band, fitted one scale down
    RatioGain = 3 ///< the same for pan's detail times the ratio of the band to the simulated pan
};

/// Where a host gets the value of a parameter that the user does not give.
enum class PansharpSetting : std::uint32_t {
    None = 0,       ///< nowhere: the property stays unset
    Constant = 1,   ///< `value` of the parameter
    ShareOfMean = 2 ///< `value` times the mean of pan's low-pass over the scene
};

/// What the image of the property "AdditionalBandID" means to a method.
enum class PansharpAdditionalBand : std::uint32_t {
    Infrared = 0, ///< a band of the scene that takes part and is not written
    /// Pan's low-pass, as coarse as the multispectral bands, computed by the host. It is the simulated pan,
    /// so its share is 1 and the shares of the bands are 0. A host that computes none treats this as
    /// Infrared.
    LowPass = 1
};

/// Converts the values of a per-band parameter to its properties. Writes one number per band to `numbers` and
/// that of the additional band to `additional`; NaN means that the property stays unset. `hasAdditional`, 0
/// or 1, tells whether the last value is that of the additional band.
using PansharpToProperties = void (*)(const double* values, std::uint32_t count, std::uint32_t hasAdditional,
                                      double* numbers, double* additional);

/// The reverse: the values that the method derives from the texts of the properties. `texts` has one per
/// value and `additional` is that of the additional band; each is null or empty when not set. Returns 1, or 0
/// when memory runs out.
using PansharpFromProperties = int (*)(const char* const* texts, const char* additional, std::uint32_t count,
                                       double* values);

/// A parameter with a value for each band. The values are the factors of the formula; the two functions
/// convert between them and the properties. There is one value for each multispectral band, in order, unless
/// `band` has no name. Then comes one for the additional band, if one takes part and `additional` has a name.
struct PansharpBandParameter {
    PansharpProperty band; ///< of multispectral band N; its name is null when only the additional band has a
                           ///< value
    PansharpProperty additional;           ///< of the additional band; its name is null when it has no value
    double minimum;                        ///< lowest value; minus infinity for no limit
    double maximum;                        ///< highest value; infinity for no limit
    PansharpFit fit;                       ///< where its values come from
    PansharpToProperties toProperties;     ///< from the values to the properties
    PansharpFromProperties fromProperties; ///< and back
};

/// A parameter with one value.
struct PansharpScalarParameter {
    PansharpProperty property; ///< the property that sets it
    PansharpSetting setting;   ///< where its value comes from
    double value;              ///< used as `setting` says
};

/// One way to fuse. Texts and parameters live as long as the library.
struct PansharpMethod {
    const char* keyword;        ///< value of the property "Method"
    const char* summary;        ///< one line
    const char* formula;        ///< of one output sample
    const char* advice;         ///< when to use it
    std::uint32_t minimumBands; ///< multispectral bands that it needs
    /// How many bands it fuses: the first ones. The band after them is the additional band, even if it comes
    /// with the multispectral ones. 0 when it fuses all bands.
    std::uint32_t fusedBands;
    std::uint32_t isRecommended;                     ///< 1 for the method to use by default, else 0
    PansharpAdditionalBand additionalBand;           ///< what the additional band means to the method
    std::uint32_t bandParameterCount;                ///< entries at `bandParameters`
    const PansharpBandParameter* bandParameters;     ///< at most one for each fit other than None
    std::uint32_t scalarParameterCount;              ///< entries at `scalarParameters`
    const PansharpScalarParameter* scalarParameters; ///< the parameters with one value
};

/// The plug-in as a whole.
struct PansharpDescription {
    std::uint32_t structSize;           ///< sizeof(PansharpDescription) as the plug-in knows it
    std::uint32_t contractVersion;      ///< PANSHARP_CONTRACT_VERSION as the plug-in knows it
    const char* name;                   ///< of the plug-in
    const char* version;                ///< of the plug-in, such as "1.2.3"
    std::uint32_t methodCount;          ///< entries at `methods`
    const PansharpMethod* methods;      ///< an empty property "Method" means the first one
    std::uint32_t propertyCount;        ///< entries at `properties`
    const PansharpProperty* properties; ///< of the process, for every method
};

/// Raised by every change after which a host and a plug-in built before it could not work together.
#define PANSHARP_CONTRACT_VERSION 2u

/// The description of the plug-in. Never null; it lives as long as the library.
PANSHARP_EXPORT const PansharpDescription* Pansharp_Describe(void);
}
