/* File transfer and projects: flat functions. Included by <vaxo/vaxo.h>. */
#ifndef VAXO_VAXO_FILES_H
#define VAXO_VAXO_FILES_H

#include <vaxo/vaxo.h>

#ifdef __cplusplus
extern "C" {
#endif

/** File transfer over the controller's file-transfer link (default port 10001; `port` 0 uses
 *  the connection's setting; the host is the command connection's). Upload: (remote name, local
 *  path, file type 0..26 (27 and above: 0x010000000C BadArgument), mode: 0 plain,
 *  non-zero with the controller's CRC handshake, 3 in 1024-byte chunks; compression level 0 none
 *  or 1..9 raw deflate; option bytes: run at power-up, mark data compressed, storage area 0..9;
 *  timeout in ms, below 1 means 5000; port; progress callback or NULL, its user pointer).
 *  Remote names: "SD:name" (either case) is a file on the memory card, a name with '/' a path in the
 *  controller's file system (a leading '/' is dropped), anything else an item of the program
 *  directory. An empty name, one longer than 255 bytes, or one holding a control byte, '"' or
 *  '\' gives BadArgument.
 *  A compressed upload to the memory card ("SD:") returns 0x0100000002 (NotSupported) and sends
 *  nothing: the card's header cannot say that the data is compressed.
 *  The timeout bounds every wait of a transfer; with a handshake (mode non-zero) the controller
 *  must be heard within it, since only what arrives from the controller restarts the receive
 *  timeout (the library's own writes do not).
 *  The controller's "CRC=" text is read as "%lx" reads it; a text with no number, or one beyond
 *  64 bits, gives 0x810000000b (BadResponse), and so does an unknown escape letter in file data. */
VAXO_API ErrorCode vaxo_UploadFile(VaxoHandle h, const char* remote, const char* local, uint32_t type, uint32_t mode,
                                   int32_t level, uint8_t option1, uint8_t option2, uint8_t option3, int32_t timeout,
                                   uint16_t port, VaxoProgressCb progress, void* user);
/** Download: (remote name, local path, file type, mode, timeout in ms, port, progress, user).
 *  The request is the upload header of the remote name's destination with 4 added to the flags
 *  digit (program directory or path); the controller's answer is read whatever the mode. A
 *  download from the memory card ("SD:") returns 0x0100000002 (NotSupported) and sends nothing,
 *  since the card's header has no flags digit to ask with. A failed or cancelled download
 *  removes its partial local file and logs no "Downloaded" line. */
VAXO_API ErrorCode vaxo_DownloadFile(VaxoHandle h, const char* remote, const char* local, uint32_t type, uint32_t mode,
                                     int32_t timeout, uint16_t port, VaxoProgressCb progress, void* user);
/** The CRC-16/UMTS an upload of a local file would carry: of its bytes, or, when compressed is
 *  true, of its raw deflate stream at level 6 (so it matches an upload made with level 6). */
VAXO_API ErrorCode vaxo_GetLocalFileCRC(VaxoHandle h, const char* path, bool compressed, uint64_t* crc);
/** The controller's CRC-16 of a stored program, asked for on the command link (FILE "CRC"). */
VAXO_API ErrorCode vaxo_GetRemoteFileCRC(VaxoHandle h, const char* remote, uint64_t* crc);
/** Transfers and sets up every item of a project file (XML: <Project> of <Item> with Name,
 *  FileName, Type, Storage, IsAutorun). A bad project or item fails with 0x0100000019 and an
 *  error event naming the item and the reason. */
VAXO_API ErrorCode vaxo_LoadProject(VaxoHandle h, const char* projectFile);

#ifdef __cplusplus
}
#endif

#endif /* VAXO_VAXO_FILES_H */
