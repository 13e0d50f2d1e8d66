// The XML reader: file loading, byte-order marks, the segment reader, tag and attribute
// parsing and in-place reference decoding.
#include "xml/XmlDocument.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>

namespace Vaxo::Ubrix::Xml {

namespace {

// The reader's messages.
constexpr const char* s_errOpen = "Failed to open the file";
constexpr const char* s_errRead = "Failed to read the file";
constexpr const char* s_errNotXml = "Not an XML file";
constexpr const char* s_errOnlyUtf8 = "Only UTF-8 files accepted";
constexpr const char* s_errHeader = "Missing or invalid Xml header";
constexpr const char* s_errContentTwice = "Content set twice";
constexpr const char* s_errTagNotClosed = "Tag not closed";
constexpr const char* s_errXml = "Xml error";
constexpr const char* s_errNoContent = "Content not found";
constexpr const char* s_errNoContentClose = "Content closing '<' not found";
constexpr const char* s_errNoClose = "Closing '>' not found";
constexpr const char* s_errInternal = "Internal error";
constexpr const char* s_errNode = "Node error";
constexpr const char* s_errNoName = "Name not found after '<'";
constexpr const char* s_errClosingTag = "Closing tag error";
constexpr const char* s_errValueExpected = "Value expected";
constexpr const char* s_errQuotedValue = "Quoted value expected";
constexpr const char* s_errQuotesNotClosed = "Quotes not closed";
constexpr const char* s_errDecode = "XML character decode error";

bool isWs(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }

struct NamedEntity {
    std::string_view name;
    char replacement;
};

// No reference for the apostrophe: the attribute values are double-quoted only.
constexpr NamedEntity s_namedEntities[] = {
    {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"amp", '&'}, {"nbsp", ' '}, {"Tab", '\t'}, {"NewLine", '\n'},
};

int digitValue(char c, unsigned base) {
    int v = -1;
    if (c >= '0' && c <= '9')
        v = c - '0';
    else if (c >= 'a' && c <= 'f')
        v = c - 'a' + 10;
    else if (c >= 'A' && c <= 'F')
        v = c - 'A' + 10;
    return v >= 0 && unsigned(v) < base ? v : -1;
}

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};

} // namespace

const stFileBOM s_fileBOMs[11] = {
    {0, {0xEF, 0xBB, 0xBF}, 3},       // UTF-8
    {1, {0xFE, 0xFF}, 2},             // UTF-16 big-endian
    {2, {0xFF, 0xFE}, 2},             // UTF-16 little-endian (also catches UTF-32 little-endian)
    {3, {0x00, 0x00, 0xFE, 0xFF}, 4}, // UTF-32 big-endian
    {4, {0xFF, 0xFE, 0x00, 0x00}, 4}, // UTF-32 little-endian
    {5, {0x2B, 0x2F, 0x76}, 3},       // UTF-7
    {6, {0xF7, 0x64, 0x4C}, 3},       // UTF-1
    {7, {0xDD, 0x73, 0x66, 0x73}, 4}, // UTF-EBCDIC
    {8, {0x0E, 0xFE, 0xFF}, 3},       // SCSU
    {9, {0xFB, 0xEE, 0x28}, 3},       // BOCU-1
    {10, {0x84, 0x31, 0x95, 0x33}, 4}, // GB 18030
};

const stFileBOM* stFileBOM::getBOM_info(const unsigned char* data, std::size_t length) {
    for (const stFileBOM& bom : s_fileBOMs)
        if (bom.length <= length && std::memcmp(bom.bytes, data, bom.length) == 0)
            return &bom;
    return nullptr;
}

std::uint32_t toMultibyteUtf8(char* out, std::uint32_t codePoint, std::uint32_t capacity) {
    if (codePoint >= 0x10000)
        return 0;
    if (codePoint < 0x80) {
        if (capacity < 1)
            return 0;
        out[0] = char(codePoint);
        return 1;
    }
    if (codePoint < 0x800) {
        if (capacity < 2)
            return 0;
        out[0] = char(0xC0 | (codePoint >> 6));
        out[1] = char(0x80 | (codePoint & 0x3F));
        return 2;
    }
    if (capacity < 3)
        return 0;
    out[0] = char(0xE0 | (codePoint >> 12));
    out[1] = char(0x80 | ((codePoint >> 6) & 0x3F));
    out[2] = char(0x80 | (codePoint & 0x3F));
    return 3;
}

