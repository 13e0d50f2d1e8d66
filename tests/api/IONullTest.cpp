// Every flat function of digital and analogue I/O refuses a null handle, and a null result
// pointer, before anything reaches the connection.
#include "NullCases.h"

namespace {

using namespace vaxotest;

TEST(IONull, HandleAndResultPointers) {
    bool b;
    uint32_t u;
    int32_t i;
    const std::vector<NullCase> cases = {
        {"GetDIn3", [&](VaxoHandle h) { return vaxo_GetDIn3(h, 0, &b); }, {[](VaxoHandle h) { return vaxo_GetDIn3(h, 0, nullptr); }}},
        {"GetDIn4", [&](VaxoHandle h) { return vaxo_GetDIn4(h, 0, 1, &u); }, {[](VaxoHandle h) { return vaxo_GetDIn4(h, 0, 1, nullptr); }}},
        {"GetDIn32", [&](VaxoHandle h) { return vaxo_GetDIn32(h, &u); }, {[](VaxoHandle h) { return vaxo_GetDIn32(h, nullptr); }}},
        {"GetDOut3", [&](VaxoHandle h) { return vaxo_GetDOut3(h, 0, &b); }, {[](VaxoHandle h) { return vaxo_GetDOut3(h, 0, nullptr); }}},
        {"GetDOut4", [&](VaxoHandle h) { return vaxo_GetDOut4(h, 0, 1, &u); }, {[](VaxoHandle h) { return vaxo_GetDOut4(h, 0, 1, nullptr); }}},
        {"GetDOut32", [&](VaxoHandle h) { return vaxo_GetDOut32(h, &u); }, {[](VaxoHandle h) { return vaxo_GetDOut32(h, nullptr); }}},
        {"SetDOut3", [](VaxoHandle h) { return vaxo_SetDOut3(h, 0, true); }, {}},
        {"SetDOut4", [](VaxoHandle h) { return vaxo_SetDOut4(h, 0, 1, 3); }, {}},
        {"SetDOut32", [](VaxoHandle h) { return vaxo_SetDOut32(h, 1); }, {}},
        {"GetAIn", [&](VaxoHandle h) { return vaxo_GetAIn(h, 0, &i); }, {[](VaxoHandle h) { return vaxo_GetAIn(h, 0, nullptr); }}},
        {"GetAOut", [&](VaxoHandle h) { return vaxo_GetAOut(h, 0, &i); }, {[](VaxoHandle h) { return vaxo_GetAOut(h, 0, nullptr); }}},
        {"SetAOut", [](VaxoHandle h) { return vaxo_SetAOut(h, 0, 1); }, {}},
        {"GetInvertIN", [&](VaxoHandle h) { return vaxo_GetInvertIN(h, 0, &b); }, {[](VaxoHandle h) { return vaxo_GetInvertIN(h, 0, nullptr); }}},
        {"SetInvertIN", [](VaxoHandle h) { return vaxo_SetInvertIN(h, 0, true); }, {}},
    };
    expectNullRefusals(cases);
}

} // namespace
