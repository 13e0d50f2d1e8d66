// Flat functions of digital and analogue I/O.
#include "api/Flat.h"

using namespace Vaxo::Ubrix;
using Api::call;
using Shared::IConnection;

extern "C" {

VAXO_FLAT_OUT(GetDIn3, GetDIn, (uint32_t channel, bool* on), (channel, *on), on)
VAXO_FLAT_OUT(GetDIn4, GetDIn, (uint32_t first, uint32_t last, uint32_t* mask), (first, last, *mask), mask)
VAXO_FLAT_OUT(GetDIn32, GetDIn32, (uint32_t* mask), (*mask), mask)
VAXO_FLAT_OUT(GetDOut3, GetDOut, (uint32_t channel, bool* on), (channel, *on), on)
VAXO_FLAT_OUT(GetDOut4, GetDOut, (uint32_t first, uint32_t last, uint32_t* mask), (first, last, *mask), mask)
VAXO_FLAT_OUT(GetDOut32, GetDOut32, (uint32_t* mask), (*mask), mask)
VAXO_FLAT_PASS(SetDOut3, SetDOut, (uint32_t channel, bool on), (channel, on))
VAXO_FLAT_PASS(SetDOut4, SetDOut, (uint32_t first, uint32_t last, uint32_t value), (first, last, value))
VAXO_FLAT_PASS(SetDOut32, SetDOut32, (uint32_t value), (value))
VAXO_FLAT_OUT(GetAIn, GetAIn, (uint32_t channel, int32_t* value), (channel, *value), value)
VAXO_FLAT_OUT(GetAOut, GetAOut, (uint32_t channel, int32_t* value), (channel, *value), value)
VAXO_FLAT_PASS(SetAOut, SetAOut, (uint32_t channel, int32_t value), (channel, value))
VAXO_FLAT_OUT(GetInvertIN, GetInvertIN, (uint32_t channel, bool* on), (channel, *on), on)
VAXO_FLAT_PASS(SetInvertIN, SetInvertIN, (uint32_t channel, bool on), (channel, on))

} // extern "C"
