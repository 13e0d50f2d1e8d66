// Observer of raw link traffic: sees every byte the port writes or reads, on the thread that
// moved it.
#pragma once

namespace Vaxo::Ubrix::Shared {

class ISniffer {
public:
    virtual void sniff(const char* data, unsigned int length) = 0;

protected:
    ~ISniffer() = default;
};

} // namespace Vaxo::Ubrix::Shared
