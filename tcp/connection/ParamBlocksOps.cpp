// Operations of the parameter-block family: the manager's lazy initialisation, one define
// template for every kind, the fetches, the program-variable conversions and delete.
#include <cmath>
#include <limits>
#include <optional>
#include <type_traits>

#include "shared/parsers/FromChars.h"
#include "tcp/commands/ParamBlocks.h"
#include "tcp/connection/Connection_TCP.h"

namespace Vaxo::Ubrix::TCP {

using Shared::ParamBlockManager;
using Shared::PrmBlkAccessor;
using Shared::Range;

namespace {

// Reads the controller's limits on the first define of a connection: PRMBLK ( 5 ), then
// PRMBLK ( 6 ).
ErrorCode ensurePrmblkManager(Connection_TCP& c) {
    ParamBlockManager& manager = c.prmblk();
    if (manager.isInitialized())
        return ErrorCode::Success;
    if (ErrorCode gate = c.commandGate(); failed(gate))
        return gate;
    if (c.readerPump().isInPumpThread())
        return ErrorCode::NotSupported;
    return manager.ensureInitialized([&](unsigned& maxBlocks, unsigned& maxEntries) {
        auto read = [&](unsigned what, unsigned& out) {
            return c.execute<CmdPrmBlk_ReadSupport>([&](CmdPrmBlk_ReadSupport& cmd) { return cmd.send(what); },
                                                    &out);
        };
        if (ErrorCode e = read(5, maxBlocks); failed(e))
            return e;
        return read(6, maxEntries);
    });
}

// One define or append of any kind. send(cmd, m, block) encodes and sends the command;
// update(accessor, append) brings the local mirror up to date once the controller accepted.
template <class Send, class Update>
ErrorCode defineBlock(Connection_TCP& c, Shared::ParamBlockType type, int appendTo, int* newBlock, Send&& send,
                      Update&& update) {
    const bool append = newBlock == nullptr;
    if (newBlock)
        *newBlock = -1;
    if (ErrorCode gate = c.commandGate(); failed(gate))
        return gate;
    if (ErrorCode e = ensurePrmblkManager(c); failed(e))
        return e;
    std::optional<PrmBlkAccessor> block;
    if (append)
        block.emplace(c.prmblk(), appendTo);
    else
        block.emplace(c.prmblk(), type);
    if (block->isVoid() || block->type() != type)
        return ErrorCode::Fail;
    const int id = block->handle();
    ErrorCode e = c.execute<CmdPrmBlk_Define>([&](CmdPrmBlk_Define& cmd) { return send(cmd, append ? 1 : 0, id); });
    if (!failed(e))
        e = update(*block, append);
    if (failed(e)) {
        if (!append)
            block->clear();
        return e;
    }
    if (newBlock)
        *newBlock = id;
    return ErrorCode::Success;
}

// The kinds defined by a list: names for axis and system parameters, indices for VR and
// TABLE.
template <class Item>
ErrorCode defineListed(Connection_TCP& c, Shared::ParamBlockType type, int appendTo, int* newBlock,
                       const Item* items, unsigned count) {
    constexpr bool indexed = std::is_same_v<Item, unsigned>;
    return defineBlock(
        c, type, appendTo, newBlock,
        [&](CmdPrmBlk_Define& cmd, int m, int id) {
            const int code = Shared::paramBlockWireCode(type);
            if constexpr (indexed)
                return cmd.sendDefineNumeric(m, id, code, items, count);
            else
                return cmd.sendDefineNamed(m, id, code, items, count);
        },
        [&](PrmBlkAccessor& a, bool append) {
            if constexpr (indexed)
                return a.setIndices(items, count, append);
            else
                return a.setNames(items, count, append);
        });
}

template <class Name>
ErrorCode defineProgVar(Connection_TCP& c, int appendTo, int* newBlock, std::string_view program, int qualifier,
                        const Name* names, unsigned count) {
    return defineBlock(
        c, Shared::ParamBlockType::PrmBlkProgVar, appendTo, newBlock,
        [&](CmdPrmBlk_Define& cmd, int m, int id) {
            return cmd.sendDefineProgVar(m, id, program, qualifier, names, count);
        },
        [&](PrmBlkAccessor& a, bool append) { return a.setNames(names, count, append); });
}

ErrorCode defineIO(Connection_TCP& c, int appendTo, int* newBlock, const Range* ranges, unsigned count) {
    return defineBlock(
        c, Shared::ParamBlockType::PrmBlkIO, appendTo, newBlock,
        [&](CmdPrmBlk_Define& cmd, int m, int id) { return cmd.sendDefineIO(m, id, ranges, count); },
        [&](PrmBlkAccessor& a, bool append) { return a.setRanges(ranges, count, append); });
}

bool isDecimalKind(Shared::ParamBlockType t) {
    using T = Shared::ParamBlockType;
    return t == T::PrmBlkAxis || t == T::PrmBlkSystem || t == T::PrmBlkVr || t == T::PrmBlkTable;
}

// Fetch of doubles: all values (no masks) or the changed ones.
ErrorCode fetchDoubles(Connection_TCP& c, int block, const int* axes, unsigned axisCount, const Range* ranges,
                       unsigned rangeCount, double* values, unsigned capacity, std::uint64_t* masks) {
    if (ErrorCode gate = c.commandGate(); failed(gate))
        return gate;
    if (!values || capacity == 0 || (axes && axisCount == 0) || (ranges && rangeCount == 0))
        return ErrorCode::BadArgument;
    PrmBlkAccessor a(c.prmblk(), block);
    if (a.isVoid() || a.block()->isVoid() || !isDecimalKind(a.type()))
        return ErrorCode::InvalidParamBlock;
    if (a.size() > capacity)
        return ErrorCode::BufferTooSmall;
    std::uint64_t axesAddressed = axes ? axisCount : 0;
    for (unsigned i = 0; ranges && i < rangeCount; ++i)
        axesAddressed += ranges[i].count;
    PrmBlkOutput<double> out{values, capacity, masks, unsigned(std::max<std::uint64_t>(1, axesAddressed)), a.size(),
                             10};
    ErrorCode e = c.execute<CmdPrmBlk_FetchNumeric>(
        [&](CmdPrmBlk_FetchNumeric& cmd) {
            return cmd.sendFetchValues(block, masks != nullptr, axes, axisCount, ranges, rangeCount);
        },
        out);
    if (failed(e) || out.axes != 1)
        return e;
    // Keep what arrived for one axis as the block's last values.
    if (double* mirror = a.decimalValues()) {
        for (unsigned i = 0; i < a.size(); ++i)
            mirror[i] = values[i];
        a.block()->decimalValues()->markSet();
    } else if (Shared::NumericVariant* named = a.nvariantValues()) {
        for (unsigned i = 0; i < a.size(); ++i)
            named[i] = values[i];
        a.block()->nvariantValues()->markSet();
    }
    return e;
}

ErrorCode fetchWords(Connection_TCP& c, int block, bool flag, bool hex, std::uint64_t* values, unsigned capacity,
                     std::uint64_t* mask) {
    if (ErrorCode gate = c.commandGate(); failed(gate))
        return gate;
    if (!values || capacity == 0)
        return ErrorCode::BadArgument;
    PrmBlkAccessor a(c.prmblk(), block);
    if (a.isVoid() || a.block()->isVoid() || a.type() != Shared::ParamBlockType::PrmBlkIO)
        return ErrorCode::InvalidParamBlock;
    if (a.size() > capacity)
        return ErrorCode::BufferTooSmall;
    PrmBlkOutput<std::uint64_t> out{values, capacity, mask, 1, a.size(), hex ? 16 : 10};
    ErrorCode e = c.execute<CmdPrmBlk_FetchNumeric>(
        [&](CmdPrmBlk_FetchNumeric& cmd) { return cmd.sendFetchValues(block, mask != nullptr, flag); }, out);
    if (failed(e))
        return e;
    std::uint64_t* mirror = a.uint64Values();
    for (unsigned i = 0; i < a.size(); ++i)
        mirror[i] = values[i];
    a.block()->uint64Values()->markSet();
    return e;
}

ErrorCode fetchTexts(Connection_TCP& c, int block, std::uint64_t* mask) {
    if (ErrorCode gate = c.commandGate(); failed(gate))
        return gate;
    PrmBlkAccessor a(c.prmblk(), block);
    if (a.isVoid() || a.block()->isVoid() || a.type() != Shared::ParamBlockType::PrmBlkProgVar)
        return ErrorCode::InvalidParamBlock;
    return c.execute<CmdPrmBlk_FetchVariant>(
        [&](CmdPrmBlk_FetchVariant& cmd) { return cmd.sendFetchValues(block, mask != nullptr); },
        *a.block()->stringValues(), a.size(), mask);
}

// The stored text of one program variable, handed to f(text).
template <class F>
ErrorCode withProgText(Connection_TCP& c, int block, unsigned entry, F&& f) {
    PrmBlkAccessor a(c.prmblk(), block);
    if (a.isVoid() || a.type() != Shared::ParamBlockType::PrmBlkProgVar)
        return ErrorCode::InvalidParamBlock;
    if (entry >= a.size())
        return ErrorCode::BadArgument;
    auto* values = a.block()->stringValues();
    if (!values->isSet())
        return ErrorCode::Fail;
    return f((*values)[entry].view());
}

// Integers in base 10; a whole number written with a fraction or an exponent ("12.0000")
// is taken as well.
template <class T>
ErrorCode convertText(std::string_view text, T& value) {
    T v{};
    ErrorCode e = Shared::from_chars(text, v);
    if (e == ErrorCode::BadArgument) {
        double d = 0;
        if (failed(Shared::from_chars(text, d)) || d != std::floor(d))
            return ErrorCode::BadArgument;
        if (!(d >= double(std::numeric_limits<T>::min()) && d <= double(std::numeric_limits<T>::max())) ||
            d == 18446744073709551616.0 || d == 9223372036854775808.0)
            return ErrorCode::OutOfRange;
        v = T(d);
        e = ErrorCode::Success;
    }
    if (!failed(e))
        value = v;
    return e;
}

} // namespace

// ---- define / append ----

// Define and append of the kinds given by a list of names or indices: the kind and the list's
// type.
#define VAXO_DEFINE_APPEND(Kind, List)                                                                           \
    ErrorCode Connection_TCP::ParamBlockDefine##Kind(List items, unsigned int count, int& block) {               \
        return defineListed(*this, Shared::ParamBlockType::PrmBlk##Kind, -1, &block, items, count);              \
    }                                                                                                            \
    ErrorCode Connection_TCP::ParamBlockAppend##Kind(int block, List items, unsigned int count) {                \
        return defineListed(*this, Shared::ParamBlockType::PrmBlk##Kind, block, nullptr, items, count);          \
    }
VAXO_DEFINE_APPEND(Axis, const char* const*)
VAXO_DEFINE_APPEND(Axis, const std::string_view*)
VAXO_DEFINE_APPEND(System, const char* const*)
VAXO_DEFINE_APPEND(System, const std::string_view*)
VAXO_DEFINE_APPEND(Vr, const unsigned int*)
VAXO_DEFINE_APPEND(Table, const unsigned int*)
#undef VAXO_DEFINE_APPEND
ErrorCode Connection_TCP::ParamBlockDefineIO(const Range* ranges, unsigned int count, int& block) {
    return defineIO(*this, -1, &block, ranges, count);
}
ErrorCode Connection_TCP::ParamBlockAppendIO(int block, const Range* ranges, unsigned int count) {
    return defineIO(*this, block, nullptr, ranges, count);
}
ErrorCode Connection_TCP::ParamBlockDefineProgVar(std::string_view program, int qualifier, const char* const* names,
                                                  unsigned int count, int& block) {
    return defineProgVar(*this, -1, &block, program, qualifier, names, count);
}
ErrorCode Connection_TCP::ParamBlockDefineProgVar(std::string_view program, int qualifier,
                                                  const std::string_view* names, unsigned int count, int& block) {
    return defineProgVar(*this, -1, &block, program, qualifier, names, count);
}
ErrorCode Connection_TCP::ParamBlockAppendProgVar(int block, std::string_view program, int qualifier,
                                                  const char* const* names, unsigned int count) {
    return defineProgVar(*this, block, nullptr, program, qualifier, names, count);
}
ErrorCode Connection_TCP::ParamBlockAppendProgVar(int block, std::string_view program, int qualifier,
                                                  const std::string_view* names, unsigned int count) {
    return defineProgVar(*this, block, nullptr, program, qualifier, names, count);
}

// ---- fetch ----

ErrorCode Connection_TCP::ParamBlockFetchChangedFloatValues(int block, const int* axes, unsigned int axisCount,
                                                            const Range* axisRanges, unsigned int rangeCount,
                                                            double* values, unsigned int capacity,
                                                            std::uint64_t* changed) {
    return fetchDoubles(*this, block, axes, axisCount, axisRanges, rangeCount, values, capacity, changed);
}
ErrorCode Connection_TCP::ParamBlockFetchChangedUint64Values(int block, bool flag, bool hex, std::uint64_t* values,
                                                             unsigned int capacity, std::uint64_t* changed) {
    return fetchWords(*this, block, flag, hex, values, capacity, changed);
}
ErrorCode Connection_TCP::ParamBlockFetchChangedStringValues(int block, std::uint64_t* changed) {
    return fetchTexts(*this, block, changed);
}

// The blocks with one value per entry and no axes.
#define VAXO_FETCH_PLAIN(Kind)                                                                                   \
    ErrorCode Connection_TCP::ParamBlockFetchAll##Kind(int block, double* values, unsigned int capacity) {       \
        return fetchDoubles(*this, block, nullptr, 0, nullptr, 0, values, capacity, nullptr);                    \
    }                                                                                                            \
    ErrorCode Connection_TCP::ParamBlockFetchChanged##Kind(int block, double* values, unsigned int capacity,     \
                                                           std::uint64_t& changed) {                             \
        return fetchDoubles(*this, block, nullptr, 0, nullptr, 0, values, capacity, &changed);                   \
    }
