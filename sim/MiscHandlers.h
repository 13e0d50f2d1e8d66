// Scope, trigger, position switches, registration, frame groups and the project-key registry of
// the simulated controller.
//
//     miscState(sim).frameGroups.at(2).axes        // after FRAME_GROUP(2, 100, 0, 1)
//     miscState(sim).scope.triggers                // TRIGGERs seen
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Vaxo::Sim {

class Controller;
class Dispatch;
class Simulator;

void registerMiscHandlers(Dispatch& d);

struct MiscState {
    static constexpr std::uint32_t kFrameGroups = 8;  // FRAME_GROUP(0) .. FRAME_GROUP(7)
    static constexpr std::uint32_t kAxes = 64;        // axes a frame group, switch or scope names
    static constexpr std::uint32_t kSwitches = 64;    // PSWITCH(0) .. PSWITCH(63)

    struct Scope {
        bool armed = false;
        double period = 1;                  // servo cycles between samples
        std::uint32_t tableStart = 0, tableEnd = 0;
        std::string parameter;              // captured axis parameter; empty: the channels are VRs
        std::uint16_t parameterCode = 0;
        std::vector<std::uint32_t> channels;  // VR indices or axes
        std::uint32_t triggers = 0;
    } scope;

    struct Switch {
        bool on = false;
        int axis = -1;  // -1: the BASE axis
        int output = 0;
        int state = 0;
        std::vector<double> positions;  // set/reset pairs
    };
    std::map<int, Switch> switches;

    // The last REGIST arguments per axis (-1: the BASE axis).
    std::map<int, std::vector<double>> regist;

    struct FrameGroup {
        std::uint32_t tableIndex = 0;
        std::vector<int> axes;
    };
    std::map<std::uint32_t, FrameGroup> frameGroups;
    // When not empty, the next frame-group read is answered with these bytes as they stand.
    std::string frameGroupReply;

    std::string projectKey;
    std::map<std::string, std::string> keyRegistry;  // name -> key
    std::string activeKeyName;
};

// The family's state; the caller holds the controller's mutex.
MiscState& miscState(Controller& c);

// A copy of the state, taken under the controller's mutex; and a locked edit.
MiscState miscSnapshot(Simulator& sim);
void setFrameGroupReply(Simulator& sim, std::string bytes);

} // namespace Vaxo::Sim
