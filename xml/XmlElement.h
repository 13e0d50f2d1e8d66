// The nodes of a read XML document. Names, values and content are views into the owning
// XmlDocument's text, which must outlive them; nothing is copied per node.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace Vaxo::Ubrix::Xml {

class XmlNamedNode {
public:
    XmlNamedNode() = default;
    explicit XmlNamedNode(std::string_view name) : m_name(name) {}

    std::string_view name() const { return m_name; }

protected:
    std::string_view m_name;
};

class XmlAttribute : public XmlNamedNode {
public:
    XmlAttribute() = default;
    XmlAttribute(std::string_view name, std::string_view value) : XmlNamedNode(name), m_value(value) {}

    // Entity references are already decoded.
    std::string_view value() const { return m_value; }

private:
    std::string_view m_value;
};

class XmlElement : public XmlNamedNode {
public:
    // What a segment read from the text turned out to be.
    enum SegmentKind : int { SegmentNone = 0, SegmentOpening = 1, SegmentClosing = 2, SegmentText = 3 };

    XmlElement() = default;
    // Copies and moves keep the children's parent pointers on the new object.
    XmlElement(const XmlElement& other);
    XmlElement(XmlElement&& other) noexcept;
    XmlElement& operator=(const XmlElement& other);
    XmlElement& operator=(XmlElement&& other) noexcept;
    ~XmlElement() = default;

    // The element's text as written, entity references not decoded, surrounding white space kept.
    std::string_view content() const { return m_content; }
    bool isSelfClosed() const { return m_selfClosed; }
    SegmentKind kind() const { return m_kind; }
    const std::vector<XmlAttribute>& attributes() const { return m_attributes; }
    const std::vector<XmlElement>& children() const { return m_children; }
    const XmlElement* parent() const { return m_parent; }

    // First attribute / direct child with exactly this name, else the shared empty one.
    const XmlAttribute& attribute(std::string_view name) const;
    const XmlElement& child(std::string_view name) const;

    void clear();

private:
    friend class XmlDocument;
    friend bool initFromTagSegment(char*, std::size_t, XmlElement&, const char*&);
    friend bool parseAttributes(char*, char*, XmlElement&, const char*&);
    friend bool readElement(char*&, char*, XmlElement&, const char*&);

    void relinkChildren();

    std::string_view m_content;
    bool m_selfClosed = false;
    SegmentKind m_kind = SegmentNone;
    std::vector<XmlAttribute> m_attributes;
    std::vector<XmlElement> m_children;
    XmlElement* m_parent = nullptr;
};

// What failed lookups return.
extern const XmlAttribute s_emptyAttribute;
extern const XmlElement s_emptyElement;

} // namespace Vaxo::Ubrix::Xml
