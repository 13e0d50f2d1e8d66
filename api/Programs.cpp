// Flat functions of programs, processes, the command line and the directory.
#include <functional>
#include <string>

#include "api/Flat.h"

using namespace Vaxo::Ubrix;
using Api::call;
using Api::required;
using Api::text;
using Shared::IConnection;

namespace {

constexpr std::uint32_t kNoProcess = 0xFFFFFFFFu;

const VaxoDataStreamPacket* cPacket(const Shared::DataStreamPacket& p) {
    return reinterpret_cast<const VaxoDataStreamPacket*>(&p);
}
const VaxoFileInfo* cInfo(const Shared::FileInfo& i) { return reinterpret_cast<const VaxoFileInfo*>(&i); }
const VaxoProcessInfo* cInfo(const Shared::ProcessInfo& i) { return reinterpret_cast<const VaxoProcessInfo*>(&i); }

// A listing (directory or process list) handed entry by entry to the host's callback, each name
// 0x00-terminated for it. list(connection, sink) runs the listing.
template <class Info, class Cb, class List>
std::uint64_t listTo(VaxoHandle h, Cb cb, void* user, List&& list) {
    return call(
        h,
        [&](IConnection& c) {
            std::string name;
            const std::function<void(const Info&, std::string_view)> sink = [&](const Info& info, std::string_view n) {
                name.assign(n);
                cb(user, cInfo(info), name.c_str());
            };
            return list(c, sink);
        },
        required(cb));
}

} // namespace

extern "C" {

VAXO_API ErrorCode vaxo_Execute(VaxoHandle h, const char* command) {
    return call(h, [&](IConnection& c) { return c.Execute(command); }, command);
}
VAXO_API ErrorCode vaxo_ExecuteWithResponse4a(VaxoHandle h, const char* command, char* buffer, uint32_t* size) {
    return call(
        h,
        [&](IConnection& c) {
            unsigned int n = *size;
            const auto e = c.ExecuteWithResponse(command, buffer, n);
            *size = n;
            return e;
        },
        command, buffer, size);
}
VAXO_API ErrorCode vaxo_ExecuteWithResponse4b(VaxoHandle h, const char* command, VaxoPacketCb cb, void* user) {
    return call(
        h,
        [&](IConnection& c) {
            const Shared::DataStreamFn sink = [cb, user](const Shared::DataStreamPacket& p, const char* data) {
                cb(user, cPacket(p), data);
            };
            return c.ExecuteWithResponse(command, sink);
        },
        command, required(cb));
}
VAXO_API ErrorCode vaxo_ExecuteWithResponse4c(VaxoHandle h, const char* command, VaxoTextCb cb, void* user) {
    return call(
        h,
        [&](IConnection& c) {
            std::string reply;
            const auto e = c.ExecuteWithResponse(command, reply);
            if (e == Shared::ErrorCode::Success)
                cb(user, reply.c_str(), uint32_t(reply.size()));
            return e;
        },
        command, required(cb));
}

VAXO_API ErrorCode vaxo_Halt(VaxoHandle h) {
    return call(h, [&](IConnection& c) { return c.Halt(); });
}
VAXO_API ErrorCode vaxo_RunProgram2(VaxoHandle h, const char* program) {
    return call(h, [&](IConnection& c) { return c.RunProgram(program, kNoProcess); }, program);
}
VAXO_API ErrorCode vaxo_RunProgram3(VaxoHandle h, const char* program, uint32_t process) {
    return call(h, [&](IConnection& c) { return c.RunProgram(program, process); }, program);
}
VAXO_API ErrorCode vaxo_StopProgram2(VaxoHandle h, const char* program) {
    return call(h, [&](IConnection& c) { return c.StopProgram(program, kNoProcess); }, program);
}
VAXO_API ErrorCode vaxo_StopProgram3(VaxoHandle h, const char* program, uint32_t process) {
    return call(h, [&](IConnection& c) { return c.StopProgram(program, process); }, program);
}
VAXO_API ErrorCode vaxo_GetProcessList(VaxoHandle h, VaxoProcessInfoCb cb, void* user) {
    return listTo<Shared::ProcessInfo>(h, cb, user,
                                       [](IConnection& c, const auto& sink) { return c.GetProcessList(sink); });
}

VAXO_API ErrorCode vaxo_New(VaxoHandle h, const char* file) {
    return call(h, [&](IConnection& c) { return c.New(file); }, file);
}
VAXO_API ErrorCode vaxo_Delete(VaxoHandle h, const char* file, bool flag) {
    return call(h, [&](IConnection& c) { return c.Delete(file, flag); }, file);
}
VAXO_API ErrorCode vaxo_Select(VaxoHandle h, const char* file, uint32_t fileType) {
    return call(h, [&](IConnection& c) { return c.Select(file, fileType); }, file);
}
VAXO_API ErrorCode vaxo_FileExists(VaxoHandle h, const char* file, bool* exists) {
    return call(h, [&](IConnection& c) { return c.FileExists(file, *exists); }, file, exists);
}
VAXO_API ErrorCode vaxo_ClearVariables(VaxoHandle h) {
    return call(h, [&](IConnection& c) { return c.ClearVariables(); });
}
VAXO_API ErrorCode vaxo_Dir(VaxoHandle h, VaxoFileInfoCb cb, void* user) {
    return listTo<Shared::FileInfo>(h, cb, user, [](IConnection& c, const auto& sink) { return c.Dir(sink); });
}

} // extern "C"
