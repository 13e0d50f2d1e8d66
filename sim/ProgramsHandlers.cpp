// Programs, processes, the command line and the directory: the program store (ProgramStore.h),
// the process table, EXECUTE with a small command-line interpreter, CLEAR and EX.
#include "sim/ProgramStore.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>

namespace Vaxo::Sim {

// ---- the store ----

std::string ProgramStore::upper(std::string_view s) {
    std::string out(s);
    for (char& ch : out) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    return out;
}

StoredProgram& ProgramStore::put(std::string_view name, std::string text, int type) {
    if (StoredProgram* p = find(name)) {
        p->text = std::move(text);
        p->type = type;
        return *p;
    }
    programs_.push_back({upper(name), std::move(text), type});
    return programs_.back();
}

StoredProgram* ProgramStore::find(std::string_view name) noexcept {
    const std::string key = upper(name);
    for (auto& p : programs_)
        if (p.name == key) return &p;
    return nullptr;
}

const StoredProgram* ProgramStore::find(std::string_view name) const noexcept {
    return const_cast<ProgramStore*>(this)->find(name);
}

bool ProgramStore::remove(std::string_view name) {
    const std::string key = upper(name);
    auto it = std::find_if(programs_.begin(), programs_.end(), [&](const StoredProgram& p) { return p.name == key; });
    if (it == programs_.end()) return false;
    programs_.erase(it);
    std::erase_if(processes, [&](const ProcessEntry& e) { return e.program == key; });
    if (selected == key) selected.clear();
    return true;
}

bool ProgramStore::running(std::string_view program) const noexcept {
    const std::string key = upper(program);
    return std::any_of(processes.begin(), processes.end(), [&](const ProcessEntry& e) { return e.program == key; });
}

std::vector<std::string> ProgramStore::lines(std::string_view text) {
    std::vector<std::string> out;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        out.emplace_back(line);
        start = end + 1;
    }
    return out;
}

std::string ProgramStore::join(const std::vector<std::string>& lines) {
    std::string out;
    for (const auto& l : lines) {
        out += l;
        out += "\r\n";
    }
    return out;
}

std::uint16_t ProgramStore::crc16(std::string_view data) noexcept {
    std::uint16_t crc = 0;
    for (unsigned char byte : data) {
        crc = static_cast<std::uint16_t>(crc ^ (byte << 8));
        for (int bit = 0; bit < 8; ++bit)
            crc = static_cast<std::uint16_t>(crc & 0x8000 ? (crc << 1) ^ 0x8005 : crc << 1);
    }
    return crc;
}

namespace {

// Controller error numbers of this family.
constexpr std::uint16_t kNoProcessAvailable = 20;
constexpr std::uint16_t kProgramNotFound = 27;
constexpr std::uint16_t kProgramsRunning = 30;
constexpr std::uint16_t kProgramAlreadyExists = 58;
constexpr std::uint16_t kProgramNotRunningOnProcess = 75;
constexpr std::uint16_t kProgramNotRunning = 76;
constexpr std::uint16_t kCannotEditProgram = 82;

// An optional ", number" after the arguments read so far.
bool optionalNumber(Args& a, double& v, bool& given) {
    given = false;
    if (!a.accept("COMMA")) return true;
    if (!a.number(v)) return false;
    given = true;
    return true;
}

// ---- the command-line interpreter ----
//
// line      := statement { ":" statement }
// statement := PRINT [item { ("," | ";") item } [";"]] | target "=" expr
// item      := "text" | expr
// target    := VR(expr) | TABLE(expr) | parameter
// expr      := term { ("+" | "-") term };  term := factor { ("*" | "/") factor }
// factor    := number | "(" expr ")" | "-" factor | VR(expr) | TABLE(expr) | parameter
// parameter := NAME [MODIFIER(expr)] | NAME(expr)   (NAME(i) means NAME AXIS(i))
// Names are the controller's system variables and modifiers, in any case. PRINT writes numbers
// with four decimals, "," puts a space between items, ";" nothing; the line ends with CR LF
// unless the statement ends with ";".
class Interpreter {
public:
    Interpreter(Controller& c, std::string_view line) : c_(c), s_(line) {}

    std::uint16_t run() {
        for (;;) {
            if (auto st = statement()) return st;
            skipBlanks();
            if (at(':')) {
                ++pos_;
                continue;
            }
            return atEnd() ? 0 : Status::ExtraCharsAtEoln;
        }
    }
    const std::string& output() const noexcept { return out_; }

private:
    struct Place {
        enum Kind { None, Vr, Table, System, Modified } kind = None;
        std::size_t index = 0;
        std::uint16_t code = 0, modifier = 0;
    };

