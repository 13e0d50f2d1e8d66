// The XML reader against project-style files it must accept and malformed ones it must refuse
// with exactly their message, plus the reference decoder on its own.
#include "xml/XmlDocument.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <functional>
#include <string>

#include <unistd.h>

using namespace Vaxo::Ubrix::Xml;

namespace {

std::string writeFile(const std::string& bytes) {
    static std::atomic<int> counter{0};
    const std::string path = ::testing::TempDir() + "vaxo_xml_" + std::to_string(::getpid()) + "_" +
                             std::to_string(counter++) + ".xml";
    std::FILE* f = std::fopen(path.c_str(), "wb");
    EXPECT_NE(f, nullptr);
    std::fwrite(bytes.data(), 1, bytes.size(), f);
    std::fclose(f);
    return path;
}

bool readText(XmlDocument& doc, const std::string& bytes) {
    const std::string path = writeFile(bytes);
    const bool ok = doc.read(path);
    std::remove(path.c_str());
    return ok;
}

const std::string kBom = "\xEF\xBB\xBF";

// Every element's children point back at it.
void expectLinked(const XmlElement& e) {
    for (const XmlElement& c : e.children()) {
        EXPECT_EQ(c.parent(), &e) << c.name();
        expectLinked(c);
    }
}

} // namespace

TEST(XmlReader, ProjectFileWithAttributesEntitiesAndBom) {
    XmlDocument doc;
    ASSERT_TRUE(readText(doc, kBom + "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n"
                                     "<Project Name=\"Demo &amp; Test\" Version =\"2\">\r\n"
                                     "  <Item Name=\"MAIN\" FileName=\"main.bas\" Type=\"BASIC\" Storage=\"RAM\" "
                                     "IsAutorun=\"1\"/>\r\n"
                                     "  <Item Name=\"&lt;T&gt;&#65;&#x41;&#x0A;&quot;&Tab;&nbsp;&NewLine;&copy;\" "
                                     "FileName=\"caf&#233; &#8364;.txt\" Type=\"TEXT\" Storage=\"FLASH\" "
                                     "IsAutorun=\"0\" />\r\n"
                                     "</Project>\r\ntrailing text is ignored <"))
        << doc.error();
    const XmlElement& root = doc.root();
    EXPECT_EQ(root.name(), "Project");
    EXPECT_EQ(root.attribute("Name").value(), "Demo & Test");
    EXPECT_EQ(root.attribute("Version").value(), "2");
    ASSERT_EQ(root.children().size(), 2u);
    const XmlElement& main = root.children()[0];
    EXPECT_TRUE(main.isSelfClosed());
    const char* keys[] = {"Name", "FileName", "Type", "Storage", "IsAutorun"};
    const char* values[] = {"MAIN", "main.bas", "BASIC", "RAM", "1"};
    ASSERT_EQ(main.attributes().size(), 5u);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(main.attributes()[std::size_t(i)].name(), keys[i]);
        EXPECT_EQ(main.attribute(keys[i]).value(), values[i]);
    }
    const XmlElement& text = root.children()[1];
    EXPECT_EQ(text.attribute("Name").value(), "<T>AA\n\"\t \n&copy;");
    EXPECT_EQ(text.attribute("FileName").value(), "caf\xC3\xA9 \xE2\x82\xAC.txt");
    expectLinked(root);
    EXPECT_EQ(root.parent(), nullptr);
}

TEST(XmlReader, ProjectFileWithChildElementsAndRawContent) {
    std::string items;
    for (int i = 0; i < 40; ++i) // enough siblings to move the children around while reading
        items += "<Item><Name>P" + std::to_string(i) + "</Name><FileName>p.bas</FileName><Type>BASIC</Type>"
                 "<Storage>RAM</Storage><IsAutorun>" + std::to_string(i % 2) + "</IsAutorun></Item>\n";
    XmlDocument doc;
    ASSERT_TRUE(readText(doc, "<?xml version=\"1.0\"?>\n<Project>\n<Items>\n" + items +
                                  "</Items><Note>  a &amp; b </Note></Project>"))
        << doc.error();
    const XmlElement& list = doc.root().child("Items");
    ASSERT_EQ(list.children().size(), 40u);
    EXPECT_EQ(list.children()[7].child("Name").content(), "P7");
    EXPECT_EQ(list.children()[7].child("IsAutorun").content(), "1");
    EXPECT_EQ(doc.root().child("Note").content(), "  a &amp; b "); // raw, spaces kept
    expectLinked(doc.root());

    const XmlElement copy = doc.root(); // copies keep their own parent links
    expectLinked(copy);
    EXPECT_EQ(copy.child("Items").children()[39].child("Name").content(), "P39");
}

TEST(XmlReader, LookupsAndDeclarationShape) {
    XmlDocument doc;
    ASSERT_TRUE(readText(doc, "<?xml?><a k=\"v\">  x </a>")) << doc.error();
    EXPECT_EQ(doc.root().content(), "  x ");
    EXPECT_EQ(&doc.root().attribute("K"), &s_emptyAttribute); // case-sensitive
    EXPECT_EQ(&doc.root().child("b"), &s_emptyElement);
    EXPECT_TRUE(s_emptyElement.name().empty() && s_emptyAttribute.value().empty());

    ASSERT_FALSE(readText(doc, "<?xml?><a"));
    EXPECT_TRUE(doc.root().children().empty());
    ASSERT_TRUE(readText(doc, "<?xml?><a></a>"));
    EXPECT_TRUE(doc.error().empty());
}

