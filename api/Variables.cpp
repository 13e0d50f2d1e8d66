// Flat functions of VR and TABLE memory (values, strings, bits) and the controller reset.
#include <string>

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

VAXO_API ErrorCode vaxo_GetMultiVrValues(VaxoHandle h, uint32_t start, uint32_t count, double* values) {
    return call(h, [&](IConnection& c) { return c.GetMultiVrValues(start, count, values); }, values);
}
VAXO_API ErrorCode vaxo_SetMultiVrValues(VaxoHandle h, uint32_t start, uint32_t count, double* values) {
    return call(h, [&](IConnection& c) { return c.SetMultiVrValues(start, count, values); }, values);
}
VAXO_API ErrorCode vaxo_GetMultiTableValues(VaxoHandle h, uint32_t start, uint32_t count, double* values) {
    return call(h, [&](IConnection& c) { return c.GetMultiTableValues(start, count, values); }, values);
}
VAXO_API ErrorCode vaxo_SetMultiTableValues(VaxoHandle h, uint32_t start, uint32_t count, double* values) {
    return call(h, [&](IConnection& c) { return c.SetMultiTableValues(start, count, values); }, values);
}

VAXO_API ErrorCode vaxo_SetVrString(VaxoHandle h, uint32_t index, const char* text) {
    return call(h, [&](IConnection& c) { return c.SetVrString(index, text); }, text);
}
VAXO_API ErrorCode vaxo_GetVrStringLen(VaxoHandle h, uint32_t index, uint32_t* length) {
    return call(h, [&](IConnection& c) { return c.GetVrStringLen(index, *length); }, length);
}
VAXO_API ErrorCode vaxo_GetVrString4a(VaxoHandle h, uint32_t index, char* buffer, uint32_t* size) {
    return call(h, [&](IConnection& c) { return c.GetVrString(index, buffer, *size); }, buffer, size);
}
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

VAXO_API ErrorCode vaxo_GetVrBit(VaxoHandle h, uint32_t bit, uint32_t index, bool* value) {
    return call(h, [&](IConnection& c) { return c.GetVrBit(bit, index, *value); }, value);
}
VAXO_API ErrorCode vaxo_SetVrBit(VaxoHandle h, uint32_t bit, uint32_t index) {
    return call(h, [&](IConnection& c) { return c.SetVrBit(bit, index); });
}
VAXO_API ErrorCode vaxo_ClearVrBit(VaxoHandle h, uint32_t bit, uint32_t index) {
    return call(h, [&](IConnection& c) { return c.ClearVrBit(bit, index); });
}

} // extern "C"
