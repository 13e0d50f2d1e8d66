// Flat functions of file transfer and project loading.
#include "api/Flat.h"

using namespace Vaxo::Ubrix;
using Api::call;
using Api::text;
using Shared::IConnection;

namespace {

Shared::ProgressFn progressFn(VaxoProgressCb cb, void* user) {
    if (!cb)
        return {};
    return [cb, user](const Shared::ProgressInfo& info) {
        cb(user, reinterpret_cast<const VaxoProgressInfo*>(&info));
    };
}

} // namespace

extern "C" {

VAXO_API ErrorCode vaxo_UploadFile(VaxoHandle h, const char* remote, const char* local, uint32_t type, uint32_t mode,
                                   int32_t level, uint8_t option1, uint8_t option2, uint8_t option3, int32_t timeout,
                                   uint16_t port, VaxoProgressCb progress, void* user) {
    return call(
        h,
        [&](IConnection& c) {
            return c.UploadFile(text(remote), text(local), type, mode, level, option1, option2, option3, timeout, port,
                                progressFn(progress, user));
        },
        remote, local);
}

VAXO_API ErrorCode vaxo_DownloadFile(VaxoHandle h, const char* remote, const char* local, uint32_t type, uint32_t mode,
                                     int32_t timeout, uint16_t port, VaxoProgressCb progress, void* user) {
    return call(
        h,
        [&](IConnection& c) {
            return c.DownloadFile(text(remote), text(local), type, mode, timeout, port, progressFn(progress, user));
        },
        remote, local);
}

VAXO_API ErrorCode vaxo_GetLocalFileCRC(VaxoHandle h, const char* path, bool compressed, uint64_t* crc) {
    return call(h, [&](IConnection& c) { return c.GetLocalFileCRC(text(path), compressed, *crc); }, path, crc);
}

VAXO_API ErrorCode vaxo_GetRemoteFileCRC(VaxoHandle h, const char* remote, uint64_t* crc) {
    return call(h, [&](IConnection& c) { return c.GetRemoteFileCRC(text(remote), *crc); }, remote, crc);
}

VAXO_API ErrorCode vaxo_LoadProject(VaxoHandle h, const char* projectFile) {
    return call(h, [&](IConnection& c) { return c.LoadProject(text(projectFile)); }, projectFile);
}

} // extern "C"
