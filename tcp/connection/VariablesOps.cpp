// Operations of the VR and TABLE family.
#include "tcp/commands/Variables.h"
#include "tcp/connection/Connection_TCP.h"

namespace Vaxo::Ubrix::TCP {

ErrorCode Connection_TCP::GetVrValue(unsigned int index, double& value) {
    return execute<CmdGetVR>([&](CmdGetVR& c) { return c.send(index); }, &value);
}
ErrorCode Connection_TCP::SetVrValue(unsigned int index, double value) {
    return execute<CmdSetVR>([&](CmdSetVR& c) { return c.send(index, value); });
}
ErrorCode Connection_TCP::GetTableValue(unsigned int index, double& value) {
    return execute<CmdGetTABLE>([&](CmdGetTABLE& c) { return c.send(index); }, &value);
}
ErrorCode Connection_TCP::SetTableValue(unsigned int index, double value) {
    return execute<CmdSetTABLE>([&](CmdSetTABLE& c) { return c.send(index, value); });
}

} // namespace Vaxo::Ubrix::TCP
