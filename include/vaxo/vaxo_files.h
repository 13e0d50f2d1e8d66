/* File transfer and projects: flat functions. Included by <vaxo/vaxo.h>. */
#ifndef VAXO_VAXO_FILES_H
#define VAXO_VAXO_FILES_H

#include <vaxo/vaxo.h>

#ifdef __cplusplus
extern "C" {
#endif

/** File transfer over the controller's file-transfer link (default port 10001; `port` 0 uses
 *  the connection's setting). Upload: (remote name, local path, file type 0..26, mode: 0 plain,
 *  non-zero with the controller's CRC handshake, 3 in 1024-byte chunks; compression level 0 none
 *  or 1..9 raw deflate; option bytes: run at power-up, mark data compressed, storage area 0..9;
 *  timeout in ms, below 1 means 5000; port; progress callback or NULL, its user pointer).
 *  Remote names: "SD:name" is a file on the memory card, a name with '/' a path in the
 *  controller's file system, anything else an item of the program directory. */
VAXO_API ErrorCode vaxo_UploadFile(VaxoHandle h, const char* remote, const char* local, uint32_t type, uint32_t mode,
                                   int32_t level, uint8_t option1, uint8_t option2, uint8_t option3, int32_t timeout,
                                   uint16_t port, VaxoProgressCb progress, void* user);
/** Download: (remote name, local path, file type, mode, timeout in ms, port, progress, user). */
VAXO_API ErrorCode vaxo_DownloadFile(VaxoHandle h, const char* remote, const char* local, uint32_t type, uint32_t mode,
                                     int32_t timeout, uint16_t port, VaxoProgressCb progress, void* user);
/** The CRC-16/UMTS an upload of a local file would carry (of the deflated bytes, level 6, when
 *  compressed is true). */
VAXO_API ErrorCode vaxo_GetLocalFileCRC(VaxoHandle h, const char* path, bool compressed, uint64_t* crc);
/** The controller's CRC-16 of a stored program. */
VAXO_API ErrorCode vaxo_GetRemoteFileCRC(VaxoHandle h, const char* remote, uint64_t* crc);
/** Transfers and sets up every item of a project file (XML: <Project> of <Item> with Name,
 *  FileName, Type, Storage, IsAutorun). A bad project or item fails with 0x0100000019 and an
 *  error event naming the item and the reason. */
VAXO_API ErrorCode vaxo_LoadProject(VaxoHandle h, const char* projectFile);

#ifdef __cplusplus
}
#endif

#endif /* VAXO_VAXO_FILES_H */
