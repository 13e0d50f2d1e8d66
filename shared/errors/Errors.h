// Names and descriptions of every ErrorCode: the library's own table, the controller's
// table, the cache of operating-system texts, and the lookups that turn a code into text.
#pragma once

#include <vaxo/Types.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Vaxo::Ubrix::Shared {

// One row of an error table. The views of static rows point at literals that live for the
// whole run; rows handed out by the system-error cache live for the whole run as well.
class stErrorInfo {
public:
    constexpr stErrorInfo() noexcept = default;
    constexpr stErrorInfo(std::uint32_t error, std::string_view name, std::string_view descr) noexcept
        : m_error(error), m_name(name), m_descr(descr) {}

    constexpr std::uint32_t error() const noexcept { return m_error; }
    constexpr std::string_view errorName() const noexcept { return m_name; }
    constexpr std::string_view errorDescr() const noexcept { return m_descr; }

private:
    std::uint32_t m_error = 0;
    std::string_view m_name;
    std::string_view m_descr;
};

// A row that owns its texts; the inner row's views always point into this object's own
// strings, also after a copy or a move.
class stErrorInfoDyn {
public:
    stErrorInfoDyn() = default;
    stErrorInfoDyn(std::uint32_t error, std::string_view name, std::string_view descr);
    stErrorInfoDyn(const stErrorInfoDyn& other);
    stErrorInfoDyn(stErrorInfoDyn&& other) noexcept;
    stErrorInfoDyn& operator=(const stErrorInfoDyn& other);
    stErrorInfoDyn& operator=(stErrorInfoDyn&& other) noexcept;
    ~stErrorInfoDyn() = default;

    const stErrorInfo& errorInfo() const noexcept { return m_info; }

private:
    void repoint() noexcept { m_info = stErrorInfo(m_info.error(), m_name, m_descr); }

    std::string m_name;
    std::string m_descr;
    stErrorInfo m_info;
};

// A view of a table: the first row and the row count.
struct stErrorInfos {
    const stErrorInfo* rows = nullptr;
    std::size_t count = 0;

    constexpr std::size_t size() const noexcept { return count; }
    constexpr const stErrorInfo& operator[](std::size_t i) const noexcept { return rows[i]; }
    constexpr const stErrorInfo* begin() const noexcept { return rows; }
    constexpr const stErrorInfo* end() const noexcept { return rows + count; }
};

// The controller's error numbers by name, from the same list as the controller table, for
// code that has to produce or recognise a particular controller error.
enum class ControllerErrorNo : std::uint16_t {
#define VAXO_CTRL_ERR(number, ID, descr) ID = number,
#include "shared/errors/ControllerErrors.def"
#undef VAXO_CTRL_ERR
};

constexpr ErrorCode controllerError(ControllerErrorNo n) noexcept { return controllerError(std::uint16_t(n)); }

// The two rows that belong to no table: "NoError" and "UnknownError", both number 0.
const stErrorInfo& noError() noexcept;
const stErrorInfo& unknownError() noexcept;

// The library's table (26 rows, row = bits 0-31 of the code) and the controller's table
// (285 rows, row k describes controller error number k+1).
stErrorInfos errApi() noexcept;
stErrorInfos errController() noexcept;
std::uint64_t _ControllerErrorCount() noexcept;

// Row `index` of `table`, or unknownError() when the index is past its end.
const stErrorInfo& _findErrorInfo(std::uint32_t index, const stErrorInfos& table) noexcept;

// The row that describes a code. Never fails for table codes; a system code that is not yet
// cached may throw std::bad_alloc while its text is stored.
const stErrorInfo& _ErrorInfo(ErrorCode code);

std::string_view _ErrorName(ErrorCode code);
std::string_view _ErrorString(ErrorCode code);

// Copy the name or description into buffer. *size holds the buffer size on entry and the size
// the whole text needs (terminator included) on return. Returns the bytes used, terminator
// included, or -1 when the text had to be cut; the buffer is always terminated.
std::int32_t _ErrorName(ErrorCode code, char* buffer, unsigned long* size);
std::int32_t _ErrorString(ErrorCode code, char* buffer, unsigned long* size);
std::int32_t _StringToBuffer(std::string_view text, char* buffer, unsigned long* size);

// The row for an errno value: "SysErr_<n>" with the C library's text for n. Rows are cached
// for the rest of the run, so the returned reference and its views never dangle; safe to
// call from any thread.
const stErrorInfo& _SystemErrorInfo(int err);
std::string_view _SystemErrorString(int err);

// The system error code (system bit | errno) for the calling thread's errno as it stands
// right now. The argument is ignored: read it straight after the failing call.
ErrorCode _vuaSystemErrorCode(int unused) noexcept;

} // namespace Vaxo::Ubrix::Shared
