// Flat functions of the parameter blocks. Lists and outputs are required pointers.
#include <cstddef>

#include "api/Flat.h"

using namespace Vaxo::Ubrix;
using Api::call;
using Shared::IConnection;

namespace {

static_assert(sizeof(::Range) == sizeof(Shared::Range) && offsetof(::Range, count) == offsetof(Shared::Range, count));

const Shared::Range* ranges(const ::Range* r) { return reinterpret_cast<const Shared::Range*>(r); }
Shared::Range range(::Range r) { return Shared::Range{r.first, r.count}; }

} // namespace

extern "C" {

// ---- define / append ----

VAXO_API ErrorCode vaxo_ParamBlockDefineVr(VaxoHandle h, uint32_t* indices, uint32_t count, int32_t* block) {
    return call(h, [&](IConnection& c) { return c.ParamBlockDefineVr(indices, count, *block); }, indices, block);
}
VAXO_API ErrorCode vaxo_ParamBlockAppendVr(VaxoHandle h, int32_t block, uint32_t* indices, uint32_t count) {
    return call(h, [&](IConnection& c) { return c.ParamBlockAppendVr(block, indices, count); }, indices);
}
VAXO_API ErrorCode vaxo_ParamBlockDefineTable(VaxoHandle h, uint32_t* indices, uint32_t count, int32_t* block) {
    return call(h, [&](IConnection& c) { return c.ParamBlockDefineTable(indices, count, *block); }, indices, block);
}
VAXO_API ErrorCode vaxo_ParamBlockAppendTable(VaxoHandle h, int32_t block, uint32_t* indices, uint32_t count) {
    return call(h, [&](IConnection& c) { return c.ParamBlockAppendTable(block, indices, count); }, indices);
}
VAXO_API ErrorCode vaxo_ParamBlockDefineAxis(VaxoHandle h, const char** names, uint32_t count, int32_t* block) {
    return call(h, [&](IConnection& c) { return c.ParamBlockDefineAxis(names, count, *block); }, names, block);
}
VAXO_API ErrorCode vaxo_ParamBlockAppendAxis(VaxoHandle h, int32_t block, const char** names, uint32_t count) {
    return call(h, [&](IConnection& c) { return c.ParamBlockAppendAxis(block, names, count); }, names);
}
VAXO_API ErrorCode vaxo_ParamBlockDefineSystem(VaxoHandle h, const char** names, uint32_t count, int32_t* block) {
    return call(h, [&](IConnection& c) { return c.ParamBlockDefineSystem(names, count, *block); }, names, block);
}
VAXO_API ErrorCode vaxo_ParamBlockAppendSystem(VaxoHandle h, int32_t block, const char** names, uint32_t count) {
    return call(h, [&](IConnection& c) { return c.ParamBlockAppendSystem(block, names, count); }, names);
}
VAXO_API ErrorCode vaxo_ParamBlockDefineIO(VaxoHandle h, Range* r, uint32_t count, int32_t* block) {
    return call(h, [&](IConnection& c) { return c.ParamBlockDefineIO(ranges(r), count, *block); }, r, block);
}
VAXO_API ErrorCode vaxo_ParamBlockAppendIO(VaxoHandle h, int32_t block, Range* r, uint32_t count) {
    return call(h, [&](IConnection& c) { return c.ParamBlockAppendIO(block, ranges(r), count); }, r);
}
VAXO_API ErrorCode vaxo_ParamBlockDefineProgVar(VaxoHandle h, const char* program, int32_t qualifier,
                                                const char** names, uint32_t count, int32_t* block) {
    return call(
        h, [&](IConnection& c) { return c.ParamBlockDefineProgVar(program, qualifier, names, count, *block); },
        program, names, block);
}
VAXO_API ErrorCode vaxo_ParamBlockAppendProgVar(VaxoHandle h, int32_t block, const char* program, int32_t qualifier,
                                                const char** names, uint32_t count) {
    return call(
        h, [&](IConnection& c) { return c.ParamBlockAppendProgVar(block, program, qualifier, names, count); },
        program, names);
}

// ---- fetch ----

VAXO_API ErrorCode vaxo_ParamBlockFetchAllVr(VaxoHandle h, int32_t block, double* values, uint32_t capacity) {
    return call(h, [&](IConnection& c) { return c.ParamBlockFetchAllVr(block, values, capacity); }, values);
}
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedVr(VaxoHandle h, int32_t block, double* values, uint32_t capacity,
                                                 uint64_t* changed) {
    return call(
        h, [&](IConnection& c) { return c.ParamBlockFetchChangedVr(block, values, capacity, *changed); }, values,
        changed);
}
VAXO_API ErrorCode vaxo_ParamBlockFetchAllTable(VaxoHandle h, int32_t block, double* values, uint32_t capacity) {
    return call(h, [&](IConnection& c) { return c.ParamBlockFetchAllTable(block, values, capacity); }, values);
}
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedTable(VaxoHandle h, int32_t block, double* values, uint32_t capacity,
                                                    uint64_t* changed) {
    return call(
        h, [&](IConnection& c) { return c.ParamBlockFetchChangedTable(block, values, capacity, *changed); }, values,
        changed);
}
VAXO_API ErrorCode vaxo_ParamBlockFetchAllSystem(VaxoHandle h, int32_t block, double* values, uint32_t capacity) {
    return call(h, [&](IConnection& c) { return c.ParamBlockFetchAllSystem(block, values, capacity); }, values);
}
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedSystem(VaxoHandle h, int32_t block, double* values, uint32_t capacity,
                                                     uint64_t* changed) {
    return call(
        h, [&](IConnection& c) { return c.ParamBlockFetchChangedSystem(block, values, capacity, *changed); }, values,
        changed);
}
VAXO_API ErrorCode vaxo_ParamBlockFetchAllAxisParam5a(VaxoHandle h, int32_t block, int32_t axis, double* values,
                                                      uint32_t capacity) {
    return call(h, [&](IConnection& c) { return c.ParamBlockFetchAllAxisParam(block, int(axis), values, capacity); },
                values);
}
VAXO_API ErrorCode vaxo_ParamBlockFetchAllAxisParam5b(VaxoHandle h, int32_t block, Range axes, double* values,
                                                      uint32_t capacity) {
    return call(
        h, [&](IConnection& c) { return c.ParamBlockFetchAllAxisParam(block, range(axes), values, capacity); },
        values);
}
VAXO_API ErrorCode vaxo_ParamBlockFetchAllAxisParam6a(VaxoHandle h, int32_t block, int32_t* axes, uint32_t axisCount,
                                                      double* values, uint32_t capacity) {
    return call(
        h,
        [&](IConnection& c) {
            return c.ParamBlockFetchAllAxisParam(block, static_cast<const int*>(axes), axisCount, values, capacity);
        },
        axes, values);
}
VAXO_API ErrorCode vaxo_ParamBlockFetchAllAxisParam6b(VaxoHandle h, int32_t block, Range* axisRanges,
                                                      uint32_t rangeCount, double* values, uint32_t capacity) {
    return call(
        h,
        [&](IConnection& c) {
            return c.ParamBlockFetchAllAxisParam(block, ranges(axisRanges), rangeCount, values, capacity);
        },
        axisRanges, values);
}
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedAxisParam6a(VaxoHandle h, int32_t block, int32_t axis, double* values,
                                                          uint32_t capacity, uint64_t* changed) {
    return call(
        h,
        [&](IConnection& c) {
            return c.ParamBlockFetchChangedAxisParam(block, int(axis), values, capacity, *changed);
        },
        values, changed);
}
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedAxisParam6b(VaxoHandle h, int32_t block, Range axes, double* values,
                                                          uint32_t capacity, uint64_t* changed) {
    return call(
        h,
        [&](IConnection& c) {
            return c.ParamBlockFetchChangedAxisParam(block, range(axes), values, capacity, changed);
        },
        values, changed);
}
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedAxisParam7a(VaxoHandle h, int32_t block, int32_t* axes,
                                                          uint32_t axisCount, double* values, uint32_t capacity,
                                                          uint64_t* changed) {
    return call(
        h,
        [&](IConnection& c) {
            return c.ParamBlockFetchChangedAxisParam(block, static_cast<const int*>(axes), axisCount, values,
                                                     capacity, changed);
        },
        axes, values, changed);
}
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedAxisParam7b(VaxoHandle h, int32_t block, Range* axisRanges,
                                                          uint32_t rangeCount, double* values, uint32_t capacity,
                                                          uint64_t* changed) {
    return call(
        h,
        [&](IConnection& c) {
            return c.ParamBlockFetchChangedAxisParam(block, ranges(axisRanges), rangeCount, values, capacity,
                                                     changed);
        },
        axisRanges, values, changed);
}
VAXO_API ErrorCode vaxo_ParamBlockFetchAllIO(VaxoHandle h, int32_t block, bool flag, uint64_t* values,
                                             uint32_t capacity) {
    return call(
        h, [&](IConnection& c) { return c.ParamBlockFetchAllIO(block, flag, reinterpret_cast<std::uint64_t*>(values), capacity); },
        values);
}
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedIO(VaxoHandle h, int32_t block, bool flag, uint64_t* values,
                                                 uint32_t capacity, uint64_t* changed) {
    return call(
        h,
        [&](IConnection& c) {
            return c.ParamBlockFetchChangedIO(block, flag, reinterpret_cast<std::uint64_t*>(values), capacity,
                                              *reinterpret_cast<std::uint64_t*>(changed));
        },
        values, changed);
}
VAXO_API ErrorCode vaxo_ParamBlockFetchAllProgVar(VaxoHandle h, int32_t block) {
    return call(h, [&](IConnection& c) { return c.ParamBlockFetchAllProgVar(block); });
}
VAXO_API ErrorCode vaxo_ParamBlockFetchChangedProgVar(VaxoHandle h, int32_t block, uint64_t* changed) {
    return call(
        h,
        [&](IConnection& c) {
            return c.ParamBlockFetchChangedProgVar(block, *reinterpret_cast<std::uint64_t*>(changed));
        },
        changed);
}

// ---- program-variable values ----

VAXO_API ErrorCode vaxo_ParamBlockGetProgDoubleValue(VaxoHandle h, int32_t block, uint32_t entry, double* value) {
    return call(h, [&](IConnection& c) { return c.ParamBlockGetProgDoubleValue(block, entry, *value); }, value);
}
VAXO_API ErrorCode vaxo_ParamBlockGetProgInt64Value(VaxoHandle h, int32_t block, uint32_t entry, int64_t* value) {
    return call(
        h,
        [&](IConnection& c) {
            return c.ParamBlockGetProgInt64Value(block, entry, *reinterpret_cast<std::int64_t*>(value));
        },
        value);
}
VAXO_API ErrorCode vaxo_ParamBlockGetProgUInt64Value(VaxoHandle h, int32_t block, uint32_t entry, uint64_t* value) {
    return call(
        h,
        [&](IConnection& c) {
            return c.ParamBlockGetProgUInt64Value(block, entry, *reinterpret_cast<std::uint64_t*>(value));
        },
        value);
}
VAXO_API ErrorCode vaxo_ParamBlockGetProgInt32Value(VaxoHandle h, int32_t block, uint32_t entry, int32_t* value) {
    return call(h, [&](IConnection& c) { return c.ParamBlockGetProgInt32Value(block, entry, *value); }, value);
}
VAXO_API ErrorCode vaxo_ParamBlockGetProgUInt32Value(VaxoHandle h, int32_t block, uint32_t entry, uint32_t* value) {
    return call(h, [&](IConnection& c) { return c.ParamBlockGetProgUInt32Value(block, entry, *value); }, value);
}
VAXO_API ErrorCode vaxo_ParamBlockGetProgBoolValue(VaxoHandle h, int32_t block, uint32_t entry, bool* value) {
    return call(h, [&](IConnection& c) { return c.ParamBlockGetProgBoolValue(block, entry, *value); }, value);
}
VAXO_API ErrorCode vaxo_ParamBlockGetProgStrValue5a(VaxoHandle h, int32_t block, uint32_t entry, char* buffer,
                                                    uint32_t* size) {
    return call(h, [&](IConnection& c) { return c.ParamBlockGetProgStrValue(block, entry, buffer, *size); }, size);
}
VAXO_API ErrorCode vaxo_ParamBlockGetProgStrValue5b(VaxoHandle h, int32_t block, uint32_t entry, VaxoTextCb cb,
                                                    void* user) {
    return call(
        h,
        [&](IConnection& c) {
            return c.ParamBlockGetProgStrValue(block, entry, Shared::TextFn([&](std::string_view text) {
                                                   cb(user, text.data(), uint32_t(text.size()));
                                                   return true;
                                               }));
        },
        Api::required(cb));
}

// ---- delete ----

VAXO_API ErrorCode vaxo_ParamBlockDelete(VaxoHandle h, int32_t block) {
    return call(h, [&](IConnection& c) { return c.ParamBlockDelete(block); });
}
VAXO_API ErrorCode vaxo_ParamBlockDeleteAll(VaxoHandle h) {
    return call(h, [&](IConnection& c) { return c.ParamBlockDeleteAll(); });
}

} // extern "C"
