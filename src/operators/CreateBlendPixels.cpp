#include "operators/CreateBlendPixels.h"

#include "operators/Divide.h"
#include "operators/IntensityBlend.h"
#include "operators/Mask.h"
#include "operators/MaxAbsoluteDifference.h"
#include "operators/MergeBands.h"
#include "operators/Multiply.h"
#include "operators/ScaledDifference.h"
#include "operators/Sum.h"
#include "operators/WeightedDifference.h"
#include "pxl/KeywordTable.h"

namespace PXL {

namespace {

/// An operator is a class and one line here.
template <class T>
constexpr KeywordEntry<BlendPixels<T>> operators[] = {
    {"maxAbsoluteDifference", &CreateNew<BlendPixels<T>, MaxAbsoluteDifference<T>>},
    {"Subtract", &CreateNew<BlendPixels<T>, WeightedDifference<T>>},
    {"Add", &CreateNew<BlendPixels<T>, Sum<T>>},
    {"Multiply", &CreateNew<BlendPixels<T>, Multiply<T>>},
    {"Divide", &CreateNew<BlendPixels<T>, Divide<T>>},
    {"Mask", &CreateNew<BlendPixels<T>, Mask<T>>},
    {"scaledDifference", &CreateNew<BlendPixels<T>, ScaledDifference<T>>},
    {"weightedDifference", &CreateNew<BlendPixels<T>, WeightedDifference<T>>},
    {"intensityBlend", &CreateNew<BlendPixels<T>, IntensityBlend<T>>},
    {"mergeBands", &CreateNew<BlendPixels<T>, MergeBands<T>>},
};

} // namespace

template <class T>
std::unique_ptr<BlendPixels<T>> CreateBlendPixels(const std::string& keyword, Fundament::Status& status) {
    status.Insert(0, {}, "BlendPixels/create");
    if (keyword.empty()) {
        status.Insert(BlendStatus::NoMethod, "method not specified.");
        return nullptr;
    }
    auto blend = CreateByKeyword(operators<T>, keyword);
    if (blend)
        blend->GetMetadata()["method"] = keyword;
    else
        status.Insert(BlendStatus::UnknownMethod,
                      Fundament::FormatString("unrecognized method specified: '%s'", keyword.c_str()));
    return blend;
}

std::vector<std::string> BlendKeywords() {
    std::vector<std::string> keywords;
    for (const auto& entry : operators<unsigned char>)
        keywords.emplace_back(entry.keyword);
    return keywords;
}

template std::unique_ptr<BlendPixels8> CreateBlendPixels(const std::string&, Fundament::Status&);
template std::unique_ptr<BlendPixels16> CreateBlendPixels(const std::string&, Fundament::Status&);

} // namespace PXL