VAXO_FETCH_PLAIN(Vr)
VAXO_FETCH_PLAIN(Table)
VAXO_FETCH_PLAIN(System)
#undef VAXO_FETCH_PLAIN
ErrorCode Connection_TCP::ParamBlockFetchAllAxisParam(int block, int axis, double* values, unsigned int capacity) {
    return fetchDoubles(*this, block, &axis, 1, nullptr, 0, values, capacity, nullptr);
}
ErrorCode Connection_TCP::ParamBlockFetchAllAxisParam(int block, const int* axes, unsigned int axisCount,
                                                      double* values, unsigned int capacity) {
    if (!axes)
        return refused(ErrorCode::BadArgument);
    return fetchDoubles(*this, block, axes, axisCount, nullptr, 0, values, capacity, nullptr);
}
ErrorCode Connection_TCP::ParamBlockFetchAllAxisParam(int block, Range axes, double* values, unsigned int capacity) {
    return fetchDoubles(*this, block, nullptr, 0, &axes, 1, values, capacity, nullptr);
}
ErrorCode Connection_TCP::ParamBlockFetchAllAxisParam(int block, const Range* axisRanges, unsigned int rangeCount,
                                                      double* values, unsigned int capacity) {
    if (!axisRanges)
        return refused(ErrorCode::BadArgument);
    return fetchDoubles(*this, block, nullptr, 0, axisRanges, rangeCount, values, capacity, nullptr);
}
ErrorCode Connection_TCP::ParamBlockFetchChangedAxisParam(int block, int axis, double* values, unsigned int capacity,
                                                          std::uint64_t& changed) {
    return fetchDoubles(*this, block, &axis, 1, nullptr, 0, values, capacity, &changed);
}
ErrorCode Connection_TCP::ParamBlockFetchChangedAxisParam(int block, const int* axes, unsigned int axisCount,
                                                          double* values, unsigned int capacity,
                                                          std::uint64_t* changed) {
    if (!axes || !changed)
        return refused(ErrorCode::BadArgument);
    return fetchDoubles(*this, block, axes, axisCount, nullptr, 0, values, capacity, changed);
}
ErrorCode Connection_TCP::ParamBlockFetchChangedAxisParam(int block, Range axes, double* values,
                                                          unsigned int capacity, std::uint64_t* changed) {
    if (!changed)
        return refused(ErrorCode::BadArgument);
    return fetchDoubles(*this, block, nullptr, 0, &axes, 1, values, capacity, changed);
}
ErrorCode Connection_TCP::ParamBlockFetchChangedAxisParam(int block, const Range* axisRanges, unsigned int rangeCount,
                                                          double* values, unsigned int capacity,
                                                          std::uint64_t* changed) {
    if (!axisRanges || !changed)
        return refused(ErrorCode::BadArgument);
    return fetchDoubles(*this, block, nullptr, 0, axisRanges, rangeCount, values, capacity, changed);
}
ErrorCode Connection_TCP::ParamBlockFetchAllIO(int block, bool flag, std::uint64_t* values, unsigned int capacity) {
    return fetchWords(*this, block, flag, true, values, capacity, nullptr);
}
ErrorCode Connection_TCP::ParamBlockFetchChangedIO(int block, bool flag, std::uint64_t* values, unsigned int capacity,
                                                   std::uint64_t& changed) {
    return fetchWords(*this, block, flag, true, values, capacity, &changed);
}
ErrorCode Connection_TCP::ParamBlockFetchAllProgVar(int block) { return fetchTexts(*this, block, nullptr); }
ErrorCode Connection_TCP::ParamBlockFetchChangedProgVar(int block, std::uint64_t& changed) {
    return fetchTexts(*this, block, &changed);
}

