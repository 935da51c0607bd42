#include "fundament/XmlTree.h"

#include "fundament/Text.h"
#include "fundament/XmlText.h"

#include <algorithm>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <libxml/xpath.h>
#include <string_view>

namespace KOVA::Tessara::Fundament {

namespace {

void DropMessage(void*, const char*, ...) {}

// While it lives, the XML library's errors on this thread are not printed; the first one is kept.
class ErrorWatch {
public:
    explicit ErrorWatch(XmlFault& kept)
        : handlerBefore(xmlStructuredError), contextBefore(xmlStructuredErrorContext),
          printerBefore(xmlGenericError), printerContextBefore(xmlGenericErrorContext) {
        xmlSetGenericErrorFunc(nullptr, DropMessage);
        xmlSetStructuredErrorFunc(&kept, [](void* context, auto* error) {
            XmlFault& fault = *static_cast<XmlFault*>(context);
            if (fault.code != 0 || error->level < XML_ERR_ERROR || error->domain == XML_FROM_NAMESPACE)
                return;
            fault.code = error->code;
            fault.line = static_cast<unsigned>(std::max(error->line, 0));
            fault.column = static_cast<unsigned>(std::max(error->int2, 0));
            fault.reason = Trim(error->message ? error->message : "");
        });
    }
    ~ErrorWatch() {
        xmlSetStructuredErrorFunc(contextBefore, handlerBefore);
        xmlSetGenericErrorFunc(printerContextBefore, printerBefore);
    }
    ErrorWatch(const ErrorWatch&) = delete;
    ErrorWatch& operator=(const ErrorWatch&) = delete;

private:
    xmlStructuredErrorFunc handlerBefore;
    void* contextBefore;
    xmlGenericErrorFunc printerBefore;
    void* printerContextBefore;
};

std::string Owned(xmlChar* text) {
    std::string result = text ? reinterpret_cast<const char*>(text) : "";
    xmlFree(text);
    return result;
}

// The encoding of a document, from its first bytes or from its declaration.
std::string EncodingOf(const std::string& text) {
    using namespace std::string_view_literals;
    const std::string_view start = std::string_view(text).substr(0, 4);
    if (start.starts_with("\xFE\xFF"sv) || start == "\0<\0?"sv) return "UTF-16BE";
    if (start.starts_with("\xFF\xFE"sv) || start == "<\0?\0"sv) return "UTF-16LE";
    const std::string declaration = text.substr(0, std::min<std::size_t>(text.find("?>"), 200));
    if (!StartsWith(declaration, "<?xml", false)) return "UTF-8";
    const auto open = declaration.find_first_of("'\"", declaration.find("encoding"));
    if (open == std::string::npos) return "UTF-8";
    return declaration.substr(open + 1, declaration.find(declaration[open], open + 1) - open - 1);
}

// The document in UTF-8, without a byte order mark. Empty when its bytes do not fit its encoding, or when the
// encoding is unknown.
std::optional<std::string> ToUtf8(const std::string& text) {
    using Buffer = std::unique_ptr<xmlBuffer, void (*)(xmlBufferPtr)>;
    if (StartsWith(text, "\xEF\xBB\xBF", false)) return text.substr(3);
    const std::string encoding = EncodingOf(text);
    if (StringsEqual(encoding, "UTF-8", true)) return text;
    const bool marked = StartsWith(text, "\xFE\xFF", false) || StartsWith(text, "\xFF\xFE", false);
    xmlCharEncodingHandler* const handler = xmlFindCharEncodingHandler(encoding.c_str());
    const Buffer in(xmlBufferCreate(), xmlBufferFree);
    const Buffer out(xmlBufferCreate(), xmlBufferFree);
    std::optional<std::string> converted;
    if (handler && in && out &&
        xmlBufferAdd(in.get(), reinterpret_cast<const xmlChar*>(text.data()) + (marked ? 2 : 0),
                     static_cast<int>(text.size()) - (marked ? 2 : 0)) == 0 &&
        xmlCharEncInFunc(handler, out.get(), in.get()) >= 0 && xmlBufferLength(in.get()) == 0)
        converted.emplace(reinterpret_cast<const char*>(xmlBufferContent(out.get())),
                          static_cast<std::size_t>(xmlBufferLength(out.get())));
    if (handler) xmlCharEncCloseFunc(handler);
    return converted;
}

constexpr const char* tooManyAttributes =
    "An element has more than 1000 attributes, or the document more than 1000 namespaces";
constexpr const char* tooManyNodes = "The document has more than 300000 elements and attributes";

// Which bound a document exceeds, or null. Bounds are needed because the parser compares each attribute of an
// element with every other one and searches namespaces linearly, and because every element and attribute
// takes many times the memory of its text. Attributes are counted by "=" outside quotes; "<" cannot stand in
// one.
const char* FindCrowd(const std::string& text) {
    constexpr int most = 1000, mostNodes = 300'000;
    int attributes = 0, spaces = 0, nodes = 0;
    char quote = 0;
    bool inTag = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (c == '<') {
            inTag = at + 1 < text.size() && text[at + 1] != '!' && text[at + 1] != '?';
            attributes = 0;
            quote = 0;
            if (at + 1 < text.size() && text[at + 1] != '/' && ++nodes > mostNodes) return tooManyNodes;
        } else if (!inTag) {
            continue;
        } else if (quote) {
            if (c == quote) quote = 0;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '>') {
            inTag = false;
        } else if (c == '=') {
            if (++attributes > most) return tooManyAttributes;
            if (++nodes > mostNodes) return tooManyNodes;
        } else if (c == 'x' && text.compare(at, 5, "xmlns") == 0 && ++spaces > most) {
            return tooManyAttributes;
        }
    }
    return nullptr;
}

// Stops the parser at the name of a document type, before anything in it is read.
void RefuseDocumentType(void* parser, const xmlChar*, const xmlChar*, const xmlChar*) {
    auto* context = static_cast<xmlParserCtxtPtr>(parser);
    *static_cast<bool*>(context->_private) = true;
    xmlStopParser(context);
}

void DropBlanks(xmlNode* node) {
    for (xmlNode* child = node->children; child;) {
        xmlNode* const next = child->next;
        if (child->type == XML_TEXT_NODE && xmlIsBlankNode(child)) {
            xmlUnlinkNode(child);
            xmlFreeNode(child);
        } else if (child->type == XML_ELEMENT_NODE) {
            DropBlanks(child);
        }
        child = next;
    }
}

std::unique_ptr<XmlTree> Refuse(XmlFault& fault, std::string reason) {
    fault = {XML_ERR_USER_STOP, fault.line, fault.column, std::move(reason)};
    return nullptr;
}

} // namespace

