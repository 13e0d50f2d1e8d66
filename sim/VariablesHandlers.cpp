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
// name(start, end, 2)    -> standard response; then a data block of end - start + 1 raw numbers
//                           (not escaped, no ZERO), answered once more when complete
void onValues(Exchange& x, bool table) {
    auto& mem = table ? x.controller.tableMemory() : x.controller.vr();
    const std::uint16_t outOfRange = table ? Status::TableIndexRangeError : Status::ParameterOutOfRange;
    if (auto st = x.args.bracketed(x.scratch)) return x.fail(st);
    if (x.scratch.size() != 3 || !x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    std::size_t start, second;
    if (!indexOf(x.scratch[0], mem.size(), start) || !indexOf(x.scratch[1], mem.size() + 1, second))
        return x.fail(outOfRange);
    if (x.scratch[2] == 1) {
        if (second > mem.size() - start) return x.fail(outOfRange);
        x.answer(static_cast<double>(second));
        for (std::size_t k = 0; k < second; ++k) x.number(mem[start + k]);
        return;
    }
    if (x.scratch[2] != 2) return x.fail(Status::ParameterOutOfRange);
    if (second < start || second >= mem.size()) return x.fail(outOfRange);
    const std::size_t count = second - start + 1;
    x.answer(0);
    x.session.expectData(count * numberSize(x.format), std::string(x.request.command()),
                         [table, start](Exchange& b) {
                             auto& m = table ? b.controller.tableMemory() : b.controller.vr();
                             const std::size_t w = numberSize(b.format);
                             const auto& raw = b.request.raw;
                             for (std::size_t k = 0; k * w < raw.size(); ++k) {
                                 Item it;
                                 it.kind = ItemKind::Number;
                                 it.value = getNumber(raw.data() + k * w, b.format);
                                 m[start + k] = it.value;
                                 b.request.items.push_back(std::move(it));
                             }
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
