#include "sim/Faults.h"

#include <algorithm>

namespace Vaxo::Sim {

void Faults::add(Spec s) {
    std::lock_guard lock(mutex_);
    specs_.push_back(std::move(s));
    any_.store(true, std::memory_order_release);
}

void Faults::delay(std::chrono::milliseconds d, FaultScope scope) { add({Kind::Delay, d, 0, 0, {}, std::move(scope)}); }
void Faults::trickle(std::chrono::milliseconds pause, FaultScope scope, std::size_t piece) {
    add({Kind::Trickle, pause, piece ? piece : 1, 0, {}, std::move(scope)});
}
void Faults::stopAfter(std::size_t bytes, FaultScope scope) { add({Kind::Stop, {}, bytes, 0, {}, std::move(scope)}); }
void Faults::closeAfter(std::size_t bytes, FaultScope scope) { add({Kind::Close, {}, bytes, 0, {}, std::move(scope)}); }
void Faults::garbage(std::string bytes, FaultScope scope) {
    add({Kind::Garbage, {}, 0, 0, std::move(bytes), std::move(scope)});
}
void Faults::errorStatus(std::uint16_t status, FaultScope scope) {
    add({Kind::Error, {}, 0, status, {}, std::move(scope)});
}

void Faults::textReply(std::string text, FaultScope scope) {
    add({Kind::Text, {}, 0, 0, std::move(text), std::move(scope)});
}
void Faults::endless(std::string chunk, FaultScope scope) {
    add({Kind::Endless, {}, 0, 0, std::move(chunk), std::move(scope)});
}

void Faults::clear() {
    std::lock_guard lock(mutex_);
    specs_.clear();
    any_.store(false, std::memory_order_release);
}

std::size_t Faults::armed() const {
    std::lock_guard lock(mutex_);
    return specs_.size();
}

FaultEffects Faults::take(std::string_view command) {
    FaultEffects fx;
    if (!any_.load(std::memory_order_acquire)) return fx;  // the common case takes no lock
    std::lock_guard lock(mutex_);
    for (auto it = specs_.begin(); it != specs_.end();) {
        if (!it->scope.command.empty() && it->scope.command != command) {
            ++it;
            continue;
        }
        switch (it->kind) {
        case Kind::Delay: fx.delay += it->ms; break;
        case Kind::Trickle:
            fx.perByte = std::max(fx.perByte, it->ms);
            fx.piece = it->bytes;
            break;
        case Kind::Stop: fx.stopAfter = std::min(fx.stopAfter, it->bytes); break;
        case Kind::Close: fx.closeAfter = std::min(fx.closeAfter, it->bytes); break;
        case Kind::Garbage:
            fx.replaceWithGarbage = true;
            fx.garbage = it->data;
            break;
        case Kind::Error: fx.errorStatus = it->status; break;
        case Kind::Text:
            fx.replaceWithText = true;
            fx.text = it->data;
            break;
        case Kind::Endless: fx.endless = it->data; break;
        }
        if (it->scope.count == 1) {
            it = specs_.erase(it);
        } else {
            if (it->scope.count > 1) --it->scope.count;
            ++it;
        }
    }
    any_.store(!specs_.empty(), std::memory_order_release);
    return fx;
}

} // namespace Vaxo::Sim
