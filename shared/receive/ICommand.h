// The contract between a command object and the reader pump: the pump's thread reads the
// reply into the command and marks it ready; the caller's thread waits for that.
#pragma once

#include <cstdint>

#include <vaxo/Types.hpp>

namespace Vaxo::Ubrix::Shared {

class ICommand {
public:
    virtual ErrorCode readReply() = 0;
    virtual void waitReady() = 0;
    virtual void setReady(ErrorCode code) = 0;
    virtual void clearReady() = 0;
    virtual std::uint32_t id() const = 0;

protected:
    ~ICommand() = default; // commands are destroyed through their own class
};

} // namespace Vaxo::Ubrix::Shared
