#include "pansharp/CreatePanSharpImage.h"

#include "fundament/Text.h"

namespace PXL {

template <class T>
std::unique_ptr<PanSharpImage<T>> CreatePanSharpImage(const std::string& method, Fundament::Status& status) {
    if (method.empty() || Fundament::StringsEqual(method, "KOVA", true))
        return std::make_unique<PanSharpImage<T>>();
    status.Insert(PanSharpStatus::UnknownMethod,
                  Fundament::FormatString("unrecognized method specified: '%s'", method.c_str()));
    return nullptr;
}

template std::unique_ptr<PanSharp8> CreatePanSharpImage(const std::string&, Fundament::Status&);
template std::unique_ptr<PanSharp16> CreatePanSharpImage(const std::string&, Fundament::Status&);

} // namespace PXL
