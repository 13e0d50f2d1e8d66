/* libVaxo_Ubrix_TCP: the flat C interface for remote-controlling a Movicor motion
 * controller over TCP. Every function takes the context handle first and returns an
 * ErrorCode (0 = success) unless noted. Compiles as C99 and as C++.
 * A digit (or digit and letter) at the end of a name counts the function's arguments,
 * the handle included: vaxo_GetDIn3(h, channel, on), vaxo_RunProgram2(h, name); only the
 * 32 of vaxo_GetDIn32, vaxo_GetDOut32 and vaxo_SetDOut32 counts channels instead.
 * Order of checks: a null handle, then a null out-pointer or callback (BadArgument); then, for
 * a command, a link that is not open (Disconnected) or a call on the reader thread, from
 * inside a reply callback (NotSupported); only then the arguments' values.
 * A request found longer than the controller's buffer before it is sent returns
 * 0x8100000008 although that code has the fatal bit: nothing was sent, the link stays open. */
#ifndef VAXO_VAXO_H
#define VAXO_VAXO_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#if defined(VAXO_BUILDING_LIBRARY)
#define VAXO_API __attribute__((visibility("default")))
#else
#define VAXO_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** 64-bit result: bits 0-31 index/number, bit 32 library error, bit 33 errno,
 *  bit 34 controller error number, bit 39 fatal. 0 is success.
 *  A parameter block past its capacity gives CapacityExceeded in the plain form, 0x0100000018.
 *  An errno is widened as a signed 32-bit number before the errno bit is added: a negative
 *  errno sets every bit from 32 up (-1 gives 0xFFFFFFFFFFFFFFFF).
 *  Names and descriptions of codes: vaxox_GetErrorName (<vaxo/vaxox.h>), vaxo_GetErrorString.
 *  A reply's status is the controller's number truncated to 16 bits (2.5 and 2.9 are controller
 *  error 2); a status that is not finite, or whose whole part is outside 0..65535, is
 *  BadResponse (fatal: later commands return Disconnected until the host opens again).
 *  The reply to a VR write or a parameter write rounds its status to the nearest whole number
 *  and keeps 32 bits instead (2.5 is controller error 3, 65536 controller error 65536); one
 *  that is not finite or rounds outside 0..0xFFFFFFFF is BadResponse. */
typedef uint64_t ErrorCode;

/** The library's version record (1.2.1.1196 for this build). */
typedef struct VersionInfo {
    uint16_t major;
    uint16_t minor;
    uint16_t patch;
    uint16_t build;
} VersionInfo;

/** Opaque context handle: one connection to one controller. */
typedef struct VaxoContext* VaxoHandle;

/** Event callback: (user, type 0 error / 1 warning / 2 information, value, text, length). */
typedef void (*VaxoEventCb)(void* user, uint32_t type, uint64_t value, const char* text, uint32_t length);
/** Text result callback: called once with the text, valid only during the call. A null one
 *  gives BadArgument (vaxo_GetErrorString and vaxox_GetErrorName, which take no handle, then do
 *  nothing). Pointer arguments: the handle is checked first (ConnectionContext), then every
 *  out-pointer, buffer, list and result callback (BadArgument). Input texts (const char*) may
 *  be null and are then taken as empty, except those an operation cannot do without, which give
 *  BadArgument (a parameter block's program name, a project file); user pointers are never checked. */
typedef void (*VaxoTextCb)(void* user, const char* text, uint32_t length);

/** One piece of a streamed text reply (sequence from 0, bytes in this piece; 0 ends the text). */
typedef struct VaxoDataStreamPacket {
    uint32_t sequence;
    uint32_t length;
    uint64_t total;
    uint32_t flags;
    uint32_t reserved;
} VaxoDataStreamPacket;
/** Streamed text callback: (user, packet, bytes of this packet). */
typedef void (*VaxoPacketCb)(void* user, const VaxoDataStreamPacket* packet, const char* data);

