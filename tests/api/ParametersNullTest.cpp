// Every flat function of the parameters-by-token family refuses a null handle, and a null
// result, text or callback pointer, before anything reaches the connection.
#include "NullCases.h"

namespace {

using namespace vaxotest;

void textCb(void*, const char*, uint32_t) {}

template <class T>
T* slot() {
    static T value{};
    return &value;
}

TEST(ParametersNull, HandleAndResultPointers) {
    std::vector<NullCase> cases;
#define VAXO_TYPES(X) X(Bool, bool) X(Double, double) X(Int32, int32_t) X(Int64, int64_t) X(UInt32, uint32_t) X(UInt64, uint64_t)
#define VAXO_SYSTEM_CASE(Name, T)                                                                               \
    cases.push_back({"GetSystemParameter" #Name "Value",                                                       \
                     [](VaxoHandle h) { return vaxo_GetSystemParameter##Name##Value(h, 0, slot<T>()); },         \
                     {[](VaxoHandle h) { return vaxo_GetSystemParameter##Name##Value(h, 0, nullptr); }}});       \
    cases.push_back({"SetSystemParameter" #Name "Value",                                                       \
                     [](VaxoHandle h) { return vaxo_SetSystemParameter##Name##Value(h, 0, T{}); }, {}});
#define VAXO_KIND_CASE(Kind, Name, T)                                                                           \
    cases.push_back({"Get" #Kind "Parameter" #Name "Value",                                                    \
                     [](VaxoHandle h) { return vaxo_Get##Kind##Parameter##Name##Value(h, 0, 0, slot<T>()); },    \
                     {[](VaxoHandle h) { return vaxo_Get##Kind##Parameter##Name##Value(h, 0, 0, nullptr); }}});  \
    cases.push_back({"Set" #Kind "Parameter" #Name "Value",                                                    \
                     [](VaxoHandle h) { return vaxo_Set##Kind##Parameter##Name##Value(h, 0, 0, T{}); }, {}});
#define VAXO_AXIS_CASE(Name, T) VAXO_KIND_CASE(Axis, Name, T)
#define VAXO_PROCESS_CASE(Name, T) VAXO_KIND_CASE(Process, Name, T)
#define VAXO_SLOT_CASE(Name, T) VAXO_KIND_CASE(Slot, Name, T)
#define VAXO_PORT_CASE(Name, T) VAXO_KIND_CASE(Port, Name, T)
    VAXO_TYPES(VAXO_SYSTEM_CASE)
    VAXO_TYPES(VAXO_AXIS_CASE)
    VAXO_TYPES(VAXO_PROCESS_CASE)
    VAXO_TYPES(VAXO_SLOT_CASE)
    VAXO_TYPES(VAXO_PORT_CASE)
    static char buf[8];
    static uint32_t size = sizeof buf;
    static int32_t axes[2] = {0, 1};
    cases.push_back({"GetSystemParameterStringValue4a",
                     [](VaxoHandle h) { return vaxo_GetSystemParameterStringValue4a(h, 0, buf, &size); },
                     {[](VaxoHandle h) { return vaxo_GetSystemParameterStringValue4a(h, 0, nullptr, &size); },
                      [](VaxoHandle h) { return vaxo_GetSystemParameterStringValue4a(h, 0, buf, nullptr); }}});
    cases.push_back({"GetSystemParameterStringValue4b",
                     [](VaxoHandle h) { return vaxo_GetSystemParameterStringValue4b(h, 0, textCb, nullptr); },
                     {[](VaxoHandle h) { return vaxo_GetSystemParameterStringValue4b(h, 0, nullptr, nullptr); }}});
    cases.push_back({"SetSystemParameterStringValue",
                     [](VaxoHandle h) { return vaxo_SetSystemParameterStringValue(h, 0, "x"); },
                     {[](VaxoHandle h) { return vaxo_SetSystemParameterStringValue(h, 0, nullptr); }}});
    cases.push_back({"SetAxisBase", [](VaxoHandle h) { return vaxo_SetAxisBase(h, 0); }, {}});
    cases.push_back({"SetMultiAxisBase", [](VaxoHandle h) { return vaxo_SetMultiAxisBase(h, axes, 2); },
                     {[](VaxoHandle h) { return vaxo_SetMultiAxisBase(h, nullptr, 2); }}});
    expectNullRefusals(cases, 60u + 5u);
}

} // namespace
