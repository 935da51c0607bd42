#include "cli/OptionValues.h"

#include "cli/OptionTable.h"
#include "fundament/Text.h"
#include "hostkit/MethodTable.h"

#include <algorithm>

namespace cli {

namespace {

bool IsWord(const std::string& text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= 'a' && c <= 'z'; });
}

} // namespace

std::vector<std::string> SplitText(std::string_view text, char separator) {
    std::vector<std::string> parts(1);
    for (const char c : text)
        if (c == separator)
            parts.emplace_back();
        else
            parts.back() += c;
    return parts;
}

ValueKind KindOf(const OptionEntry& option) {
    if (option.value == "FOLDER") return ValueKind::Folder;
    if (option.value == "N" || option.value == "ROWS") return ValueKind::WholeNumber;
    for (const std::string_view file : {"FILE", "OUT", "TRUTH", "PAN", "MS", "RUN.json"})
        if (option.value == file || (file == "FILE" && option.value.starts_with(file)))
            return ValueKind::File;
    return ValueKind::Text;
}

std::string MethodWords(const PansharpDescription& plugin) {
    std::string words;
    for (const PansharpMethod& method : hostkit::MethodsOf(plugin))
        words += (words.empty() ? "" : " ") + KOVA::Tessara::Fundament::ToLower(method.keyword);
    return words;
}

std::vector<std::string> ChoicesOf(const OptionEntry& option, const std::string& methods) {
    std::vector<std::string> words;
    for (std::string& word : SplitText(option.value == "METHOD" ? methods : option.choices, ' '))
        if (!word.empty()) words.push_back(std::move(word));
    for (std::string& part : SplitText(option.value, '|'))
        if (IsWord(part)) words.push_back(std::move(part));
    return words;
}

bool HasOnlyChoices(const OptionEntry& option) {
    const std::vector<std::string> parts = SplitText(option.value, '|');
    return option.value == "METHOD" || std::all_of(parts.begin(), parts.end(), IsWord);
}

} // namespace cli
