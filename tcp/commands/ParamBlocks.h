// Parameter-block commands, all on the controller token PRMBLK:
//   PRMBLK ( 5 )                                         maximum number of blocks
//   PRMBLK ( 6 )                                         maximum entries per block
//   PRMBLK ( m , block , code , list )                   define (m = 0) or append (m = 1)
//   PRMBLK ( 3 | 4 , block [ , axis ... ] [ , first [ RANGE last ] ... ] )
//                                                        fetch all (3) or changed (4) values
//   PRMBLK ( 8 , block )  /  PRMBLK ( 9 )                delete one / all blocks
// Each ends with ZERO and is answered by the standard response; fetches first send their
// values as a text ("v0,v1,..." for all values, "index:value,..." for changed ones).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "shared/prmblk/ParamBlocks.h"
#include "shared/prmblk/PrmBlkReply.h"
#include "shared/protocol/TokenBuffer.h"
#include "shared/protocol/TokenLists.h"
#include "tcp/commands/Command.h"
#include "tcp/connection/Connection_TCP.h"

namespace Vaxo::Ubrix::TCP {

using Shared::ParamBlockType;

using Shared::PrmBlkOutput;

// Index lists as the parameter-block commands send them: runs of ascending neighbours (each
// one more than the one before) of two or more become first RANGE last, single ones go as a
// value; items are separated by COMMA. The list is not sorted first.
template <class Buffer>
ErrorCode appendIndexRuns(Shared::Token& t, Buffer& b, const unsigned* indices, unsigned count) {
    if (!indices || count == 0)
        return ErrorCode::BadArgument;
    unsigned i = 0;
    while (i < count) {
        unsigned end = i + 1;
        while (end < count && indices[end - 1] != UINT32_MAX && indices[end] == indices[end - 1] + 1)
            ++end;
        if (i > 0)
            if (ErrorCode e = t.appendToken(KnownTokens::COMMA, b); failed(e))
                return e;
        if (ErrorCode e = t.appendValue(double(indices[i]), b); failed(e))
            return e;
        if (end - i >= 2) {
            if (ErrorCode e = t.appendToken(KnownTokens::RANGE, b); failed(e))
                return e;
            if (ErrorCode e = t.appendValue(double(indices[end - 1]), b); failed(e))
                return e;
        }
        i = end;
    }
    return ErrorCode::Success;
}

// Delete and the plain fetch, and the request frame the other PRMBLK commands share.
class CmdPrmBlk : public Command {
public:
    explicit CmdPrmBlk(Connection_TCP& c) : Command(c) {}

    // PRMBLK ( 8 , block ), or PRMBLK ( 9 ) for a negative block. Not range-checked.
    ErrorCode sendDeleteBlock(int block);
    // PRMBLK ( 3 | 4 , block ): the reply text is kept (text()).
    ErrorCode sendFetchValues(int block, bool changed);
    // 0 <= block < the controller's maximum number of blocks.
    bool checkBlockOk(int block);

    ErrorCode readReply() override;
    double value() const { return m_value; }
    const std::string& text() const { return m_reply.text(); }

protected:
    using Buffer = Shared::TokenBuffer1024;
    // The reply text up to its 0x00 into text(), then the standard response.
    ErrorCode readReplyText();
    // PRMBLK ( first
    ErrorCode begin(Buffer& b, double first);
    // COMMA value
    ErrorCode item(Buffer& b, double v);
    // ) ZERO, then the request goes out.
    ErrorCode finish(Buffer& b);

    bool m_expectText = false;
    double m_value = 0;
    Shared::PrmBlkReplyText m_reply;
};

// The two capability queries, PRMBLK ( 5 ) and PRMBLK ( 6 ).
class CmdPrmBlk_ReadSupport : public CmdPrmBlk {
public:
    explicit CmdPrmBlk_ReadSupport(Connection_TCP& c, unsigned* result = nullptr) : CmdPrmBlk(c), m_result(result) {}
    ErrorCode send(unsigned query);
    ErrorCode readReply() override;
    // The number read; 0 for anything that is not a whole number from 0 to 2^32 - 1.
    unsigned result() const;

private:
    unsigned* m_result;
};

// Define (m = 0) and append (m = 1). The list is checked before anything is sent.
class CmdPrmBlk_Define : public CmdPrmBlk {
public:
    explicit CmdPrmBlk_Define(Connection_TCP& c) : CmdPrmBlk(c) {}

