// A small, strict reader for the XML files the library consumes, chiefly project files.
// UTF-8 only (with or without its byte-order mark), an XML declaration first, elements with
// double-quoted attributes and text. No comments, CDATA, DTDs or namespaces: anything outside
// that subset fails with one fixed message.
#pragma once

#include "xml/XmlElement.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Vaxo::Ubrix::Xml {

class XmlDocument {
public:
    XmlDocument() = default;
    // The nodes are views into the text; the text buffer moves with the document.
    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;
    XmlDocument(XmlDocument&&) noexcept = default;
    XmlDocument& operator=(XmlDocument&&) noexcept = default;

    // Reads and parses the whole file; on failure returns false with the reason in error().
    bool read(const std::string& path);
    const std::string& error() const { return m_error; }
    const XmlElement& root() const { return m_root; }
    void clear();

private:
    bool parse();
    bool fail(const char* message);

    std::string m_error;
    std::vector<char> m_text;
    XmlElement m_root;
};

// One byte-order mark: the encoding's kind number, its bytes and their count.
struct stFileBOM {
    int kind;
    unsigned char bytes[4];
    unsigned length;

    // The first known mark that the data starts with, or null.
    static const stFileBOM* getBOM_info(const unsigned char* data, std::size_t length);
};

// Kind 0 is UTF-8, the only one accepted.
extern const stFileBOM s_fileBOMs[11];

// Building blocks of the reader. Each failing step leaves one of the reader's fixed messages
// in `error` (detectElementTag leaves it empty when the text does not start with '<').
bool detectElementTag(std::string_view text, std::string_view& tag, const char*& error);
bool initFromTagSegment(char* tag, std::size_t length, XmlElement& element, const char*& error);
bool parseAttributes(char* begin, char* end, XmlElement& element, const char*& error);
bool readElement(char*& unread, char* end, XmlElement& element, const char*& error);

// Decodes character and entity references in place; the new length, or 0xFFFFFFFF on error.
std::uint32_t decodeSegment(char* bytes, std::uint32_t length);
inline constexpr std::uint32_t s_decodeError = 0xFFFFFFFFu;

// UTF-8 form of a code point below 65536; bytes written, or 0 when the code point is too large
// or the capacity too small.
std::uint32_t toMultibyteUtf8(char* out, std::uint32_t codePoint, std::uint32_t capacity);

} // namespace Vaxo::Ubrix::Xml
