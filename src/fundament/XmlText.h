#pragma once

#include <optional>
#include <string>

/// How texts of bytes are stored in XML, which holds characters. UTF-8 is stored as it is. A byte that is not
/// part of UTF-8 (128 to 255) is stored as the private character U+EF00 plus the byte, U+EF80 to U+EFFF, so
/// it is read back unchanged. Control bytes below 32 cannot be stored in XML, except tab, line feed and
/// carriage return.
namespace KOVA::Tessara::Fundament {

/// The text as XML characters, in UTF-8, before markup is escaped. Empty when it holds a control byte.
/// FromXmlText reverses it exactly.
[[nodiscard]] std::optional<std::string> ToXmlText(const std::string& bytes);
[[nodiscard]] std::string FromXmlText(const std::string& text);

/// A whole document with its stray bytes stored in this way. Private characters already in it stay, so a
/// document written here can be read here.
[[nodiscard]] std::string CarryStrayBytes(const std::string& document);

/// Converts an expression, in which a number alone in brackets is a position counted from 0, to XPath 1.0,
/// which counts from 1. Brackets within quotes are text. Empty for an expression that is empty, longer than
/// 4096 bytes, nested deeper than 64, or contains a control byte.
[[nodiscard]] std::optional<std::string> ToXPath(const std::string& path);

} // namespace KOVA::Tessara::Fundament
