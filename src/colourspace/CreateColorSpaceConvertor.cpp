#include "colourspace/CreateColorSpaceConvertor.h"

#include "colourspace/CS_hsi2rgb.h"
#include "colourspace/CS_rgb2hsi.h"
#include "colourspace/CS_rgb2yuv.h"
#include "colourspace/CS_yuv2rgb.h"
#include "pxl/KeywordTable.h"

namespace PXL {

namespace {

/// A converter is a class and one line here.
template <class T>
constexpr KeywordEntry<ColorSpaceConvertor<T>> convertors[] = {
    {"hsi2rgb", &CreateNew<ColorSpaceConvertor<T>, CS_hsi2rgb<T>>},
    {"rgb2hsi", &CreateNew<ColorSpaceConvertor<T>, CS_rgb2hsi<T>>},
    {"yuv2rgb", &CreateNew<ColorSpaceConvertor<T>, CS_yuv2rgb<T>>},
    {"rgb2yuv", &CreateNew<ColorSpaceConvertor<T>, CS_rgb2yuv<T>>},
};

} // namespace

template <class T>
std::unique_ptr<ColorSpaceConvertor<T>> CreateColorSpaceConvertor(const std::string& keyword,
                                                                  Fundament::Status& status) {
    status.Insert(0, {}, "ColorSpaceConvertor/create");
    auto convertor = CreateByKeyword(convertors<T>, keyword);
    if (!convertor)
        status.Insert(ColorSpaceStatus::UnknownMethod,
                      Fundament::FormatString("Unrecognized method specified: '%s'", keyword.c_str()));
    return convertor;
}

template std::unique_ptr<ColorSpaceConvertor8> CreateColorSpaceConvertor(const std::string&,
                                                                         Fundament::Status&);
template std::unique_ptr<ColorSpaceConvertor16> CreateColorSpaceConvertor(const std::string&,
                                                                          Fundament::Status&);

} // namespace PXL
