// Every flat function of file transfer and project loading refuses a null handle, and a null
// name, path or result pointer, before anything reaches the connection.
#include "NullCases.h"

namespace {

using namespace vaxotest;

TEST(FilesNull, HandleAndPointers) {
    static uint64_t crc;
    const std::vector<NullCase> cases = {
        {"UploadFile",
         [](VaxoHandle h) { return vaxo_UploadFile(h, "r", "l", 0, 1, 0, 0, 0, 0, 0, 0, nullptr, nullptr); },
         {[](VaxoHandle h) { return vaxo_UploadFile(h, nullptr, "l", 0, 1, 0, 0, 0, 0, 0, 0, nullptr, nullptr); },
          [](VaxoHandle h) { return vaxo_UploadFile(h, "r", nullptr, 0, 1, 0, 0, 0, 0, 0, 0, nullptr, nullptr); }}},
        {"DownloadFile", [](VaxoHandle h) { return vaxo_DownloadFile(h, "r", "l", 0, 1, 0, 0, nullptr, nullptr); },
         {[](VaxoHandle h) { return vaxo_DownloadFile(h, nullptr, "l", 0, 1, 0, 0, nullptr, nullptr); },
          [](VaxoHandle h) { return vaxo_DownloadFile(h, "r", nullptr, 0, 1, 0, 0, nullptr, nullptr); }}},
        {"GetLocalFileCRC", [](VaxoHandle h) { return vaxo_GetLocalFileCRC(h, "p", false, &crc); },
         {[](VaxoHandle h) { return vaxo_GetLocalFileCRC(h, nullptr, false, &crc); },
          [](VaxoHandle h) { return vaxo_GetLocalFileCRC(h, "p", false, nullptr); }}},
        {"GetRemoteFileCRC", [](VaxoHandle h) { return vaxo_GetRemoteFileCRC(h, "r", &crc); },
         {[](VaxoHandle h) { return vaxo_GetRemoteFileCRC(h, nullptr, &crc); },
          [](VaxoHandle h) { return vaxo_GetRemoteFileCRC(h, "r", nullptr); }}},
        {"LoadProject", [](VaxoHandle h) { return vaxo_LoadProject(h, "p.xml"); },
         {[](VaxoHandle h) { return vaxo_LoadProject(h, nullptr); }}},
    };
    expectNullRefusals(cases, 5u);
}

} // namespace