std::uint32_t decodeSegment(char* bytes, std::uint32_t length) {
    std::uint32_t r = 0, w = 0;
    while (r < length) {
        if (bytes[r] != '&') {
            bytes[w++] = bytes[r++];
            continue;
        }
        const auto* semi = static_cast<const char*>(std::memchr(bytes + r + 1, ';', length - r - 1));
        if (!semi)
            return s_decodeError;
        const auto semiPos = std::uint32_t(semi - bytes);
        if (semiPos == r + 1)
            return s_decodeError;
        const std::string_view ref(bytes + r + 1, semiPos - r - 1);

        if (ref[0] != '#') {
            char replacement = 0;
            for (const NamedEntity& e : s_namedEntities)
                if (e.name == ref)
                    replacement = e.replacement;
            if (replacement) {
                bytes[w++] = replacement;
            } else { // not ours: the reference stays in the text as written
                for (std::uint32_t i = r; i <= semiPos; ++i)
                    bytes[w++] = bytes[i];
            }
            r = semiPos + 1;
            continue;
        }

        // Numeric: &#ddd; or &#xhh; — the first digit must be decimal, in either base.
        std::uint32_t p = r + 2;
        unsigned base = 10;
        if (p < semiPos && (bytes[p] == 'x' || bytes[p] == 'X')) {
            base = 16;
            ++p;
        }
        if (p >= semiPos || bytes[p] < '0' || bytes[p] > '9')
            return s_decodeError;
        std::uint64_t value = 0;
        for (int d; p < semiPos && (d = digitValue(bytes[p], base)) >= 0; ++p) {
            value = value * base + unsigned(d);
            if (value > 0xFFFFFFFFu)
                return s_decodeError;
        }
        const std::uint32_t n = toMultibyteUtf8(bytes + w, std::uint32_t(value), semiPos - r + 1);
        if (n == 0)
            return s_decodeError;
        w += n;
        r = semiPos + 1;
    }
    return w;
}

bool detectElementTag(std::string_view text, std::string_view& tag, const char*& error) {
    std::size_t start = 0;
    while (start < text.size() && isWs(text[start]))
        ++start;
    // The text itself must start the tag; a mismatch here leaves no message.
    if (text.empty() || text[0] != '<')
        return false;
    const std::size_t close = text.find('>', start);
    if (close == std::string_view::npos) {
        error = s_errNoClose;
        return false;
    }
    tag = text.substr(start, close - start + 1);
    return true;
}

bool parseAttributes(char* p, char* end, XmlElement& element, const char*& error) {
    for (;;) {
        while (p < end && isWs(*p))
            ++p;
        if (p >= end)
            return true;
        char* const nameStart = p;
        while (p < end && !isWs(*p) && *p != '=')
            ++p;
        const std::string_view name(nameStart, std::size_t(p - nameStart));
        while (p < end && isWs(*p))
            ++p;
        if (p >= end) {
            error = s_errValueExpected;
            return false;
        }
        ++p; // the '='
        if (p >= end || *p != '"') {
            error = s_errQuotedValue;
            return false;
        }
        char* const valueStart = ++p;
        char* const valueEnd = static_cast<char*>(std::memchr(p, '"', std::size_t(end - p)));
        if (!valueEnd) {
            error = s_errQuotesNotClosed;
            return false;
        }
        const std::uint32_t n = decodeSegment(valueStart, std::uint32_t(valueEnd - valueStart));
        if (n == s_decodeError) {
            error = s_errDecode;
            return false;
        }
        element.m_attributes.emplace_back(name, std::string_view(valueStart, n));
        p = valueEnd + 1;
    }
}

