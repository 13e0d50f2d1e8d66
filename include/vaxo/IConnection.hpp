// The class interface of a connection module: what a host reaches through
// ConnectionFactory::Create, and what every flat function calls. Needs C++20.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <vaxo/ISniffer.hpp>
#include <vaxo/Records.hpp>
#include <vaxo/Types.hpp>

namespace Vaxo::Ubrix::Shared {

// Named parameter accessors, one pair per controller parameter (a getter only for the
// read-only ones), expanded from the one parameter list.
#define VAXO_AXIS_GET(name) virtual ErrorCode GetAxisParameter_##name(unsigned int axis, double& value) = 0;
#define VAXO_AXIS_SET(name) virtual ErrorCode SetAxisParameter_##name(unsigned int axis, double value) = 0;
#define VAXO_SYSTEM_GET(name) virtual ErrorCode GetSystemParameter_##name(double& value) = 0;
#define VAXO_SYSTEM_SET(name) virtual ErrorCode SetSystemParameter_##name(double value) = 0;
#define VAXO_PROCESS_GET(name) virtual ErrorCode GetProcessParameter_##name(unsigned int process, double& value) = 0;
#define VAXO_PROCESS_SET(name) virtual ErrorCode SetProcessParameter_##name(unsigned int process, double value) = 0;
#define VAXO_SLOT_GET(name) virtual ErrorCode GetSlotParameter_##name(unsigned int slot, double& value) = 0;
#define VAXO_SLOT_SET(name) virtual ErrorCode SetSlotParameter_##name(unsigned int slot, double value) = 0;

class IAxisParameters {
public:
#define VAXO_PARAM(kind, name, access) VAXO_PARAM_##kind##_##access(name)
#define VAXO_PARAM_Axis_RW(name) VAXO_AXIS_GET(name) VAXO_AXIS_SET(name)
#define VAXO_PARAM_Axis_RO(name) VAXO_AXIS_GET(name)
#define VAXO_PARAM_System_RW(name)
#define VAXO_PARAM_System_RO(name)
#define VAXO_PARAM_Process_RW(name)
#define VAXO_PARAM_Process_RO(name)
#define VAXO_PARAM_Slot_RW(name)
#define VAXO_PARAM_Slot_RO(name)
#include <vaxo/NamedParams.def>
#undef VAXO_PARAM_Axis_RW
#undef VAXO_PARAM_Axis_RO
#define VAXO_PARAM_Axis_RW(name)
#define VAXO_PARAM_Axis_RO(name)
protected:
    ~IAxisParameters() = default;
};

class ISystemParameters {
public:
#undef VAXO_PARAM_System_RW
#undef VAXO_PARAM_System_RO
#define VAXO_PARAM_System_RW(name) VAXO_SYSTEM_GET(name) VAXO_SYSTEM_SET(name)
#define VAXO_PARAM_System_RO(name) VAXO_SYSTEM_GET(name)
#include <vaxo/NamedParams.def>
#undef VAXO_PARAM_System_RW
#undef VAXO_PARAM_System_RO
#define VAXO_PARAM_System_RW(name)
#define VAXO_PARAM_System_RO(name)
protected:
    ~ISystemParameters() = default;
};

class IProcessParameters {
public:
#undef VAXO_PARAM_Process_RW
#undef VAXO_PARAM_Process_RO
#define VAXO_PARAM_Process_RW(name) VAXO_PROCESS_GET(name) VAXO_PROCESS_SET(name)
#define VAXO_PARAM_Process_RO(name) VAXO_PROCESS_GET(name)
#include <vaxo/NamedParams.def>
#undef VAXO_PARAM_Process_RW
#undef VAXO_PARAM_Process_RO
#define VAXO_PARAM_Process_RW(name)
#define VAXO_PARAM_Process_RO(name)
protected:
    ~IProcessParameters() = default;
};

class ISlotParameters {
public:
#undef VAXO_PARAM_Slot_RW
#undef VAXO_PARAM_Slot_RO
#define VAXO_PARAM_Slot_RW(name) VAXO_SLOT_GET(name) VAXO_SLOT_SET(name)
#define VAXO_PARAM_Slot_RO(name) VAXO_SLOT_GET(name)
#include <vaxo/NamedParams.def>
protected:
    ~ISlotParameters() = default;
};

#undef VAXO_PARAM
#undef VAXO_PARAM_Axis_RW
#undef VAXO_PARAM_Axis_RO
#undef VAXO_PARAM_System_RW
#undef VAXO_PARAM_System_RO
#undef VAXO_PARAM_Process_RW
#undef VAXO_PARAM_Process_RO
#undef VAXO_PARAM_Slot_RW
#undef VAXO_PARAM_Slot_RO
#undef VAXO_AXIS_GET
#undef VAXO_AXIS_SET
#undef VAXO_SYSTEM_GET
#undef VAXO_SYSTEM_SET
#undef VAXO_PROCESS_GET
#undef VAXO_PROCESS_SET
#undef VAXO_SLOT_GET
#undef VAXO_SLOT_SET

class IPortParameters {
protected:
    ~IPortParameters() = default;
};

// The blocking operations, grouped by parameter family.
class IConnectionSync : public IAxisParameters,
                        public ISystemParameters,
                        public IProcessParameters,
                        public ISlotParameters,
                        public IPortParameters {
protected:
    ~IConnectionSync() = default;
};

class IConnectionAsync {
protected:
    ~IConnectionAsync() = default;
};

// The link's observers and settings. The settings take effect at the next open.
class IConnectionTcpParams {
public:
    virtual void setWriteSniffer(ISniffer* sniffer) = 0;
    virtual void setReadSniffer(ISniffer* sniffer) = 0;
    virtual ErrorCode SetTcpHostName(std::string_view host) = 0;
    virtual ErrorCode GetTcpHostName(std::string_view& host) = 0;
    virtual ErrorCode SetTcpPort(unsigned short port) = 0;
    virtual ErrorCode GetTcpPort(unsigned short& port) = 0;
    // Longest silence of a reply; 0 waits without limit. Takes effect at the next open.
    virtual ErrorCode SetTcpCommandTimeout(unsigned int ms) = 0;
    virtual ErrorCode GetTcpCommandTimeout(unsigned int& ms) = 0;
    virtual ErrorCode SetTcpConnectTimeout(unsigned int ms) = 0;
    virtual ErrorCode GetTcpConnectTimeout(unsigned int& ms) = 0;

protected:
    ~IConnectionTcpParams() = default;
};

class IConnection : public IConnectionSync, public IConnectionAsync, public IConnectionTcpParams {
public:
    // Connection management.
    virtual bool IsConnected() const = 0;
    virtual ConnectionType GetConnectionType() const = 0;
    virtual ErrorCode GetApiVersion(VersionInfo& version) = 0;
    virtual ErrorCode GetApiVersionStr(std::string_view& version) = 0;
    virtual ErrorCode GetFirmwareVersionNumber(double& version) = 0;
    virtual ErrorCode OpenConnection() = 0;
    virtual ErrorCode CloseConnection() = 0;
    virtual ErrorCode Ex(int option) = 0;
#define VAXO_OP(name, params) virtual ErrorCode name params = 0;
#include <vaxo/ops/Management.def>
#undef VAXO_OP

    // One operation per controller command, family by family.
#define VAXO_OP(name, params) virtual ErrorCode name params = 0;
#include <vaxo/ops/All.def>
#undef VAXO_OP

    // Lifetime. The virtual destructor is declared right here, so that its two entries follow
    // ReportFatal in the table of every module; the event logger's two operations, the sniffers,
    // the TCP settings and the other parameter accessors come after them. Modules built apart
    // from this library rely on that order.
    virtual void DeleteMe() = 0;
    virtual void ReportFatal() = 0;

protected:
    virtual ~IConnection() = default;
};

} // namespace Vaxo::Ubrix::Shared
