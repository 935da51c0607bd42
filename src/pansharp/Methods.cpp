#include "pansharp/Methods.h"

#include "kernels/IhsRow.h"
#include "pansharp/Brovey.h"
#include "pansharp/IHS.h"
#include "pansharp/Injection.h"

#include <array>

namespace PXL {

namespace {

constexpr PansharpProperty kovaProperties[] = {
    {"BandWeight-N", "double", "1 / bands", "weight of multispectral band N in the simulated pan"},
    {"AdditionalBandWeight", "double", "",
     "replaces the weight of the last band, the infrared one when there is one"},
};

constexpr PansharpProperty injectionProperties[] = {
    kovaProperties[0],
    kovaProperties[1],
    {"InjectionGain-N", "double", "1", "share of the detail that band N takes"},
    {"InjectionRatioGain-N", "double", "0",
     "further share of the detail that band N takes, times the band's ratio to the simulated pan"},
    {"InjectionLimit", "double", "", "most of both shares together, in such ratios; blank for no limit"},
    {"InjectionFloor", "double", "0", "the least simulated pan that a band is divided by for its ratio"},
};

constexpr PansharpProperty broveyProperties[] = {
    {"BandWeight-N", "double", "1",
     "weight of multispectral band N in the simulated pan, before scaling: with four bands or more and the "
     "first three weights above 0, the first four are multiplied by 4, or by 3 when the fourth is not above "
     "0"},
    {"AdditionalBandWeight", "double", "",
     "replaces the weight of the last band, the infrared one when there is one; it is not scaled"},
};

constexpr PansharpProperty ihsProperties[] = {
    {"AdditionalBandWeight", "double", "0", "share of the fourth band, the infrared one, taken off pan"},
};

template <class Image>
std::unique_ptr<PanSharp<typename Image::InputImage>> Create() {
    return std::make_unique<Image>();
}

template <template <class> class Image, std::uint32_t propertyCount>
constexpr Method Entry(const char* keyword, std::uint32_t minimumBands, const char* summary,
                       const char* formula, const char* advice,
                       const PansharpProperty (&properties)[propertyCount]) {
    return {{keyword, summary, formula, advice, minimumBands, propertyCount, properties},
            &Create<Image<unsigned char>>,
            &Create<Image<unsigned short>>};
}

constexpr Method methods[] = {
    Entry<PanSharpImage>("KOVA", 1,
                         "adds the difference between pan and a weighted sum of the bands to every band",
                         "out[c] = ms[c] + (pan - sum of ms[b] * weight[b])",
                         "the default: keeps the differences between the bands, with any number of bands, "
                         "when pan is close to a weighted sum of them",
                         kovaProperties),
    Entry<BroveyImage>("Brovey", 1,
                       "multiplies every band by the ratio of pan to a weighted sum of the bands",
                       "out[c] = ms[c] * (pan / sum of ms[b] * weight[b]), truncated",
                       "keeps the ratios between the bands, and so hue and saturation, when the weights make "
                       "the sum as bright as pan; with weights of 1 it darkens",
                       broveyProperties),
    Entry<IHSImage>("IHS", kernels::ihsFewestBands,
                    "gives pan the hue and saturation of the first three bands",
                    "the largest of three bands becomes pan - infrared * weight, the others keep their ratio "
                    "to it",
                    "vivid pictures of three bands; it replaces the largest of them by pan and so darkens, "
                    "and its fourth output band is no usable infrared",
                    ihsProperties),
    Entry<InjectionImage>("Injection", 1,
                          "adds a share of KOVA's difference to every band, by the band and by the pixel",
                          "out[c] = ms[c] + g * (pan - I), I = sum of ms[b] * weight[b], g = gain[c] + ratio "
                          "gain[c] * ms[c] / I",
                          "the most faithful, when I is pan's low-pass and the gains are fitted to the "
                          "scene; with its defaults "
                          "it is KOVA",
                          injectionProperties),
};

constexpr auto descriptions = [] {
    std::array<PansharpMethod, std::size(methods)> all{};
    for (std::size_t i = 0; i < all.size(); ++i)
        all[i] = methods[i].description;
    return all;
}();

} // namespace

std::span<const Method> Methods() { return methods; }

std::span<const PansharpMethod> MethodDescriptions() { return descriptions; }

} // namespace PXL