// ---- program-variable values ----

// The stored text converted: the name, the type and the conversion.
#define VAXO_PROG_VALUE(Name, T, convert)                                                                        \
    ErrorCode Connection_TCP::ParamBlockGetProg##Name##Value(int block, unsigned int entry, T& value) {          \
        return withProgText(*this, block, entry, [&](std::string_view text) { return convert(text, value); });   \
    }
VAXO_PROG_VALUE(Double, double, Shared::from_chars)
VAXO_PROG_VALUE(Int64, std::int64_t, convertText)
VAXO_PROG_VALUE(UInt64, std::uint64_t, convertText)
VAXO_PROG_VALUE(Int32, int, convertText)
VAXO_PROG_VALUE(UInt32, unsigned int, convertText)
VAXO_PROG_VALUE(Bool, bool, Shared::from_chars)
#undef VAXO_PROG_VALUE
ErrorCode Connection_TCP::ParamBlockGetProgStrValue(int block, unsigned int entry, char* buffer, unsigned int& size) {
    return withProgText(*this, block, entry, [&](std::string_view text) {
        Shared::stString out{buffer, size};
        ErrorCode e = Shared::from_chars(text, out);
        size = out.size;
        return e;
    });
}
ErrorCode Connection_TCP::ParamBlockGetProgStrValue(int block, unsigned int entry, const Shared::TextFn& onText) {
    if (!onText)
        return ErrorCode::BadArgument;
    return withProgText(*this, block, entry, [&](std::string_view text) {
        onText(text);
        return ErrorCode::Success;
    });
}

// ---- delete ----

ErrorCode Connection_TCP::ParamBlockDelete(int block) {
    if (!IsConnected())
        return ErrorCode::Disconnected;
    if (m_pump.isInPumpThread())
        return ErrorCode::NotSupported;
    // Holding the block keeps a fetch of it from interleaving; the local mirror stays.
    std::optional<PrmBlkAccessor> hold;
    if (block >= 0)
        hold.emplace(m_paramBlocks, block);
    return execute<CmdPrmBlk>([&](CmdPrmBlk& cmd) { return cmd.sendDeleteBlock(block); });
}
ErrorCode Connection_TCP::ParamBlockDeleteAll() { return ParamBlockDelete(-1); }

} // namespace Vaxo::Ubrix::TCP
