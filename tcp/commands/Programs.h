// Program, process, command-line and directory commands.
//
// Every request is one 160-byte token buffer ended by ZERO and written with size check and
// escaping. A quoted text is QUOTES, the text's bytes as they stand, QUOTES.
//
//   CmdExecute               EXECUTE "text"                                  standard response
//   CmdExecuteWithResponse*  EXECUTE "text" , 1 , 1                          text, standard response
//   CmdEx                    EX ( option )                                   "OK" 0x1D, standard response
//   CmdRunProgram            RUN "name" [, process]                          standard response
//   CmdStopProgram           STOP "name" [, process]                         standard response
//   CmdHalt                  HALT                                            standard response
//   CmdClear                 CLEAR                                           standard response
//   CmdNew                   NEW "name" EOX                                  standard response
//   CmdDelete                DEL "name" [0] EOX                              standard response
//   CmdSelect                SELECT "name" [, type]                          "... selected\r\n", standard response
//   CmdIsFile                IS_PROG "name"                                  standard response (value != 0: exists)
//   CmdDir                   DIR "B"                                         header, one line per file, "OK"
//   CmdProcess               PROCESS "X1"                                    one line per process, 0x00, standard response
//   CmdEdProg*               EDPROG1 "name" , "line" , mode , first , second text, standard response
//   CmdFile*                 FILE "a" SPACE "b" SPACE "c"                    text, standard response
//
// The numbered forms of the text-answering commands differ only in where the text goes:
// 1 a caller's buffer with an in/out size, 2 a streaming callable, 3 a caller's string, and 4
// (EDPROG1 and FILE) no text at all but the 16-bit value of the standard response.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tcp/commands/Variables.h"

