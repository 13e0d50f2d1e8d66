// Observer of raw link traffic. A host implements sniff() and hands the object to
// IConnection::setWriteSniffer or setReadSniffer (nullptr removes it); from then on it sees every
// byte the connection writes to or reads from the controller, on the thread that moved them
// (a host thread for writes, the reader thread for reads). The object must outlive its use:
// remove it, or destroy the connection, before deleting it. sniff() must not call back into the
// connection it observes.
#pragma once

namespace Vaxo::Ubrix::Shared {

class ISniffer {
public:
    /// @param data   the bytes moved, valid only during the call
    /// @param length how many
    virtual void sniff(const char* data, unsigned int length) = 0;

protected:
    ~ISniffer() = default;
};

} // namespace Vaxo::Ubrix::Shared
