#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

struct _xmlDoc;
struct _xmlNode;

namespace KOVA::Tessara::Fundament {

/// What is wrong with a document: a code of the XML library, line and column counted from 1 (0 when the
/// trouble has no place), and the reason.
struct XmlFault {
    int code = 0;
    unsigned line = 0;
    unsigned column = 0;
    std::string reason;
};

/// A parsed document, and all that is asked of the XML library. It opens no file and no connection, takes no
/// document type (hence no entities but the five of XML), and is bounded: 16 MiB of text, 300,000 elements
/// and attributes (some 150 MB of memory, 3 s), elements 256 deep, 1000 attributes of an element and 1000
/// name spaces, a fixed number of steps for an expression. What is written here and is larger has to be read
/// back in parts. Texts go in and come out as bytes, as XmlText.h says.
class XmlTree {
public:
    using Node = _xmlNode;
    static constexpr std::size_t longestDocument = std::size_t{16} << 20;

    /// Null and a fault when the text is not a well-formed document, or beyond the bounds. White space
    /// between elements is dropped unless asked for.
    static std::unique_ptr<XmlTree> Parse(const std::string& text, bool keepBlanks, XmlFault& fault);

    ~XmlTree();
    XmlTree(const XmlTree&) = delete;
    XmlTree& operator=(const XmlTree&) = delete;

    /// The nodes that an expression selects, in document order; nothing when it is not an expression for
    /// nodes. Positions in the expression count from 0. Nodes live as long as the tree.
    [[nodiscard]] std::optional<std::vector<Node*>> Select(const std::string& path) const;

    [[nodiscard]] static std::string Name(const Node* node);
    [[nodiscard]] static std::string Text(const Node* node);
    [[nodiscard]] static std::vector<Node*> Children(const Node* node);
    [[nodiscard]] static std::vector<Node*> Attributes(const Node* node);
    [[nodiscard]] static bool IsElement(const Node* node);

    /// The node as XML in UTF-8; of the whole document without a declaration.
    [[nodiscard]] std::string Xml(Node* node) const;
    [[nodiscard]] Node* Root() const;

    /// False for texts that XML cannot carry, and for nodes other than elements, attributes and text.
    bool SetText(Node* node, const std::string& text);

private:
    explicit XmlTree(_xmlDoc* parsed) : document(parsed) {}

    _xmlDoc* document;
    std::vector<Node*> detached; // still good for those who hold them
};

} // namespace KOVA::Tessara::Fundament
