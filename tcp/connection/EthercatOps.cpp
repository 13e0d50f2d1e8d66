// Operations of the EtherCAT family: one ETHERCAT request each (function number first), and the
// CANopen object commands.
#include "shared/protocol/TokenLists.h"
#include "tcp/commands/Ethercat.h"
#include "tcp/connection/Connection_TCP.h"

namespace Vaxo::Ubrix::TCP {
namespace {

namespace Fn = EthercatFn;

// ETHERCAT(values...) with the answer, when results are given, stored into them.
template <class... Out>
ErrorCode ethercat(Connection_TCP& c, std::initializer_list<double> values, Out&... results) {
    if constexpr (sizeof...(Out) == 0)
        return c.execute<CmdEthercat>([&](CmdEthercat& cmd) { return cmd.send(values); });
    else
        return c.execute<CmdEthercatWithReply<Out...>>(
            [&](CmdEthercatWithReply<Out...>& cmd) { return cmd.send(values); }, results...);
}

} // namespace

ErrorCode Connection_TCP::Ethercat_StartNetwork(int slot) { return ethercat(*this, {Fn::StartNetwork, double(slot)}); }
ErrorCode Connection_TCP::Ethercat_StartNetwork(int slot, unsigned int option) {
    return ethercat(*this, {Fn::StartNetwork, double(slot), double(option)});
}
ErrorCode Connection_TCP::Ethercat_StartNetwork(int slot, unsigned int option, int arg) {
    return ethercat(*this, {Fn::StartNetwork, double(slot), double(option), double(arg)});
}
ErrorCode Connection_TCP::Ethercat_StopNetwork(int slot) { return ethercat(*this, {Fn::StopNetwork, double(slot)}); }

ErrorCode Connection_TCP::Ethercat_CheckSlaveOnline(int slot, int position, bool& online) {
    return ethercat(*this, {Fn::CheckSlaveOnline, double(slot), double(position), kNoVr}, online);
}
ErrorCode Connection_TCP::Ethercat_CheckSlaveOnline_VR(int slot, int position, int vr) {
    return ethercat(*this, {Fn::CheckSlaveOnline, double(slot), double(position), double(vr)});
}
ErrorCode Connection_TCP::Ethercat_CheckNumberOfSlaves(int slot, unsigned int& count) {
    return ethercat(*this, {Fn::CheckNumberOfSlaves, double(slot), kNoVr}, count);
}
ErrorCode Connection_TCP::Ethercat_CheckNumberOfSlaves_VR(int slot, int vr) {
    return ethercat(*this, {Fn::CheckNumberOfSlaves, double(slot), double(vr)});
}
ErrorCode Connection_TCP::Ethercat_GetSlaveAddress(int slot, int position, int& address) {
    return ethercat(*this, {Fn::GetSlaveAddress, double(slot), double(position), kNoVr}, address);
}
ErrorCode Connection_TCP::Ethercat_GetSlaveAddress_VR(int slot, int position, int vr) {
    return ethercat(*this, {Fn::GetSlaveAddress, double(slot), double(position), double(vr)});
}
ErrorCode Connection_TCP::Ethercat_GetSlaveAxis(int slot, int position, int& axis) {
    return ethercat(*this, {Fn::GetSlaveAxis, double(slot), double(position), kNoVr}, axis);
}
ErrorCode Connection_TCP::Ethercat_GetSlaveAxis_VR(int slot, int position, int vr) {
    return ethercat(*this, {Fn::GetSlaveAxis, double(slot), double(position), double(vr)});
}

ErrorCode Connection_TCP::Ethercat_SetState(int slot, unsigned int state, int position) {
    return ethercat(*this, {Fn::SetState, double(slot), double(state), double(position)});
}
ErrorCode Connection_TCP::Ethercat_GetState(int slot, unsigned int& state) {
    EthercatState s{};
    const ErrorCode e = ethercat(*this, {Fn::GetState, double(slot)}, s);
    if (!failed(e))
        state = static_cast<unsigned int>(s);
    return e;
}
ErrorCode Connection_TCP::Ethercat_GetState_VR(int slot, int vr) {
    return ethercat(*this, {Fn::GetState, double(slot), double(vr)});
}

ErrorCode Connection_TCP::Ethercat_GetSlave_ESC_Register(int slot, int position, int address, int size, int vr) {
    return ethercat(*this, {Fn::GetSlaveEscRegister, double(slot), double(position), double(address), double(size),
                            double(vr)});
}
// ETHERCAT(50, slot, position, address, size, -1, data): the register's 1 to 4 bytes packed
// first byte lowest, each byte sign-extended (a byte from 0x80 up sets every higher bit).
ErrorCode Connection_TCP::Ethercat_SetSlave_ESC_Register(int slot, int position, int address, std::string_view bytes) {
    return execute<CmdEthercat>([&](CmdEthercat& cmd) {
        if (bytes.empty() || bytes.size() > 4)
            return ErrorCode::BadArgument;
        const auto size = unsigned(bytes.size());
        const std::uint32_t data = Shared::ToBigEndian(bytes.data(), size);
        return cmd.send({Fn::SetSlaveEscRegister, double(slot), double(position), double(address), double(size), kNoVr,
                         double(data)});
    });
}

ErrorCode Connection_TCP::Ethercat_SendResetSequence(int slot) {
    return ethercat(*this, {Fn::SendResetSequence, double(slot)});
}
ErrorCode Connection_TCP::Ethercat_SendResetSequence(int slot, int position) {
    return ethercat(*this, {Fn::SendResetSequence, double(slot), double(position)});
}
ErrorCode Connection_TCP::Ethercat_SendResetSequence(int slot, int position, int arg) {
    return ethercat(*this, {Fn::SendResetSequence, double(slot), double(position), double(arg)});
}

ErrorCode Connection_TCP::Ethercat_SetStatusMaskAndTriggerPattern(int slot, int position, int mask, int pattern) {
    return ethercat(*this, {Fn::SetStatusMaskAndTriggerPattern, double(slot), double(position), kNoVr, double(mask),
                            double(pattern)});
}
ErrorCode Connection_TCP::Ethercat_SetStatusMaskAndTriggerPattern_VR(int slot, int position, int vr) {
    return ethercat(*this, {Fn::SetStatusMaskAndTriggerPattern, double(slot), double(position), double(vr)});
}
ErrorCode Connection_TCP::Ethercat_GetStatusMaskAndTriggerPattern(int slot, int position, unsigned int& mask,
                                                                  unsigned int& pattern) {
    // One line "mask pattern" before the standard response.
    std::pair<unsigned int, unsigned int> both{};
    const ErrorCode e = ethercat(*this, {Fn::GetStatusMaskAndTriggerPattern, double(slot), double(position)}, both);
    if (!failed(e)) {
        mask = both.first;
        pattern = both.second;
    }
    return e;
}
ErrorCode Connection_TCP::Ethercat_GetStatusMaskAndTriggerPattern_VR(int slot, int position, int vr) {
    return ethercat(*this, {Fn::GetStatusMaskAndTriggerPattern, double(slot), double(position), double(vr)});
}

ErrorCode Connection_TCP::Ethercat_DisplayNetworkConfig(int slot) {
    return ethercat(*this, {Fn::DisplayNetworkConfig, double(slot)});
}
ErrorCode Connection_TCP::Ethercat_SetSync0StartTime(int value) {
    return ethercat(*this, {Fn::SetSync0StartTime, kNoVr, double(value)});
}
ErrorCode Connection_TCP::Ethercat_SetSync0StartTime_VR(int vr) {
    return ethercat(*this, {Fn::SetSync0StartTime, double(vr)});
}
ErrorCode Connection_TCP::Ethercat_SetDistrClockMaster(int slot, int position, int value) {
    return ethercat(*this, {Fn::SetDistrClockMaster, double(slot), double(position), kNoVr, double(value)});
}
ErrorCode Connection_TCP::Ethercat_SetDistrClockMaster_VR(int slot, int position, int vr) {
    return ethercat(*this, {Fn::SetDistrClockMaster, double(slot), double(position), double(vr)});
}
ErrorCode Connection_TCP::Ethercat_SetEmergencyMsgControl(int slot, int value) {
    return ethercat(*this, {Fn::SetEmergencyMsgControl, double(slot), double(value)});
}
ErrorCode Connection_TCP::Ethercat_GetEmergencyMsgControl(int slot, unsigned int& value) {
    return ethercat(*this, {Fn::GetEmergencyMsgControl, double(slot)}, value);
}
ErrorCode Connection_TCP::Ethercat_GetEmergencyMsgControl_VR(int slot, int vr) {
    return ethercat(*this, {Fn::GetEmergencyMsgControl, double(slot), double(vr)});
}

// ---- CANopen objects ----

ErrorCode Connection_TCP::Ethercat_CoRead(int slot, int position, unsigned int index, unsigned int subindex,
                                          unsigned int type, double& value) {
    return execute<CmdCoRead>([&](CmdCoRead& c) { return c.send(slot, position, index, subindex, type); }, value);
}
ErrorCode Connection_TCP::Ethercat_CoReadAxis(int axis, unsigned int index, unsigned int subindex, unsigned int type,
                                              double& value) {
    return execute<CmdCoReadAxis>([&](CmdCoReadAxis& c) { return c.send(axis, index, subindex, type); }, value);
}
ErrorCode Connection_TCP::Ethercat_CoWrite_Value(int slot, int position, unsigned int index, unsigned int subindex,
                                                 unsigned int type, double value) {
    return execute<CmdCoWrite>([&](CmdCoWrite& c) { return c.send(slot, position, index, subindex, type, value); });
}
ErrorCode Connection_TCP::Ethercat_CoWrite_Value(int slot, int position, unsigned int index, unsigned int subindex,
                                                 unsigned int type, std::string_view text) {
    return execute<CmdCoWrite>([&](CmdCoWrite& c) { return c.send(slot, position, index, subindex, type, text); });
}
ErrorCode Connection_TCP::Ethercat_CoWrite_VR(int slot, int position, unsigned int index, unsigned int subindex,
                                              unsigned int type, int vr) {
    return execute<CmdCoWrite>([&](CmdCoWrite& c) { return c.sendVr(slot, position, index, subindex, type, vr); });
}
ErrorCode Connection_TCP::Ethercat_CoWriteAxis_Value(int axis, unsigned int index, unsigned int subindex,
                                                     unsigned int type, double value) {
    return execute<CmdCoWriteAxis>([&](CmdCoWriteAxis& c) { return c.send(axis, index, subindex, type, value); });
}
ErrorCode Connection_TCP::Ethercat_CoWriteAxis_Value(int axis, unsigned int index, unsigned int subindex,
                                                     unsigned int type, std::string_view text) {
    return execute<CmdCoWriteAxis>([&](CmdCoWriteAxis& c) { return c.send(axis, index, subindex, type, text); });
}
ErrorCode Connection_TCP::Ethercat_CoWriteAxis_VR(int axis, unsigned int index, unsigned int subindex,
                                                  unsigned int type, int vr) {
    return execute<CmdCoWriteAxis>([&](CmdCoWriteAxis& c) { return c.sendVr(axis, index, subindex, type, vr); });
}

} // namespace Vaxo::Ubrix::TCP
