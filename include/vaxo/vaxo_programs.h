/* Programs, processes, the command line, directory: flat functions. Included by <vaxo/vaxo.h>. */
#ifndef VAXO_VAXO_PROGRAMS_H
#define VAXO_VAXO_PROGRAMS_H

#include <vaxo/vaxo.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Command line ------------------------------------------------------------
 * The controller runs one command line (text) as typed at its terminal. vaxo_Execute returns
 * only the status. The ExecuteWithResponse forms also return what the line printed:
 *  4a: into buffer; *size is the buffer's size on entry and the size needed (text length + 1)
 *      on return; a text that does not fit gives BufferTooSmall (0x010000000E);
 *  4b: streamed, one packet per received byte and a final packet of length 0;
 *  4c: cb is called once with the whole text after success.
 * Callbacks run on the connection's reader thread and must not call the library. */
VAXO_API ErrorCode vaxo_Execute(VaxoHandle h, const char* command);
VAXO_API ErrorCode vaxo_ExecuteWithResponse4a(VaxoHandle h, const char* command, char* buffer, uint32_t* size);
VAXO_API ErrorCode vaxo_ExecuteWithResponse4b(VaxoHandle h, const char* command, VaxoPacketCb cb, void* user);
VAXO_API ErrorCode vaxo_ExecuteWithResponse4c(VaxoHandle h, const char* command, VaxoTextCb cb, void* user);

/* ---- Programs and processes ----------------------------------------------------
 * Halt stops every program. RunProgram/StopProgram start or stop a program, on the given
 * process in the 3-argument forms (0xFFFFFFFF: none given; the controller chooses). */
VAXO_API ErrorCode vaxo_Halt(VaxoHandle h);
VAXO_API ErrorCode vaxo_RunProgram2(VaxoHandle h, const char* program);
VAXO_API ErrorCode vaxo_RunProgram3(VaxoHandle h, const char* program, uint32_t process);
VAXO_API ErrorCode vaxo_StopProgram2(VaxoHandle h, const char* program);
VAXO_API ErrorCode vaxo_StopProgram3(VaxoHandle h, const char* program, uint32_t process);
/** Lists the running processes: cb once per process with its program name. */
VAXO_API ErrorCode vaxo_GetProcessList(VaxoHandle h, VaxoProcessInfoCb cb, void* user);

/* ---- Program files ---------------------------------------------------------------
 * New creates an empty program; Delete removes one (flag: also while it runs); Select makes a
 * program the current one (fileType 0: not given); FileExists tells whether it exists;
 * ClearVariables resets the controller's global variables; Dir calls cb once per file.
 * A refused Select (no such program and no fileType) is answered by the controller with the
 * standard response alone, without text; its controller error is returned and the link stays.
 * Listings (Dir, GetProcessList) take lines of up to 1023 characters and names of up to 131
 * (longer names are cut); a longer line is BadResponse, which closes the link. */
VAXO_API ErrorCode vaxo_New(VaxoHandle h, const char* file);
VAXO_API ErrorCode vaxo_Delete(VaxoHandle h, const char* file, bool flag);
VAXO_API ErrorCode vaxo_Select(VaxoHandle h, const char* file, uint32_t fileType);
VAXO_API ErrorCode vaxo_FileExists(VaxoHandle h, const char* file, bool* exists);
VAXO_API ErrorCode vaxo_ClearVariables(VaxoHandle h);
VAXO_API ErrorCode vaxo_Dir(VaxoHandle h, VaxoFileInfoCb cb, void* user);

#ifdef __cplusplus
}
#endif

#endif /* VAXO_VAXO_PROGRAMS_H */
