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

/// An XML document: loaded from a file or a text, searched by path expressions, its texts read and set.
///
/// Expressions are XPath 1.0, in which a number alone in brackets is a position counted from 0
/// ("/Status/Item[0]"). Texts are bytes: UTF-8, and bytes that are not (XmlText.h). Documents are bounded and
/// reach nothing outside themselves (XmlTree.h). A failure returns its value and replaces what the status
/// holds; nothing throws for what a document or an expression is.
///
/// Used by one thread at a time.
class XmlDocument {
public:
    static constexpr std::uint32_t Failed = 0xFFFFFFFFu;

    /// White space that stands alone between tags: no node, unless kept.
    enum class Blanks { Drop, Keep };

    XmlDocument();
    ~XmlDocument();
    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;

    /// From the file of that name when there is one, else from the text. After a failure there is no
    /// document, except that an empty argument leaves the one there is.
    bool Load(const std::string& fileOrText, Blanks blanks = Blanks::Drop);

    /// Writes the document in UTF-8, with a declaration.
    bool Save(const std::string& file);

    /// Makes the node at a position of the expression's nodes, counted from 0, the current one. Asked again
    /// for the same expression it goes on with the list it holds, which CountNodes replaces.
    bool SelectNode(const std::string& path, std::uint32_t position = 0);

    /// How many nodes match. Failed for no expression, or without a document.
    std::uint32_t CountNodes(const std::string& path);

    /// Makes the first match the current node: how many nodes it holds, comments and texts too. Failed when
    /// nothing matches.
    std::uint32_t CountChildren(const std::string& path);

    /// Of the current node; empty texts without one. GetText gives the default for an empty text.
    [[nodiscard]] std::string GetNodeName() const;
    [[nodiscard]] std::string GetText(const std::string& defaultText = {}) const;
    [[nodiscard]] std::string GetXml() const;

    /// Sets the text of the current node, in place of all that it holds; markup in it is escaped. False for a
    /// text with control bytes, which XML cannot hold, and without a node that has a text to set.
    bool SetText(const std::string& text);

    /// The attributes of the current node, in order, without declarations of name spaces. Good until the next
    /// call or selection.
    PropertyLookUp& GetAttributes();

    /// Name and text of every node of an expression, in order; a later node overwrites an earlier one of its
    /// name. Empty, with an item in the status, beyond 16 MiB of text.
    PropertyLookUp ToPropertyLookUp(const std::string& path);

    /// The last failure since Load; no items without one.
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
