// Parsers for the line-per-entry listings: the directory (DIR) and the process list
// (PROCESS). The commands that read them drive Feed themselves, one byte per read, until
// IsDone(); a listing ends either at 0x00 (the standard response follows, the reader gives
// the 0x00 back to the port) or at a line starting with "OK" (nothing follows).
#pragma once

#include "shared/parsers/FromChars.h"
#include "shared/parsers/ParserTypes.h"

#include <vaxo/Types.hpp>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Vaxo::Ubrix::Shared {

// Directory entry: "name,size,crc,lines,type,a,b" with blanks around items allowed. A name of
// "TABLE" (any case) is not a file. The name is cut to nameSize - 1 characters and written
// 0x00-terminated into `name`. Returns false if any item fails to parse; `info` is then left
// as it was.
bool parseFileEntryCore(std::string_view line, FileInfo& info, char* name, std::size_t nameSize) noexcept;

template <std::size_t N>
bool parseFileEntry(std::string_view line, FileInfo& info, char (&name)[N]) noexcept {
    static_assert(N >= 1);
    return parseFileEntryCore(line, info, name, N);
}

// Process entry: "process,name,state,priority,line,ticks,cycles[,load][,*]"; the first five
// numbers are signed 32-bit, ticks and cycles unsigned 64-bit, load a double that is a quiet
// NaN when missing or empty, and an item "*" marks the entry. Same name rules as above,
// without the "TABLE" exclusion.
bool parseProcessInfoEntryCore(std::string_view line, ProcessInfo& info, char* name, std::size_t nameSize) noexcept;

template <std::size_t N>
bool parseProcessInfoEntry(std::string_view line, ProcessInfo& info, char (&name)[N]) noexcept {
    static_assert(N >= 1);
    return parseProcessInfoEntryCore(line, info, name, N);
}

// The line discipline both listings share: 0x0D is skipped, 0x0A ends a line, 0x00 ends the
// listing. A line longer than Capacity - 1 characters is refused.
class ListLineBuffer {
public:
    static constexpr std::size_t Capacity = 1024;
    enum class Step { More, Line, End, TooLong };

    Step put(char c) noexcept {
        m_last = c;
        if (c == '\r')
            return Step::More;
        if (c == '\0')
            return Step::End;
        if (c == '\n')
            return Step::Line;
        if (m_fill >= Capacity - 1)
            return Step::TooLong;
        m_line[m_fill++] = c;
        return Step::More;
    }
    std::string_view line() const noexcept { return std::string_view(m_line, m_fill); }
    void clear() noexcept { m_fill = 0; }
    char last() const noexcept { return m_last; }

    static bool isOkLine(std::string_view line) noexcept {
        return line.size() >= 2 && equalsNoCase(line.substr(0, 2), "OK");
    }

private:
    char m_line[Capacity];
    std::size_t m_fill = 0;
    char m_last = '\0';
};

// What sets the two listings apart: the record of one line and the entry parser that fills
// it, whether the first line is a header to skip, and whether blank lines are skipped or
// refused.
template <class InfoT, bool Header, bool SkipBlank,
          bool (*Parse)(std::string_view, InfoT&, char*, std::size_t) noexcept>
struct Listing {
    using Info = InfoT;
    static constexpr bool hasHeader = Header;
    static constexpr bool skipsBlankLines = SkipBlank;
    template <std::size_t N>
    static bool parse(std::string_view line, Info& info, char (&name)[N]) noexcept {
        return Parse(line, info, name, N);
    }
};
using DirListing = Listing<FileInfo, true, false, parseFileEntryCore>;
using ProcessListing = Listing<ProcessInfo, false, true, parseProcessInfoEntryCore>;

// A listing, one entry per line, each passed to the callable as (Info, std::string_view name).
// A line starting with "OK" or a 0x00 ends it. A line that does not parse gives BadResponse,
// and the parser then refuses further input.
template <class F, class Listing>
class ListReplyParser {
public:
    explicit ListReplyParser(F& onEntry) noexcept : m_onEntry(onEntry) {}

    ErrorCode Feed(const char* data, std::uint32_t length, std::uint32_t& consumed) {
        consumed = 0;
        if (m_error != ErrorCode::Success)
            return m_error;
        while (!m_done && consumed < length) {
            switch (m_lines.put(data[consumed++])) {
            case ListLineBuffer::Step::More:
                break;
            case ListLineBuffer::Step::End:
                m_done = true;
                break;
            case ListLineBuffer::Step::TooLong:
                return m_error = ErrorCode::BadResponse;
            case ListLineBuffer::Step::Line:
                if (ErrorCode e = takeLine(m_lines.line()); e != ErrorCode::Success)
                    return m_error = e;
                m_lines.clear();
                break;
            }
        }
        return ErrorCode::Success;
    }
    bool IsDone() const noexcept { return m_done; }
    char LastChar() const noexcept { return m_lines.last(); }

private:
    ErrorCode takeLine(std::string_view line) {
        if (ListLineBuffer::isOkLine(line)) {
            m_done = true;
        } else if (Listing::hasHeader && !m_headerSeen) {
            m_headerSeen = true;
        } else if (!Listing::skipsBlankLines || !trimBlanks(line).empty()) {
            typename Listing::Info info{};
            char name[132];
            if (!Listing::parse(line, info, name))
                return ErrorCode::BadResponse;
            m_onEntry(info, std::string_view(name));
        }
        return ErrorCode::Success;
    }

    F& m_onEntry;
    ListLineBuffer m_lines;
    bool m_headerSeen = false;
    bool m_done = false;
    ErrorCode m_error = ErrorCode::Success;
};

// The two listings by name, deducing the callable's type from the constructor argument.
#define VAXO_LIST_REPLY_PARSER(Name, Listing)                                                                    \
    template <class F>                                                                                           \
    class Name : public ListReplyParser<F, Listing> {                                                            \
    public:                                                                                                      \
        using ListReplyParser<F, Listing>::ListReplyParser;                                                      \
    };                                                                                                           \
    template <class F>                                                                                           \
    Name(F&) -> Name<F>;
// Directory listing: the first line is a header and is skipped; every later line is one file.
VAXO_LIST_REPLY_PARSER(DirReplyParser, DirListing)
// Process list: every line that is not blank is one process. No header line.
VAXO_LIST_REPLY_PARSER(ProcessReplyParser, ProcessListing)
#undef VAXO_LIST_REPLY_PARSER

} // namespace Vaxo::Ubrix::Shared
