#include "rasterhost/products/Metadata.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/requests/RecordPart.h"

#include <cpl_conv.h>
#include <cpl_minixml.h>

#include <cmath>
#include <memory>
#include <utility>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::NumberText;
using KOVA::Tessara::Fundament::StringsEqual;
using KOVA::Tessara::Fundament::Trim;

namespace {

constexpr int mostMetadataLevels = 32;
constexpr std::size_t mostMetadataParts = 500000;

/// Counts the parts taken from a parser, and stops when there are too many.
class PartCount {
public:
    [[nodiscard]] bool TakeOne(int level) {
        isTooMuch = isTooMuch || ++count > mostMetadataParts || level > mostMetadataLevels;
        return !isTooMuch;
    }
    [[nodiscard]] bool IsTooMuch() const { return isTooMuch; }

private:
    std::size_t count = 0;
    bool isTooMuch = false;
};

const char* const tooMuchMetadata = "it is nested too deeply or has too many parts";

std::string WithoutPrefix(const char* name) {
    const std::string_view whole(name);
    const std::size_t colon = whole.find(':');
    return std::string(colon == std::string_view::npos ? whole : whole.substr(colon + 1));
}

void TakeXml(const CPLXMLNode* first, int level, Metadata& to, PartCount& count) {
    for (const CPLXMLNode* node = first; node; node = node->psNext) {
        if (node->eType == CXT_Text) to.text += node->pszValue;
        if (node->eType != CXT_Element && node->eType != CXT_Attribute) continue;
        if (!count.TakeOne(level)) return;
        const bool isAttribute = node->eType == CXT_Attribute;
        Metadata& part = to.parts.emplace_back();
        part.name = (isAttribute ? "@" : "") + WithoutPrefix(node->pszValue);
        TakeXml(node->psChild, level + 1, part, count);
    }
}

std::optional<Metadata> ParseXml(const std::string& text, std::string& fault) {
    const GdalErrors errors;
    const std::unique_ptr<CPLXMLNode, decltype(&CPLDestroyXMLNode)> tree(CPLParseXMLString(text.c_str()),
                                                                         &CPLDestroyXMLNode);
    Metadata all;
    PartCount count;
    if (tree) TakeXml(tree.get(), 0, all, count);
    fault = !tree ? "it is not complete XML" + errors.Reason() : count.IsTooMuch() ? tooMuchMetadata : "";
    return fault.empty() ? std::optional(std::move(all)) : std::nullopt;
}

/// Builds the tree while a parser reads a text, so that many keys take no longer than many values.
class JsonTree {
public:
    explicit JsonTree(Metadata& treeRoot) : root(treeRoot) {}
    /// Why the parser ended early.
    [[nodiscard]] std::string GetFault() const { return count.IsTooMuch() ? tooMuchMetadata : fault; }

    // Called by the parser; false stops it. A part grows only while it is the last one here.
    bool null() { return Take({}); }
    bool boolean(bool value) { return Take(value ? "true" : "false"); }
    bool number_integer(std::int64_t value) { return TakeNumber(static_cast<double>(value)); }
    bool number_unsigned(std::uint64_t value) { return TakeNumber(static_cast<double>(value)); }
    bool number_float(double value, const std::string&) { return TakeNumber(value); }
    bool string(std::string& value) { return Take(std::move(value)); }
    bool binary(Json::binary_t&) { return false; }
    bool start_object(std::size_t) { return Open(); }
    bool start_array(std::size_t) { return Open(); }
    bool end_object() { return Close(); }
    bool end_array() { return Close(); }
    bool key(std::string& name) {
        nextName = std::move(name);
        return true;
    }
    bool parse_error(std::size_t byte, const std::string&, const Json::exception& error) {
        const bool isNumber = dynamic_cast<const Json::out_of_range*>(&error) != nullptr;
        const char* what = isNumber ? "it has a number that is too large" : "it is not JSON, or is cut short";
        fault = FormatString("%s, at byte %zu", what, byte);
        return false;
    }

private:
    Metadata* Add() {
        if (open.empty()) return &root;
        if (!count.TakeOne(static_cast<int>(open.size()))) return nullptr;
        Metadata& part = open.back()->parts.emplace_back();
        part.name = std::exchange(nextName, {});
        return &part;
    }
    bool Take(std::string text) {
        Metadata* part = Add();
        if (part) part->text = std::move(text);
        return part != nullptr;
    }
    /// Numbers in lists are skipped: nobody needs them, and an outline may have very many.
    bool TakeNumber(double value) { return nextName.empty() || Take(NumberText(value)); }
    bool Open() {
        open.push_back(Add());
        return open.back() != nullptr;
    }
    bool Close() {
        open.pop_back();
        return true;
    }

