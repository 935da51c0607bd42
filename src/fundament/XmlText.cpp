#include "fundament/XmlText.h"

#include <algorithm>
#include <string_view>

namespace KOVA::Tessara::Fundament {

namespace {

unsigned Byte(std::string_view text, std::size_t at) { return static_cast<unsigned char>(text[at]); }

bool IsControl(unsigned byte) { return byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r'; }

// The number of bytes of the UTF-8 character at a position, or 0 if XML does not allow a character there.
std::size_t CharacterLength(std::string_view text, std::size_t at) {
    const unsigned lead = Byte(text, at);
    if (lead < 0x80) return 1;
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() - at < length) return 0;
    unsigned code = lead & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((Byte(text, at + i) & 0xC0) != 0x80) return 0;
        code = code << 6 | (Byte(text, at + i) & 0x3F);
    }
    const bool tooLong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    const bool noCharacter =
        (code >= 0xD800 && code < 0xE000) || (code & 0xFFFE) == 0xFFFE || code > 0x10FFFF;
    return tooLong || noCharacter ? 0 : length;
}

bool IsCarrier(std::string_view text, std::size_t at) {
    return text.size() - at >= 3 && Byte(text, at) == 0xEE && (Byte(text, at + 1) | 1) == 0xBF &&
           (Byte(text, at + 2) & 0xC0) == 0x80;
}

void AppendCarrier(std::string& text, unsigned byte) {
    text += {'\xEE', static_cast<char>(0xBC + (byte >> 6)), static_cast<char>(0x80 | (byte & 0x3F))};
}

std::string Carry(std::string_view bytes, bool carriersStay) {
    std::string text;
    text.reserve(bytes.size());
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t length = CharacterLength(bytes, at);
        if (length && (carriersStay || !IsCarrier(bytes, at))) {
            text.append(bytes, at, length);
            at += length;
        } else {
            AppendCarrier(text, Byte(bytes, at++));
        }
    }
    return text;
}

} // namespace

std::optional<std::string> ToXmlText(const std::string& bytes) {
    if (std::any_of(bytes.begin(), bytes.end(),
                    [](char c) { return IsControl(static_cast<unsigned char>(c)); }))
        return std::nullopt;
    return Carry(bytes, false);
}

std::string FromXmlText(const std::string& text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        if (!IsCarrier(text, at)) {
            bytes += text[at++];
            continue;
        }
        bytes += static_cast<char>((Byte(text, at + 1) & 3) << 6 | (Byte(text, at + 2) & 0x3F));
        at += 3;
    }
    return bytes;
}

std::string CarryStrayBytes(const std::string& document) { return Carry(document, true); }

std::optional<std::string> ToXPath(const std::string& path) {
    constexpr std::size_t longest = 4096;
    constexpr int deepest = 64;
    constexpr const char* blanks = " \t\r\n";
    const auto text = ToXmlText(path);
    if (!text || text->empty() || text->size() > longest) return std::nullopt;
    std::string result;
    int depth = 0;
    for (std::size_t at = 0; at < text->size(); ++at) {
        const char c = (*text)[at];
        result += c;
        if (c == '\'' || c == '"') {
            const auto end = text->find(c, at + 1);
            if (end == std::string::npos) return std::nullopt;
            result.append(*text, at + 1, end - at);
            at = end;
        }
        if ((c == '[' || c == '(') && ++depth > deepest) return std::nullopt;
        if (c == ']' || c == ')') --depth;
        if (c != '[') continue;
        const auto number = text->find_first_not_of(blanks, at + 1);
        const auto end = text->find_first_not_of("0123456789.", number);
        const auto close = text->find_first_not_of(blanks, end);
        if (close == std::string::npos || (*text)[close] != ']' || end == number) continue;
        result += text->substr(number, end - number) + " + 1";
        at = end - 1;
    }
    return result;
}

} // namespace KOVA::Tessara::Fundament