/** One entry of the controller's directory; the name comes beside it. */
typedef struct VaxoFileInfo {
    int32_t type;
    uint32_t size;
    uint32_t crc;
    int32_t lines;
    uint32_t flags;
} VaxoFileInfo;
typedef void (*VaxoFileInfoCb)(void* user, const VaxoFileInfo* info, const char* name);

/** One process of the controller; the program name comes beside it. load is NaN when not reported. */
typedef struct VaxoProcessInfo {
    int32_t process;
    int32_t state;
    int32_t priority;
    int32_t line;
    uint64_t ticks;
    uint64_t cycles;
    double load;
    uint32_t flags;
    uint32_t reserved;
} VaxoProcessInfo;
typedef void (*VaxoProcessInfoCb)(void* user, const VaxoProcessInfo* info, const char* name);

/** File transfer progress: bytes done, bytes in total, state 0 at the start, 2 at the end. */
typedef struct VaxoProgressInfo {
    uint64_t done;
    uint64_t total;
    uint32_t state;
    uint32_t reserved;
} VaxoProgressInfo;
typedef void (*VaxoProgressCb)(void* user, const VaxoProgressInfo* info);

/** A run of I/O channels for parameter blocks. */
typedef struct Range {
    uint32_t first;
    uint32_t count;
} Range;

/* ---- Errors ---------------------------------------------------------------- */

/** Calls cb once with the description of code; does nothing when cb is null. */
VAXO_API void vaxo_GetErrorString(uint64_t code, VaxoTextCb cb, void* user);

/* ---- Context --------------------------------------------------------------- */

/** Creates a context. version must equal the library's own version record. Events reach cb one
 *  at a time, in the order they were raised; one raised while another thread is inside cb for
 *  this link is handed to cb by that thread once it returns. */
VAXO_API ErrorCode vaxo_CreateContext(const VersionInfo* version, VaxoEventCb cb, void* user, VaxoHandle* out);
/** Closes the connection if open, then frees the context. Called from inside one of this
 *  context's callbacks (or beside another call on it), it closes at once and frees the context
 *  when that call has returned. */
VAXO_API ErrorCode vaxo_DestroyContext(VaxoHandle h);
VAXO_API bool vaxo_IsConnected(VaxoHandle h);
/** 1 (TCP) for a valid handle, 0 for a null handle. */
VAXO_API uint32_t vaxo_GetConnectionType(VaxoHandle h);
VAXO_API ErrorCode vaxo_GetApiVersion(VaxoHandle h, VersionInfo* out);
VAXO_API ErrorCode vaxo_GetApiVersionStr(VaxoHandle h, VaxoTextCb cb, void* user);

/* ---- TCP settings -----------------------------------------------------------
 * Defaults of a new context, as the getters read them:
 *   host name  empty: the open connects to the controller's factory-default address
 *              192.168.0.250;
 *   port       0: the open connects to port 3240;
 *   connect timeout 5000 ms, command timeout 60000 ms.
 * A change takes effect at the next open. */

VAXO_API ErrorCode vaxo_SetTcpHostName(VaxoHandle h, const char* host);
VAXO_API ErrorCode vaxo_GetTcpHostName(VaxoHandle h, VaxoTextCb cb, void* user);
VAXO_API ErrorCode vaxo_SetTcpPort(VaxoHandle h, uint16_t port);
VAXO_API ErrorCode vaxo_GetTcpPort(VaxoHandle h, uint16_t* port);
VAXO_API ErrorCode vaxo_SetTcpConnectTimeout(VaxoHandle h, uint32_t ms);
VAXO_API ErrorCode vaxo_GetTcpConnectTimeout(VaxoHandle h, uint32_t* ms);
/** The longest silence of the controller a reply (or the token table at open) may have; 0 waits
 *  without limit. Like every setting here, it takes effect at the next open: an open link keeps
 *  the timeout it was opened with. The open refuses with TokenTable a token table over 1 MiB
 *  or one without ZERO, TOKENTABLE, EXTENDED_TOKEN and UNKNOWN. */