std::unique_ptr<XmlTree> XmlTree::Parse(const std::string& text, bool keepBlanks, XmlFault& fault) {
    fault = {};
    const char* const tooLarge = "The document is larger than 16 MiB";
    if (text.size() > longestDocument) return Refuse(fault, tooLarge);
    static const bool started = (xmlInitParser(), true); // once, before any thread needs it
    static_cast<void>(started);
    const ErrorWatch watch(fault);
    const auto plain = ToUtf8(text);
    if (!plain) return Refuse(fault, "The document is not in the encoding it declares, or that is unknown");
    const std::string carried = CarryStrayBytes(*plain);
    if (plain->size() > longestDocument) return Refuse(fault, tooLarge);
    if (const char* const crowd = FindCrowd(carried)) return Refuse(fault, crowd);
    const std::unique_ptr<xmlParserCtxt, void (*)(xmlParserCtxtPtr)> parser(xmlNewParserCtxt(),
                                                                            xmlFreeParserCtxt);
    if (!parser) return nullptr;
    bool typed = false;
    parser->_private = &typed;
    parser->sax->internalSubset = RefuseDocumentType;
    std::unique_ptr<XmlTree> tree;
    xmlDoc* const parsed =
        xmlCtxtReadMemory(parser.get(), carried.data(), static_cast<int>(carried.size()), nullptr, "UTF-8",
                          XML_PARSE_NONET | XML_PARSE_NOCDATA | XML_PARSE_IGNORE_ENC);
    if (parsed) tree.reset(new XmlTree(parsed));
    if (typed) {
        fault.line = static_cast<unsigned>(parser->input ? parser->input->line : 0);
        return Refuse(fault, "A document type declaration is not allowed");
    }
    if (!tree || !tree->Root()) return nullptr;
    if (!keepBlanks) DropBlanks(reinterpret_cast<xmlNode*>(parsed));
    xmlXPathOrderDocElems(parsed);
    fault = {};
    return tree;
}

