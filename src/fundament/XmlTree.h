#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

struct _xmlDoc;
struct _xmlNode;

namespace KOVA::Tessara::Fundament {

/// The fault of a document: a code of the XML library, line and column counted from 1 (0 when the fault has
/// no position), and the reason.
struct XmlFault {
    int code = 0;
    unsigned line = 0;
    unsigned column = 0;
    std::string reason;
};

/// A parsed document. All use of the XML library is here. It opens no file and no connection and refuses
/// document types, so the only entities are the five of XML. Bounds: 16 MiB of text, 300,000 elements and
/// attributes (about 150 MB of memory, 3 s), elements 256 deep, 1000 attributes per element, 1000 namespaces,
/// and a fixed number of steps per expression. A larger document that was written here must be read back in
/// parts. Texts are bytes, as XmlText.h describes.
class XmlTree {
public:
    using Node = _xmlNode;
    static constexpr std::size_t longestDocument = std::size_t{16} << 20;

    /// Null, with a fault, when the text is not a well-formed document or exceeds the bounds. White space
    /// between elements is dropped unless `keepBlanks` is set.
    static std::unique_ptr<XmlTree> Parse(const std::string& text, bool keepBlanks, XmlFault& fault);

    ~XmlTree();
    XmlTree(const XmlTree&) = delete;
    XmlTree& operator=(const XmlTree&) = delete;

    /// The nodes that an expression selects, in document order. Empty when it is not an expression for nodes.
    /// Positions in the expression count from 0. The nodes belong to the tree.
    [[nodiscard]] std::optional<std::vector<Node*>> Select(const std::string& path) const;

    [[nodiscard]] static std::string Name(const Node* node);
    [[nodiscard]] static std::string Text(const Node* node);
    [[nodiscard]] static std::vector<Node*> Children(const Node* node);
    [[nodiscard]] static std::vector<Node*> Attributes(const Node* node);
    [[nodiscard]] static bool IsElement(const Node* node);

    /// The node as XML in UTF-8. The whole document comes without a declaration.
    [[nodiscard]] std::string Xml(Node* node) const;
    [[nodiscard]] Node* Root() const;

    /// False for texts that XML cannot carry, and for nodes other than elements, attributes and text.
    bool SetText(Node* node, const std::string& text);

private:
    explicit XmlTree(_xmlDoc* parsed) : document(parsed) {}

    _xmlDoc* document;
    std::vector<Node*> detached; // kept for callers that still hold them
};

} // namespace KOVA::Tessara::Fundament
