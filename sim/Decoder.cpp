#include "sim/Decoder.h"

#include <charconv>

namespace Vaxo::Sim {
namespace {

// Reads the stream byte by byte, removing escapes on escaping links and keeping what it read.
class Cursor {
public:
    Cursor(const std::uint8_t* p, std::size_t n, bool escaped, std::vector<std::uint8_t>& out)
        : p_(p), n_(n), escaped_(escaped), out_(out) {}

    bool get(std::uint8_t& b) {
        if (pos_ >= n_) return false;
        if (escaped_ && p_[pos_] == 0x1B) {
            if (pos_ + 1 >= n_) return false;
            b = p_[pos_ + 1];
            pos_ += 2;
        } else {
            b = p_[pos_++];
        }
        out_.push_back(b);
        return true;
    }
    // A token code: one byte, or E followed by code - E.
    bool code(std::uint16_t extended, std::uint16_t& c) {
        std::uint8_t b;
        if (!get(b)) return false;
        if (b != extended) {
            c = b;
            return true;
        }
        std::uint8_t b2;
        if (!get(b2)) return false;
        c = static_cast<std::uint16_t>(extended + b2);
        return true;
    }
    std::size_t pos() const noexcept { return pos_; }

private:
    const std::uint8_t* p_;
    std::size_t n_;
    std::size_t pos_ = 0;
    bool escaped_;
    std::vector<std::uint8_t>& out_;
};

enum class Step { Ok, NeedMore, Fail };

} // namespace

DecodeOutcome decodeRequest(const DecodeContext& ctx, const std::uint8_t* data, std::size_t n, Request& out) {
    const SymbolCodes& sym = ctx.table.symbols();
    out.raw.clear();
    out.bytes.clear();
    out.items.clear();
    out.kind = RequestKind::Command;
    out.escaped = ctx.escaped;
    out.format = ctx.format;
    out.status = 0;
    Cursor cur(data, n, ctx.escaped, out.bytes);
    const std::size_t width = numberSize(ctx.format);
    std::uint16_t status = 0;

    auto element = [&](std::uint16_t code) -> Step {
        Item item;
        const TokenEntry* e = ctx.table.token(code);
        if (code == 0x01 && !e) {  // a bare marker byte where a token was due
            item.kind = ItemKind::Raw;
            item.byte = 0x01;
        } else if (!e) {
            status = Status::CommandNotRecognised;
            return Step::Fail;
        } else if (code == sym.number) {
            std::uint8_t b[8];
            for (std::size_t i = 0; i < width; ++i)
                if (!cur.get(b[i])) return Step::NeedMore;
            std::uint16_t eox;
            if (!cur.code(sym.extended, eox)) return Step::NeedMore;
            if (eox != sym.eox) {
                status = Status::NumberExpected;
                return eox == sym.zero ? Step::Ok : Step::Fail;  // Ok + status: the ZERO is consumed
            }
            item.kind = ItemKind::Number;
            item.value = getNumber(b, ctx.format);
        } else if (code == sym.quotes) {
            item.kind = ItemKind::Text;
            for (;;) {
                std::uint8_t b;
                if (!cur.get(b)) return Step::NeedMore;
                if (b == sym.quotes) break;
                item.text.push_back(static_cast<char>(b));
            }
        } else if (code == sym.sysVar || code == sym.sysVar2 || code == sym.sysVar16) {
            std::uint8_t lo;
            if (!cur.get(lo)) return Step::NeedMore;
            std::uint16_t vcode = lo;
            if (code == sym.sysVar16) {
                std::uint8_t hi;
                if (!cur.get(hi)) return Step::NeedMore;
                vcode = static_cast<std::uint16_t>(lo | (hi << 8));
                item.scheme = SysVarScheme::Wide;
            } else if (code == sym.sysVar2) {
                vcode = static_cast<std::uint16_t>(256 + lo);
                item.scheme = SysVarScheme::Second;
            } else if (ctx.bodge && !out.items.empty()) {
                std::uint16_t hi;
                if (!cur.code(sym.extended, hi)) return Step::NeedMore;
                vcode = static_cast<std::uint16_t>(lo | (hi << 8));
                item.scheme = SysVarScheme::Bodge;
            } else {
                item.scheme = SysVarScheme::Single;
            }
            const TokenEntry* v = ctx.table.sysVar(vcode);
            if (!v) {
                status = Status::CommandNotRecognised;
                return Step::Fail;
            }
            item.kind = ItemKind::SysVar;
            item.name = v->name;
            item.tokenKind = 'V';
            item.code = vcode;
        } else {
            item.kind = ItemKind::Token;
            item.name = e->name;
            item.tokenKind = e->kind;
            item.code = code;
            item.value = e->constant;
        }
        out.items.push_back(std::move(item));
        return Step::Ok;
    };

    for (;;) {
        std::uint16_t code;
        if (!cur.code(sym.extended, code)) return {DecodeResult::NeedMore, 0, 0};
        if (code == sym.zero) break;
        if (out.items.empty() && code == sym.unknown) return {DecodeResult::Nudge, cur.pos(), 0};
        const Step s = element(code);
        if (s == Step::NeedMore) return {DecodeResult::NeedMore, 0, 0};
        if (s == Step::Ok && status != 0) break;  // the fault ended on the ZERO itself
        if (s == Step::Fail) {
            // resynchronise on the next ZERO
            do {
                if (!cur.code(sym.extended, code)) return {DecodeResult::NeedMore, 0, 0};
            } while (code != sym.zero);
            break;
        }
    }
    out.raw.assign(data, data + cur.pos());
    out.status = status;
    return {status ? DecodeResult::Error : DecodeResult::Complete, cur.pos(), status};
}

namespace {
void appendNumber(std::string& s, double v) {
    char buf[32];
    auto r = std::to_chars(buf, buf + sizeof buf, v);
    s.append(buf, r.ptr);
}
} // namespace

std::string Request::str() const {
    std::string s;
    for (const Item& it : items) {
        if (!s.empty()) s.push_back(' ');
        switch (it.kind) {
        case ItemKind::Token:
        case ItemKind::SysVar: s.append(it.name); break;
        case ItemKind::Number: appendNumber(s, it.value); break;
        case ItemKind::Text:
            s.push_back('"');
            s += it.text;
            s.push_back('"');
            break;
        case ItemKind::Raw: {
            static const char hex[] = "0123456789ABCDEF";
            s.push_back('<');
            s.push_back(hex[it.byte >> 4]);
            s.push_back(hex[it.byte & 15]);
            s.push_back('>');
            break;
        }
        }
    }
    return s;
}

} // namespace Vaxo::Sim
