/* libVaxo_Ubrix_TCP: extensions beside the flat interface, named vaxox_ so that the 794
 * vaxo_ functions stay exactly the flat interface. Compiles as C99 and as C++. */
#ifndef VAXO_VAXOX_H
#define VAXO_VAXOX_H

#include <vaxo/vaxo.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Calls cb once with the short name of code, as the library names it ("BadArgument",
 *  "ControllerError_COMMAND_NOT_RECOGNISED", "SysErr_2", "NoError", "UnknownError"); the text
 *  is valid only during the call. Does nothing when cb is null. The description of the same
 *  code comes from vaxo_GetErrorString. */
VAXO_API void vaxox_GetErrorName(uint64_t code, VaxoTextCb cb, void* user);

#ifdef __cplusplus
}
#endif

#endif /* VAXO_VAXOX_H */