VAXO_API ErrorCode vaxo_SetTcpCommandTimeout(VaxoHandle h, uint32_t ms);
VAXO_API ErrorCode vaxo_GetTcpCommandTimeout(VaxoHandle h, uint32_t* ms);

/* ---- Connection ------------------------------------------------------------ */

/** Opens the command link: TCP connect, token table, reader thread, controller type and firmware.
 *  After the controller dropped the link, an open without a close first opens a new one; other
 *  threads' commands get 0x0100000015 until it is done. No thread to be had (or no memory) is
 *  returned as a system error (0x020000000B, 0x020000000C) with the link left closed.
 *  Callbacks: on the reader thread (read sniffer, reply packets, events it raises) and inside a
 *  write sniffer, an open or a command returns 0x0100000002; a close from any callback
 *  completes (on the reader thread, the reader leaves once the callback has returned). */
VAXO_API ErrorCode vaxo_OpenConnection(VaxoHandle h);
/** A command whose reply was read in full keeps its result when a close races it; one still
 *  waiting for its reply, or whose request could not be written because of the close, gets
 *  0x0100000015. */
VAXO_API ErrorCode vaxo_CloseConnection(VaxoHandle h);
/** The firmware version read at open (no traffic). Project loads and uploads of encrypted types
 *  gate on this number; on a link that is not open they give Disconnected, no number is assumed. */
VAXO_API ErrorCode vaxo_GetFirmwareVersionNumber(VaxoHandle h, double* version);
/** EX: resets the controller (option as the controller defines it). */
VAXO_API ErrorCode vaxo_Ex(VaxoHandle h, int32_t option);

/* ---- VR and TABLE memory ---------------------------------------------------- */

VAXO_API ErrorCode vaxo_GetVrValue(VaxoHandle h, uint32_t index, double* value);
VAXO_API ErrorCode vaxo_SetVrValue(VaxoHandle h, uint32_t index, double value);
VAXO_API ErrorCode vaxo_GetTableValue(VaxoHandle h, uint32_t index, double* value);
VAXO_API ErrorCode vaxo_SetTableValue(VaxoHandle h, uint32_t index, double value);
/** count values from start; values holds count doubles. Writes go out as one block transfer on
 *  controllers whose firmware has it, else (TABLE only) as several TABLE requests; VR writes
 *  need the block transfer and give NotSupported without it, nothing sent.
 *  A count of 0 still goes to the controller: reads as VRVALUES/TABLEVALUES(start, 0, 1), block
 *  writes as the block header alone (a link that is down gives Disconnected).
 *  TABLE requests carry (remote buffer - 15) / (number size + 3) values each; fewer where token
 *  codes of two bytes (or escapes) would not let that many fit the remote buffer.
 *  When one TABLE request cannot be sent, or the controller refuses one, the replies to those
 *  already sent are still read (the link stays in step) and the first error is returned. */
VAXO_API ErrorCode vaxo_GetMultiVrValues(VaxoHandle h, uint32_t start, uint32_t count, double* values);
VAXO_API ErrorCode vaxo_SetMultiVrValues(VaxoHandle h, uint32_t start, uint32_t count, double* values);
VAXO_API ErrorCode vaxo_GetMultiTableValues(VaxoHandle h, uint32_t start, uint32_t count, double* values);
VAXO_API ErrorCode vaxo_SetMultiTableValues(VaxoHandle h, uint32_t start, uint32_t count, double* values);
/** VR strings: one byte per VR from index on, ended by a 0. The 4a form fills a buffer whose
 *  in/out size returns the size needed (text + 1), BufferTooSmall when short; 4b streams
 *  packets (the last one of length 0); 4c calls cb once with the whole text. */
