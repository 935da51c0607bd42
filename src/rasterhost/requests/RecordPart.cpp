#include "rasterhost/requests/RecordPart.h"

#include "fundament/Text.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;

namespace {

constexpr int mostLevels = 16;
constexpr std::size_t mostValues = 200000;
constexpr std::size_t mostKeys = 10000; // per object: the parser compares each new key with all before

/// Checks brackets and commas before a tree is built from the text.
void CheckBounds(const std::string& text) {
    int level = 0;
    std::size_t values = 0;
    std::vector<std::size_t> keys(mostLevels + 1); // per open object
    bool isQuoted = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char letter = text[at];
        if (isQuoted && letter == '\\') {
            ++at;
        } else if (letter == '"') {
            isQuoted = !isQuoted;
        } else if (!isQuoted) {
            level += (letter == '{' || letter == '[') - (letter == '}' || letter == ']');
            values += letter == ',';
            if (level > mostLevels)
                throw RecordFault{FormatString("it is nested deeper than %d levels", mostLevels)};
            std::size_t& count = keys[static_cast<std::size_t>(std::max(level, 0))];
            if (letter == '{') count = 0;
            count += letter == ':';
            if (count > mostKeys)
                throw RecordFault{FormatString("it has an object of more than %zu keys", mostKeys)};
        }
        if (values > mostValues) throw RecordFault{FormatString("it has more than %zu values", mostValues)};
    }
}

} // namespace

Json RecordPart::Parse(const std::string& text) {
    CheckBounds(text);
    try {
        return Json::parse(text);
    } catch (const Json::parse_error& error) {
        throw RecordFault{FormatString("it is not JSON, or is cut short, at byte %zu", error.byte)};
    } catch (const Json::exception&) {
        throw RecordFault{"it has a number that is too large"};
    }
}

void RecordPart::Refuse(const std::string& why) const { throw RecordFault{"the key '" + key + "' " + why}; }

void RecordPart::CheckKeys(std::initializer_list<const char*> known) const {
    if (!value.is_object()) Refuse("is not an object");
    for (const auto& [name, ignored] : value.items())
        if (std::none_of(known.begin(), known.end(), [&own = name](const char* one) { return own == one; }))
            RecordPart(value, key.empty() ? name : key + "." + name).Refuse("is not known here");
}

std::optional<RecordPart> RecordPart::Find(const char* name) const {
    if (!value.is_object()) Refuse("is not an object");
    const auto found = value.find(name);
    if (found == value.end() || found->is_null()) return std::nullopt;
    return RecordPart(*found, key.empty() ? name : key + "." + name);
}

RecordPart RecordPart::Get(const char* name) const {
    const auto found = Find(name);
    if (!found) RecordPart(value, key.empty() ? name : key + "." + name).Refuse("is missing");
    return *found;
}

std::vector<RecordPart> RecordPart::GetList(std::size_t most) const {
    if (!value.is_array()) Refuse("is not a list");
    if (value.size() > most) Refuse(FormatString("has more than %zu entries", most));
    std::vector<RecordPart> parts;
    for (std::size_t i = 0; i < value.size(); ++i)
        parts.emplace_back(value[i], FormatString("%s[%zu]", key.c_str(), i));
    return parts;
}

bool RecordPart::GetFlag() const {
    if (!value.is_boolean()) Refuse("is neither true nor false");
    return value.get<bool>();
}

double RecordPart::GetNumber() const {
    if (!value.is_number() || !std::isfinite(value.get<double>())) Refuse("is not a number");
    return value.get<double>();
}

std::uint64_t RecordPart::GetWhole(std::uint64_t least, std::uint64_t most) const {
    const std::uint64_t number = value.is_number_unsigned() ? value.get<std::uint64_t>() : 0;
    if (!value.is_number_unsigned() || number < least || number > most)
        Refuse(FormatString("is not a whole number from %llu to %llu", static_cast<unsigned long long>(least),
                            static_cast<unsigned long long>(most)));
    return number;
}

std::string RecordPart::GetText(std::size_t most) const {
    if (!value.is_string()) Refuse("is not a text");
    const auto& text = value.get_ref<const std::string&>();
    if (text.size() > most) Refuse(FormatString("is longer than %zu bytes", most));
    if (text.find('\0') != std::string::npos) Refuse("holds a zero byte");
    return text;
}

std::vector<double> RecordPart::GetNumbers(std::size_t most) const {
    std::vector<double> numbers;
    for (const RecordPart& part : GetList(most))
        numbers.push_back(part.GetNumber());
    return numbers;
}

} // namespace rasterhost
