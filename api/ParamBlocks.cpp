// Flat functions of the parameter blocks. Lists and outputs are required pointers.
#include <cstddef>

#include "api/Flat.h"

using namespace Vaxo::Ubrix;
using Api::call;
using Shared::IConnection;

namespace {

static_assert(sizeof(::Range) == sizeof(Shared::Range) && offsetof(::Range, count) == offsetof(Shared::Range, count));

const Shared::Range* ranges(const ::Range* r) { return reinterpret_cast<const Shared::Range*>(r); }
// A define list as the connection takes it: indices and names as they are, ranges converted.
template <class T>
T* list(T* items) {
    return items;
}
const Shared::Range* list(::Range* r) { return ranges(r); }
Shared::Range range(::Range r) { return Shared::Range{r.first, r.count}; }

} // namespace

extern "C" {

// ---- define / append ----

// Define and append of the kinds defined by a list: the kind and the list's type.
#define VAXO_PRMBLK_DEFINE(Kind, List)                                                                           \
    VAXO_API ErrorCode vaxo_ParamBlockDefine##Kind(VaxoHandle h, List items, uint32_t count, int32_t* block) {   \
        return call(h, [&](IConnection& c) { return c.ParamBlockDefine##Kind(list(items), count, *block); },     \
                    items, block);                                                                               \
    }                                                                                                            \
    VAXO_API ErrorCode vaxo_ParamBlockAppend##Kind(VaxoHandle h, int32_t block, List items, uint32_t count) {    \
        return call(h, [&](IConnection& c) { return c.ParamBlockAppend##Kind(block, list(items), count); },      \
                    items);                                                                                      \
    }
VAXO_PRMBLK_DEFINE(Vr, uint32_t*)
VAXO_PRMBLK_DEFINE(Table, uint32_t*)
VAXO_PRMBLK_DEFINE(Axis, const char**)
VAXO_PRMBLK_DEFINE(System, const char**)
VAXO_PRMBLK_DEFINE(IO, Range*)
#undef VAXO_PRMBLK_DEFINE
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

// Fetch of all or the changed values of the blocks with one value per entry.
#define VAXO_PRMBLK_FETCH(Kind)                                                                                  \
    VAXO_API ErrorCode vaxo_ParamBlockFetchAll##Kind(VaxoHandle h, int32_t block, double* values,                \
                                                     uint32_t capacity) {                                        \
        return call(h, [&](IConnection& c) { return c.ParamBlockFetchAll##Kind(block, values, capacity); },      \
                    values);                                                                                     \
    }                                                                                                            \
    VAXO_API ErrorCode vaxo_ParamBlockFetchChanged##Kind(VaxoHandle h, int32_t block, double* values,            \
                                                         uint32_t capacity, uint64_t* changed) {                 \
        return call(                                                                                             \
            h, [&](IConnection& c) { return c.ParamBlockFetchChanged##Kind(block, values, capacity, *changed); }, \
            values, changed);                                                                                    \
    }
VAXO_PRMBLK_FETCH(Vr)
VAXO_PRMBLK_FETCH(Table)
VAXO_PRMBLK_FETCH(System)
#undef VAXO_PRMBLK_FETCH
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

#define VAXO_PRMBLK_PROG_VALUE(Name, T)                                                                          \
    VAXO_API ErrorCode vaxo_ParamBlockGetProg##Name##Value(VaxoHandle h, int32_t block, uint32_t entry, T* value) { \
        return call(h, [&](IConnection& c) { return c.ParamBlockGetProg##Name##Value(block, entry, *value); }, value); \
    }
VAXO_PRMBLK_PROG_VALUE(Double, double)
VAXO_PRMBLK_PROG_VALUE(Int64, int64_t)
VAXO_PRMBLK_PROG_VALUE(UInt64, uint64_t)
VAXO_PRMBLK_PROG_VALUE(Int32, int32_t)
VAXO_PRMBLK_PROG_VALUE(UInt32, uint32_t)
VAXO_PRMBLK_PROG_VALUE(Bool, bool)
#undef VAXO_PRMBLK_PROG_VALUE
VAXO_API ErrorCode vaxo_ParamBlockGetProgStrValue5a(VaxoHandle h, int32_t block, uint32_t entry, char* buffer,
                                                    uint32_t* size) {
    return call(
        h, [&](IConnection& c) { return c.ParamBlockGetProgStrValue(block, entry, buffer, *size); }, buffer, size);
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
