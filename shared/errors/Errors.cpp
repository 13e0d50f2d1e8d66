// The error tables, the lookups over them and the cache of operating-system error texts.
#include "shared/errors/Errors.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <mutex>
#include <unordered_map>

namespace Vaxo::Ubrix::Shared {
namespace {

constexpr stErrorInfo s_noError{0, "NoError", "No error."};
constexpr stErrorInfo s_unknownError{0, "UnknownError", "Unknown error."};

// Both tables are constant-initialised: no start-up order to worry about, no first-call race.
constexpr stErrorInfo s_apiErrors[] = {
#define VAXO_API_ERR(index, Name, form, descr) {index, #Name, descr},
#define VAXO_API_ERR_RESERVED(index, text) {index, text, text},
#include "shared/errors/ApiErrors.def"
#undef VAXO_API_ERR
#undef VAXO_API_ERR_RESERVED
};

constexpr stErrorInfo s_controllerErrors[] = {
#define VAXO_CTRL_ERR(number, ID, descr) {number, "ControllerError_" #ID, descr},
#include "shared/errors/ControllerErrors.def"
#undef VAXO_CTRL_ERR
};

// The same API rows once more, paired with the ErrorCode constants of the public types, so
// that a constant whose index or form drifts from its row stops the build.
enum class Form { Plain, Fatal };
struct ApiCodeRow {
    std::uint32_t index;
    bool hasCode;
    ErrorCode code;
    Form form;
};
constexpr ApiCodeRow s_apiCodes[] = {
#define VAXO_API_ERR(index, Name, form, descr) {index, true, ErrorCode::Name, Form::form},
#define VAXO_API_ERR_RESERVED(index, text) {index, false, ErrorCode::Success, Form::Plain},
#include "shared/errors/ApiErrors.def"
#undef VAXO_API_ERR
#undef VAXO_API_ERR_RESERVED
};

constexpr bool apiRowsMatchCodes() {
    for (std::size_t i = 0; i < std::size(s_apiCodes); ++i) {
        const ApiCodeRow& row = s_apiCodes[i];
        if (row.index != i || s_apiErrors[i].error() != i)
            return false;
        if (!row.hasCode)
            continue;
        const ErrorCode expected = ErrorCode::ApiBit | ErrorCode(row.index) |
                                   (row.form == Form::Fatal ? ErrorCode::FatalBit : ErrorCode::Success);
        if (row.code != expected)
            return false;
    }
    return true;
}

constexpr bool controllerRowsNumbered() {
    for (std::size_t i = 0; i < std::size(s_controllerErrors); ++i)
        if (s_controllerErrors[i].error() != i + 1 ||
            !s_controllerErrors[i].errorName().starts_with("ControllerError_") ||
            s_controllerErrors[i].errorDescr().empty())
            return false;
    return true;
}

static_assert(std::size(s_apiErrors) == 26, "the library's table has 26 rows");
static_assert(apiRowsMatchCodes(), "ErrorCode constants disagree with ApiErrors.def (index or form)");
static_assert(ErrorCode::FailPlain == (ErrorCode::ApiBit | ErrorCode(1)), "FailPlain is the plain form of Fail");
static_assert(std::size(s_controllerErrors) == 285, "the controller's table has 285 rows");
static_assert(controllerRowsNumbered(), "controller rows must be numbered 1..285 in order");
static_assert(std::uint16_t(ControllerErrorNo::INVALID_FIRMWARE_VERSION) == 285);

// glibc offers strerror_r in two shapes; strerror itself is not thread-safe.
[[maybe_unused]] std::string errnoText(int rc, const char* buffer, int err) {
    return rc == 0 ? std::string(buffer) : "Unknown error " + std::to_string(err);
}
[[maybe_unused]] std::string errnoText(const char* text, const char*, int) { return text; }

std::string describeErrno(int err) {
    char buffer[256] = {};
    return errnoText(strerror_r(err, buffer, sizeof buffer), buffer, err);
}

struct SystemErrorCache {
    std::mutex lock;
    std::unordered_map<std::uint32_t, stErrorInfoDyn> rows; // nodes never move: views stay valid
};

SystemErrorCache& systemErrorCache() {
    // Deliberately never destroyed: a row handed out must stay valid even for code that
    // describes an error while other statics are being torn down at exit.
    static SystemErrorCache* cache = new SystemErrorCache;
    return *cache;
}

} // namespace

// ---- stErrorInfoDyn ------------------------------------------------------------------------

stErrorInfoDyn::stErrorInfoDyn(std::uint32_t error, std::string_view name, std::string_view descr)
    : m_name(name), m_descr(descr), m_info(error, m_name, m_descr) {}

stErrorInfoDyn::stErrorInfoDyn(const stErrorInfoDyn& other)
    : m_name(other.m_name), m_descr(other.m_descr), m_info(other.m_info.error(), m_name, m_descr) {}

stErrorInfoDyn::stErrorInfoDyn(stErrorInfoDyn&& other) noexcept
    : m_name(std::move(other.m_name)), m_descr(std::move(other.m_descr)),
      m_info(other.m_info.error(), m_name, m_descr) {
    other.repoint();
}

stErrorInfoDyn& stErrorInfoDyn::operator=(const stErrorInfoDyn& other) {
    if (this != &other) {
        m_name = other.m_name;
        m_descr = other.m_descr;
        m_info = stErrorInfo(other.m_info.error(), m_name, m_descr);
    }
    return *this;
}

stErrorInfoDyn& stErrorInfoDyn::operator=(stErrorInfoDyn&& other) noexcept {
    if (this != &other) {
        m_name = std::move(other.m_name);
        m_descr = std::move(other.m_descr);
        m_info = stErrorInfo(other.m_info.error(), m_name, m_descr);
        other.repoint();
    }
    return *this;
}

// ---- tables and lookups --------------------------------------------------------------------

const stErrorInfo& noError() noexcept { return s_noError; }
const stErrorInfo& unknownError() noexcept { return s_unknownError; }

stErrorInfos errApi() noexcept { return {s_apiErrors, std::size(s_apiErrors)}; }
stErrorInfos errController() noexcept { return {s_controllerErrors, std::size(s_controllerErrors)}; }
std::uint64_t _ControllerErrorCount() noexcept { return std::size(s_controllerErrors); }

const stErrorInfo& _findErrorInfo(std::uint32_t index, const stErrorInfos& table) noexcept {
    return index < table.count ? table.rows[index] : unknownError();
}

const stErrorInfo& _ErrorInfo(ErrorCode code) {
    using EnumBitOps::hasAny;
    // The fatal bit plays no part; the first category bit found decides, system first.
    const auto n = std::uint32_t(std::uint64_t(code) & std::uint64_t(ErrorCode::IndexMask));
    if (hasAny(code, ErrorCode::SystemBit)) {
        if (code == ErrorCode::UnknownSystem)
            return unknownError();
        return _SystemErrorInfo(std::int32_t(n));
    }
    // Index 0 in a table category describes as success, so "Api_Unknown" is never returned.
    if (hasAny(code, ErrorCode::ControllerBit))
        return n == 0 ? noError() : _findErrorInfo(n - 1, errController());
    if (hasAny(code, ErrorCode::ApiBit))
        return n == 0 ? noError() : _findErrorInfo(n, errApi());
    return code == ErrorCode::Success ? noError() : unknownError();
}

std::string_view _ErrorName(ErrorCode code) { return _ErrorInfo(code).errorName(); }
std::string_view _ErrorString(ErrorCode code) { return _ErrorInfo(code).errorDescr(); }

std::int32_t _ErrorName(ErrorCode code, char* buffer, unsigned long* size) {
    return _StringToBuffer(_ErrorName(code), buffer, size);
}
std::int32_t _ErrorString(ErrorCode code, char* buffer, unsigned long* size) {
    return _StringToBuffer(_ErrorString(code), buffer, size);
}

std::int32_t _StringToBuffer(std::string_view text, char* buffer, unsigned long* size) {
    if (size == nullptr)
        return -1;
    const unsigned long capacity = *size;
    *size = text.size() + 1;
    // Without room for even the terminator there is nothing to write; the size needed is set.
    if (buffer == nullptr || capacity == 0)
        return -1;
    const unsigned long copied = std::min<unsigned long>(capacity, text.size());
    if (copied != 0)
        std::memcpy(buffer, text.data(), copied);
    std::memset(buffer + copied, 0, capacity - copied);
    buffer[capacity - 1] = '\0';
    return capacity > text.size() ? std::int32_t(text.size() + 1) : -1;
}

// ---- operating-system errors ---------------------------------------------------------------

const stErrorInfo& _SystemErrorInfo(int err) {
    if (err == 0)
        return noError();
    SystemErrorCache& cache = systemErrorCache();
    const auto key = std::uint32_t(err);
    std::lock_guard guard(cache.lock);
    auto it = cache.rows.find(key);
    if (it == cache.rows.end())
        it = cache.rows.try_emplace(key, key, "SysErr_" + std::to_string(err), describeErrno(err)).first;
    return it->second.errorInfo();
}

std::string_view _SystemErrorString(int err) { return _SystemErrorInfo(err).errorDescr(); }

ErrorCode _vuaSystemErrorCode(int) noexcept { return systemError(errno); }

} // namespace Vaxo::Ubrix::Shared
