// The token table request.
#include "sim/Controller.h"

namespace Vaxo::Sim {
namespace {

// TOKENTABLE ZERO: the table text, CR LF records ending with "[EOT]" CR LF, and nothing after it
// (the reader stops at the end marker). The session then expects the reset capabilities' format.
void onTokenTable(Exchange& x) {
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    const std::string& t = x.controller.table().text();
    x.reply.insert(x.reply.end(), t.begin(), t.end());
    x.status = 0;
}

} // namespace

void registerProtocolHandlers(Dispatch& d) { d.add("TOKENTABLE", &onTokenTable); }

} // namespace Vaxo::Sim
