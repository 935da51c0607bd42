#pragma once

#include "fundament/PropertyLookUp.h"
#include "fundament/Status.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct _xmlNode;

namespace KOVA::Tessara::Fundament {

class XmlTree;

/// An XML document, loaded from a file or a text and searched by path expressions. Texts can be read and set.
///
/// Expressions are XPath 1.0, but a number alone in brackets is a position counted from 0
/// ("/Status/Item[0]"). Texts are bytes: UTF-8, and other bytes as XmlText.h describes. Documents are bounded
/// and never refer to anything outside themselves (XmlTree.h). A failure returns the value stated and
/// replaces the contents of the status. A bad document or expression does not throw.
///
/// One thread may use it at a time.
class XmlDocument {
public:
    static constexpr std::uint32_t Failed = 0xFFFFFFFFu;

    /// White space alone between tags. It makes no node unless it is kept.
    enum class Blanks { Drop, Keep };

    XmlDocument();
    ~XmlDocument();
    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;

    /// Loads the file of that name if there is one, else the text. After a failure there is no document, but
    /// an empty argument keeps the current one.
    bool Load(const std::string& fileOrText, Blanks blanks = Blanks::Drop);

    /// Writes the document in UTF-8, with a declaration.
    bool Save(const std::string& file);

    /// Makes a node of the expression current, by its position counted from 0. Repeated calls with the same
    /// expression use the list found before; CountNodes replaces the list.
    bool SelectNode(const std::string& path, std::uint32_t position = 0);

    /// The number of matching nodes. Fails for an invalid expression and without a document.
    std::uint32_t CountNodes(const std::string& path);

    /// Makes the first match the current node and returns the number of nodes that it holds, including
    /// comments and texts. Fails when nothing matches.
    std::uint32_t CountChildren(const std::string& path);

    /// Name and text of the current node; empty texts without one. GetText gives the default for an empty
    /// text.
    [[nodiscard]] std::string GetNodeName() const;
    [[nodiscard]] std::string GetText(const std::string& defaultText = {}) const;
    [[nodiscard]] std::string GetXml() const;

    /// Replaces all contents of the current node by a text; markup in it is escaped. False for a text with
    /// control bytes, which XML cannot hold, and without a current node that can have text.
    bool SetText(const std::string& text);

    /// The attributes of the current node, in order, without namespace declarations. Valid until the next
    /// call or selection.
    PropertyLookUp& GetAttributes();

    /// Name and text of every node of an expression, in order; a later node overwrites an earlier one of the
    /// same name. Empty, with an item in the status, beyond 16 MiB of text.
    PropertyLookUp ToPropertyLookUp(const std::string& path);

    /// The last failure since Load; without a failure, no items.
    [[nodiscard]] const Status& GetStatus() const { return status; }

private:
    friend class Status;

    bool Fail(std::uint32_t id, const std::string& message, const std::string& details = {});
    bool Hold(const std::string& path);

    Status status;
    PropertyLookUp attributes;
    std::unique_ptr<XmlTree> tree;
    _xmlNode* current = nullptr;
    std::vector<_xmlNode*> list;
    std::string lastPath;
};

} // namespace KOVA::Tessara::Fundament
