// Path expressions over documents: every selected node can be named, read and written.
#include "Input.h"

#include "fundament/XmlDocument.h"
#include "fundament/XmlTree.h"

using namespace KOVA::Tessara::Fundament;
using fuzz::Require;

namespace {

const char* const ownDocument =
    "<s:Status xmlns:s='u' a='1' b=\"&lt;2\"><Item i='0'>one</Item><Item><ID>0x12</ID><!-- no -->"
    "two<?p i?></Item><Deep><Deep><Deep>\xC3\xA9\xFF</Deep></Deep></Deep></s:Status>";

void Visit(XmlTree& tree, const std::string& path) {
    const auto nodes = tree.Select(path);
    if (!nodes) return;
    std::size_t left = 8;
    for (XmlTree::Node* node : *nodes) {
        if (left-- == 0) break;
        fuzz::Drop(XmlTree::Name(node), XmlTree::Attributes(node));
        Require(!tree.Xml(node).empty() || XmlTree::Text(node).empty(), "a node with a text has XML");
    }
    for (XmlTree::Node* node : *nodes)
        if (tree.SetText(node, "new <text>") && XmlTree::IsElement(node))
            Require(XmlTree::Text(node) == "new <text>", "a text that was set is read back");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::string path = input.Line();
    const std::string other = input.Line();
    const std::string given = input.Rest();
    const std::string text = given.find('<') == std::string::npos ? ownDocument : given;
    XmlFault fault;
    for (const bool keepBlanks : {false, true}) {
        const auto tree = XmlTree::Parse(text, keepBlanks, fault);
        if (!tree) return 0;
        Visit(*tree, path);
        Visit(*tree, other);
    }
    XmlDocument document;
    if (!document.Load(text)) return 0;
    const std::uint32_t count = document.CountNodes(path);
    if (count != XmlDocument::Failed) Require(document.SelectNode(path) == (count > 0), "a node or none");
    document.SelectNode(other, 1);
    document.GetAttributes();
    document.CountChildren(path);
    fuzz::Drop(document.GetXml());
    document.ToPropertyLookUp(path);
    return 0;
}
