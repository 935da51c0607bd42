#include "fundament/XmlDocument.h"

#include "fundament/Files.h"
#include "fundament/Platform.h"
#include "fundament/Text.h"
#include "fundament/XmlTree.h"

#include <fstream>
#include <unordered_map>

namespace KOVA::Tessara::Fundament {

namespace {

enum : std::uint32_t {
    LoadFailed = 0x7901,
    SelectFailed = 0x7902,
    CountFailed = 0x7903,
    CountChildrenFailed = 0x7904,
    OtherFailure = 0x79FF,
};

constexpr const char* otherMessage = "Undefined error;  Exception caught";

// Reads at most one byte more than a document may have: enough to refuse it for its size.
bool ReadFile(const std::string& name, std::string& content) {
    std::ifstream file(Platform::ToPath(name), std::ios::binary);
    content.resize(XmlTree::longestDocument + 1);
    file.read(content.data(), static_cast<std::streamsize>(content.size()));
    content.resize(static_cast<std::size_t>(file.gcount()));
    return file.eof() || content.size() > XmlTree::longestDocument;
}

} // namespace

XmlDocument::XmlDocument() = default;
XmlDocument::~XmlDocument() = default;

bool XmlDocument::Fail(std::uint32_t id, const std::string& message, const std::string& details) {
    const std::string source = "Fundament.XmlDocument";
    status.Reset(id, message, source, details);
    status.Add(id, message, source, details);
    return false;
}

bool XmlDocument::Load(const std::string& fileOrText, Blanks blanks) {
    lastPath.clear();
    if (fileOrText.empty()) return false;
    status.Reset(0, "", "Fundament.XmlDocument", "");
    attributes.Clear();
    list.clear();
    current = nullptr;
    tree.reset();

    XmlFault fault;
    std::string content;
    const bool isFile = FileExists(fileOrText);
    if (isFile && !ReadFile(fileOrText, content))
        fault.reason = "The file cannot be read";
    else
        tree = XmlTree::Parse(isFile ? content : fileOrText, blanks == Blanks::Keep, fault);
    if (tree) return true;
    return Fail(
        LoadFailed,
        FormatString("Could not load XML: '%s'.  Please ensure that the XML is accessible and valid.  "
                     "Code: '%Xh';  Line: '%u';  Column: '%u';  Reason: '%s'",
                     Abbreviate(fileOrText, "...", 100).c_str(), static_cast<unsigned>(fault.code),
                     fault.line, fault.column, fault.reason.c_str()));
}

bool XmlDocument::Save(const std::string& file) {
    if (!tree) return Fail(OtherFailure, otherMessage, "There is no document to save");
    std::string whole = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    const auto nodes = tree->Select("/");
    if (nodes && !nodes->empty()) whole += tree->Xml(nodes->front());
    std::ofstream stream(Platform::ToPath(file), std::ios::binary);
    stream << whole << "\n";
    stream.close();
    return stream ? true : Fail(OtherFailure, otherMessage, FormatString("Cannot write '%s'", file.c_str()));
}

bool XmlDocument::Hold(const std::string& path) {
    auto nodes = tree && !path.empty() ? tree->Select(path) : std::nullopt;
    if (!nodes) return false;
    list = std::move(*nodes);
    return true;
}

bool XmlDocument::SelectNode(const std::string& path, std::uint32_t position) {
    const auto fail = [&] {
        return Fail(SelectFailed, FormatString("Could not select XML node; XPath: '%s'", path.c_str()));
    };
    if (path.empty()) return fail();
    if (path != lastPath) {
        if (!Hold(path)) return fail();
        lastPath = path;
        if (position >= list.size()) return fail();
    }
    attributes.Clear();
    current = position < list.size() ? list[position] : nullptr;
    return current ? true : fail();
}

std::uint32_t XmlDocument::CountNodes(const std::string& path) {
    if (Hold(path)) return static_cast<std::uint32_t>(list.size());
    Fail(CountFailed, FormatString("Could not count nodes in XML; XPath: '%s'", path.c_str()));
    return Failed;
}

std::uint32_t XmlDocument::CountChildren(const std::string& path) {
    const auto nodes = tree && !path.empty() ? tree->Select(path) : std::nullopt;
    if (nodes && !nodes->empty()) {
        current = nodes->front();
        return static_cast<std::uint32_t>(XmlTree::Children(current).size());
    }
    Fail(CountChildrenFailed, FormatString("Could not count children in XML; XPath: '%s'", path.c_str()));
    return Failed;
}

std::string XmlDocument::GetNodeName() const { return current ? XmlTree::Name(current) : std::string(); }

std::string XmlDocument::GetText(const std::string& defaultText) const {
    const std::string text = current ? XmlTree::Text(current) : std::string();
    return text.empty() ? defaultText : text;
}

std::string XmlDocument::GetXml() const { return current ? tree->Xml(current) : std::string(); }

bool XmlDocument::SetText(const std::string& text) {
    if (current && tree->SetText(current, text)) return true;
    return Fail(OtherFailure, otherMessage,
                current ? "The node cannot hold this text" : "No node is selected to hold a text");
}

PropertyLookUp& XmlDocument::GetAttributes() {
    attributes.Clear();
    std::deque<PropertyLookUp::Pair> read;
    if (current)
        for (const _xmlNode* attribute : XmlTree::Attributes(current))
            read.emplace_back(XmlTree::Name(attribute), XmlTree::Text(attribute));
    attributes.Merge(PropertyLookUp(std::move(read)), false, {}, {});
    return attributes;
}

PropertyLookUp XmlDocument::ToPropertyLookUp(const std::string& path) {
    constexpr std::size_t mostText = std::size_t{16} << 20;
    if (!Hold(path)) {
        Fail(SelectFailed, FormatString("Could not select XML node; XPath: '%s'", path.c_str()));
        return {};
    }
    lastPath = path;
    std::deque<PropertyLookUp::Pair> pairs;
    std::unordered_map<std::string, std::size_t>
        positions; // by name in the form it is compared, since a lookup searches linearly
    std::size_t size = 0;
    for (const _xmlNode* node : list) {
        std::string text = XmlTree::Text(node);
        size += text.size();
        if (size > mostText) {
            Fail(OtherFailure, otherMessage, "More than 16 MiB of text for one property list");
            return {};
        }
        std::string name = XmlTree::Name(node);
        const auto [position, isNew] = positions.try_emplace(ToLower(name), pairs.size());
        if (isNew) pairs.emplace_back(std::move(name), std::string());
        pairs[position->second].second = std::move(text);
    }
    return PropertyLookUp(std::move(pairs));
}

} // namespace KOVA::Tessara::Fundament