/** A text that holds the byte of the controller's QUOTES token is BadArgument, nothing sent. */
VAXO_API ErrorCode vaxo_SetVrString(VaxoHandle h, uint32_t index, const char* text);
VAXO_API ErrorCode vaxo_GetVrStringLen(VaxoHandle h, uint32_t index, uint32_t* length);
VAXO_API ErrorCode vaxo_GetVrString4a(VaxoHandle h, uint32_t index, char* buffer, uint32_t* size);
VAXO_API ErrorCode vaxo_GetVrString4b(VaxoHandle h, uint32_t index, VaxoPacketCb cb, void* user);
VAXO_API ErrorCode vaxo_GetVrString4c(VaxoHandle h, uint32_t index, VaxoTextCb cb, void* user);
/** Bit `bit` of VR(index) taken as an integer. */
VAXO_API ErrorCode vaxo_GetVrBit(VaxoHandle h, uint32_t bit, uint32_t index, bool* value);
VAXO_API ErrorCode vaxo_SetVrBit(VaxoHandle h, uint32_t bit, uint32_t index);
VAXO_API ErrorCode vaxo_ClearVrBit(VaxoHandle h, uint32_t bit, uint32_t index);

/* ---- Named parameters: one getter per readable parameter, one setter per writable one ----
 * vaxo_GetAxisParameter_<NAME>(h, axis, double*)    vaxo_SetAxisParameter_<NAME>(h, axis, double)
 * vaxo_GetSystemParameter_<NAME>(h, double*)        vaxo_SetSystemParameter_<NAME>(h, double)
 * vaxo_GetProcessParameter_<NAME>(h, proc, double*) vaxo_SetProcessParameter_<NAME>(h, proc, double)
 * vaxo_GetSlotParameter_<NAME>(h, slot, double*)    vaxo_SetSlotParameter_<NAME>(h, slot, double)
 * An axis, process or slot number above 0x7FFFFFFF is BadArgument, nothing sent (as for the
 * typed forms in vaxo_parameters.h). */
#define VAXO_PARAM(kind, name, access) VAXO_DECL_GET_##kind(name) VAXO_DECL_SET_##kind##_##access(name)
#define VAXO_DECL_GET_Axis(name) VAXO_API ErrorCode vaxo_GetAxisParameter_##name(VaxoHandle h, uint32_t axis, double* value);
#define VAXO_DECL_SET_Axis_RW(name) VAXO_API ErrorCode vaxo_SetAxisParameter_##name(VaxoHandle h, uint32_t axis, double value);
#define VAXO_DECL_GET_System(name) VAXO_API ErrorCode vaxo_GetSystemParameter_##name(VaxoHandle h, double* value);
#define VAXO_DECL_SET_System_RW(name) VAXO_API ErrorCode vaxo_SetSystemParameter_##name(VaxoHandle h, double value);
#define VAXO_DECL_GET_Process(name) VAXO_API ErrorCode vaxo_GetProcessParameter_##name(VaxoHandle h, uint32_t process, double* value);
#define VAXO_DECL_SET_Process_RW(name) VAXO_API ErrorCode vaxo_SetProcessParameter_##name(VaxoHandle h, uint32_t process, double value);
#define VAXO_DECL_GET_Slot(name) VAXO_API ErrorCode vaxo_GetSlotParameter_##name(VaxoHandle h, uint32_t slot, double* value);
#define VAXO_DECL_SET_Slot_RW(name) VAXO_API ErrorCode vaxo_SetSlotParameter_##name(VaxoHandle h, uint32_t slot, double value);
#define VAXO_DECL_SET_Axis_RO(name)
#define VAXO_DECL_SET_System_RO(name)
#define VAXO_DECL_SET_Process_RO(name)
#define VAXO_DECL_SET_Slot_RO(name)
#include <vaxo/NamedParams.def>
#undef VAXO_PARAM

#ifdef __cplusplus
}
#endif

/* The command families. */
#include <vaxo/vaxo_parameters.h>
#include <vaxo/vaxo_motion.h>
#include <vaxo/vaxo_programs.h>
#include <vaxo/vaxo_io.h>
#include <vaxo/vaxo_ethercat.h>
#include <vaxo/vaxo_misc.h>
#include <vaxo/vaxo_paramblocks.h>
#include <vaxo/vaxo_files.h>

#endif /* VAXO_VAXO_H */
