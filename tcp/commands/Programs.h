// Program and command-line commands.
#pragma once

#include "tcp/commands/Variables.h"

namespace Vaxo::Ubrix::TCP {

// EX ( option ) ZERO, acknowledged by "OK" 0x1D and the standard response.
class CmdEx : public Command {
public:
    using Command::Command;
    ErrorCode send(unsigned option);
    ErrorCode readReply() override;
    double value() const { return m_value; }

private:
    double m_value = 0;
};

} // namespace Vaxo::Ubrix::TCP