TEST(XmlReader, MalformedFilesFailWithTheirMessage) {
    const std::string decl = "<?xml version=\"1.0\"?>";
    const struct {
        std::string text;
        const char* message;
    } rows[] = {
        {"<a", "Not an XML file"},
        {"  " + decl + "<a></a>", "Not an XML file"},
        {std::string("\xFF\xFE<\0?\0x\0", 8), "Only UTF-8 files accepted"},
        {std::string("\xFE\xFF\0<\0?", 6), "Only UTF-8 files accepted"},
        {std::string("\xFF\xFE\0\0<\0\0\0", 8), "Only UTF-8 files accepted"},
        {"\x84\x31\x95\x33<?xml?>", "Only UTF-8 files accepted"},
        {kBom + " " + decl + "<a></a>", ""}, // a mark followed by white space leaves no message
        {"<?x?><a></a>", "Missing or invalid Xml header"},
        {"<?xml><a></a>", "Missing or invalid Xml header"},
        {"<Project></Project>", "Missing or invalid Xml header"},
        {"<?xml version=\"1.0\"", "Closing '>' not found"},
        {decl + "<a/>", "Content not found"},
        {decl + "<a><b></b>", "Content not found"},
        {decl + "<a>text<b/>more</a>", "Content set twice"},
        {decl + "<a><b></a>", "Tag not closed"},
        {decl + "<a>text", "Content closing '<' not found"},
        {decl + "<a><b", "Closing '>' not found"},
        {decl + "<a><></a>", "Node error"},
        {decl + "<a>< b></a>", "Name not found after '<'"},
        {decl + "<a></a/>", "Closing tag error"},
        {decl + "<a b></a>", "Value expected"},
        {decl + "<a b=></a>", "Quoted value expected"},
        {decl + "<a b='1'></a>", "Quoted value expected"},
        {decl + "<a b= \"1\"></a>", "Quoted value expected"}, // the quote must follow '=' at once
        {decl + "<a><!-- note --></a>", "Quoted value expected"},
        {decl + "<a b=\"1></a>", "Quotes not closed"},
        {decl + "<a b=\"&amp\"></a>", "XML character decode error"},
        {decl + "<a b=\"&#xA;\"></a>", "XML character decode error"},
        {decl + "<a b=\"&#x1F600;\"></a>", "XML character decode error"},
    };
    for (const auto& r : rows) {
        XmlDocument doc;
        EXPECT_FALSE(readText(doc, r.text)) << r.text;
        EXPECT_EQ(doc.error(), r.message) << r.text;
    }

    XmlDocument doc;
    EXPECT_FALSE(doc.read(::testing::TempDir() + "no/such/file.xml"));
    EXPECT_EQ(doc.error(), "Failed to open the file");
    EXPECT_FALSE(doc.read(::testing::TempDir()));
    EXPECT_EQ(doc.error(), "Failed to read the file");

    const char* error = "";
    XmlElement e;
    char notATag[] = "a>";
    EXPECT_FALSE(initFromTagSegment(notATag, 2, e, error));
    EXPECT_STREQ(error, "Internal error");
}

TEST(XmlDecode, ReferencesInPlace) {
    const struct {
        std::string in;
        std::string out; // "!" marks a decode error
    } rows[] = {
        {"plain", "plain"},
        {"&#65;&#x41;&#X41;", "AAA"},
        {"&#12ab;", "\x0C"}, // digits end at the first non-digit; the rest is dropped
        {"&#0233;&#x7FF;&#x800;&#65535;", "\xC3\xA9\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
        {"&lt;&gt;&quot;&amp;&nbsp;&Tab;&NewLine;", "<>\"& \t\n"},
        {"&LT;&apos;x", "&LT;&apos;x"}, // not ours: left as written
        {"&amp;lt;", "&lt;"},
        {"&#65536;", "!"},
        {"&#99999999999;", "!"},
        {"&#xA;", "!"},
        {"&#x;", "!"},
        {"&#;", "!"},
        {"a&;", "!"},
        {"a&b", "!"},
    };
    for (const auto& r : rows) {
        std::string buf = r.in;
        const std::uint32_t n = decodeSegment(buf.data(), std::uint32_t(buf.size()));
        if (r.out == "!")
            EXPECT_EQ(n, s_decodeError) << r.in;
        else
            EXPECT_EQ(buf.substr(0, n), r.out) << r.in;
    }

    char out[3];
    EXPECT_EQ(toMultibyteUtf8(out, 0x7F, 0), 0u);
    EXPECT_EQ(toMultibyteUtf8(out, 0x80, 1), 0u);
    EXPECT_EQ(toMultibyteUtf8(out, 0x800, 2), 0u);
    EXPECT_EQ(toMultibyteUtf8(out, 0x10000, 3), 0u);

    const unsigned char utf32le[] = {0xFF, 0xFE, 0x00, 0x00};
    ASSERT_NE(stFileBOM::getBOM_info(utf32le, 4), nullptr);
    EXPECT_EQ(stFileBOM::getBOM_info(utf32le, 4)->kind, 2); // UTF-16 LE is tried first
    EXPECT_EQ(stFileBOM::getBOM_info(reinterpret_cast<const unsigned char*>("\xEF\xBB"), 2), nullptr);
}
