// The blending operators with arbitrary property texts, including "FillColor", over rows of exactly their
// size.
#include "Input.h"

#include "operators/CreateBlendPixels.h"

#include <memory>
#include <vector>

using namespace KOVA::Tessara;
using fuzz::Require;

namespace {

constexpr const char* names[] = {"FillColor",      "FillValue",       "FillColor",         "OutputGain-1",
                                 "OutputOffset-1", "PrimaryGain-1",   "AuxiliaryGain-1",   "PrimaryOffset-2",
                                 "OutputGain-2",   "AuxiliaryGain-2", "AuxiliaryOffset-1", "ColorSpace"};

template <class T>
std::unique_ptr<T[]> Row(fuzz::Input& input, std::size_t samples) {
    auto row = std::make_unique<T[]>(samples);
    for (std::size_t i = 0; i < samples; ++i)
        row[i] = input.Take<T>();
    return row;
}

template <class T>
void Blend(fuzz::Input& input, const std::string& keyword) {
    Fundament::Status reasons;
    const auto blend = PXL::CreateBlendPixels<T>(keyword, reasons);
    PXL::ImageInfo info1;
    info1.cols = input.Below(9);
    info1.rows = 1;
    info1.bands = input.Below(6);
    info1.bitsPerSample = 8 * sizeof(T);
    PXL::ImageInfo info2 = info1;
    if (input.Flag()) info2.bands = input.Below(3);
    info1.properties["ColorSpace"] = "RGB";
    for (std::uint32_t count = input.Below(8); count > 0; --count) {
        const std::string name = input.Pick(names);
        blend->properties[name] = input.Line();
    }
    const bool ready = blend->Init(info1, info2, input.Flag());
    Require(ready || blend->status.GetCount() > 0, "a failure has a reason");
    const auto first = input.Below(10);
    blend->SetWindow(first, input.Below(10));
    const std::uint32_t width = blend->endColumn - blend->firstColumn;
    Require(width <= info1.cols, "a window lies in the row");
    const auto row1 = Row<T>(input, std::size_t{width} * info1.bands);
    const auto row2 = Row<T>(input, std::size_t{width} * info2.bands);
    const T* out = blend->ProcessRow(row1.get(), row2.get(), 0);
    Require(ready || !out, "no rows without an Init");
    if (out) fuzz::ReadAll(out, std::size_t{width} * blend->GetOutputInfo().bands * sizeof(T));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::vector<std::string> keywords = PXL::BlendKeywords();
    fuzz::Input input(data, size);
    const bool sixteen = input.Flag();
    const auto which = input.Below(static_cast<std::uint32_t>(keywords.size()) + 4);
    const std::string keyword = which < keywords.size() ? keywords[which] : "Mask";
    if (sixteen)
        Blend<unsigned short>(input, keyword);
    else
        Blend<unsigned char>(input, keyword);
    return 0;
}
