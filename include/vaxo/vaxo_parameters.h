/* Parameters by token: the generic typed forms, system-variable strings, axis base: flat functions. Included by <vaxo/vaxo.h>. */
#ifndef VAXO_VAXO_PARAMETERS_H
#define VAXO_VAXO_PARAMETERS_H

#include <vaxo/vaxo.h>
#include <vaxo/vaxo_tokens.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Parameters by token --------------------------------------------------
 * parameter is a token number from <vaxo/vaxo_tokens.h> (VAXO_TOKEN_SPEED, ...) naming a system
 * variable (BadArgument otherwise). Reads
 * round the controller's number to the nearest integer for the integer types (Bool: non-zero
 * is true); a value outside the type's range gives OutOfRange and leaves *value untouched.
 * 64-bit writes that a double cannot hold exactly give OutOfRange and send nothing.
 * A controller without the kind's modifier (e.g. PORT) gives NotSupported without traffic.
 * An axis, process, slot or port number above 0x7FFFFFFF is BadArgument, nothing sent (as for
 * the named functions in vaxo.h). */

/** System parameters. */
VAXO_API ErrorCode vaxo_GetSystemParameterBoolValue(VaxoHandle h, uint32_t parameter, bool* value);
VAXO_API ErrorCode vaxo_SetSystemParameterBoolValue(VaxoHandle h, uint32_t parameter, bool value);
VAXO_API ErrorCode vaxo_GetSystemParameterDoubleValue(VaxoHandle h, uint32_t parameter, double* value);
VAXO_API ErrorCode vaxo_SetSystemParameterDoubleValue(VaxoHandle h, uint32_t parameter, double value);
VAXO_API ErrorCode vaxo_GetSystemParameterInt32Value(VaxoHandle h, uint32_t parameter, int32_t* value);
VAXO_API ErrorCode vaxo_SetSystemParameterInt32Value(VaxoHandle h, uint32_t parameter, int32_t value);
VAXO_API ErrorCode vaxo_GetSystemParameterInt64Value(VaxoHandle h, uint32_t parameter, int64_t* value);
VAXO_API ErrorCode vaxo_SetSystemParameterInt64Value(VaxoHandle h, uint32_t parameter, int64_t value);
VAXO_API ErrorCode vaxo_GetSystemParameterUInt32Value(VaxoHandle h, uint32_t parameter, uint32_t* value);
VAXO_API ErrorCode vaxo_SetSystemParameterUInt32Value(VaxoHandle h, uint32_t parameter, uint32_t value);
VAXO_API ErrorCode vaxo_GetSystemParameterUInt64Value(VaxoHandle h, uint32_t parameter, uint64_t* value);
VAXO_API ErrorCode vaxo_SetSystemParameterUInt64Value(VaxoHandle h, uint32_t parameter, uint64_t value);
/** Axis parameters: the parameter followed by the AXIS modifier and the axis number. */
VAXO_API ErrorCode vaxo_GetAxisParameterBoolValue(VaxoHandle h, uint32_t parameter, uint32_t axis, bool* value);
VAXO_API ErrorCode vaxo_SetAxisParameterBoolValue(VaxoHandle h, uint32_t parameter, uint32_t axis, bool value);
VAXO_API ErrorCode vaxo_GetAxisParameterDoubleValue(VaxoHandle h, uint32_t parameter, uint32_t axis, double* value);
VAXO_API ErrorCode vaxo_SetAxisParameterDoubleValue(VaxoHandle h, uint32_t parameter, uint32_t axis, double value);
VAXO_API ErrorCode vaxo_GetAxisParameterInt32Value(VaxoHandle h, uint32_t parameter, uint32_t axis, int32_t* value);
VAXO_API ErrorCode vaxo_SetAxisParameterInt32Value(VaxoHandle h, uint32_t parameter, uint32_t axis, int32_t value);
VAXO_API ErrorCode vaxo_GetAxisParameterInt64Value(VaxoHandle h, uint32_t parameter, uint32_t axis, int64_t* value);
VAXO_API ErrorCode vaxo_SetAxisParameterInt64Value(VaxoHandle h, uint32_t parameter, uint32_t axis, int64_t value);
VAXO_API ErrorCode vaxo_GetAxisParameterUInt32Value(VaxoHandle h, uint32_t parameter, uint32_t axis, uint32_t* value);
VAXO_API ErrorCode vaxo_SetAxisParameterUInt32Value(VaxoHandle h, uint32_t parameter, uint32_t axis, uint32_t value);
VAXO_API ErrorCode vaxo_GetAxisParameterUInt64Value(VaxoHandle h, uint32_t parameter, uint32_t axis, uint64_t* value);
VAXO_API ErrorCode vaxo_SetAxisParameterUInt64Value(VaxoHandle h, uint32_t parameter, uint32_t axis, uint64_t value);
/** Process parameters: the parameter followed by the PROC modifier and the process number. */
VAXO_API ErrorCode vaxo_GetProcessParameterBoolValue(VaxoHandle h, uint32_t parameter, uint32_t process, bool* value);
VAXO_API ErrorCode vaxo_SetProcessParameterBoolValue(VaxoHandle h, uint32_t parameter, uint32_t process, bool value);
VAXO_API ErrorCode vaxo_GetProcessParameterDoubleValue(VaxoHandle h, uint32_t parameter, uint32_t process, double* value);
VAXO_API ErrorCode vaxo_SetProcessParameterDoubleValue(VaxoHandle h, uint32_t parameter, uint32_t process, double value);
VAXO_API ErrorCode vaxo_GetProcessParameterInt32Value(VaxoHandle h, uint32_t parameter, uint32_t process, int32_t* value);
VAXO_API ErrorCode vaxo_SetProcessParameterInt32Value(VaxoHandle h, uint32_t parameter, uint32_t process, int32_t value);
VAXO_API ErrorCode vaxo_GetProcessParameterInt64Value(VaxoHandle h, uint32_t parameter, uint32_t process, int64_t* value);
VAXO_API ErrorCode vaxo_SetProcessParameterInt64Value(VaxoHandle h, uint32_t parameter, uint32_t process, int64_t value);
VAXO_API ErrorCode vaxo_GetProcessParameterUInt32Value(VaxoHandle h, uint32_t parameter, uint32_t process, uint32_t* value);
VAXO_API ErrorCode vaxo_SetProcessParameterUInt32Value(VaxoHandle h, uint32_t parameter, uint32_t process, uint32_t value);
VAXO_API ErrorCode vaxo_GetProcessParameterUInt64Value(VaxoHandle h, uint32_t parameter, uint32_t process, uint64_t* value);
VAXO_API ErrorCode vaxo_SetProcessParameterUInt64Value(VaxoHandle h, uint32_t parameter, uint32_t process, uint64_t value);
/** Slot parameters: the parameter followed by the SLOT modifier and the slot number. */
VAXO_API ErrorCode vaxo_GetSlotParameterBoolValue(VaxoHandle h, uint32_t parameter, uint32_t slot, bool* value);
VAXO_API ErrorCode vaxo_SetSlotParameterBoolValue(VaxoHandle h, uint32_t parameter, uint32_t slot, bool value);
VAXO_API ErrorCode vaxo_GetSlotParameterDoubleValue(VaxoHandle h, uint32_t parameter, uint32_t slot, double* value);
VAXO_API ErrorCode vaxo_SetSlotParameterDoubleValue(VaxoHandle h, uint32_t parameter, uint32_t slot, double value);
VAXO_API ErrorCode vaxo_GetSlotParameterInt32Value(VaxoHandle h, uint32_t parameter, uint32_t slot, int32_t* value);
VAXO_API ErrorCode vaxo_SetSlotParameterInt32Value(VaxoHandle h, uint32_t parameter, uint32_t slot, int32_t value);
VAXO_API ErrorCode vaxo_GetSlotParameterInt64Value(VaxoHandle h, uint32_t parameter, uint32_t slot, int64_t* value);
VAXO_API ErrorCode vaxo_SetSlotParameterInt64Value(VaxoHandle h, uint32_t parameter, uint32_t slot, int64_t value);
VAXO_API ErrorCode vaxo_GetSlotParameterUInt32Value(VaxoHandle h, uint32_t parameter, uint32_t slot, uint32_t* value);
VAXO_API ErrorCode vaxo_SetSlotParameterUInt32Value(VaxoHandle h, uint32_t parameter, uint32_t slot, uint32_t value);
VAXO_API ErrorCode vaxo_GetSlotParameterUInt64Value(VaxoHandle h, uint32_t parameter, uint32_t slot, uint64_t* value);
VAXO_API ErrorCode vaxo_SetSlotParameterUInt64Value(VaxoHandle h, uint32_t parameter, uint32_t slot, uint64_t value);
/** Port parameters: the parameter followed by the PORT modifier and the port number. */
VAXO_API ErrorCode vaxo_GetPortParameterBoolValue(VaxoHandle h, uint32_t parameter, uint32_t port, bool* value);
VAXO_API ErrorCode vaxo_SetPortParameterBoolValue(VaxoHandle h, uint32_t parameter, uint32_t port, bool value);
VAXO_API ErrorCode vaxo_GetPortParameterDoubleValue(VaxoHandle h, uint32_t parameter, uint32_t port, double* value);
VAXO_API ErrorCode vaxo_SetPortParameterDoubleValue(VaxoHandle h, uint32_t parameter, uint32_t port, double value);
VAXO_API ErrorCode vaxo_GetPortParameterInt32Value(VaxoHandle h, uint32_t parameter, uint32_t port, int32_t* value);
VAXO_API ErrorCode vaxo_SetPortParameterInt32Value(VaxoHandle h, uint32_t parameter, uint32_t port, int32_t value);
VAXO_API ErrorCode vaxo_GetPortParameterInt64Value(VaxoHandle h, uint32_t parameter, uint32_t port, int64_t* value);
VAXO_API ErrorCode vaxo_SetPortParameterInt64Value(VaxoHandle h, uint32_t parameter, uint32_t port, int64_t value);
VAXO_API ErrorCode vaxo_GetPortParameterUInt32Value(VaxoHandle h, uint32_t parameter, uint32_t port, uint32_t* value);
VAXO_API ErrorCode vaxo_SetPortParameterUInt32Value(VaxoHandle h, uint32_t parameter, uint32_t port, uint32_t value);
VAXO_API ErrorCode vaxo_GetPortParameterUInt64Value(VaxoHandle h, uint32_t parameter, uint32_t port, uint64_t* value);
VAXO_API ErrorCode vaxo_SetPortParameterUInt64Value(VaxoHandle h, uint32_t parameter, uint32_t port, uint64_t value);

/** String-valued system parameters (parameter as above). 4a: buffer with in/out size (size
 *  needed returned, BufferTooSmall when short); 4b: cb called once with the text. */
VAXO_API ErrorCode vaxo_GetSystemParameterStringValue4a(VaxoHandle h, uint32_t parameter, char* buffer, uint32_t* size);
VAXO_API ErrorCode vaxo_GetSystemParameterStringValue4b(VaxoHandle h, uint32_t parameter, VaxoTextCb cb, void* user);
VAXO_API ErrorCode vaxo_SetSystemParameterStringValue(VaxoHandle h, uint32_t parameter, const char* text);

/** BASE: the axes later motion commands address, one or count of them; count 0 sends BASE
 *  alone, which changes nothing. */
VAXO_API ErrorCode vaxo_SetAxisBase(VaxoHandle h, int32_t axis);
VAXO_API ErrorCode vaxo_SetMultiAxisBase(VaxoHandle h, int32_t* axes, uint32_t count);

#ifdef __cplusplus
}
#endif

#endif /* VAXO_VAXO_PARAMETERS_H */
