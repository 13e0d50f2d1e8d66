// Every flat function of the parameter blocks refuses a null handle, and a null list, output
// or callback, before anything reaches the connection.
#include "NullCases.h"

namespace {

using namespace vaxotest;

void textCb(void*, const char*, uint32_t) {}

TEST(ParamBlocksNull, HandleListsAndOutputs) {
    uint32_t idx[1] = {1};
    const char* names[1] = {"SPEED"};
    Range r[1] = {{0, 1}};
    Range one{0, 1};
    int32_t id, axes[1] = {0};
    double d[1];
    uint64_t w[1], m[1];
    int64_t i64;
    uint64_t u64;
    int32_t i32;
    uint32_t u32, size = 1;
    bool b;
    char buf[1];
// Define and append of a kind given by a list; fetch of all or the changed values of a kind
// with one value per entry.
#define VAXO_DEFINE_ROWS(Kind, list)                                                                             \
    {"Define" #Kind, [&](VaxoHandle h) { return vaxo_ParamBlockDefine##Kind(h, list, 1, &id); },                 \
     {[&](VaxoHandle h) { return vaxo_ParamBlockDefine##Kind(h, nullptr, 1, &id); },                             \
      [&](VaxoHandle h) { return vaxo_ParamBlockDefine##Kind(h, list, 1, nullptr); }}},                          \
    {"Append" #Kind, [&](VaxoHandle h) { return vaxo_ParamBlockAppend##Kind(h, 0, list, 1); },                   \
     {[&](VaxoHandle h) { return vaxo_ParamBlockAppend##Kind(h, 0, nullptr, 1); }}},
#define VAXO_FETCH_ROWS(Kind)                                                                                    \
    {"FetchAll" #Kind, [&](VaxoHandle h) { return vaxo_ParamBlockFetchAll##Kind(h, 0, d, 1); },                  \
     {[&](VaxoHandle h) { return vaxo_ParamBlockFetchAll##Kind(h, 0, nullptr, 1); }}},                           \
    {"FetchChanged" #Kind, [&](VaxoHandle h) { return vaxo_ParamBlockFetchChanged##Kind(h, 0, d, 1, m); },       \
     {[&](VaxoHandle h) { return vaxo_ParamBlockFetchChanged##Kind(h, 0, nullptr, 1, m); },                      \
      [&](VaxoHandle h) { return vaxo_ParamBlockFetchChanged##Kind(h, 0, d, 1, nullptr); }}},
    const std::vector<NullCase> cases = {
        VAXO_DEFINE_ROWS(Vr, idx) VAXO_DEFINE_ROWS(Table, idx) VAXO_DEFINE_ROWS(Axis, names)
        VAXO_DEFINE_ROWS(System, names) VAXO_DEFINE_ROWS(IO, r)
        {"DefineProgVar", [&](VaxoHandle h) { return vaxo_ParamBlockDefineProgVar(h, "P", 0, names, 1, &id); },
         {[&](VaxoHandle h) { return vaxo_ParamBlockDefineProgVar(h, nullptr, 0, names, 1, &id); },
          [&](VaxoHandle h) { return vaxo_ParamBlockDefineProgVar(h, "P", 0, nullptr, 1, &id); },
          [&](VaxoHandle h) { return vaxo_ParamBlockDefineProgVar(h, "P", 0, names, 1, nullptr); }}},
        {"AppendProgVar", [&](VaxoHandle h) { return vaxo_ParamBlockAppendProgVar(h, 0, "P", 0, names, 1); },
         {[&](VaxoHandle h) { return vaxo_ParamBlockAppendProgVar(h, 0, nullptr, 0, names, 1); },
          [&](VaxoHandle h) { return vaxo_ParamBlockAppendProgVar(h, 0, "P", 0, nullptr, 1); }}},
        VAXO_FETCH_ROWS(Vr) VAXO_FETCH_ROWS(Table) VAXO_FETCH_ROWS(System)
        {"FetchAllAxisParam5a", [&](VaxoHandle h) { return vaxo_ParamBlockFetchAllAxisParam5a(h, 0, 0, d, 1); },
         {[&](VaxoHandle h) { return vaxo_ParamBlockFetchAllAxisParam5a(h, 0, 0, nullptr, 1); }}},
        {"FetchAllAxisParam5b", [&](VaxoHandle h) { return vaxo_ParamBlockFetchAllAxisParam5b(h, 0, one, d, 1); },
         {[&](VaxoHandle h) { return vaxo_ParamBlockFetchAllAxisParam5b(h, 0, one, nullptr, 1); }}},
        {"FetchAllAxisParam6a", [&](VaxoHandle h) { return vaxo_ParamBlockFetchAllAxisParam6a(h, 0, axes, 1, d, 1); },
         {[&](VaxoHandle h) { return vaxo_ParamBlockFetchAllAxisParam6a(h, 0, nullptr, 1, d, 1); },
          [&](VaxoHandle h) { return vaxo_ParamBlockFetchAllAxisParam6a(h, 0, axes, 1, nullptr, 1); }}},
        {"FetchAllAxisParam6b", [&](VaxoHandle h) { return vaxo_ParamBlockFetchAllAxisParam6b(h, 0, r, 1, d, 1); },
         {[&](VaxoHandle h) { return vaxo_ParamBlockFetchAllAxisParam6b(h, 0, nullptr, 1, d, 1); },
          [&](VaxoHandle h) { return vaxo_ParamBlockFetchAllAxisParam6b(h, 0, r, 1, nullptr, 1); }}},
        {"FetchChangedAxisParam6a",
         [&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedAxisParam6a(h, 0, 0, d, 1, m); },
         {[&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedAxisParam6a(h, 0, 0, nullptr, 1, m); },
          [&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedAxisParam6a(h, 0, 0, d, 1, nullptr); }}},
        {"FetchChangedAxisParam6b",
         [&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedAxisParam6b(h, 0, one, d, 1, m); },
         {[&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedAxisParam6b(h, 0, one, nullptr, 1, m); },
          [&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedAxisParam6b(h, 0, one, d, 1, nullptr); }}},
        {"FetchChangedAxisParam7a",
         [&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedAxisParam7a(h, 0, axes, 1, d, 1, m); },
         {[&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedAxisParam7a(h, 0, nullptr, 1, d, 1, m); },
          [&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedAxisParam7a(h, 0, axes, 1, nullptr, 1, m); },
          [&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedAxisParam7a(h, 0, axes, 1, d, 1, nullptr); }}},
        {"FetchChangedAxisParam7b",
         [&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedAxisParam7b(h, 0, r, 1, d, 1, m); },
         {[&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedAxisParam7b(h, 0, nullptr, 1, d, 1, m); },
          [&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedAxisParam7b(h, 0, r, 1, nullptr, 1, m); },
          [&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedAxisParam7b(h, 0, r, 1, d, 1, nullptr); }}},
        {"FetchAllIO", [&](VaxoHandle h) { return vaxo_ParamBlockFetchAllIO(h, 0, true, w, 1); },
         {[&](VaxoHandle h) { return vaxo_ParamBlockFetchAllIO(h, 0, true, nullptr, 1); }}},
        {"FetchChangedIO", [&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedIO(h, 0, true, w, 1, m); },
         {[&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedIO(h, 0, true, nullptr, 1, m); },
          [&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedIO(h, 0, true, w, 1, nullptr); }}},
        {"FetchAllProgVar", [](VaxoHandle h) { return vaxo_ParamBlockFetchAllProgVar(h, 0); }, {}},
        {"FetchChangedProgVar", [&](VaxoHandle h) { return vaxo_ParamBlockFetchChangedProgVar(h, 0, m); },
         {[](VaxoHandle h) { return vaxo_ParamBlockFetchChangedProgVar(h, 0, nullptr); }}},
        {"GetProgDoubleValue", [&](VaxoHandle h) { return vaxo_ParamBlockGetProgDoubleValue(h, 0, 0, d); },
         {[](VaxoHandle h) { return vaxo_ParamBlockGetProgDoubleValue(h, 0, 0, nullptr); }}},
        {"GetProgInt64Value", [&](VaxoHandle h) { return vaxo_ParamBlockGetProgInt64Value(h, 0, 0, &i64); },
         {[](VaxoHandle h) { return vaxo_ParamBlockGetProgInt64Value(h, 0, 0, nullptr); }}},
        {"GetProgUInt64Value", [&](VaxoHandle h) { return vaxo_ParamBlockGetProgUInt64Value(h, 0, 0, &u64); },
         {[](VaxoHandle h) { return vaxo_ParamBlockGetProgUInt64Value(h, 0, 0, nullptr); }}},
        {"GetProgInt32Value", [&](VaxoHandle h) { return vaxo_ParamBlockGetProgInt32Value(h, 0, 0, &i32); },
         {[](VaxoHandle h) { return vaxo_ParamBlockGetProgInt32Value(h, 0, 0, nullptr); }}},
        {"GetProgUInt32Value", [&](VaxoHandle h) { return vaxo_ParamBlockGetProgUInt32Value(h, 0, 0, &u32); },
         {[](VaxoHandle h) { return vaxo_ParamBlockGetProgUInt32Value(h, 0, 0, nullptr); }}},
        {"GetProgBoolValue", [&](VaxoHandle h) { return vaxo_ParamBlockGetProgBoolValue(h, 0, 0, &b); },
         {[](VaxoHandle h) { return vaxo_ParamBlockGetProgBoolValue(h, 0, 0, nullptr); }}},
        {"GetProgStrValue5a", [&](VaxoHandle h) { return vaxo_ParamBlockGetProgStrValue5a(h, 0, 0, buf, &size); },
         {[&](VaxoHandle h) { return vaxo_ParamBlockGetProgStrValue5a(h, 0, 0, buf, nullptr); }}},
        {"GetProgStrValue5b", [](VaxoHandle h) { return vaxo_ParamBlockGetProgStrValue5b(h, 0, 0, textCb, nullptr); },
         {[](VaxoHandle h) { return vaxo_ParamBlockGetProgStrValue5b(h, 0, 0, nullptr, nullptr); }}},
        {"Delete", [](VaxoHandle h) { return vaxo_ParamBlockDelete(h, 0); }, {}},
        {"DeleteAll", [](VaxoHandle h) { return vaxo_ParamBlockDeleteAll(h); }, {}},
    };
#undef VAXO_DEFINE_ROWS
#undef VAXO_FETCH_ROWS
    expectNullRefusals(cases, 40u);
}

} // namespace
