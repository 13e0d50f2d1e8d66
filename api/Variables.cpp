// Flat functions of VR and TABLE memory (values, strings, bits) and the controller reset.
#include <string>

#include "api/Flat.h"

using namespace Vaxo::Ubrix;
using Api::call;
using Shared::IConnection;

extern "C" {

VAXO_FLAT_PASS(Ex, Ex, (int32_t option), (option))
VAXO_FLAT_OUT(GetVrValue, GetVrValue, (uint32_t index, double* value), (index, *value), value)
VAXO_FLAT_PASS(SetVrValue, SetVrValue, (uint32_t index, double value), (index, value))
VAXO_FLAT_OUT(GetTableValue, GetTableValue, (uint32_t index, double* value), (index, *value), value)
VAXO_FLAT_PASS(SetTableValue, SetTableValue, (uint32_t index, double value), (index, value))

VAXO_FLAT_OUT(GetMultiVrValues, GetMultiVrValues,
              (uint32_t start, uint32_t count, double* values), (start, count, values), values)
VAXO_FLAT_OUT(SetMultiVrValues, SetMultiVrValues,
              (uint32_t start, uint32_t count, double* values), (start, count, values), values)
VAXO_FLAT_OUT(GetMultiTableValues, GetMultiTableValues,
              (uint32_t start, uint32_t count, double* values), (start, count, values), values)
VAXO_FLAT_OUT(SetMultiTableValues, SetMultiTableValues,
              (uint32_t start, uint32_t count, double* values), (start, count, values), values)

VAXO_FLAT_OUT(SetVrString, SetVrString, (uint32_t index, const char* text), (index, text), text)
VAXO_FLAT_OUT(GetVrStringLen, GetVrStringLen, (uint32_t index, uint32_t* length), (index, *length), length)
VAXO_FLAT_OUT(GetVrString4a, GetVrString,
              (uint32_t index, char* buffer, uint32_t* size), (index, buffer, *size), buffer, size)
VAXO_API ErrorCode vaxo_GetVrString4b(VaxoHandle h, uint32_t index, VaxoPacketCb cb, void* user) {
    return call(h, [&](IConnection& c) {
        const Shared::DataStreamFn sink = [cb, user](const Shared::DataStreamPacket& packet, const char* data) {
            cb(user, reinterpret_cast<const VaxoDataStreamPacket*>(&packet), data);
        };
        return c.GetVrString(index, sink);
    }, Api::required(cb));
}
VAXO_API ErrorCode vaxo_GetVrString4c(VaxoHandle h, uint32_t index, VaxoTextCb cb, void* user) {
    return call(h, [&](IConnection& c) {
        std::string text;
        const Shared::ErrorCode e = c.GetVrString(index, text);
        if (!failed(e))
            cb(user, text.data(), uint32_t(text.size()));
        return e;
    }, Api::required(cb));
}

VAXO_FLAT_OUT(GetVrBit, GetVrBit, (uint32_t bit, uint32_t index, bool* value), (bit, index, *value), value)
VAXO_FLAT_PASS(SetVrBit, SetVrBit, (uint32_t bit, uint32_t index), (bit, index))
VAXO_FLAT_PASS(ClearVrBit, ClearVrBit, (uint32_t bit, uint32_t index), (bit, index))

} // extern "C"
