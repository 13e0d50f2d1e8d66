// Element and attribute lookups, and the shared empty nodes that failed lookups return.
#include "xml/XmlElement.h"

#include <utility>

namespace Vaxo::Ubrix::Xml {

const XmlAttribute s_emptyAttribute;
const XmlElement s_emptyElement;

XmlElement::XmlElement(const XmlElement& other)
    : XmlNamedNode(other),
      m_content(other.m_content),
      m_selfClosed(other.m_selfClosed),
      m_kind(other.m_kind),
      m_attributes(other.m_attributes),
      m_children(other.m_children),
      m_parent(other.m_parent) {
    relinkChildren();
}

XmlElement::XmlElement(XmlElement&& other) noexcept
    : XmlNamedNode(std::move(other)),
      m_content(other.m_content),
      m_selfClosed(other.m_selfClosed),
      m_kind(other.m_kind),
      m_attributes(std::move(other.m_attributes)),
      m_children(std::move(other.m_children)),
      m_parent(other.m_parent) {
    relinkChildren();
}

XmlElement& XmlElement::operator=(const XmlElement& other) {
    if (this != &other) {
        XmlElement copy(other);
        *this = std::move(copy);
    }
    return *this;
}

XmlElement& XmlElement::operator=(XmlElement&& other) noexcept {
    if (this != &other) {
        m_name = other.m_name;
        m_content = other.m_content;
        m_selfClosed = other.m_selfClosed;
        m_kind = other.m_kind;
        m_attributes = std::move(other.m_attributes);
        m_children = std::move(other.m_children);
        m_parent = other.m_parent;
        relinkChildren();
    }
    return *this;
}

void XmlElement::relinkChildren() {
    for (XmlElement& c : m_children)
        c.m_parent = this;
}

const XmlAttribute& XmlElement::attribute(std::string_view name) const {
    for (const XmlAttribute& a : m_attributes)
        if (a.name() == name)
            return a;
    return s_emptyAttribute;
}

const XmlElement& XmlElement::child(std::string_view name) const {
    for (const XmlElement& c : m_children)
        if (c.name() == name)
            return c;
    return s_emptyElement;
}

void XmlElement::clear() {
    m_name = {};
    m_content = {};
    m_selfClosed = false;
    m_kind = SegmentNone;
    m_attributes.clear();
    m_children.clear();
    m_parent = nullptr;
}

} // namespace Vaxo::Ubrix::Xml
