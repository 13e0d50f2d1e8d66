// Flat functions of digital and analogue I/O.
#include "api/Flat.h"

using namespace Vaxo::Ubrix;
using Api::call;
using Shared::IConnection;

extern "C" {

VAXO_API ErrorCode vaxo_GetDIn3(VaxoHandle h, uint32_t channel, bool* on) {
    return call(h, [&](IConnection& c) { return c.GetDIn(channel, *on); }, on);
}
VAXO_API ErrorCode vaxo_GetDIn4(VaxoHandle h, uint32_t first, uint32_t last, uint32_t* mask) {
    return call(h, [&](IConnection& c) { return c.GetDIn(first, last, *mask); }, mask);
}
VAXO_API ErrorCode vaxo_GetDIn32(VaxoHandle h, uint32_t* mask) {
    return call(h, [&](IConnection& c) { return c.GetDIn32(*mask); }, mask);
}
VAXO_API ErrorCode vaxo_GetDOut3(VaxoHandle h, uint32_t channel, bool* on) {
    return call(h, [&](IConnection& c) { return c.GetDOut(channel, *on); }, on);
}
VAXO_API ErrorCode vaxo_GetDOut4(VaxoHandle h, uint32_t first, uint32_t last, uint32_t* mask) {
    return call(h, [&](IConnection& c) { return c.GetDOut(first, last, *mask); }, mask);
}
VAXO_API ErrorCode vaxo_GetDOut32(VaxoHandle h, uint32_t* mask) {
    return call(h, [&](IConnection& c) { return c.GetDOut32(*mask); }, mask);
}
VAXO_API ErrorCode vaxo_SetDOut3(VaxoHandle h, uint32_t channel, bool on) {
    return call(h, [&](IConnection& c) { return c.SetDOut(channel, on); });
}
VAXO_API ErrorCode vaxo_SetDOut4(VaxoHandle h, uint32_t first, uint32_t last, uint32_t value) {
    return call(h, [&](IConnection& c) { return c.SetDOut(first, last, value); });
}
VAXO_API ErrorCode vaxo_SetDOut32(VaxoHandle h, uint32_t value) {
    return call(h, [&](IConnection& c) { return c.SetDOut32(value); });
}
VAXO_API ErrorCode vaxo_GetAIn(VaxoHandle h, uint32_t channel, int32_t* value) {
    return call(h, [&](IConnection& c) { return c.GetAIn(channel, *value); }, value);
}
VAXO_API ErrorCode vaxo_GetAOut(VaxoHandle h, uint32_t channel, int32_t* value) {
    return call(h, [&](IConnection& c) { return c.GetAOut(channel, *value); }, value);
}
VAXO_API ErrorCode vaxo_SetAOut(VaxoHandle h, uint32_t channel, int32_t value) {
    return call(h, [&](IConnection& c) { return c.SetAOut(channel, value); });
}
VAXO_API ErrorCode vaxo_GetInvertIN(VaxoHandle h, uint32_t channel, bool* on) {
    return call(h, [&](IConnection& c) { return c.GetInvertIN(channel, *on); }, on);
}
VAXO_API ErrorCode vaxo_SetInvertIN(VaxoHandle h, uint32_t channel, bool on) {
    return call(h, [&](IConnection& c) { return c.SetInvertIN(channel, on); });
}

} // extern "C"
