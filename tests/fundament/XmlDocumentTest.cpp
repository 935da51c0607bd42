#include "fundament/XmlDocument.h"

#include "support/System.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

namespace {

using namespace KOVA::Tessara::Fundament;
using testing::HasSubstr;
using namespace std::string_literals;

std::string Repeat(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

constexpr const char* sample = "<?xml version='1.0'?>\n<r>\n <a n='0' m='x'><b>p</b><b>q</b></a>\n"
                               " <!-- c --><a n='1'><b>r</b><c>[0]</c></a>\n</r>";

TEST(XmlDocument, PositionsCountFromZero) {
    XmlDocument document;
    ASSERT_TRUE(document.Load(sample));
    const std::pair<const char*, const char*> cases[] = {{"/r/a[0]/b[1]", "q"},
                                                         {"/r/a[1]/b[ 0 ]", "r"},
                                                         {"/r/a[b[1]]", "pq"},
                                                         {"//a[c='[0]']/b[0]", "r"},
                                                         {"(//b)[2]", "r"},
                                                         {"//b[position()=1]", "p,r"},
                                                         {"//b[0] | //c[0]", "p,r,[0]"},
                                                         {"//a[last()]/@n", "1"},
                                                         {"//a[b[0]='r'][0]/c", "[0]"},
                                                         {"//a[@m][0]/b[1][0]", "q"},
                                                         {"//*/*", "pq,p,q,r[0],r,[0]"},
                                                         {"//c[.=\"[0]\"]", "[0]"},
                                                         {"//b[99999999999999999999]", ""},
                                                         {"//b[-1]", ""},
                                                         {"//b[0.5]", ""}};
    for (const auto& [path, texts] : cases) {
        std::string found;
        const std::uint32_t count = document.CountNodes(path);
        for (std::uint32_t i = 0; i < count; ++i) {
            ASSERT_TRUE(document.SelectNode(path, i)) << path;
            found += (i ? "," : "") + document.GetText();
        }
        EXPECT_EQ(found, texts) << path;
        EXPECT_FALSE(document.SelectNode(path, count)) << path;
    }
}

TEST(XmlDocument, RefusesOtherExpressions) {
    testing::internal::CaptureStderr();
    XmlDocument document;
    ASSERT_TRUE(document.Load(sample));
    for (const std::string& path :
         {""s, "//b["s, "//b[']"s, "]"s, "count(//b)"s, "'text'"s, "//no:b"s, "//b\0"s, "//b[\x01]"s,
          "nothing()"s, Repeat("(", 70) + "//b" + Repeat(")", 70), "//b" + Repeat("/*", 3000),
          Repeat("-", 4000) + "1"}) {
        EXPECT_FALSE(document.SelectNode(path)) << path.substr(0, 20);
        ASSERT_EQ(document.GetStatus().GetCount(), 1u);
        EXPECT_EQ(document.GetStatus().GetItem(0).id, 0x7902u);
        EXPECT_EQ(document.CountNodes(path), XmlDocument::Failed);
        EXPECT_EQ(document.CountChildren(path), XmlDocument::Failed);
        EXPECT_EQ(document.GetStatus().GetItem(0).id, 0x7904u);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(document.CountChildren("/r"), 3u); // a comment is one, the line breaks are none
    EXPECT_EQ(document.CountChildren("/r/none"), XmlDocument::Failed);
}

TEST(XmlDocument, GoesOnWithTheListItHolds) {
    XmlDocument document;
    ASSERT_TRUE(document.Load(sample));
    ASSERT_TRUE(document.SelectNode("//b", 2));
    EXPECT_EQ(document.CountNodes("//c"), 1u);
    EXPECT_TRUE(document.SelectNode("//b", 0)); // now in the list of //c
    EXPECT_EQ(document.GetNodeName(), "c");
    EXPECT_FALSE(document.SelectNode("//b", 1));
    EXPECT_EQ(document.GetText("none"), "none");
    ASSERT_TRUE(document.SelectNode("//a"));
    document.GetAttributes();
    EXPECT_EQ(document.GetAttributes().ToXml(""), "<n>0</n>\n<m>x</m>\n");
    EXPECT_EQ(document.CountNodes("//b"), 3u);
    EXPECT_TRUE(document.SetText("<new>")); // the held nodes leave the document, and stay good
    ASSERT_TRUE(document.SelectNode("//a", 1));
    EXPECT_EQ(document.GetText(), "q");
    EXPECT_TRUE(document.SelectNode("//a[0]/@n") && document.SetText("\"<"));
    ASSERT_TRUE(document.SelectNode("/"));
    EXPECT_EQ(document.GetNodeName(), "#document");
    EXPECT_EQ(document.GetXml(), "<r><a n=\"&quot;&lt;\" m=\"x\">&lt;new&gt;</a><!-- c --><a n=\"1\"><b>r</b>"
                                 "<c>[0]</c></a></r>");
    EXPECT_FALSE(document.SetText("of the document"));
    EXPECT_FALSE(document.Load("") || document.CountNodes("//a") != 2); // leaves the document
    EXPECT_FALSE(document.Load("<") || document.CountNodes("//a") != XmlDocument::Failed);
}

TEST(XmlDocument, TextsComeBackByteForByte) {
    const support::Folder folder;
    const std::string file = folder / "file.xml";
    for (const std::string& text :
         {"<&>\"']]>"s, "a\nb\tc\r\nd\re"s, "  a  "s, "\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E"s,
          "\xE9\xFF\x80 \xA0"s, "\xEE\xBE\x85\xEE\xBF\xBF\xEE\xBE"s,
          "\xED\xA0\x80 \xEF\xBF\xBE \xC0\xAF \xF4\x90\x80\x80 \xE2\x82"s, "&#x41;&lt;&none;"s,
          std::string(100000, '\xFC')}) {
        XmlDocument document, again;
        ASSERT_TRUE(document.Load("<a b=''/>") && document.SelectNode("/a"));
        ASSERT_TRUE(document.SetText(text)) << text.substr(0, 20);
        EXPECT_TRUE(document.GetText() == text && document.SelectNode("/a/@b") && document.SetText(text));
        ASSERT_TRUE(document.Save(file) && again.Load(file)) << again.GetStatus().ToText();
        EXPECT_TRUE(again.SelectNode("/a") && again.GetText() == text) << text.substr(0, 20);
        EXPECT_EQ(again.GetAttributes()["b"], text.substr(0, 3) == "  a" ? "a" : text);
        EXPECT_TRUE(document.SelectNode("/") && again.Load(document.GetXml()) && again.SelectNode("/a"));
        EXPECT_EQ(again.GetText(), text);
    }
    XmlDocument document;
    ASSERT_TRUE(document.Load("<a>x</a>") && document.SelectNode("/a"));
    for (const std::string& text : {"\0"s, "a\x01"s, "\x1F"s})
        EXPECT_FALSE(document.SetText(text));
    EXPECT_EQ(document.GetText(), "x");
    EXPECT_EQ(document.GetStatus().GetItem(0).id, 0x79FFu);
    EXPECT_FALSE(document.Save("/none/none.xml"));
}

TEST(XmlDocument, ReadsEncodings) {
    const std::string wide =
        "<\0?\0x\0m\0l\0 \0v\0e\0r\0s\0i\0o\0n\0=\0'\0001\0.\0000\0'\0?\0>\0<\0a\0>\0\xE9\0<\0/\0a\0>\0"s;
    for (const std::string& text :
         {"\xEF\xBB\xBF<a>\xC3\xA9</a>"s, "\xFF\xFE"s + wide.substr(42), wide,
          "<?xml version='1.0' encoding=\"iso-8859-1\"?><a>\xE9</a>"s,
          "<?xml version='1.0' encoding='UTF-8'?><a>\xC3\xA9</a>"s, "<a>&#xE9;</a>"s}) {
        XmlDocument document;
        EXPECT_TRUE(document.Load(text) && document.SelectNode("/a")) << document.GetStatus().ToText();
        EXPECT_EQ(document.GetText(), "\xC3\xA9") << text;
    }
}

// Nothing outside is touched, and nothing takes longer than its size allows.
TEST(XmlDocument, RefusesHostileDocuments) {
    const support::Folder folder;
    const std::string file = folder / "secret.xml";
    std::ofstream(file) << "<secret/>";
    std::string many = "<a", spaces = "<a";
    for (int i = 0; i < 1001; ++i) {
        many += " a" + std::to_string(i) + "='>'";
        spaces += (i % 600 ? " xmlns:n" : "><b xmlns:n") + std::to_string(i) + "='u'";
    }
    const std::pair<std::string, const char*> cases[] = {
        {"<!DOCTYPE a [<!ENTITY x SYSTEM '" + file + "'>]><a>&x;</a>", "type declaration"},
        {"<!DOCTYPE a SYSTEM 'http://127.0.0.1:1/a.dtd'><a/>", "type declaration"},
        {"<!DOCTYPE a [<!ENTITY x 'xxxxxxxxxx'><!ENTITY y '&x;&x;&x;'>]><a>&y;</a>", "type declaration"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><!DOCTYPE a []><a/>", "type declaration"},
        {Repeat("<a>", 300) + Repeat("</a>", 300), "depth"},
        {many + "/>", "1000 attributes"},
        {spaces + "/></a>", "namespaces"},
        {testing::TempDir(), "cannot be read"},
        {"no-such-file.xml", "Start tag expected"},
        {"<a>&x;</a>", "'x'"},
        {"<a>&#1;</a>", "Char"},
        {"<a>\x01</a>", "Char"},
        {"<a>\0</a>"s, ""},
        {file + '\0', ""},
        {"<a><b></a>", "b"},
        {"\n <a", "Code: '"},
        {"\xFF\xFE<", ""},
        {"<?xml version='1.0' encoding='none'?><a/>", "encoding"},
        {"<?xml version='1.0' encoding='UTF-16'?><a/>", "encoding"},
        {"<caf\xE9/>", ""},
        {"<?xml encoding='", ""}};
    testing::internal::CaptureStderr();
    for (const auto& [text, reason] : cases) {
        XmlDocument document;
        EXPECT_FALSE(document.Load(text)) << text.substr(0, 60);
        EXPECT_THAT(document.GetStatus().ToText(), HasSubstr(reason));
        EXPECT_EQ(document.GetStatus().GetItem(0).id, 0x7901u);
        EXPECT_EQ(document.CountNodes("//Status"), XmlDocument::Failed);
    }
    XmlDocument document;
    EXPECT_TRUE(
        document.Load("<a xmlns:xi='http://www.w3.org/2001/XInclude'><xi:include href='" + file + "'/></a>"));
    EXPECT_EQ(document.CountNodes("//secret"), 0u);
    EXPECT_FALSE(document.Load("<a>\n<b></c></a>"));
    EXPECT_THAT(document.GetStatus().ToText(),
                HasSubstr("'<a>\n<b></c></a>'.  Please ensure that the XML is accessible and valid.  "
                          "Code: '4Ch';  Line: '2';  Column: '8';  Reason: 'Opening and ending tag"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(PropertyLookUp, ReadsItsOwnXml) {
    PropertyLookUp p, read;
    p["Method"] = "Brovey";
    p["a:b"] = "  \xE9\xFF \xEE\xBE  ";
    p["Empty"] = "";
    p["BandWeight-1"] = std::string(100000, '5');
    read["old"] = "1";
    ASSERT_TRUE(read.FromXml(p.ToXml("Props")));
    EXPECT_EQ(read.ToXml("Props"), p.ToXml("Props"));
    EXPECT_TRUE(read.FromXml("<r>\n <x>1<y>2</y></x>\n <!-- no --><X>3</X></r>"));
    EXPECT_EQ(read.ToXml(""), "<x>3</x>\n<y>2</y>\n");
    std::string deep, ends;
    for (int i = 0; i < 50; ++i) // each element has the text of all within it
        deep += "<n" + std::to_string(i) + ">", ends = "</n" + std::to_string(i) + ">" + ends;
    p["a/b"];
    for (const std::string& bad : {p.ToXml("Props"), deep + std::string(500000, 'x') + ends, ""s}) {
        Status status;
        EXPECT_FALSE(read.FromXml(bad, status));
        EXPECT_EQ(status.GetCount(), bad.empty() ? 0u : 1u);
        EXPECT_EQ(read.GetCount(), 2u); // as it was
    }
    EXPECT_TRUE(read.FromXml("<r/>"));
    EXPECT_EQ(read.GetCount(), 0u);
}

TEST(XmlBounds, RefuseWhatTakesTooMuchMemory) {
    const std::pair<std::string, const char*> cases[] = {
        {"<a>" + std::string(std::size_t{16} << 20, 'x') + "</a>", "larger than 16 MiB"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><a>" + std::string(9'000'000, '\xE9') + "</a>",
         "larger"},
        {"<r>" + Repeat("<a/>", 300'000) + "</r>", "elements and attributes"},
        {"<r>" + Repeat("<a b=''/>", 150'000) + "</r>", "elements and attributes"},
        {support::isWindows ? "NUL" : "/dev/zero", support::isWindows ? "not found" : "larger than 16 MiB"}};
    for (const auto& [text, reason] : cases) {
        XmlDocument document;
        EXPECT_FALSE(document.Load(text));
        EXPECT_THAT(document.GetStatus().ToText(), HasSubstr(reason));
    }
}

TEST(XmlBounds, LetALongListAndReportReadBack) {
    std::deque<PropertyLookUp::Pair> pairs;
    Status report, again;
    for (std::uint32_t i = 0; i < 12'000; ++i) {
        pairs.emplace_back("n" + std::to_string(i), std::to_string(i));
        report.Add(i, "a message of some length, as they are", "Fundament.Test");
    }
    const PropertyLookUp written(pairs);
    PropertyLookUp read;
    ASSERT_TRUE(read.FromXml(written.ToXml("Props")));
    EXPECT_EQ(read.ToXml("Props"), written.ToXml("Props"));
    ASSERT_TRUE(again.FromXml(report.ToXml(true)));
    EXPECT_EQ(again.ToText(), report.ToText());
}

} // namespace
