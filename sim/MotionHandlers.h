// The simulated controller's axes and their motion: one state per controller, kept in
// Controller::extension<MotionAxes>(). Every member is used with the controller's mutex held
// (handlers always hold it; tests go through Simulator::withState).
//
// A servo clock (SERVO_PERIOD microseconds, 1000 unless set) runs while any axis moves: each
// servo cycle moves the axes on trapezoidal profiles with their SPEED (FORCE_SPEED for the
// MOVESP forms), ACCEL and DECEL, and the axis parameters DPOS, MPOS, IDLE (-1 idle, 0 moving),
// MTYPE, NTYPE, REMAIN and VP_SPEED are written into the controller's parameter storage
// (Controller::setModifiedParameter with the AXIS modifier), where the parameter requests read
// them. MPOS follows DPOS one servo cycle late. Linear moves are buffered per axis and run in turn.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace Vaxo::Sim {

class Controller;

// Motion types as MTYPE and NTYPE report them.
namespace MoveType {
constexpr int Idle = 0;
constexpr int Move = 1;
constexpr int MoveAbs = 2;
constexpr int MoveModify = 5;
constexpr int Forward = 10;
constexpr int Reverse = 11;
constexpr int Datum = 12;
} // namespace MoveType

class MotionAxes {
public:
    static constexpr std::size_t kDefaultAxes = 8;
    static constexpr std::size_t kMaxBuffered = 64;  // moves waiting behind the running one

    MotionAxes() = default;
    MotionAxes(const MotionAxes&) = delete;
    MotionAxes& operator=(const MotionAxes&) = delete;
    ~MotionAxes();

    // Number of axes (AXIS(0) .. AXIS(n - 1)); resets the BASE axes to 0 .. n - 1.
    void setAxisCount(std::size_t n);
    std::size_t axisCount() const noexcept { return axes_.size(); }
    // The axes commands without an AXIS modifier go to, in order (BASE).
    void setBase(std::vector<std::uint32_t> axes) { base_ = std::move(axes); }
    const std::vector<std::uint32_t>& base() const noexcept { return base_; }

    struct AxisView {
        double dpos = 0, mpos = 0, speed = 0, remain = 0;
        int mtype = MoveType::Idle, ntype = MoveType::Idle;
        bool idle = true;
        std::size_t buffered = 0;
    };
    AxisView axis(std::size_t index) const;
    // The values of the last request of a command that only sets something up (CAM, CONNECT,
    // BACKLASH, ...) for an axis; empty if none came.
    std::vector<double> lastArgs(const std::string& command, std::size_t axis) const;

    // Stops the servo clock (tests step it with step()); start again with freeze(false).
    void freeze(bool frozen);
    // Runs servo cycles at once.
    void step(unsigned cycles);

    // --- for the handlers ---
    void attach(Controller& c);
    // Brings the axes up to now on the servo clock and publishes their parameters.
    void advance();
    void publish();
    void wake() { cv_.notify_all(); }

    struct Move {
        int type = MoveType::Move;
        enum Kind { Linear, Continuous, Home } kind = Linear;
        bool relative = false;
        bool forceSpeed = false;
        double value = 0;  // Linear: the distance or end position; Continuous: +1 / -1
    };
    // false when the axis's buffer is full.
    bool queue(std::size_t axis, const Move& m);
    void modify(std::size_t axis, double position);
    // mode 0: the running move; 1: the buffered ones; 2: both.
    void cancel(std::size_t axis, int mode);
    void definePosition(std::size_t axis, double position);
    void record(const std::string& command, std::size_t axis, std::vector<double> args);

private:
    struct Axis {
        double pos = 0, mpos = 0, vel = 0;
        bool active = false;    // a move is running
        bool stopping = false;  // the running move decelerates to a stop
        Move current;
        double target = 0;      // Linear: the end position of the running move
        std::deque<Move> pending;
    };
    void run();
    void tick(double dt);
    void tickAxis(std::size_t index, Axis& a, double dt);
    void start(Axis& a);
    bool moving() const;
    double param(std::uint16_t code, std::size_t axis) const;
    void setParam(std::uint16_t code, std::size_t axis, double v);
    std::chrono::microseconds period() const;

    Controller* c_ = nullptr;
    std::vector<Axis> axes_ = std::vector<Axis>(kDefaultAxes);
    std::vector<std::uint32_t> base_ = {0, 1, 2, 3, 4, 5, 6, 7};
    std::map<std::pair<std::string, std::size_t>, std::vector<double>> last_;
    struct Codes {
        std::uint16_t axis, dpos, mpos, idle, mtype, ntype, remain, vpSpeed, speed, forceSpeed, accel, decel,
            servoPeriod;
    } codes_{};
    std::chrono::steady_clock::time_point lastTick_{};
    bool frozen_ = false;
    bool stop_ = false;
    std::condition_variable cv_;
    std::thread ticker_;
};

} // namespace Vaxo::Sim
