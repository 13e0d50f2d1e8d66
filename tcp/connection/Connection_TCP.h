// The one object behind a context handle: the TCP port, the token table with the
// controller's capabilities, the reader pump and the pool of command sync objects; the open
// and close sequences; and every operation of the class interface.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "shared/factory/ConnectionBase.h"
#include "shared/prmblk/ParamBlocks.h"
#include "shared/protocol/KnownTokens.h"
#include "shared/protocol/Token.h"
#include "shared/protocol/TokenSend.h"
#include "shared/receive/ObjectPool.h"
#include "shared/receive/ReaderPump.h"
#include "shared/transport/Port_TCP.h"

namespace Vaxo::Ubrix::TCP {

using Shared::ConnectMode;
using Shared::ErrorCode;
using Shared::KnownTokens;
// The records and callables of the operation lists, as the lists name them.
using Shared::DataStreamFn;
using Shared::DataStreamPacket;
using Shared::FileInfo;
using Shared::FileInfoFn;
using Shared::ProcessInfo;
using Shared::ProcessInfoFn;
using Shared::ProgressFn;
using Shared::ProgressInfo;
using Shared::Range;
using Shared::TextFn;

class Connection_TCP final : public Shared::ConnectionBase {
public:
    static constexpr unsigned short kDefaultPort = 3240;

    explicit Connection_TCP(Shared::EventCallback logger);
    ~Connection_TCP() override;

    // ---- connection management ----
    bool IsConnected() const override;
    Shared::ConnectionType GetConnectionType() const override { return Shared::ConnectionType::TCP; }
    ErrorCode GetFirmwareVersionNumber(double& version) override;
    ErrorCode OpenConnection() override;
    ErrorCode CloseConnection() override;
    ErrorCode Ex(int option) override;
#define VAXO_OP(name, params) ErrorCode name params override;
#include <vaxo/ops/Management.def>
#undef VAXO_OP

    // ---- sniffers and TCP settings (the settings take effect at the next open) ----
    // Declared in this order, ahead of the parameter accessors: it is their order in the table.
    void setWriteSniffer(Shared::ISniffer* sniffer) override { m_port.setWriteSniffer(sniffer); }
    void setReadSniffer(Shared::ISniffer* sniffer) override { m_port.setReadSniffer(sniffer); }
    ErrorCode SetTcpHostName(std::string_view host) override;
    // The view stays valid until the next SetTcpHostName on this connection.
    ErrorCode GetTcpHostName(std::string_view& host) override;
    ErrorCode SetTcpPort(unsigned short port) override;
    ErrorCode GetTcpPort(unsigned short& port) override;
    ErrorCode SetTcpCommandTimeout(unsigned int ms) override;
    ErrorCode GetTcpCommandTimeout(unsigned int& ms) override;
    ErrorCode SetTcpConnectTimeout(unsigned int ms) override;
    ErrorCode GetTcpConnectTimeout(unsigned int& ms) override;

    // ---- one operation per controller command (tcp/connection/*Ops.cpp) ----
#define VAXO_OP(name, params) ErrorCode name params override;
#include <vaxo/ops/All.def>
#undef VAXO_OP

    // ---- parameters: by token, with the kind's modifier (none for system parameters) ----
    ErrorCode GetSystemParameter(KnownTokens parameter, double& value);
    ErrorCode SetSystemParameter(KnownTokens parameter, double value);
    ErrorCode GetParameterWithModifier(KnownTokens parameter, KnownTokens modifier, int index, double& value);
    ErrorCode SetParameterWithModifier(KnownTokens parameter, KnownTokens modifier, int index, double value);

#define VAXO_PARAM(kind, name, access) VAXO_PARAM_##kind##_##access(name)
#define VAXO_PARAM_Axis_RO(name)                                                                              \
    ErrorCode GetAxisParameter_##name(unsigned int axis, double& value) override {                            \
        return GetParameterWithModifier(KnownTokens::name, KnownTokens::AXIS, int(axis), value);              \
    }
#define VAXO_PARAM_Axis_RW(name)                                                                              \
    VAXO_PARAM_Axis_RO(name) ErrorCode SetAxisParameter_##name(unsigned int axis, double value) override {    \
        return SetParameterWithModifier(KnownTokens::name, KnownTokens::AXIS, int(axis), value);              \
    }