namespace Vaxo::Ubrix::TCP {

// QUOTES, the text, QUOTES.
template <class Buffer>
ErrorCode appendQuoted(Shared::Token& t, std::string_view text, Buffer& buffer) {
    if (ErrorCode e = t.appendToken(KnownTokens::QUOTES, buffer); failed(e))
        return e;
    if (ErrorCode e = t.appendString(text, buffer); failed(e))
        return e;
    return t.appendToken(KnownTokens::QUOTES, buffer);
}

// ---- reply shapes shared by the text-answering commands ----

// The text into the caller's buffer; BufferTooSmall with the size needed when it does not fit.
template <class Request>
class WithBufferReply : public Request {
public:
    WithBufferReply(Connection_TCP& c, char* buffer, unsigned int& size) : Request(c), m_buffer(buffer), m_size(size) {}
    ErrorCode readReply() override { return this->readReplyToBuff(m_buffer, m_size, true); }

private:
    char* m_buffer;
    unsigned int& m_size;
};

// The text streamed to a callable: one call per received byte, then one with a count of 0.
// An exception from the callable stops further calls; the reply is still read to its end.
template <class Request>
class WithStreamReply : public Request {
public:
    WithStreamReply(Connection_TCP& c, const Shared::DataStreamFn& sink) : Request(c), m_sink(sink) {}
    ErrorCode readReply() override {
        HostCalls calls;
        const ErrorCode e = this->readReplyWithCallback(
            [&](const Shared::DataStreamPacket& p, const char* data) { calls(m_sink, p, data); });
        return this->setError(calls.result(e));
    }

private:
    const Shared::DataStreamFn& m_sink;
};

// The text appended to the caller's string.
template <class Request>
class WithStringReply : public Request {
public:
    WithStringReply(Connection_TCP& c, std::string& out) : Request(c), m_out(out) {}
    ErrorCode readReply() override { return this->readReplyToString(m_out); }

private:
    std::string& m_out;
};

// Any text is read and dropped; the standard response's value is the 16-bit result.
// A value that is not a whole number in 0..65535 gives OutOfRange.
template <class Request>
class WithValueReply : public Request {
public:
    WithValueReply(Connection_TCP& c, std::uint16_t& result) : Request(c), m_result(result) {}
    ErrorCode readReply() override;

private:
    std::uint16_t& m_result;
};

ErrorCode readValueReply(Command& command, std::uint16_t& result);

template <class Request>
ErrorCode WithValueReply<Request>::readReply() {
    return readValueReply(*this, m_result);
}

// ---- command line ----

// EXECUTE "text" ZERO: the controller runs one command line; only the status comes back.
class CmdExecute : public CmdWriteAck {
public:
    using CmdWriteAck::CmdWriteAck;
    ErrorCode send(std::string_view text);
};

// EXECUTE "text" , 1 , 1 ZERO: the same, with the command line's output sent back as text.
class CmdExecuteWithResponse : public Command {
public:
    using Command::Command;
    ErrorCode send(std::string_view text);
};
class CmdExecuteWithResponse1 : public WithBufferReply<CmdExecuteWithResponse> {
    using WithBufferReply::WithBufferReply;
};
class CmdExecuteWithResponse2 : public WithStreamReply<CmdExecuteWithResponse> {
    using WithStreamReply::WithStreamReply;
};
class CmdExecuteWithResponse3 : public WithStringReply<CmdExecuteWithResponse> {
    using WithStringReply::WithStringReply;
};

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

// ---- programs and processes ----

// token "name" [, process] ZERO; no process is sent when it is kNoProcess.
class CmdProcessBase : public CmdWriteAck {
public:
    static constexpr unsigned kNoProcess = 0xFFFFFFFFu;
    using CmdWriteAck::CmdWriteAck;

protected:
    ErrorCode sendFor(KnownTokens token, std::string_view program, unsigned process);
};

class CmdRunProgram : public CmdProcessBase {
public:
    using CmdProcessBase::CmdProcessBase;
    ErrorCode send(std::string_view program, unsigned process = kNoProcess) {
        return sendFor(KnownTokens::RUN, program, process);
    }
};

class CmdStopProgram : public CmdProcessBase {
public:
    using CmdProcessBase::CmdProcessBase;
    ErrorCode send(std::string_view program, unsigned process = kNoProcess) {
        return sendFor(KnownTokens::STOP, program, process);
    }
};

// HALT ZERO, through the array sender with no indices: stops every program.
class CmdHalt : public CmdArray {
public:
    using CmdArray::CmdArray;
    ErrorCode send() { return CmdArray::send<unsigned>(KnownTokens::HALT, 0, nullptr); }
};

// CLEAR ZERO: resets the controller's global variables.
class CmdClear : public CmdWriteAck {
public:
    using CmdWriteAck::CmdWriteAck;
    ErrorCode send();
};

// NEW "name" EOX ZERO: creates an empty program.
class CmdNew : public CmdArray {
public:
    using CmdArray::CmdArray;
    ErrorCode send(std::string_view file);
};

// DEL "name" [NUMBER 0 EOX] EOX ZERO: the number only when the flag is set.
class CmdDelete : public CmdArray {
public:
    using CmdArray::CmdArray;
    ErrorCode send(std::string_view file, bool flag);
};

// SELECT "name" [, type] ZERO, answered by "<name> selected\r\n" and the standard response.
// A controller that refuses answers the standard response alone; its first byte (0x00, the
// low byte of a value 0) ends the reply text at once.
class CmdSelect : public Command {
public:
    static constexpr unsigned kReplySize = 256;
    using Command::Command;
    ErrorCode send(std::string_view file, unsigned fileType);
    ErrorCode readReply() override;

private:
    char m_reply[kReplySize] = {};
};

// IS_PROG "name" ZERO; the standard response's value is non-zero when the program exists.
class CmdIsFile : public Command {
public:
    CmdIsFile(Connection_TCP& c, bool* exists = nullptr) : Command(c), m_exists(exists) {}
    ErrorCode send(std::string_view file);
    ErrorCode readReply() override;
    bool getResult() const { return m_value != 0; }

private:
    bool* m_exists;
    double m_value = 0;
};

// DIR "B" ZERO: a header line, one line per file, then a line "OK" (or 0x00 and the standard
// response). Each file goes to the callable with its name.
class CmdDir : public Command {
public:
    CmdDir(Connection_TCP& c, const Shared::FileInfoFn& onFile) : Command(c), m_onFile(onFile) {}
    ErrorCode send();
    ErrorCode readReply() override;

private:
    const Shared::FileInfoFn& m_onFile;
};

// PROCESS "X1" ZERO: one line per process, ended by 0x00 and the standard response (or by a
// line "OK"). Each process goes to the callable with its program name.
class CmdProcess : public Command {
public:
    CmdProcess(Connection_TCP& c, const Shared::ProcessInfoFn& onProcess) : Command(c), m_onProcess(onProcess) {}
    ErrorCode send();
    ErrorCode readReply() override;

private:
    const Shared::ProcessInfoFn& m_onProcess;
};

// ---- program edits and file queries ----

// EDPROG1 "program" , "line" , mode , first , second ZERO. An integer that is not given is sent
// as -1.
class CmdEdProg : public Command {
public:
    static constexpr int kNotGiven = -1;
    static constexpr int kModeZ = 10;
    using Command::Command;
    ErrorCode send(std::string_view program, std::string_view line, int mode, std::optional<int> first = {},
                   std::optional<int> second = {});
    // Empty line text, mode 10, no integers.
    ErrorCode sendZ(std::string_view program) { return send(program, {}, kModeZ); }
};
class CmdEdProg1 : public WithBufferReply<CmdEdProg> {
    using WithBufferReply::WithBufferReply;
};
class CmdEdProg2 : public WithStreamReply<CmdEdProg> {
    using WithStreamReply::WithStreamReply;
};
class CmdEdProg3 : public WithStringReply<CmdEdProg> {
    using WithStringReply::WithStringReply;
};
class CmdEdProg4 : public WithValueReply<CmdEdProg> {
    using WithValueReply::WithValueReply;
};

// FILE "first" SPACE "second" SPACE "third" ZERO.
class CmdFile : public Command {
public:
    using Command::Command;
    ErrorCode send(std::string_view first, std::string_view second, std::string_view third);
    // FILE "CRC" SPACE "name" SPACE "": the CRC of a program as the controller stores it.
    ErrorCode sendCRC(std::string_view name) { return send("CRC", name, {}); }
};
class CmdFile1 : public WithBufferReply<CmdFile> {
    using WithBufferReply::WithBufferReply;
};
class CmdFile2 : public WithStreamReply<CmdFile> {
    using WithStreamReply::WithStreamReply;
};
class CmdFile3 : public WithStringReply<CmdFile> {
    using WithStringReply::WithStringReply;
};
// With sendCRC: the program's CRC-16 as the result.
class CmdFile4 : public WithValueReply<CmdFile> {
    using WithValueReply::WithValueReply;
};

} // namespace Vaxo::Ubrix::TCP
