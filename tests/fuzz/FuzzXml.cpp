// The XML reader on arbitrary files.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <unistd.h>

#include "xml/XmlDocument.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = "/tmp/vaxo-fuzz-xml-" + std::to_string(getpid()) + ".xml";
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f)
        return 0;
    std::fwrite(data, 1, size, f);
    std::fclose(f);
    Vaxo::Ubrix::Xml::XmlDocument doc;
    doc.read(path);
    return 0;
}