    ErrorCode sendDefineNumeric(int m, int block, int code, const unsigned* indices, unsigned count);
    ErrorCode sendDefineVr(int m, int block, const unsigned* indices, unsigned count);
    ErrorCode sendDefineTable(int m, int block, const unsigned* indices, unsigned count);
    // Names are system variables; "NAME(n)" adds ( n ) behind the variable.
    template <class Name>
    ErrorCode sendDefineNamed(int m, int block, int code, const Name* names, unsigned count);
    template <class Name>
    ErrorCode sendDefineAxis(int m, int block, const Name* names, unsigned count) {
        return sendDefineNamed(m, block, Shared::paramBlockWireCode(ParamBlockType::PrmBlkAxis), names, count);
    }
    template <class Name>
    ErrorCode sendDefineSystem(int m, int block, const Name* names, unsigned count) {
        return sendDefineNamed(m, block, Shared::paramBlockWireCode(ParamBlockType::PrmBlkSystem), names, count);
    }
    ErrorCode sendDefineProgVar(int m, int block, std::string_view program, int qualifier,
                                const std::string_view* names, unsigned count);
    ErrorCode sendDefineProgVar(int m, int block, std::string_view program, int qualifier, const char* const* names,
                                unsigned count);
    // Each run as first , first + count; a run of more than 64 channels is OutOfRange.
    ErrorCode sendDefineIO(int m, int block, const Shared::Range* ranges, unsigned count);

private:
    ErrorCode appendName(Buffer& b, std::string_view name);
    template <class Name>
    ErrorCode sendProgVar(int m, int block, std::string_view program, int qualifier, const Name* names,
                          unsigned count);
};

// Fetch of doubles (VR, TABLE, system and axis parameters) or of 64-bit I/O words.
class CmdPrmBlk_FetchNumeric : public CmdPrmBlk {
public:
    CmdPrmBlk_FetchNumeric(Connection_TCP& c, const PrmBlkOutput<double>& out) : CmdPrmBlk(c), m_doubles(out) {}
    CmdPrmBlk_FetchNumeric(Connection_TCP& c, const PrmBlkOutput<std::uint64_t>& out)
        : CmdPrmBlk(c), m_words(out), m_isWords(true) {}

    // PRMBLK ( 3 | 4 , block , axis ... , first [ RANGE last ] ... ); ranges of count 0 are
    // skipped, a count of 1 sends the first axis alone.
    ErrorCode sendFetchValues(int block, bool changed, const int* axes, unsigned axisCount,
                              const Shared::Range* ranges, unsigned rangeCount);
    // PRMBLK ( 3 | 4 , block , flag ): the flag as 1 or 0 in the place of one axis.
    ErrorCode sendFetchValues(int block, bool changed, bool flag);

    ErrorCode readReply() override;

private:
    PrmBlkOutput<double> m_doubles;
    PrmBlkOutput<std::uint64_t> m_words;
    bool m_isWords = false;
};

// Fetch of program-variable texts into the block's string values.
class CmdPrmBlk_FetchVariant : public CmdPrmBlk {
public:
    CmdPrmBlk_FetchVariant(Connection_TCP& c, Shared::PrmBlkValueArrayT<Shared::PrmBlkString>& values,
                           unsigned blockSize, std::uint64_t* mask)
        : CmdPrmBlk(c), m_values(values), m_blockSize(blockSize), m_mask(mask) {}

    using CmdPrmBlk::sendFetchValues;
    ErrorCode readReply() override { return setError(readReplyVariantValues()); }
    // The texts of the reply into the block's string values.
    ErrorCode readReplyVariantValues();

private:
    Shared::PrmBlkValueArrayT<Shared::PrmBlkString>& m_values;
    unsigned m_blockSize;
    std::uint64_t* m_mask;
};

// ---- templates ----

template <class Name>
ErrorCode CmdPrmBlk_Define::sendDefineNamed(int m, int block, int code, const Name* names, unsigned count) {
    if (!names || count == 0 || !checkBlockOk(block))
        return ErrorCode::BadArgument;
    for (unsigned i = 0; i < count; ++i)
        if (Shared::isEmpty(names[i]))
            return ErrorCode::BadArgument;
    Buffer b;
    if (ErrorCode e = begin(b, m); failed(e)) return e;
    if (ErrorCode e = item(b, block); failed(e)) return e;
    if (ErrorCode e = item(b, code); failed(e)) return e;
    for (unsigned i = 0; i < count; ++i) {
        if (ErrorCode e = m_connection.token().appendToken(KnownTokens::COMMA, b); failed(e))
            return e;
        if (ErrorCode e = appendName(b, std::string_view(names[i])); failed(e))
            return e;
    }
    return finish(b);
}

} // namespace Vaxo::Ubrix::TCP
