// Flat functions of VR and TABLE memory and the controller reset.
#include "api/Flat.h"

using namespace Vaxo::Ubrix;
using Api::call;
using Shared::IConnection;

extern "C" {

VAXO_API ErrorCode vaxo_Ex(VaxoHandle h, int32_t option) {
    return call(h, [&](IConnection& c) { return c.Ex(option); });
}
VAXO_API ErrorCode vaxo_GetVrValue(VaxoHandle h, uint32_t index, double* value) {
    return call(h, [&](IConnection& c) { return c.GetVrValue(index, *value); }, value);
}
VAXO_API ErrorCode vaxo_SetVrValue(VaxoHandle h, uint32_t index, double value) {
    return call(h, [&](IConnection& c) { return c.SetVrValue(index, value); });
}
VAXO_API ErrorCode vaxo_GetTableValue(VaxoHandle h, uint32_t index, double* value) {
    return call(h, [&](IConnection& c) { return c.GetTableValue(index, *value); }, value);
}
VAXO_API ErrorCode vaxo_SetTableValue(VaxoHandle h, uint32_t index, double value) {
    return call(h, [&](IConnection& c) { return c.SetTableValue(index, value); });
}

} // extern "C"
