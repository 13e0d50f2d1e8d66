// VR and TABLE memory: single values, string values in VRs, multi-value reads and block writes.
#include "sim/Controller.h"

namespace Vaxo::Sim {
namespace {

// VR(i)                          -> standard response, value VR(i)
// VR(i) ASSIGN v                 -> VR(i) = v; standard response, value 0
// VR(i) ASSIGN <01> "text" [EOX] -> the text's bytes into VR(i), VR(i+1), ..., then a 0
void onVr(Exchange& x) {
    auto& vr = x.controller.vr();
    if (auto st = x.args.bracketed(x.scratch)) return x.fail(st);
    if (x.scratch.size() != 1) return x.fail(Status::CloseRoundBracketExpected);
    std::size_t i;
    if (!indexOf(x.scratch[0], vr.size(), i)) return x.fail(Status::ParameterOutOfRange);
    if (x.args.atEnd()) return x.answer(vr[i]);
    if (!x.args.accept("ASSIGN")) return x.fail(Status::ExtraCharsAtEoln);
    if (const Item* marker = x.args.peek(); marker && marker->kind == ItemKind::Raw) {
        x.args.take();
        std::string_view text;
        if (!x.args.text(text)) return x.fail(Status::QuotesExpected);
        x.args.accept("EOX");
        if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
        if (text.size() >= vr.size() - i) return x.fail(Status::ParameterOutOfRange);
        for (char ch : text) vr[i++] = static_cast<unsigned char>(ch);
        vr[i] = 0;
        return x.answer(0);
    }
    double v;
    if (!x.args.number(v)) return x.fail(Status::OperandExpected);
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    vr[i] = v;
    x.answer(0);
}

// TABLE(i)               -> standard response, value TABLE(i)
// TABLE(i, v0, v1, ...)  -> TABLE(i + k) = vk; standard response, value 0
// TABLE(i) ASSIGN v      -> TABLE(i) = v
void onTable(Exchange& x) {
    auto& mem = x.controller.tableMemory();
    if (auto st = x.args.bracketed(x.scratch)) return x.fail(st);
    std::size_t i;
    if (!indexOf(x.scratch[0], mem.size(), i)) return x.fail(Status::TableIndexRangeError);
    if (x.scratch.size() > 1) {
        if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
        if (x.scratch.size() - 1 > mem.size() - i) return x.fail(Status::TableIndexRangeError);
        for (std::size_t k = 1; k < x.scratch.size(); ++k) mem[i + k - 1] = x.scratch[k];
        return x.answer(0);
    }
    if (x.args.atEnd()) return x.answer(mem[i]);
    double v;
    if (!x.args.accept("ASSIGN")) return x.fail(Status::ExtraCharsAtEoln);
    if (!x.args.number(v)) return x.fail(Status::OperandExpected);
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    mem[i] = v;
    x.answer(0);
}

// name(start, count, 1)  -> standard response (value = count), then count raw numbers
// name(start, end, 2)    -> standard response; then a data block of end - start + 1 values (each
//                           NUMBER, its bytes, EOX; not escaped, no ZERO), answered once more when
//                           complete. end = start - 1 is an empty run: the header alone.
void onValues(Exchange& x, bool table) {
    auto& mem = table ? x.controller.tableMemory() : x.controller.vr();
    const std::uint16_t outOfRange = table ? Status::TableIndexRangeError : Status::ParameterOutOfRange;
    if (auto st = x.args.bracketed(x.scratch)) return x.fail(st);
    if (x.scratch.size() != 3 || !x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    std::size_t start;
    if (!indexOf(x.scratch[0], mem.size(), start)) return x.fail(outOfRange);
    if (x.scratch[2] == 1) {
        std::size_t count;
        if (!indexOf(x.scratch[1], mem.size() + 1, count) || count > mem.size() - start) return x.fail(outOfRange);
        x.answer(static_cast<double>(count));
        for (std::size_t k = 0; k < count; ++k) x.number(mem[start + k]);
        return;
    }
    if (x.scratch[2] != 2) return x.fail(Status::ParameterOutOfRange);
    // Block writes exist only after their firmware release.
    if (compareFirmware(x.controller.config().firmware, kBlockWriteFirmware) <= 0)
        return x.fail(Status::ParameterOutOfRange);
    // The count from the end: end - start + 1, whole and not below 0.
    std::size_t count;
    if (!indexOf(x.scratch[1] - x.scratch[0] + 1, mem.size() - start + 1, count)) return x.fail(outOfRange);
    x.answer(0);
    if (count == 0) return;
    x.session.expectValues(count, std::string(x.request.command()), [table, start](Exchange& b) {
        auto& m = table ? b.controller.tableMemory() : b.controller.vr();
        std::size_t k = start;
        for (const Item& it : b.request.items) m[k++] = it.value;
        b.answer(0);
    });
}

void onVrValues(Exchange& x) { onValues(x, false); }
void onTableValues(Exchange& x) { onValues(x, true); }

} // namespace

void registerVariablesHandlers(Dispatch& d) {
    d.add("VR", &onVr);
    d.add("TABLE", &onTable);
    d.add("VRVALUES", &onVrValues);
    d.add("TABLEVALUES", &onTableValues);
}

} // namespace Vaxo::Sim
