// Requests led by a system variable: system parameters, and parameters with a modifier (AXIS,
// PROC, SLOT, PORT) kept per (variable, modifier, index) until a family takes them over.
#include "sim/Controller.h"

namespace Vaxo::Sim {
namespace {

// name                                  -> standard response, value of the parameter
// name ASSIGN v                         -> set (read-only ones: VALUE_IS_READ_ONLY)
// name MODIFIER m OPENBRACKETS i CLOSEBRACKETS [ASSIGN v]
void onSystemVariable(Exchange& x) {
    Controller& c = x.controller;
    const std::uint16_t code = x.request.items.front().code;
    if (x.args.atEnd()) return x.answer(c.systemParameter(code));
    if (x.args.accept("MODIFIER")) {
        const Item* m = x.args.take();
        if (!m || m->kind != ItemKind::Token || m->tokenKind != 'M') return x.fail(Status::ModifierNotAllowed);
        if (auto st = x.args.bracketed(x.scratch)) return x.fail(st);
        std::size_t index;
        if (x.scratch.size() != 1 || !indexOf(x.scratch[0], 65536, index)) return x.fail(Status::ParameterOutOfRange);
        const auto idx = static_cast<std::uint32_t>(index);
        if (x.args.atEnd()) return x.answer(c.modifiedParameter(code, m->code, idx));
        double v;
        if (!x.args.accept("ASSIGN")) return x.fail(Status::ExtraCharsAtEoln);
        if (!x.args.number(v)) return x.fail(Status::OperandExpected);
        if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
        c.setModifiedParameter(code, m->code, idx, v);
        return x.answer(0);
    }
    double v;
    if (!x.args.accept("ASSIGN")) return x.fail(Status::ExtraCharsAtEoln);
    if (!x.args.number(v)) return x.fail(Status::OperandExpected);
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    if (c.systemReadOnly(code)) return x.fail(Status::ValueIsReadOnly);
    c.setSystemParameter(code, v);
    x.answer(0);
}

} // namespace

void registerSystemParametersHandlers(Dispatch& d) { d.add(Dispatch::kSystemVariable, &onSystemVariable); }

} // namespace Vaxo::Sim
