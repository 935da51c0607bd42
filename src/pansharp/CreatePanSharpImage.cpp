#include "pansharp/CreatePanSharpImage.h"

#include "fundament/Text.h"
#include "pansharp/Methods.h"

namespace PXL {

template <class T>
std::unique_ptr<PanSharpImage<T>> CreatePanSharpImage(const std::string& keyword, Fundament::Status& status) {
    for (const Method& method : Methods())
        if (keyword.empty() || Fundament::StringsEqual(keyword, method.description.keyword, true))
            return method.Create<T>();
    status.Insert(PanSharpStatus::UnknownMethod,
                  Fundament::FormatString("unrecognized method specified: '%s'", keyword.c_str()));
    return nullptr;
}

template std::unique_ptr<PanSharp8> CreatePanSharpImage(const std::string&, Fundament::Status&);
template std::unique_ptr<PanSharp16> CreatePanSharpImage(const std::string&, Fundament::Status&);

} // namespace PXL
