// Error codes: lookup of every category, both tables, buffer copies and the system-error cache.
#include "shared/errors/Errors.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

using namespace Vaxo::Ubrix::Shared;

namespace {

struct Described {
    std::uint64_t code;
    std::string_view name;
    std::string_view descr;
};

TEST(ErrorLookup, DescribesEveryCategoryAndEdge) {
    const Described cases[] = {
        {0, "NoError", "No error."},
        // API index 0 is success in both forms, never "Api_Unknown".
        {0x0100000000, "NoError", "No error."},
        {0x8100000000, "NoError", "No error."},
        {0x8100000004, "ConnectionContext", "Connection context error or invalid context."},
        {0x0100000004, "ConnectionContext", "Connection context error or invalid context."},
        {0x0100000009, "Error code not supported", "Error code not supported"},
        {0x010000001A, "UnknownError", "Unknown error."},
        {0x81FFFFFFFF, "UnknownError", "Unknown error."},
        // Controller numbers are 1-based; the fatal bit plays no part.
        {0x0400000001, "ControllerError_COMMAND_NOT_RECOGNISED", "Command not recognized"},
        {0x8400000001, "ControllerError_COMMAND_NOT_RECOGNISED", "Command not recognized"},
        {0x040000011D, "ControllerError_INVALID_FIRMWARE_VERSION", "Invalid Firmware Version"},
        {0x040000011E, "UnknownError", "Unknown error."},
        {0x0400000000, "NoError", "No error."},
        // The system bit wins over the others, the controller bit over the API bit.
        {0x02FFFFFFFF, "UnknownError", "Unknown error."},
        {0x0200000000, "NoError", "No error."},
        {0x0500000004, "ControllerError_OPERAND_EXPECTED", "Operand expected"},
        // No category bit.
        {0x0000000005, "UnknownError", "Unknown error."},
        {0x8000000000, "UnknownError", "Unknown error."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << "code 0x" << c.code);
        EXPECT_EQ(_ErrorName(ErrorCode(c.code)), c.name);
        EXPECT_EQ(_ErrorString(ErrorCode(c.code)), c.descr);
    }
    EXPECT_EQ(_ErrorName(ErrorCode(0x0600000002)), "SysErr_2");
}

TEST(ErrorLookup, LibraryConstantsCarryTheirTexts) {
    const struct {
        ErrorCode code;
        std::string_view name, descr;
    } rows[] = {
        {ErrorCode::Fail, "Fail", "Operation failed."},
        {ErrorCode::FailPlain, "Fail", "Operation failed."},
        {ErrorCode::NotSupported, "NotSupported", "Operation not supported."},
        {ErrorCode::ConnectionModule, "ConnectionModule", "Connection module error (missing?)."},
        {ErrorCode::TokenTable, "TokenTable", "Token table error"},
        {ErrorCode::Timeout, "Timeout", "Operation timed out"},
        {ErrorCode::UnknownFloatingPointFormat, "UnknownFloatingPointFormat", "Unknown floating point format"},
        {ErrorCode::Remote_TokenBuffer, "Remote_TokenBuffer", "Remote protocol token buffer error"},
        {ErrorCode::UnsupportedController, "UnsupportedController", "Controller type or firmware is not supported"},
        {ErrorCode::BadResponse, "BadResponse", "Bad or unexpected response received"},
        {ErrorCode::BadArgument, "BadArgument", "A bad argument has been passed"},
        {ErrorCode::Reopen, "Reopen", "The connection or object is already opened"},
        {ErrorCode::BufferTooSmall, "BufferTooSmall", "The passed buffer is too small"},
        {ErrorCode::SocketRead, "SocketRead", "Socket read operation failed"},
        {ErrorCode::SocketWrite, "SocketWrite", "Socket write operation failed"},
        {ErrorCode::LowLevelError, "LowLevelError", "Low level API call failed"},
        {ErrorCode::VersionMismatch, "VersionMismatch", "Version mismatch between modules of Ubrix API"},
        {ErrorCode::Compression, "Compression", "Data compression/decompression error"},
        {ErrorCode::Abort, "Abort", "The operation got aborted"},
        {ErrorCode::Disconnected, "Disconnected", "No connection to Movicor"},
        {ErrorCode::InvalidParamBlock, "InvalidParamBlock", "The parameter block is invalid"},
        {ErrorCode::OutOfRange, "OutOfRange", "Value out of range"},
        {ErrorCode::CapacityExceeded, "CapacityExceeded", "Capacity exceeded"},
        {ErrorCode::Project, "Project", "The project has errors or is invalid"},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(_ErrorName(r.code), r.name);
        EXPECT_EQ(_ErrorString(r.code), r.descr) << r.name;
    }
    EXPECT_EQ(errApi()[0].errorName(), "Api_Unknown");
    EXPECT_EQ(errApi()[0].errorDescr(), "API unspecified error.");
}

bool isIdentifier(std::string_view s) {
    return !s.empty() && s.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_") == std::string_view::npos;
}

void expectCleanSentence(std::string_view d, std::string_view name) {
    EXPECT_FALSE(d.empty()) << name;
    if (d.empty())
        return;
    EXPECT_NE(d.front(), ' ') << name;
    EXPECT_NE(d.back(), ' ') << name;
    EXPECT_EQ(d.find("  "), std::string_view::npos) << name;
}

TEST(ErrorTables, ApiRowsAreNumberedAndUnique) {
    const stErrorInfos api = errApi();
    ASSERT_EQ(api.size(), 26u);
    std::set<std::string_view> names;
    for (std::uint32_t i = 0; i < api.size(); ++i) {
        EXPECT_EQ(api[i].error(), i);
        EXPECT_TRUE(names.insert(api[i].errorName()).second) << api[i].errorName();
        expectCleanSentence(api[i].errorDescr(), api[i].errorName());
    }
}

TEST(ErrorTables, ControllerRowsAreNumberedUniqueAndReachable) {
    const stErrorInfos ctrl = errController();
    ASSERT_EQ(ctrl.size(), 285u);
    ASSERT_EQ(_ControllerErrorCount(), 285u);
    constexpr std::string_view prefix = "ControllerError_";
    std::set<std::string_view> names;
    for (std::uint32_t k = 0; k < ctrl.size(); ++k) {
        const stErrorInfo& row = ctrl[k];
        const std::string_view name = row.errorName();
        EXPECT_EQ(row.error(), k + 1);
        EXPECT_TRUE(name.starts_with(prefix) && isIdentifier(name.substr(prefix.size()))) << name;
        EXPECT_TRUE(names.insert(name).second) << name;
        expectCleanSentence(row.errorDescr(), name);
        EXPECT_EQ(&_ErrorInfo(controllerError(std::uint16_t(k + 1))), &row) << name;
    }
    const struct {
        std::uint32_t number;
        std::string_view id, descr;
    } quoted[] = {
        {1, "COMMAND_NOT_RECOGNISED", "Command not recognized"},
        {6, "QUOTES_EXPECTED", "QUOTES expected"},
        {9, "DIVISION_BY_ZERO", "Divide by zero"},
        {10, "EXTRA_CHARS_AT_EOLN", "Extra characters at end of line"},
        {31, "PROGRAM_IS_STOPPED", "Program is stopped"},
        {79, "COMMAND_NOT_ALLOWED_WHEN_RUNNING_MOVIFORM", "Command not allowed when running Moviform"},
        {168, "MVCONFIG_CHANGED_EX_REQUIRED", "MV_CONFIG has been modified please reset"},
        {250, "TARGET_TAUGHT_WITH_ANOTHER_ROBOT", "Target taught with another robot. Change ROBOT_TARGET_MODE."},
        {285, "INVALID_FIRMWARE_VERSION", "Invalid Firmware Version"},
    };
    for (const auto& q : quoted) {
        EXPECT_EQ(ctrl[q.number - 1].errorName(), std::string(prefix) + std::string(q.id));
        EXPECT_EQ(ctrl[q.number - 1].errorDescr(), q.descr);
    }
    EXPECT_EQ(_ErrorString(controllerError(ControllerErrorNo::PROGRAM_IS_STOPPED)), "Program is stopped");
    EXPECT_EQ(controllerError(std::uint16_t(0)), ErrorCode::Success);
}

TEST(ErrorBuffer, CopiesCutsAndReportsTheSizeNeeded) {
    const ErrorCode code = ErrorCode::CapacityExceeded; // "Capacity exceeded", 17 characters
    char buf[32];
    const struct {
        unsigned long size;
        std::int32_t result;
        std::string_view text;
    } cases[] = {
        {5, -1, "Capa"}, {17, -1, "Capacity exceede"}, {18, 18, "Capacity exceeded"},
        {32, 18, "Capacity exceeded"}, {1, -1, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        std::memset(buf, 'x', sizeof buf);
        unsigned long size = c.size;
        EXPECT_EQ(_ErrorString(code, buf, &size), c.result);
        EXPECT_EQ(size, 18u);
        EXPECT_EQ(std::string_view(buf), c.text);
        for (unsigned long i = c.text.size(); i < c.size; ++i)
            EXPECT_EQ(buf[i], '\0') << "not padded at " << i;
        for (unsigned long i = c.size; i < sizeof buf; ++i)
            EXPECT_EQ(buf[i], 'x') << "written past the buffer at " << i;
    }
    unsigned long size = sizeof buf;
    EXPECT_EQ(_ErrorName(ErrorCode::BadArgument, buf, &size), 12);
    EXPECT_STREQ(buf, "BadArgument");

    // No room at all: nothing written, the size needed is still reported.
    buf[0] = 'x';
    size = 0;
    EXPECT_EQ(_ErrorString(code, buf, &size), -1);
    EXPECT_EQ(size, 18u);
    EXPECT_EQ(buf[0], 'x');
    size = 8;
    EXPECT_EQ(_ErrorString(code, nullptr, &size), -1);
    EXPECT_EQ(size, 18u);
}

TEST(SystemErrors, NameTextAndStableRows) {
    EXPECT_EQ(_ErrorName(ErrorCode(0x0200000002)), "SysErr_2");
    EXPECT_EQ(_ErrorString(ErrorCode(0x0200000002)), std::string(std::strerror(2)));
    EXPECT_EQ(&_SystemErrorInfo(0), &noError());
    EXPECT_EQ(&_SystemErrorInfo(2), &_SystemErrorInfo(2));
    EXPECT_EQ(_SystemErrorInfo(2).error(), 2u);

    const stErrorInfo& negative = _SystemErrorInfo(-5);
    EXPECT_EQ(negative.errorName(), "SysErr_-5");
    EXPECT_EQ(negative.error(), 0xFFFFFFFBu);
    EXPECT_EQ(negative.errorDescr(), std::string(std::strerror(-5)));
    EXPECT_EQ(_SystemErrorString(13), std::string(std::strerror(13)));

    errno = EACCES;
    EXPECT_EQ(_vuaSystemErrorCode(0), ErrorCode(0x0200000000ull | EACCES));
    errno = 0;
}

TEST(SystemErrors, OwnedRowsFollowTheirStrings) {
    // Short texts live inside the string object itself, so a missed re-point leaves the
    // target looking into the source, which is then reused and destroyed.
    const auto expectRow = [](const stErrorInfoDyn& row, std::uint32_t n, std::string_view name,
                              std::string_view descr) {
        EXPECT_EQ(row.errorInfo().error(), n);
        EXPECT_EQ(row.errorInfo().errorName(), name);
        EXPECT_EQ(row.errorInfo().errorDescr(), descr);
    };
    stErrorInfoDyn moved(1, "a", "b");
    {
        stErrorInfoDyn source(7, "SysErr_7", "short");
        moved = std::move(source);
        source = stErrorInfoDyn(9, "x", "y");
    }
    expectRow(moved, 7, "SysErr_7", "short");

    stErrorInfoDyn copied;
    {
        stErrorInfoDyn source(3, "SysErr_3", "tiny");
        copied = source;
        source = stErrorInfoDyn(4, "z", "w");
        stErrorInfoDyn constructed(std::move(source));
        expectRow(constructed, 4, "z", "w");
    }
    expectRow(copied, 3, "SysErr_3", "tiny");

    std::vector<stErrorInfoDyn> grown;
    for (int i = 0; i < 40; ++i)
        grown.emplace_back(std::uint32_t(i), "SysErr_" + std::to_string(i), "text");
    for (int i = 0; i < 40; ++i)
        EXPECT_EQ(grown[std::size_t(i)].errorInfo().errorName(), "SysErr_" + std::to_string(i));
}

TEST(SystemErrors, ManyThreadsShareOneRowPerNumber) {
    constexpr int kThreads = 8, kFirst = 3000, kCount = 200; // numbers nobody has described yet
    std::vector<std::string> expected;
    for (int n = kFirst; n < kFirst + kCount; ++n)
        expected.emplace_back(std::strerror(n));

    std::vector<std::vector<const stErrorInfo*>> seen(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([t, &seen] {
            for (int i = 0; i < kCount; ++i) {
                const int n = kFirst + (t % 2 ? kCount - 1 - i : i);
                seen[t].push_back(&_ErrorInfo(systemError(n)));
            }
        });
    for (auto& th : threads)
        th.join();

    for (int t = 0; t < kThreads; ++t)
        for (int i = 0; i < kCount; ++i) {
            const int n = kFirst + (t % 2 ? kCount - 1 - i : i);
            const stErrorInfo* row = seen[t][std::size_t(i)];
            EXPECT_EQ(row, &_SystemErrorInfo(n));
            EXPECT_EQ(row->errorName(), "SysErr_" + std::to_string(n));
            EXPECT_EQ(row->errorDescr(), expected[std::size_t(n - kFirst)]);
        }
}

} // namespace

// A negative errno is widened as a signed 32-bit number, so it fills every bit from 32 up; the
// code still carries the system bit and names the errno with its sign. Only the exact value
// 0x02FFFFFFFF is the reserved unknown system error.
TEST(SystemErrors, NegativeErrnoWidensOverTheUpperBits) {
    struct Row {
        int err;
        std::uint64_t code;
        const char* name;
    };
    const Row rows[] = {
        {-1, 0xFFFFFFFFFFFFFFFFull, "SysErr_-1"},
        {-5, 0xFFFFFFFFFFFFFFFBull, "SysErr_-5"},
        {2, 0x0200000002ull, "SysErr_2"},
    };
    for (const Row& r : rows) {
        errno = r.err;
        const ErrorCode code = _vuaSystemErrorCode(0);
        EXPECT_EQ(std::uint64_t(code), r.code) << r.err;
        EXPECT_EQ(_ErrorName(code), r.name) << r.err;
    }
    EXPECT_EQ(_ErrorName(ErrorCode(0x02FFFFFFFFull)), "UnknownError");
    EXPECT_EQ(_ErrorName(ErrorCode(0x82FFFFFFFFull)), "SysErr_-1") << "the fatal bit makes it another value";
}
