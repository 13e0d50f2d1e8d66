// Parser for the frame-group reply "group [n]: a,b,c" followed by a terminator byte (0x0A
// normally). Blanks are allowed around "[", "]" and ":" and are skipped entirely inside the
// list, so "1 2" reads as 12. List elements are unsigned decimal numbers stored as int.
#pragma once

#include <vaxo/Types.hpp>

#include <cstdint>
#include <functional>

namespace Vaxo::Ubrix::Shared {

class FrameGroupReplyParser {
public:
    struct ReadGroupData {
        int* array = nullptr;           // output array, or null to use onElement
        std::uint32_t* count = nullptr; // elements stored into the array; reset by Start
        std::uint32_t capacity = 0;     // elements the array holds
        std::uint32_t bracketed = 0;    // the number in brackets
        std::uint32_t group = 0;        // the leading group number
        std::function<void(int)> onElement; // receives each element when there is no array
    };

    static constexpr std::uint32_t MaxDigits = 512;

    // Attaches the output and resets the parser.
    void Start(ReadGroupData* data) noexcept;

    // Consumes every byte up to and including the terminator. A syntax error or a number of
    // more than 512 digits gives BadResponse, more elements than the array holds
    // BufferTooSmall; after an error or the terminator nothing more is consumed.
    ErrorCode Feed(const char* data, std::uint32_t length, std::uint32_t& consumed);

    bool IsDone() const noexcept { return m_state == Done; }
    bool IsError() const noexcept { return m_state == Error; }
    // The byte last fed: the terminator once done.
    char LastChar() const noexcept { return m_current; }

private:
    enum : std::int32_t { Error = -1, Group = 0, BeforeBracket = 1, Bracketed = 2, BeforeColon = 3, List = 4, Done = 5 };

    bool collect(char c) noexcept;
    // Blanks are skipped; the wanted byte clears the digits and moves to the next state.
    ErrorCode expect(char c, char wanted, std::int32_t next) noexcept;
    ErrorCode step(char c);

    char m_current = '\0';
    char m_digits[MaxDigits] = {};
    std::uint32_t m_digitCount = 0;
    std::int32_t m_state = Group;
    ReadGroupData* m_data = nullptr;
    std::uint32_t m_stored = 0;
    ErrorCode m_error = ErrorCode::Success;
};

} // namespace Vaxo::Ubrix::Shared