bool initFromTagSegment(char* tag, std::size_t length, XmlElement& element, const char*& error) {
    if (length == 0 || tag[0] != '<' || tag[length - 1] != '>') {
        error = s_errInternal;
        return false;
    }
    if (length <= 2) {
        error = s_errNode;
        return false;
    }
    const bool closing = tag[1] == '/';
    const bool selfClosed = tag[length - 2] == '/';
    char* const bodyEnd = tag + length - 1 - (selfClosed ? 1 : 0);
    char* const nameStart = tag + (closing ? 2 : 1);
    char* nameEnd = nameStart;
    while (nameEnd < bodyEnd && !isWs(*nameEnd))
        ++nameEnd;
    if (nameEnd <= nameStart) {
        error = s_errNoName;
        return false;
    }
    if (closing && selfClosed) {
        error = s_errClosingTag;
        return false;
    }
    element.m_name = std::string_view(nameStart, std::size_t(nameEnd - nameStart));
    element.m_kind = closing ? XmlElement::SegmentClosing : XmlElement::SegmentOpening;
    element.m_selfClosed = selfClosed;
    if (closing)
        return true;
    return parseAttributes(nameEnd, bodyEnd, element, error);
}

bool readElement(char*& unread, char* end, XmlElement& element, const char*& error) {
    char* p = unread;
    while (p < end && isWs(*p))
        ++p;
    if (p >= end) {
        error = s_errNoContent;
        return false;
    }
    if (*p != '<') { // text, leading white space included
        char* const lt = static_cast<char*>(std::memchr(p, '<', std::size_t(end - p)));
        if (!lt) {
            error = s_errNoContentClose;
            return false;
        }
        element.m_kind = XmlElement::SegmentText;
        element.m_content = std::string_view(unread, std::size_t(lt - unread));
        unread = lt;
        return true;
    }
    std::string_view tag;
    if (!detectElementTag(std::string_view(p, std::size_t(end - p)), tag, error))
        return false;
    if (!initFromTagSegment(p, tag.size(), element, error))
        return false;
    unread = p + tag.size();
    return true;
}

void XmlDocument::clear() {
    m_error.clear();
    m_root.clear();
    m_text.clear();
}

bool XmlDocument::fail(const char* message) {
    m_root.clear();
    m_text.clear();
    m_error = message;
    return false;
}

bool XmlDocument::read(const std::string& path) {
    clear();
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
    if (!file)
        return fail(s_errOpen);
    char chunk[4096];
    for (;;) {
        const std::size_t n = std::fread(chunk, 1, sizeof chunk, file.get());
        m_text.insert(m_text.end(), chunk, chunk + n);
        if (n < sizeof chunk)
            break;
    }
    if (std::ferror(file.get()))
        return fail(s_errRead);
    return parse();
}

bool XmlDocument::parse() {
    if (m_text.size() < 3)
        return fail(s_errNotXml);
    char* p = m_text.data();
    char* const end = p + m_text.size();
    if (*p != '<') {
        const stFileBOM* bom = stFileBOM::getBOM_info(reinterpret_cast<const unsigned char*>(p), m_text.size());
        if (!bom)
            return fail(s_errNotXml);
        if (bom->kind != 0)
            return fail(s_errOnlyUtf8);
        p += bom->length;
    }

    const char* error = "";
    std::string_view header;
    if (!detectElementTag(std::string_view(p, std::size_t(end - p)), header, error))
        return fail(error);
    // Only the shape of the declaration is checked, not what it says.
    if (header.size() <= 6 || !header.starts_with("<?") || !header.ends_with("?>"))
        return fail(s_errHeader);
    p += (header.data() - p) + std::ptrdiff_t(header.size());

    if (!readElement(p, end, m_root, error))
        return fail(error);
    XmlElement* current = &m_root;
    while (current) {
        XmlElement segment;
        if (!readElement(p, end, segment, error))
            return fail(error);
        switch (segment.kind()) {
        case XmlElement::SegmentText:
            if (!current->m_content.empty())
                return fail(s_errContentTwice);
            current->m_content = segment.m_content;
            break;
        case XmlElement::SegmentOpening: {
            const bool selfClosed = segment.m_selfClosed;
            segment.m_parent = current;
            current->m_children.push_back(std::move(segment));
            if (!selfClosed)
                current = &current->m_children.back();
            break;
        }
        case XmlElement::SegmentClosing:
            if (segment.name() != current->name())
                return fail(s_errTagNotClosed);
            current = current->m_parent;
            break;
        default:
            return fail(s_errXml);
        }
    }
    // Whatever follows the root is ignored.
    return true;
}

} // namespace Vaxo::Ubrix::Xml