    bool atEnd() {
        skipBlanks();
        return pos_ >= s_.size();
    }
    bool at(char ch) {
        skipBlanks();
        return pos_ < s_.size() && s_[pos_] == ch;
    }
    bool accept(char ch) {
        if (!at(ch)) return false;
        ++pos_;
        return true;
    }
    void skipBlanks() {
        while (pos_ < s_.size() && (s_[pos_] == ' ' || s_[pos_] == '\t')) ++pos_;
    }
    std::string word() {
        skipBlanks();
        const std::size_t start = pos_;
        while (pos_ < s_.size() && (std::isalnum(static_cast<unsigned char>(s_[pos_])) || s_[pos_] == '_')) ++pos_;
        return ProgramStore::upper(s_.substr(start, pos_ - start));
    }

    std::uint16_t statement() {
        const std::size_t start = pos_;
        const std::string w = word();
        if (w.empty()) return Status::CommandNotRecognised;
        if (w == "PRINT") return print();
        pos_ = start;
        Place p;
        if (auto st = place(p)) return st;
        if (!accept('=')) return Status::AssignmentExpected;
        double v;
        if (auto st = expr(v)) return st;
        return store(p, v);
    }

    std::uint16_t print() {
        bool newline = true;
        bool first = true;
        while (!atEnd() && !at(':')) {
            if (!first) {
                if (accept(',')) out_ += ' ';
                else if (!accept(';')) return Status::ExtraCharsAtEoln;
                if (atEnd() || at(':')) {
                    newline = false;
                    break;
                }
            }
            first = false;
            if (accept('"')) {
                const std::size_t end = s_.find('"', pos_);
                if (end == std::string_view::npos) return Status::QuotesExpected;
                out_.append(s_.substr(pos_, end - pos_));
                pos_ = end + 1;
                continue;
            }
            double v;
            if (auto st = expr(v)) return st;
            char text[64];
            std::snprintf(text, sizeof text, "%.4f", v);
            out_ += text;
        }
        if (newline) out_ += "\r\n";
        return 0;
    }

    std::uint16_t expr(double& v) {
        if (auto st = term(v)) return st;
        for (;;) {
            const bool plus = accept('+');
            if (!plus && !accept('-')) return 0;
            double r;
            if (auto st = term(r)) return st;
            v = plus ? v + r : v - r;
        }
    }
    std::uint16_t term(double& v) {
        if (auto st = factor(v)) return st;
        for (;;) {
            const bool times = accept('*');
            if (!times && !accept('/')) return 0;
            double r;
            if (auto st = factor(r)) return st;
            v = times ? v * r : v / r;
        }
    }
    std::uint16_t factor(double& v) {
        if (accept('(')) {
            if (auto st = expr(v)) return st;
            return accept(')') ? 0 : Status::CloseRoundBracketExpected;
        }
        if (accept('-')) {
            if (auto st = factor(v)) return st;
            v = -v;
            return 0;
        }
        skipBlanks();
        if (pos_ < s_.size() && (std::isdigit(static_cast<unsigned char>(s_[pos_])) || s_[pos_] == '.')) {
            const std::string rest(s_.substr(pos_));
            char* end = nullptr;
            v = std::strtod(rest.c_str(), &end);
            if (end == rest.c_str()) return Status::NumberExpected;
            pos_ += static_cast<std::size_t>(end - rest.c_str());
            return 0;
        }
        Place p;
        if (auto st = place(p)) return st;
        v = load(p);
        return 0;
    }

    std::uint16_t bracketedIndex(double& v) {
        if (!accept('(')) return Status::OpenBracketExpected;
        if (auto st = expr(v)) return st;
        return accept(')') ? 0 : Status::CloseRoundBracketExpected;
    }

    std::uint16_t place(Place& p) {
        const std::string w = word();
        if (w.empty()) return Status::OperandExpected;
        double i;
        if (w == "VR" || w == "TABLE") {
            if (auto st = bracketedIndex(i)) return st;
            const bool vr = w == "VR";
            auto& mem = vr ? c_.vr() : c_.tableMemory();
            if (!indexOf(i, mem.size(), p.index)) return vr ? Status::ParameterOutOfRange : Status::TableIndexRangeError;
            p.kind = vr ? Place::Vr : Place::Table;
            return 0;
        }
        const TokenEntry* var = c_.table().find(w, 'V');
        if (!var) return Status::VariableNotFound;
        p.code = var->code;
        p.kind = Place::System;
        const std::size_t save = pos_;
        const TokenEntry* mod = nullptr;
        if (at('(')) {
            mod = c_.table().find("AXIS", 'M');
        } else {
            const std::string m = word();
            mod = m.empty() ? nullptr : c_.table().find(m, 'M');
            if (!mod) pos_ = save;
        }
        if (!mod) return 0;
        if (auto st = bracketedIndex(i)) return st;
        if (!indexOf(i, 65536, p.index)) return Status::ParameterOutOfRange;
        p.kind = Place::Modified;
        p.modifier = mod->code;
        return 0;
    }