    Metadata& root;
    std::vector<Metadata*> open;
    std::string nextName, fault;
    PartCount count;
};

std::optional<Metadata> ParseJson(const std::string& text, std::string& fault) {
    Metadata all;
    JsonTree tree(all);
    if (Json::sax_parse(text, &tree)) return all;
    fault = tree.GetFault();
    return std::nullopt;
}

/// "GROUP = NAME" and "BEGIN_GROUP = NAME" open a group; lines may end in a semicolon.
std::optional<Metadata> ParseLines(const std::string& text, std::string& fault) {
    Metadata all;
    PartCount count;
    std::vector<Metadata*> groups{&all}; // a group grows only while it is the last one here
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        std::string line = Trim(text.substr(start, end - start));
        start = end + 1;
        if (line.ends_with(';')) line.pop_back();
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos) continue;
        const std::string key = Trim(line.substr(0, equals));
        std::string value = Trim(line.substr(equals + 1));
        if (value.size() > 1 && value.front() == '"' && value.back() == '"')
            value = value.substr(1, value.size() - 2);
        if (!count.TakeOne(static_cast<int>(groups.size()))) {
            fault = tooMuchMetadata;
            return std::nullopt;
        }
        if (StringsEqual(key, "END_GROUP", true)) {
            if (groups.size() > 1) groups.pop_back();
        } else if (StringsEqual(key, "GROUP", true) || StringsEqual(key, "BEGIN_GROUP", true)) {
            groups.back()->parts.push_back({value, {}, {}});
            groups.push_back(&groups.back()->parts.back());
        } else {
            groups.back()->parts.push_back({key, value, {}});
        }
    }
    if (all.parts.empty()) fault = "it has no line KEY = VALUE";
    return fault.empty() ? std::optional(std::move(all)) : std::nullopt;
}

} // namespace

const Metadata* Metadata::Find(std::string_view path) const {
    const std::size_t slash = path.find('/');
    for (const Metadata& part : parts)
        if (part.name == path.substr(0, slash)) {
            if (slash == std::string_view::npos) return &part;
            if (const Metadata* found = part.Find(path.substr(slash + 1))) return found;
        }
    return nullptr;
}

std::string Metadata::Get(std::string_view path) const {
    const Metadata* found = Find(path);
    return found ? found->text : std::string();
}

std::optional<double> Metadata::GetNumber(std::string_view path) const {
    const std::string found = Trim(Get(path));
    char* end = nullptr;
    const double value = CPLStrtod(found.c_str(), &end);
    const bool isNumber = !found.empty() && end == found.c_str() + found.size() && std::isfinite(value);
    return isNumber ? std::optional(value) : std::nullopt;
}

const Metadata* Metadata::Search(std::string_view wanted) const {
    for (const Metadata& part : parts) {
        if (part.name == wanted) return &part;
        if (const Metadata* found = part.Search(wanted)) return found;
    }
    return nullptr;
}

std::string Metadata::SearchText(std::string_view wanted) const {
    const Metadata* found = Search(wanted);
    return found ? found->text : std::string();
}

std::vector<const Metadata*> Metadata::SearchAll(std::string_view wanted) const {
    std::vector<const Metadata*> found;
    for (const Metadata& part : parts) {
        if (part.name == wanted) found.push_back(&part);
        for (const Metadata* below : part.SearchAll(wanted))
            found.push_back(below);
    }
    return found;
}

std::optional<Metadata> ParseMetadata(const std::string& text, std::string& fault) {
    fault.clear();
    const std::size_t first = text.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    if (first == std::string::npos || text.find('\0') != std::string::npos) {
        fault = first == std::string::npos ? "it is empty" : "it is not text";
        return std::nullopt;
    }
    if (text[first] == '<') return ParseXml(text.substr(first), fault);
    if (text[first] == '{') return ParseJson(text.substr(first), fault);
    return ParseLines(text, fault);
}

} // namespace rasterhost
