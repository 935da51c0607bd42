// Status reports: any text is read or refused, and what is written can be read back.
#include "Input.h"

#include "fundament/Status.h"
#include "fundament/Text.h"

#include <algorithm>

using namespace KOVA::Tessara::Fundament;
using fuzz::Require;

namespace {

void Read(const std::string& text) {
    if (text.find('<') == std::string::npos) return; // it could name a file
    Status status;
    Status inserted;
    const bool read = status.FromXml(text);
    Require(inserted.InsertFromXml(text) == read, "appending and inserting accept the same");
    Require(read || status.GetCount() == 0, "a failure adds nothing");
    Require(status.GetCount() == inserted.GetCount(), "appending and inserting read the same");
    if (status.GetCount() > 0)
        Require(status.GetItem(0) == inserted.GetItem(inserted.GetCount() - 1), "inserting reverses");
    fuzz::Drop(status.ToText("tag"));
}

bool SurvivesXml(const std::string& text) {
    const auto control = [](char c) { return static_cast<unsigned char>(c) < 0x20; };
    return std::none_of(text.begin(), text.end(), control) && (text.empty() || !Trim(text).empty());
}

void WriteAndRead(const Status& status, bool withTime) {
    Status again;
    Require(again.FromXml(status.ToXml(withTime)), "a report is read back");
    Require(again.GetCount() == status.GetCount(), "all items are read back");
    for (std::uint32_t i = 0; i < status.GetCount(); ++i) {
        const StatusItem& item = again.GetItem(i);
        Require(item.id == status.GetItem(i).id, "ids are read back");
        Require(item.message == status.GetItem(i).message, "messages are read back");
        Require(item.details == status.GetItem(i).details, "details are read back");
        Require(again.Contains(item), "an item is found");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    Status status;
    bool survives = true;
    for (std::uint32_t items = input.Below(6); items > 0; --items) {
        const auto id = input.Take<std::uint32_t>();
        const std::string message = input.Line();
        const std::string source = input.Line();
        const std::string details = input.Line();
        for (const std::string* text : {&message, &source, &details})
            survives = survives && SurvivesXml(*text);
        if (input.Flag())
            status.Insert(id, message, source, details);
        else
            status.Add(id, message, source, details);
    }
    fuzz::Drop(status.ToText());
    const bool withTime = input.Flag();
    if (survives && status.GetCount() > 0)
        WriteAndRead(status, withTime);
    else
        Status().FromXml(status.ToXml(withTime) + "<");
    Read(input.Rest());
    return 0;
}
