// Every flat function of VR and TABLE memory refuses a null handle, and a null result, data or
// callback pointer, before anything reaches the connection.
#include "NullCases.h"

namespace {

using namespace vaxotest;

void textCb(void*, const char*, uint32_t) {}
void packetCb(void*, const VaxoDataStreamPacket*, const char*) {}

TEST(VariablesNull, HandleAndResultPointers) {
    static double d[4];
    static uint32_t u;
    static bool b;
    static char buf[8];
    const std::vector<NullCase> cases = {
        {"GetVrValue", [](VaxoHandle h) { return vaxo_GetVrValue(h, 0, d); },
         {[](VaxoHandle h) { return vaxo_GetVrValue(h, 0, nullptr); }}},
        {"SetVrValue", [](VaxoHandle h) { return vaxo_SetVrValue(h, 0, 1); }, {}},
        {"GetTableValue", [](VaxoHandle h) { return vaxo_GetTableValue(h, 0, d); },
         {[](VaxoHandle h) { return vaxo_GetTableValue(h, 0, nullptr); }}},
        {"SetTableValue", [](VaxoHandle h) { return vaxo_SetTableValue(h, 0, 1); }, {}},
        {"GetMultiVrValues", [](VaxoHandle h) { return vaxo_GetMultiVrValues(h, 0, 4, d); },
         {[](VaxoHandle h) { return vaxo_GetMultiVrValues(h, 0, 4, nullptr); }}},
        {"SetMultiVrValues", [](VaxoHandle h) { return vaxo_SetMultiVrValues(h, 0, 4, d); },
         {[](VaxoHandle h) { return vaxo_SetMultiVrValues(h, 0, 4, nullptr); }}},
        {"GetMultiTableValues", [](VaxoHandle h) { return vaxo_GetMultiTableValues(h, 0, 4, d); },
         {[](VaxoHandle h) { return vaxo_GetMultiTableValues(h, 0, 4, nullptr); }}},
        {"SetMultiTableValues", [](VaxoHandle h) { return vaxo_SetMultiTableValues(h, 0, 4, d); },
         {[](VaxoHandle h) { return vaxo_SetMultiTableValues(h, 0, 4, nullptr); }}},
        {"SetVrString", [](VaxoHandle h) { return vaxo_SetVrString(h, 0, "a"); },
         {[](VaxoHandle h) { return vaxo_SetVrString(h, 0, nullptr); }}},
        {"GetVrStringLen", [](VaxoHandle h) { return vaxo_GetVrStringLen(h, 0, &u); },
         {[](VaxoHandle h) { return vaxo_GetVrStringLen(h, 0, nullptr); }}},
        {"GetVrString4a", [](VaxoHandle h) { return vaxo_GetVrString4a(h, 0, buf, &u); },
         {[](VaxoHandle h) { return vaxo_GetVrString4a(h, 0, nullptr, &u); },
          [](VaxoHandle h) { return vaxo_GetVrString4a(h, 0, buf, nullptr); }}},
        {"GetVrString4b", [](VaxoHandle h) { return vaxo_GetVrString4b(h, 0, packetCb, nullptr); },
         {[](VaxoHandle h) { return vaxo_GetVrString4b(h, 0, nullptr, nullptr); }}},
        {"GetVrString4c", [](VaxoHandle h) { return vaxo_GetVrString4c(h, 0, textCb, nullptr); },
         {[](VaxoHandle h) { return vaxo_GetVrString4c(h, 0, nullptr, nullptr); }}},
        {"GetVrBit", [](VaxoHandle h) { return vaxo_GetVrBit(h, 0, 0, &b); },
         {[](VaxoHandle h) { return vaxo_GetVrBit(h, 0, 0, nullptr); }}},
        {"SetVrBit", [](VaxoHandle h) { return vaxo_SetVrBit(h, 0, 0); }, {}},
        {"ClearVrBit", [](VaxoHandle h) { return vaxo_ClearVrBit(h, 0, 0); }, {}},
    };
    expectNullRefusals(cases);
}

} // namespace
