#pragma once

#include <optional>
#include <string>

/// How texts of bytes stand in XML, which holds characters. UTF-8 stands for itself. A byte that is not part
/// of UTF-8 (from 128 to 255) is carried as the private character U+EF00 plus the byte, U+EF80 to U+EFFF, so
/// that it comes back as it was. The control bytes below 32 cannot stand in XML, except tab, line feed and
/// carriage return.
namespace KOVA::Tessara::Fundament {

/// The text as XML characters, in UTF-8, before any escaping of markup; nothing when it holds a control byte.
/// FromXmlText gives back every text.
[[nodiscard]] std::optional<std::string> ToXmlText(const std::string& bytes);
[[nodiscard]] std::string FromXmlText(const std::string& text);

/// A whole document with its stray bytes carried. Carriers that are in it stay: a document written here reads
/// back here.
[[nodiscard]] std::string CarryStrayBytes(const std::string& document);

/// An XPath 1.0 expression with positions counted from 1, of one in which a number alone in brackets is a
/// position counted from 0. Brackets within quoted text are text. Nothing for an expression that is empty,
/// longer than 4096 bytes, nested deeper than 64, or holds a control byte.
[[nodiscard]] std::optional<std::string> ToXPath(const std::string& path);

} // namespace KOVA::Tessara::Fundament