XmlTree::~XmlTree() {
    for (Node* node : detached)
        xmlFreeNode(node);
    xmlFreeDoc(document);
}

std::optional<std::vector<XmlTree::Node*>> XmlTree::Select(const std::string& path) const {
    const auto expression = ToXPath(path);
    if (!expression) return std::nullopt;
    XmlFault fault;
    const ErrorWatch watch(fault);
    const std::unique_ptr<xmlXPathContext, void (*)(xmlXPathContextPtr)> context(xmlXPathNewContext(document),
                                                                                 xmlXPathFreeContext);
    if (!context) return std::nullopt;
    context->opLimit = 20'000'000;
    const std::unique_ptr<xmlXPathObject, void (*)(xmlXPathObjectPtr)> result(
        xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(expression->c_str()), context.get()),
        xmlXPathFreeObject);
    if (!result || result->type != XPATH_NODESET) return std::nullopt;
    std::vector<Node*> nodes;
    if (const xmlNodeSet* set = result->nodesetval)
        std::copy_if(set->nodeTab, set->nodeTab + set->nodeNr, std::back_inserter(nodes),
                     [](const Node* node) { return node->type != XML_NAMESPACE_DECL; });
    return nodes;
}

std::string XmlTree::Name(const Node* node) {
    switch (node->type) {
    case XML_ELEMENT_NODE:
    case XML_ATTRIBUTE_NODE: {
        const std::string local = reinterpret_cast<const char*>(node->name);
        const xmlNs* space = node->ns;
        return space && space->prefix ? reinterpret_cast<const char*>(space->prefix) + (":" + local) : local;
    }
    case XML_TEXT_NODE:
        return "#text";
    case XML_COMMENT_NODE:
        return "#comment";
    case XML_PI_NODE:
        return reinterpret_cast<const char*>(node->name);
    default:
        return "#document";
    }
}

std::string XmlTree::Text(const Node* node) { return FromXmlText(Owned(xmlNodeGetContent(node))); }

std::vector<XmlTree::Node*> XmlTree::Children(const Node* node) {
    std::vector<Node*> children;
    for (Node* child = node->children; child; child = child->next)
        children.push_back(child);
    return children;
}

std::vector<XmlTree::Node*> XmlTree::Attributes(const Node* node) {
    std::vector<Node*> attributes;
    if (!IsElement(node)) return attributes;
    for (xmlAttr* attribute = node->properties; attribute; attribute = attribute->next)
        attributes.push_back(reinterpret_cast<Node*>(attribute));
    return attributes;
}

bool XmlTree::IsElement(const Node* node) { return node->type == XML_ELEMENT_NODE; }

XmlTree::Node* XmlTree::Root() const { return xmlDocGetRootElement(document); }

std::string XmlTree::Xml(Node* node) const {
    XmlFault fault;
    const ErrorWatch watch(fault);
    if (node->type == XML_DOCUMENT_NODE) {
        std::string all;
        for (Node* child : Children(node))
            all += Xml(child);
        return all;
    }
    const std::unique_ptr<xmlBuffer, void (*)(xmlBufferPtr)> buffer(xmlBufferCreate(), xmlBufferFree);
    if (!buffer || xmlNodeDump(buffer.get(), document, node, 0, 0) < 0) return {};
    return TrimLeft(reinterpret_cast<const char*>(xmlBufferContent(buffer.get())));
}

bool XmlTree::SetText(Node* node, const std::string& text) {
    const auto carried = ToXmlText(text);
    if (!carried) return false;
    const auto* content = reinterpret_cast<const xmlChar*>(carried->c_str());
    if (node->type == XML_TEXT_NODE) {
        xmlNodeSetContent(node, content);
        return true;
    }
    if (node->type != XML_ELEMENT_NODE && node->type != XML_ATTRIBUTE_NODE) return false;
    Node* const inserted = carried->empty() ? nullptr : xmlNewDocText(document, content);
    if (!carried->empty() && !inserted) return false;
    for (Node* child : Children(node)) {
        xmlUnlinkNode(child);
        detached.push_back(child);
    }
    node->children = node->last = inserted;
    if (inserted) inserted->parent = node;
    return true;
}

} // namespace KOVA::Tessara::Fundament
