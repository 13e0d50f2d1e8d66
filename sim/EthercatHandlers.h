// The simulated controller's EtherCAT master: networks by slot, each with its slaves (address,
// axis, online flag, state, CANopen objects, ESC registers), answering ETHERCAT(function, ...)
// and the CANopen object commands CO_READ, CO_READ_AXIS, CO_WRITE and CO_WRITE_AXIS.
//
//     sim.withState([](Controller& c) {
//         auto& net = ethercatState(c).networks[0];
//         net.slaves = {EthercatSlave{.address = 1001, .axis = 0}};
//     });
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Vaxo::Sim {

class Controller;
class Dispatch;

void registerEthercatHandlers(Dispatch& d);

// The EtherCAT AL state numbers.
namespace EcState {
constexpr std::uint32_t Init = 1, PreOp = 2, Bootstrap = 3, SafeOp = 4, Op = 8;
}

// A CANopen object: a number, or a text when written as one.
struct CoObject {
    double value = 0;
    std::string text;
    bool isText = false;
};

struct EthercatSlave {
    std::int32_t address = 0;
    std::int32_t axis = -1;  // -1: no axis
    bool online = true;
    std::uint32_t state = EcState::Init;
    std::uint32_t statusMask = 0;
    std::uint32_t triggerPattern = 0;
    std::int32_t distrClock = 0;   // ETHERCAT(147) value
    std::uint32_t resets = 0;      // reset sequences received
    std::map<std::pair<std::uint32_t, std::uint32_t>, CoObject> objects;  // (index, subindex)
    std::map<std::uint32_t, std::uint8_t> esc;                             // register bytes by address
};

struct EthercatNetwork {
    std::vector<EthercatSlave> slaves;
    std::uint32_t state = EcState::Init;
    bool running = false;
    std::vector<double> startArgs;      // what the last ETHERCAT(0, ...) carried after the slot
    std::uint32_t emergencyMsgControl = 0;
    std::uint32_t resets = 0;           // network-wide reset sequences
};

struct EthercatState {
    // Slot 0 has two slaves (addresses 1001, 1002, axes 0 and 1) until a test says otherwise.
    std::map<std::int32_t, EthercatNetwork> networks = defaultNetworks();
    std::int32_t sync0StartTime = 0;
    std::uint32_t displays = 0;  // ETHERCAT(135) requests

    static std::map<std::int32_t, EthercatNetwork> defaultNetworks();
};

// The EtherCAT state; the caller holds the controller's mutex (Simulator::withState).
EthercatState& ethercatState(Controller& c);

} // namespace Vaxo::Sim