#define VAXO_PARAM_Process_RO(name)                                                                           \
    ErrorCode GetProcessParameter_##name(unsigned int process, double& value) override {                      \
        return GetParameterWithModifier(KnownTokens::name, KnownTokens::PROC, int(process), value);           \
    }
#define VAXO_PARAM_Process_RW(name)                                                                           \
    VAXO_PARAM_Process_RO(name) ErrorCode SetProcessParameter_##name(unsigned int process, double value)      \
        override {                                                                                            \
        return SetParameterWithModifier(KnownTokens::name, KnownTokens::PROC, int(process), value);           \
    }
#define VAXO_PARAM_Slot_RO(name)                                                                              \
    ErrorCode GetSlotParameter_##name(unsigned int slot, double& value) override {                            \
        return GetParameterWithModifier(KnownTokens::name, KnownTokens::SLOT, int(slot), value);              \
    }
#define VAXO_PARAM_Slot_RW(name)                                                                              \
    VAXO_PARAM_Slot_RO(name) ErrorCode SetSlotParameter_##name(unsigned int slot, double value) override {    \
        return SetParameterWithModifier(KnownTokens::name, KnownTokens::SLOT, int(slot), value);              \
    }
#define VAXO_PARAM_System_RO(name)                                                                            \
    ErrorCode GetSystemParameter_##name(double& value) override {                                             \
        return GetSystemParameter(KnownTokens::name, value);                                                  \
    }
#define VAXO_PARAM_System_RW(name)                                                                            \
    VAXO_PARAM_System_RO(name) ErrorCode SetSystemParameter_##name(double value) override {                   \
        return SetSystemParameter(KnownTokens::name, value);                                                  \
    }
