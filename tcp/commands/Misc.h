// Scope, trigger, position-switch, registration, frame-group and project-key commands.
//
// They follow the motion commands' layout: the command token, its arguments in brackets in the
// order of the operation's parameters (trailing optional ones dropped), then, when the
// operation names an axis (axis >= 0), MODIFIER AXIS ( axis ), then ZERO. Texts go as
// QUOTES, the text's bytes, QUOTES. Numbers are written with appendValue. Unless noted, the
// controller answers with the standard response alone.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "shared/parsers/FrameGroupReplyParser.h"
#include "shared/protocol/TokenBuffer.h"
#include "tcp/commands/Variables.h"

namespace Vaxo::Ubrix::TCP {

// Builds one request element by element and keeps the first error; later calls do nothing
// after an error. number/text/indices/parameter open the bracket list with their first item
// and separate the rest with COMMA; axis and finish close it.
class MiscRequest {
public:
    MiscRequest(Shared::Token& token, KnownTokens command);

    MiscRequest& number(double v);
    MiscRequest& numbers(const double* values, unsigned count);
    // QUOTES text QUOTES; a text holding the QUOTES code itself is BadArgument.
    MiscRequest& text(std::string_view s);
    // appendIndices: runs of three or more as first RANGE last; none is BadArgument.
    MiscRequest& indices(const unsigned int* values, unsigned count);
    // A parameter by its KnownTokens value, as its system-variable token; a value that is not a
    // system variable of the known list is BadArgument.
    MiscRequest& parameter(unsigned int knownToken);
    // Closes the list; MODIFIER AXIS ( axis ) when axis >= 0.
    MiscRequest& axis(int axis);
    // Closes the list and ends the request with ZERO.
    ErrorCode finish();

    const Shared::TokenBuffer160& buffer() const { return m_buffer; }
    ErrorCode error() const { return m_error; }

private:
    bool separator();
    void close();

    Shared::Token& m_token;
    Shared::TokenBuffer160 m_buffer;
    ErrorCode m_error = ErrorCode::Success;
    bool m_open = false;
    bool m_closed = false;
};

// The base of the commands answered by the standard response: sends a finished request.
class CmdMiscAck : public CmdWriteAck {
public:
    using CmdWriteAck::CmdWriteAck;

protected:
    ErrorCode sendRequest(MiscRequest& request);
};

// SCOPE ( 1 ) ZERO                                        start with the current settings
// SCOPE ( 1 , period ) ZERO                               start with a new sample period
// SCOPE ( 1 , period , start , end , vr list ) ZERO      capture VRs into TABLE(start..end)
// SCOPE ( 1 , period , start , end , PARAM , axis list ) capture an axis parameter of each axis
// SCOPE ( 0 ) ZERO                                        stop
// Lists go through appendIndices. The period is the number of servo cycles between samples.
class CmdScope : public CmdMiscAck {
public:
    using CmdMiscAck::CmdMiscAck;
    ErrorCode sendOn(int period);
    ErrorCode sendOnVr(int period, unsigned tableStart, unsigned tableEnd, const unsigned* vrs, unsigned count);
    ErrorCode sendOnAxisParameter(int period, unsigned tableStart, unsigned tableEnd, unsigned parameter,
                                  const unsigned* axes, unsigned count);
    ErrorCode sendOff();
};

// TRIGGER ZERO: starts the capture SCOPE has armed.
class CmdTrigger : public CmdMiscAck {
public:
    using CmdMiscAck::CmdMiscAck;
    ErrorCode send();
};

// PSWITCH ( switch , 1 , output , state , set , reset ) [ AXIS part ] ZERO
// PSWITCH ( switch , 1 , output , state , set0 , reset0 , set1 , reset1 ... ) [ AXIS part ] ZERO
// PSWITCH ( switch , 0 ) ZERO                              switch off
class CmdPSwitch : public CmdMiscAck {
public:
    using CmdMiscAck::CmdMiscAck;
    ErrorCode send(int sw, int output, int state, double setPosition, double resetPosition, int axis);
    // positions are set/reset pairs: count even and > 0.
    ErrorCode sendMulti(int sw, int output, int state, const double* positions, unsigned count, int axis);
    ErrorCode sendOff(int sw);
};

// REGIST ( mode ) [ AXIS part ] ZERO
// REGIST ( mode , channel , source , edge [ , window [ , open , close ] ] ) [ AXIS part ] ZERO
// Trimming: with window 0 (no window) the two window positions are dropped; with window below
// 0 the window flag is dropped too.
class CmdRegist : public CmdMiscAck {
public:
    using CmdMiscAck::CmdMiscAck;
    ErrorCode send(int mode, int axis);
    ErrorCode send(int mode, int channel, int source, int edge, int window, double openPosition,
                   double closePosition, int axis);
};

// FRAME_GROUP ( group ) ZERO                        read: answered "group [table]: a,b,c" CR LF,
//                                                   no standard response; a group that is not
//                                                   defined lists no axes
// FRAME_GROUP ( group , table , axis list ) ZERO    define (standard response)
// FRAME_GROUP ( group , -1 ) ZERO                   delete (standard response)
// A read whose reply does not start with a digit is the controller refusing it with a standard
// response: that response is read and its error returned.
class CmdFrameGroup : public Command {
public:
    // data null: a define or delete, read as the standard response.
    CmdFrameGroup(Connection_TCP& c, Shared::FrameGroupReplyParser::ReadGroupData* data = nullptr)
        : Command(c), m_data(data) {}
    ErrorCode sendRead(unsigned group);
    ErrorCode sendSet(unsigned group, unsigned tableIndex, const int* axes, unsigned count);
    ErrorCode sendDelete(unsigned group);
    ErrorCode readReply() override;

private:
    ErrorCode send(MiscRequest& request);
    ErrorCode readGroup();
    ErrorCode ignoreLine();

    Shared::FrameGroupReplyParser::ReadGroupData* m_data;
    Shared::FrameGroupReplyParser m_parser;
};

// PROJECT_KEY ( "key" ) ZERO
class CmdProjectKey : public CmdMiscAck {
public:
    using CmdMiscAck::CmdMiscAck;
    ErrorCode send(std::string_view key);
};

// PROJECT_KEY_REGISTRY ( 0 ) ZERO                   clear
// PROJECT_KEY_REGISTRY ( 1 ) ZERO                   list: the names, one a line, as text, then
//                                                   the standard response
// PROJECT_KEY_REGISTRY ( 2 , "name" , "key" ) ZERO  store
// PROJECT_KEY_REGISTRY ( 3 , "name" ) ZERO          use
class CmdProjectKeyRegistry : public Command {
public:
    enum Function { Clear = 0, List = 1, Store = 2, Use = 3 };
    // text null: no text reply is expected.
    CmdProjectKeyRegistry(Connection_TCP& c, std::string* text = nullptr) : Command(c), m_text(text) {}
    ErrorCode send(Function function, std::string_view name = {}, std::string_view key = {});
    ErrorCode readReply() override;

private:
    std::string* m_text;
};

} // namespace Vaxo::Ubrix::TCP
