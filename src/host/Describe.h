#pragma once

#include "host/Export.h"

#include <cstdint>

/// What a plug-in says about itself before any object crosses the border, in a plain C shape: a host reads
/// `contractVersion` first and refuses a plug-in that was built against another contract. From the rest it
/// learns the methods, with how each is parametrised, and so needs to know none by name.
extern "C" {

/// One setting of the process or of a method. All texts are UTF-8, zero-terminated, and live as long as the
/// library.
struct PansharpProperty {
    const char* name;         ///< per-band properties end in "-N", which stands for the number of the band
    const char* type;         ///< "text", "boolean", "unsigned" or "double"
    const char* defaultValue; ///< what holds when it is not set, as text
    const char* help;         ///< one line
};

/// Where a host gets the values of a per-band parameter from that people do not give.
enum class PansharpFit : std::uint32_t {
    None = 0, ///< from nowhere: the properties stay unset
    /// The share of the band in a simulated pan: the sum of the bands times their shares comes as near to pan
    /// as can be. Where that cannot be found, equal shares of 1, the additional band counted.
    Share = 1,
    Gain = 2,     ///< what the band takes of pan's detail, fitted one scale down
    RatioGain = 3 ///< the same, of pan's detail times the ratio of the band to the simulated pan
};

/// Where a host gets the value of a parameter from that people do not give.
enum class PansharpSetting : std::uint32_t {
    None = 0,       ///< from nowhere: the property stays unset
    Constant = 1,   ///< from the description
    ShareOfMean = 2 ///< from the description, times the mean of pan's low-pass over the scene
};

/// What the image of the property "AdditionalBandID" is to a method.
enum class PansharpAdditionalBand : std::uint32_t {
    Infrared = 0, ///< a band of the scene that takes part and is not written
    /// Pan's low-pass, as coarse as the multispectral bands, which the host makes: it is the simulated pan,
    /// so that its share is 1 and that of the bands 0. A host that makes none takes this for Infrared.
    LowPass = 1
};

/// From the values of a per-band parameter to its properties. Writes the number for the property of each band
/// to `numbers` and that for the property of the additional band to `additional`; not a number where the
/// property is to be left unset. `hasAdditional`, 0 or 1, tells whether the last value is that of the
/// additional band.
using PansharpToProperties = void (*)(const double* values, std::uint32_t count, std::uint32_t hasAdditional,
                                      double* numbers, double* additional);

/// And back: the values that the method arrives at from the texts of the properties, `texts` one a value and
/// `additional` that of the additional band, each null or empty where it is not set. Returns 1, or 0 when
/// memory runs out.
using PansharpFromProperties = int (*)(const char* const* texts, const char* additional, std::uint32_t count,
                                       double* values);

/// A parameter with a value for each band. Values are what counts in the formula, whatever the method makes
/// of its properties on the way there: the two functions know that way. There is one value for each
/// multispectral band, in order, unless `band` has no name; then one for the additional band, where one takes
/// part and unless `additional` has no name.
struct PansharpBandParameter {
    PansharpProperty band; ///< of multispectral band N; its name is null when only the other has a value
    PansharpProperty additional;       ///< of the additional band; its name is null when that has no value
    double minimum;                    ///< least value; minus infinity for none
    double maximum;                    ///< greatest value; infinity for none
    PansharpFit fit;                   ///< where its values come from
    PansharpToProperties toProperties; ///< from the values to the properties
    PansharpFromProperties fromProperties; ///< and back
};

/// A parameter with one value.
struct PansharpScalarParameter {
    PansharpProperty property; ///< that it is set by
    PansharpSetting setting;   ///< where its value comes from
    double value;              ///< what `setting` refers to
};

/// One way to fuse. Texts and parameters live as long as the library.
struct PansharpMethod {
    const char* keyword;        ///< value of the property "Method"
    const char* summary;        ///< one line
    const char* formula;        ///< of one output sample
    const char* advice;         ///< when to use it
    std::uint32_t minimumBands; ///< multispectral bands that it needs
    /// How many bands it fuses: the first ones. The next one is the additional band, whether it comes as such
    /// or with the multispectral ones. 0 when it fuses all.
    std::uint32_t fusedBands;
    std::uint32_t isRecommended;                 ///< 1 for the method to take when people name none, else 0
    PansharpAdditionalBand additionalBand;       ///< what that band is to the method
    std::uint32_t bandParameterCount;            ///< entries at `bandParameters`
    const PansharpBandParameter* bandParameters; ///< at most one of each fit but None
    std::uint32_t scalarParameterCount;          ///< entries at `scalarParameters`
    const PansharpScalarParameter* scalarParameters; ///< those with one value
};

/// The plug-in as a whole.
struct PansharpDescription {
    std::uint32_t structSize;           ///< sizeof(PansharpDescription) as the plug-in knows it
    std::uint32_t contractVersion;      ///< PANSHARP_CONTRACT_VERSION as the plug-in knows it
    const char* name;                   ///< of the plug-in
    const char* version;                ///< of the plug-in, such as "1.2.3"
    std::uint32_t methodCount;          ///< entries at `methods`
    const PansharpMethod* methods;      ///< the first is what an empty property "Method" stands for
    std::uint32_t propertyCount;        ///< entries at `properties`
    const PansharpProperty* properties; ///< of the process, whatever the method
};

/// Changes whenever a host and a plug-in built before and after it could not work together.
#define PANSHARP_CONTRACT_VERSION 2u

/// Never null; the description lives as long as the library.
PANSHARP_EXPORT const PansharpDescription* Pansharp_Describe(void);
}