    double load(const Place& p) {
        switch (p.kind) {
        case Place::Vr: return c_.vr()[p.index];
        case Place::Table: return c_.tableMemory()[p.index];
        case Place::System: return c_.systemParameter(p.code);
        case Place::Modified: return c_.modifiedParameter(p.code, p.modifier, static_cast<std::uint32_t>(p.index));
        case Place::None: break;
        }
        return 0;
    }
    std::uint16_t store(const Place& p, double v) {
        switch (p.kind) {
        case Place::Vr: c_.vr()[p.index] = v; break;
        case Place::Table: c_.tableMemory()[p.index] = v; break;
        case Place::System:
            if (c_.systemReadOnly(p.code)) return Status::ValueIsReadOnly;
            c_.setSystemParameter(p.code, v);
            break;
        case Place::Modified:
            c_.setModifiedParameter(p.code, p.modifier, static_cast<std::uint32_t>(p.index), v);
            break;
        case Place::None: return Status::OperandExpected;
        }
        return 0;
    }

    Controller& c_;
    std::string_view s_;
    std::size_t pos_ = 0;
    std::string out_;
};

// EXECUTE "line"            -> runs the line; standard response (status of the line)
// EXECUTE "line" , 1 , 1    -> runs the line; what it printed, then the standard response
void onExecute(Exchange& x) {
    std::string_view line;
    if (!x.args.text(line)) return x.fail(Status::QuotesExpected);
    bool withResponse = false;
    if (x.args.accept("COMMA")) {
        double a, b;
        if (!x.args.number(a) || !x.args.accept("COMMA") || !x.args.number(b)) return x.fail(Status::OperandExpected);
        if (a != 1 || b != 1) return x.fail(Status::ParameterOutOfRange); // the only form asked for
        withResponse = true;
    }
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    Interpreter in(x.controller, line);
    const std::uint16_t st = in.run();
    if (withResponse) return x.answerText(in.output(), st);
    x.answer(0, st);
}

// CLEAR -> every VR back to 0.
void onClear(Exchange& x) {
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    std::fill(x.controller.vr().begin(), x.controller.vr().end(), 0.0);
    x.answer(0);
}

// EX ( option ) -> "OK" 0x1D, then the standard response (value 0). The option is required.
void onEx(Exchange& x) {
    if (auto st = x.args.bracketed(x.scratch)) return x.fail(st);
    if (x.scratch.size() != 1 || !x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    x.reply.insert(x.reply.end(), {'O', 'K', 0x1D});
    x.answer(0);
}

// "name" [, process], as RUN and STOP take them; false when the request has been refused.
bool nameAndProcess(Exchange& x, std::string_view& name, double& proc, bool& given) {
    std::uint16_t refused = 0;
    if (!x.args.text(name)) refused = Status::QuotesExpected;
    else if (!optionalNumber(x.args, proc, given)) refused = Status::OperandExpected;
    else if (!x.args.atEnd()) refused = Status::ExtraCharsAtEoln;
    if (refused == 0) return true;
    x.fail(refused);
    return false;
}

// RUN "name" [, process]: the program starts on the given process or on the lowest free one.
void onRun(Exchange& x) {
    ProgramStore& s = programStore(x.controller);
    std::string_view name;
    double proc = 0;
    bool given;
    if (!nameAndProcess(x, name, proc, given)) return;
    if (!s.find(name)) return x.fail(kProgramNotFound);
    auto busy = [&](std::uint32_t p) {
        return std::any_of(s.processes.begin(), s.processes.end(), [&](const ProcessEntry& e) { return e.process == p; });
    };
    std::size_t p = 0;
    if (given) {
        if (!indexOf(proc, ProgramStore::kProcesses, p)) return x.fail(Status::ParameterOutOfRange);
        if (busy(static_cast<std::uint32_t>(p))) return x.fail(kNoProcessAvailable);
    } else {
        while (p < ProgramStore::kProcesses && busy(static_cast<std::uint32_t>(p))) ++p;
        if (p == ProgramStore::kProcesses) return x.fail(kNoProcessAvailable);
    }
    ProcessEntry e;
    e.process = static_cast<std::uint32_t>(p);
    e.program = ProgramStore::upper(name);
    e.ticks = x.request.sequence;
    e.cycles = 100 + p;
    e.load = 0.5 + double(p);
    s.processes.push_back(std::move(e));
    x.answer(0);
}

// STOP "name" [, process]: stops the program (on that process only when given).
void onStop(Exchange& x) {
    ProgramStore& s = programStore(x.controller);
    std::string_view name;
    double proc = 0;
    bool given;
    if (!nameAndProcess(x, name, proc, given)) return;
    const std::string key = ProgramStore::upper(name);
    const auto removed = std::erase_if(s.processes, [&](const ProcessEntry& e) {
        return e.program == key && (!given || double(e.process) == proc);
    });
    if (removed == 0) return x.fail(given ? kProgramNotRunningOnProcess : kProgramNotRunning);
    x.answer(0);
}

// HALT: stops every program.
void onHalt(Exchange& x) {
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    programStore(x.controller).processes.clear();
    x.answer(0);
}

// PROCESS "X1": "process,name,state,priority,line,ticks,cycles,load[,*]" per process (the
// selected program's processes are marked), then 0x00 and the standard response.
void onProcess(Exchange& x) {
    const ProgramStore& s = programStore(x.controller);
    std::string_view what;
    if (!x.args.text(what)) return x.fail(Status::QuotesExpected);
    if (what != "X1") return x.fail(Status::ParameterOutOfRange);
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    std::string text;
    char tail[160];
    for (const auto& e : s.processes) {
        std::snprintf(tail, sizeof tail, ",%d,%d,%d,%llu,%llu,%.2f%s\r\n", e.state, e.priority, e.line,
                      static_cast<unsigned long long>(e.ticks), static_cast<unsigned long long>(e.cycles), e.load,
                      e.program == s.selected ? ",*" : "");
        text += std::to_string(e.process) + ',' + e.program + tail;
    }
    x.answerText(text);
}

// NEW "name" EOX: an empty program.
void onNew(Exchange& x) {
    ProgramStore& s = programStore(x.controller);
    std::string_view name;
    if (!x.args.text(name)) return x.fail(Status::QuotesExpected);
    if (!x.args.accept("EOX") || !x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    if (s.find(name)) return x.fail(kProgramAlreadyExists);
    s.put(name, {});
    x.answer(0);
}

// DEL "name" [0] EOX: removes the program; a running one only with the 0 given (its processes
// are stopped first). Any other number is refused.
void onDel(Exchange& x) {
    ProgramStore& s = programStore(x.controller);
    std::string_view name;
    double flag = 0;
    if (!x.args.text(name)) return x.fail(Status::QuotesExpected);
    const bool force = x.args.number(flag);
    if (force && flag != 0) return x.fail(Status::ParameterOutOfRange);
    if (!x.args.accept("EOX") || !x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    if (!s.find(name)) return x.fail(kProgramNotFound);
    if (s.running(name) && !force) return x.fail(kProgramsRunning);
    s.remove(name);
    x.answer(0);
}

// SELECT "name" [, type]: "<NAME> selected" CR LF, then the standard response. A missing
// program is created when a type is given; otherwise the controller refuses (standard
// response alone).
void onSelect(Exchange& x) {
    ProgramStore& s = programStore(x.controller);
    std::string_view name;
    double type = 0;
    bool given;
    if (!x.args.text(name)) return x.fail(Status::QuotesExpected);
    if (!optionalNumber(x.args, type, given)) return x.fail(Status::OperandExpected);
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    StoredProgram* p = s.find(name);
    if (!p && !given) return x.fail(kProgramNotFound);
    if (!p) p = &s.put(name, {}, static_cast<int>(type));
    s.selected = p->name;
    x.reply.insert(x.reply.end(), p->name.begin(), p->name.end());
    const std::string_view tail = " selected\r\n";
    x.reply.insert(x.reply.end(), tail.begin(), tail.end());
    x.answer(0);
}

// IS_PROG "name" -> value 1 when the program exists, else 0.
void onIsProg(Exchange& x) {
    std::string_view name;
    if (!x.args.text(name)) return x.fail(Status::QuotesExpected);
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    x.answer(programStore(x.controller).find(name) ? 1.0 : 0.0);
}

// DIR "B": a header line, "name,size,crc,lines,type,0,0" per program, then "OK" (nothing
// after it).
void onDir(Exchange& x) {
    const ProgramStore& s = programStore(x.controller);
    std::string_view what;
    if (!x.args.text(what)) return x.fail(Status::QuotesExpected);
    if (what != "B") return x.fail(Status::ParameterOutOfRange);
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    std::string text = "Name,Size,Crc,Lines,Type,Source,Storage\r\n";
    for (const auto& p : s.programs()) {
        // Whole lines whatever the name's length: the listing's reader decides what it takes.
        text += p.name + ',' + std::to_string(p.text.size()) + ',' + std::to_string(ProgramStore::crc16(p.text)) +
                ',' + std::to_string(ProgramStore::lines(p.text).size()) + ',' + std::to_string(p.type) + ",0,0\r\n";
    }
    text += "OK\r\n";
    x.reply.insert(x.reply.end(), text.begin(), text.end());
    x.status = 0;
}

// EDPROG1 "name" , "text" , mode , first , second (EDPROG the same). Lines count from 1.
//  mode 0: the text of line `first` comes back;   mode 1: line `first` becomes the text;
//  mode 2: the text is inserted before line `first` (-1 or past the end: appended);
//  mode 3: line `first` is removed;               mode 10: nothing changes.
// Every mode answers the text (if any), then the standard response whose value is the
// program's line count afterwards.
void onEdProg(Exchange& x) {
    ProgramStore& s = programStore(x.controller);
    std::string_view name, text;
    double mode, first, second;
    if (!x.args.text(name) || !x.args.accept("COMMA") || !x.args.text(text)) return x.fail(Status::QuotesExpected);
    if (!x.args.accept("COMMA") || !x.args.number(mode) || !x.args.accept("COMMA") || !x.args.number(first) ||
        !x.args.accept("COMMA") || !x.args.number(second))
        return x.fail(Status::OperandExpected);
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    StoredProgram* p = s.find(name);
    if (!p) return x.fail(kProgramNotFound);
    auto lines = ProgramStore::lines(p->text);
    const bool inRange = first >= 1 && first <= double(lines.size()) && first == std::floor(first);
    const std::size_t i = inRange ? static_cast<std::size_t>(first) - 1 : 0;
    std::string answerText;
    switch (static_cast<int>(mode)) {
    case 0:
        if (!inRange) return x.fail(Status::ParameterOutOfRange);
        answerText = lines[i];
        break;
    case 1:
        if (!inRange) return x.fail(Status::ParameterOutOfRange);
        lines[i] = std::string(text);
        break;
    case 2:
        lines.insert(inRange ? lines.begin() + static_cast<std::ptrdiff_t>(i) : lines.end(), std::string(text));
        break;
    case 3:
        if (!inRange) return x.fail(Status::ParameterOutOfRange);
        lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(i));
        break;
    case 10: break;
    default: return x.fail(kCannotEditProgram);
    }
    if (mode != 0 && mode != 10) p->text = ProgramStore::join(lines);
    x.reply.insert(x.reply.end(), answerText.begin(), answerText.end());
    x.answer(double(lines.size()));
}

// FILE "CRC" SPACE "name" SPACE "" -> value: the CRC-16 of the stored program text.
void onFile(Exchange& x) {
    std::string_view what, name, third;
    if (!x.args.text(what) || !x.args.accept("SPACE") || !x.args.text(name) || !x.args.accept("SPACE") ||
        !x.args.text(third))
        return x.fail(Status::QuotesExpected);
    if (!x.args.atEnd()) return x.fail(Status::ExtraCharsAtEoln);
    if (ProgramStore::upper(what) != "CRC") return x.fail(Status::CommandNotRecognised);
    const StoredProgram* p = programStore(x.controller).find(name);
    if (!p) return x.fail(kProgramNotFound);
    x.answer(double(ProgramStore::crc16(p->text)));
}

} // namespace

void registerProgramsHandlers(Dispatch& d) {
    d.add("EXECUTE", &onExecute);
    d.add("CLEAR", &onClear);
    d.add("EX", &onEx);
    d.add("RUN", &onRun);
    d.add("STOP", &onStop);
    d.add("HALT", &onHalt);
    d.add("PROCESS", &onProcess);
    d.add("NEW", &onNew);
    d.add("DEL", &onDel);
    d.add("SELECT", &onSelect);
    d.add("IS_PROG", &onIsProg);
    d.add("DIR", &onDir);
    d.add("EDPROG", &onEdProg);
    d.add("EDPROG1", &onEdProg);
    d.add("FILE", &onFile);
}

} // namespace Vaxo::Sim
