#include "pansharp/Methods.h"

#include "pansharp/Brovey.h"
#include "pansharp/IHS.h"
#include "pansharp/Injection.h"

#include <array>

namespace PXL {

namespace {

template <class Image>
std::unique_ptr<PanSharp<typename Image::InputImage>> Create() {
    return std::make_unique<Image>();
}

template <template <class> class Image>
constexpr Method Entry(const PansharpMethod& description) {
    return {description, &Create<Image<unsigned char>>, &Create<Image<unsigned short>>,
            &Image<unsigned char>::RowFor, &Image<unsigned short>::RowFor};
}

constexpr Method methods[] = {
    Entry<PanSharpImage>(kovaMethod),
    Entry<BroveyImage>(broveyMethod),
    Entry<IHSImage>(ihsMethod),
    Entry<InjectionImage>(injectionMethod),
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