#include <vaxo/NamedParams.def>
#undef VAXO_PARAM
#undef VAXO_PARAM_Axis_RO
#undef VAXO_PARAM_Axis_RW
#undef VAXO_PARAM_Process_RO
#undef VAXO_PARAM_Process_RW
#undef VAXO_PARAM_Slot_RO
#undef VAXO_PARAM_Slot_RW
#undef VAXO_PARAM_System_RO
#undef VAXO_PARAM_System_RW

    // ---- lifetime and diagnostics ----
    void DeleteMe() override { delete this; }
    void ReportFatal() override;

    // ---- services for command classes ----
    Shared::Token& token() { return m_token; }
    // The command timeout in force: the setting as it was when the link was opened.
    unsigned int commandTimeout() const { return m_activeCommandTimeout.load(std::memory_order_relaxed); }
    std::mutex* getCachedSyncObject() { return m_syncPool.get_element(); }
    void returnCachedSyncObject(std::mutex* m) { m_syncPool.return_element(m); }

    template <class Buffer>
    ErrorCode sendTokenbuffer(const Buffer& buffer, unsigned flags = Shared::SendDefault) {
        return Shared::sendTokenbuffer(m_port, m_token.controllerCapabilities(), buffer.data(), buffer.length(), flags);
    }
    ErrorCode sendTokenbuffer(const unsigned char* data, unsigned length, bool checkSize, bool escape) {
        return Shared::sendTokenbuffer(m_port, m_token.controllerCapabilities(), data, length,
                                       (checkSize ? Shared::SendCheckSize : 0u) | (escape ? Shared::SendEscape : 0u));
    }
    ErrorCode WriteBytes(const char* data, unsigned int length) { return m_port.Write(data, length); }
    ErrorCode ReadBytes(char* buffer, unsigned int size, unsigned int timeout) {
        return m_port.Read(buffer, size, timeout);
    }
    ErrorCode ReadBytes(char* buffer, unsigned int size, unsigned int& got, unsigned int timeout) {
        return m_port.Read(buffer, size, got, timeout);
    }
    ErrorCode UnReadBytes(const char* data, unsigned int length) { return m_port.UnRead(data, length); }
    ErrorCode GetResponse(double* value, unsigned short* status);
    ErrorCode GetValueStatusReply() { return m_token.GetResponse(nullptr, m_port, commandTimeout()); }
    ErrorCode forceACK(std::uint32_t id);
    // Disconnected when the link is closing: the caller holds the send lock and must let go.
    ErrorCode waitCommandQueueEmpty() { return m_pump.waitQueueEmpty() ? ErrorCode::Success : ErrorCode::Disconnected; }
    Shared::ReaderPump& readerPump() { return m_pump; }
    // The host name setting as a shared text, and whether the caller is the reader thread.
    std::shared_ptr<const std::string> hostNameText() const;
    bool inReaderThread() const { return m_pump.isInPumpThread(); }
    Shared::Port_TCP& port() { return m_port; }
    Shared::ParamBlockManager& prmblk() { return m_paramBlocks; }

    // What every command operation answers before it looks at its arguments: Disconnected on a
    // link that is not open, NotSupported on the reader thread (the command would wait for itself).
    ErrorCode commandGate() const {
        if (!IsConnected() && !isOpeningThread())
            return ErrorCode::Disconnected;
        if (m_pump.isInPumpThread() || m_pump.holdsSendLock())
            return ErrorCode::NotSupported;
        return ErrorCode::Success;
    }
    // An operation that found its arguments wrong: the link's state still comes first.
    ErrorCode refused(ErrorCode why) const {
        const ErrorCode gate = commandGate();
        return gate != ErrorCode::Success ? gate : why;
    }

    // The caller's side of every command: open and thread checks, build the command on this
    // stack, send and queue it as one step, wait for the reader thread to finish it.
    template <class Cmd, class Send, class... CtorArgs>
    ErrorCode execute(Send&& send, CtorArgs&&... ctorArgs) {
        if (ErrorCode e = commandGate(); e != ErrorCode::Success)
            return e;
        try {
            Cmd command(*this, std::forward<CtorArgs>(ctorArgs)...);
            ErrorCode result = m_pump.queueCommand(command, [&] {
                // Again under the send lock: a thread that passed the check above just before a
                // close must not send on the link opened next while its open sequence is still
                // talking.
                if (!IsConnected() && !isOpeningThread())
                    return ErrorCode::Disconnected;
                return send(command);
            });
            if (result == ErrorCode::Success) {
                command.waitReady();
                result = command.getError();
            }
            return result;
        } catch (...) {
            // Out of memory (or threads) half way: the request may be on the wire without its
            // command in the queue, so the link cannot be trusted to be in step any more.
            ReportFatal();
            return Shared::currentExceptionCode();
        }
    }

private:
    ErrorCode openSequence();
    // Takes the command-timeout setting as the one in force for the link being opened.
    void adoptCommandTimeout();
    // While the open sequence asks for the controller's type and firmware, only its own thread
    // may send: the capabilities those answers set are what every other request is encoded with.
    bool isOpeningThread() const {
        return m_openingThread.load(std::memory_order_acquire) == std::this_thread::get_id();
    }
    ErrorCode closeLocked();

    Shared::Port_TCP m_port;
    Shared::Token m_token;
    Shared::ReaderPump m_pump;
    std::atomic<unsigned short> m_tcpPort{0};
    // Replaced whole by a set, so that a text handed out stays alive while it is held.
    std::shared_ptr<const std::string> m_hostName = std::make_shared<const std::string>();
    mutable std::mutex m_settingsMutex; // host name
    std::shared_ptr<const std::string> m_retiredHostName; // the one a class-interface view may still show
    std::recursive_mutex m_connectionMutex;
    Shared::ObjectPool<std::mutex> m_syncPool{8};
    std::atomic<double> m_firmwareVersion{0.0};
    double m_firmwareWhole = 0.0;
    double m_firmwareFraction = 0.0;
    std::atomic<unsigned int> m_connectTimeout{5000};
    std::atomic<unsigned int> m_commandTimeout{60000};       // the setting, for the next open
    std::atomic<unsigned int> m_activeCommandTimeout{60000}; // taken at open
    std::atomic<std::uint16_t> m_fileTransferPort{10001}; // the controller's file-transfer link
    std::atomic<bool> m_connected{false};
    std::atomic<std::thread::id> m_openingThread{};
    Shared::ParamBlockManager m_paramBlocks; // parameter blocks defined on this connection
};

} // namespace Vaxo::Ubrix::TCP
