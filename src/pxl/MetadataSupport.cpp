#include "pxl/MetadataSupport.h"

#include "fundament/Text.h"
#include "pxl/PropertiesStatusSupport.h"

namespace PXL {

std::string NumberList(const std::vector<double>& numbers) {
    std::string text;
    for (const double number : numbers)
        text += Fundament::FormatString(text.empty() ? "%0.3lf" : ", %0.3lf", number);
    return text;
}

KOVA::Tessara::Fundament::PropertyLookUp& MetadataSupport::GetMetadata() { return metadata; }

bool MetadataSupport::EnableMetadata(bool on) {
    metadataEnabled = on;
    return on;
}

void PropertiesStatusSupport::InsertOnce(std::uint32_t id, const std::string& message) {
    if (status.GetCount() > 0 && status.GetItem(0).id == id && status.GetItem(0).message == message) return;
    status.Insert(id, message);
    status.Keep(0, mostItems);
}

} // namespace PXL
