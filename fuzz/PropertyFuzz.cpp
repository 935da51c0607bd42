// PropertyLookUp compared with a plain list, and read from XML.
#include "Input.h"

#include "fundament/PropertyLookUp.h"
#include "fundament/Status.h"
#include "fundament/Text.h"

#include <vector>

using namespace KOVA::Tessara::Fundament;
using fuzz::Require;

namespace {

/// The first pair with a matching name, by linear search.
const PropertyLookUp::Pair* FindPair(const PropertyLookUp& lookup, const std::string& name,
                                     PropertyLookUp::Pair& found) {
    for (std::uint32_t i = 0; i < lookup.GetCount(); ++i) {
        found = lookup.GetAt(i);
        if (ToLower(found.first) == ToLower(name)) return &found;
    }
    return nullptr;
}

void Check(const PropertyLookUp& lookup, const std::string& name) {
    PropertyLookUp::Pair pair;
    const auto* found = FindPair(lookup, name, pair);
    Require(lookup.HasProperty(name) == (found != nullptr), "a name is found or not");
    const std::string value = lookup.GetString(name, "default");
    Require(value == (found && !Trim(found->second).empty() ? Trim(found->second) : "default"),
            "the first match wins");
    fuzz::Drop(lookup.GetBool(name, true), lookup.GetLong(name, -1), lookup.GetUnsignedLong(name, 1),
               lookup.GetDouble(name, 0.5, 50.0));
}

void FromText(const std::string& text) {
    if (text.find('<') == std::string::npos) return; // it could name a file
    PropertyLookUp lookup;
    lookup["before"] = "kept";
    Status status;
    const bool read = lookup.FromXml(text, status);
    Require(read == (status.GetCount() == 0), "a reason for a failure and for nothing else");
    if (!read) Require(lookup.GetCount() == 1 && lookup.GetString("before") == "kept", "a failure keeps all");
    Require(lookup.GetCount() <= 2000, "the number of names is bounded");
    if (lookup.GetCount() > 0) PropertyLookUp().FromXml(lookup.ToXml("root"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    PropertyLookUp lookup;
    PropertyLookUp other;
    for (std::uint32_t steps = input.Below(32); steps > 0; --steps) {
        const auto what = input.Below(6);
        const std::string name = input.Line();
        switch (what) {
        case 0:
        case 1:
            lookup[name] = input.Line();
            break;
        case 2:
            other[name] = lookup.GetAt(input.Below(8)).second;
            break;
        case 3:
            lookup.Remove(name);
            break;
        case 4:
            if (lookup.GetCount() < 64) lookup.Merge(input.Flag() ? lookup : other, input.Flag(), name, "");
            break;
        default:
            std::swap(lookup, other);
        }
        Check(lookup, name);
    }
    FromText(input.Rest());
    return 0;
}
