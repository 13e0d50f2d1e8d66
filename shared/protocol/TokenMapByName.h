// The controller's token records, indexed by the name's length and then by its first
// character, so a look-up compares only names that could match.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string_view>
#include <vector>

namespace Vaxo::Ubrix::Shared {

// Def needs `name` (a string) and `kind` (a char). A look-up with kind 0 takes any kind.
// Records never move once added (lists are deques), so pointers to them stay valid until the
// map is cleared.
template <class Def>
class TokenMapByName {
public:
    class ListsByFirstLetter {
    public:
        ListsByFirstLetter() { m_lists.emplace_back(); } // list 0 means "none"

        bool add(const Def& def) {
            unsigned char first = firstChar(def.name);
            std::uint8_t list = m_listOfLetter[first];
            if (list == 0) {
                if (m_lists.size() > 0xFF)
                    return false; // every list number is taken
                list = std::uint8_t(m_lists.size());
                m_lists.emplace_back();
                m_listOfLetter[first] = list;
            }
            m_lists[list].push_back(def);
            return true;
        }

        const Def* find(std::string_view name, char kind) const {
            std::uint8_t list = m_listOfLetter[firstChar(name)];
            if (list == 0)
                return nullptr;
            for (const Def& def : m_lists[list]) {
                if (def.name == name && (kind == 0 || def.kind == kind))
                    return &def;
            }
            return nullptr;
        }

    private:
        template <class S>
        static unsigned char firstChar(const S& name) {
            return name.empty() ? 0 : static_cast<unsigned char>(name[0]);
        }

        std::uint8_t m_listOfLetter[256] = {};
        std::vector<std::deque<Def>> m_lists;
    };

    // Duplicates are kept: a later record with the same name and kind is stored behind the
    // first one and is never found.
    bool add(const Def& def) {
        std::size_t length = def.name.size();
        if (length >= m_byLength.size())
            m_byLength.resize(length + 1);
        auto& slot = m_byLength[length];
        if (!slot)
            slot = std::make_unique<ListsByFirstLetter>();
        if (!slot->add(def))
            return false;
        ++m_count;
        return true;
    }

    const Def* find(std::string_view name, char kind) const {
        if (name.size() >= m_byLength.size() || !m_byLength[name.size()])
            return nullptr;
        return m_byLength[name.size()]->find(name, kind);
    }

    std::size_t size() const { return m_count; }

    void clear() {
        m_byLength.clear();
        m_count = 0;
    }

private:
    std::vector<std::unique_ptr<ListsByFirstLetter>> m_byLength;
    std::size_t m_count = 0;
};

} // namespace Vaxo::Ubrix::Shared
