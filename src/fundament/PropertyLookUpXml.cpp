#include "fundament/PropertyLookUp.h"
#include "fundament/Status.h"
#include "fundament/XmlDocument.h"

namespace KOVA::Tessara::Fundament {

bool PropertyLookUp::FromXml(const std::string& fileOrText) {
    Status unread;
    return FromXml(fileOrText, unread);
}

bool PropertyLookUp::FromXml(const std::string& fileOrText, Status& status) {
    XmlDocument document;
    const bool loaded = document.Load(fileOrText);
    PropertyLookUp read = loaded ? document.ToPropertyLookUp("//*/*") : PropertyLookUp();
    status.Append(document.GetStatus());
    if (!loaded || document.GetStatus().GetCount() != 0) return false;
    pairs = std::move(read.pairs); // each name is there once, as after Merge
    return true;
}

} // namespace KOVA::Tessara::Fundament
