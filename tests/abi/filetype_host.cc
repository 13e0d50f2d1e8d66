// A C++ host that uses the library's file-type table through the shared library's exports
// alone, checking the table's values and the lookups' edge cases.
#include <cstdio>
#include <cstring>
#include <string_view>

#include <vaxo/FileType.hpp>

using namespace Vaxo::Ubrix::Shared;

namespace {

int failures = 0;

void check(bool ok, const char* what) {
    if (!ok) {
        std::fprintf(stderr, "FAILED: %s\n", what);
        ++failures;
    }
}

bool same(const char* a, const char* b) { return a && b && std::strcmp(a, b) == 0; }

} // namespace

int main() {
    check(same(FileExt(FileType(3)), ".txt"), "FileExt(3) is .txt");
    check(same(FileTypeStr(FileType(3)), "textFile"), "FileTypeStr(3) is textFile");
    check(FileExt(FileType(5)) == nullptr && FileExt(FileType(27)) == nullptr && FileExt(FileType(-1)) == nullptr,
          "FileExt of 5, 27, -1 is null");
    check(ProgTypeAttr(FileType(26)) == &s_ftype_descr[26] && ProgTypeAttr(FileType(27)) == nullptr,
          "ProgTypeAttr: 26 is the last entry, 27 none");
    check(s_ftype_descr[10].type == 10 && same(s_ftype_descr[10].extensions, ".ieclib"), "table row 10");
    check(ProgTypeFromExt(".CAM") == FileType(-1) && ProgTypeFromName("CAM") == FileType(3), ".CAM and CAM");
    check(ProgTypeFromExt(".BAS") == FileType(0) && ProgTypeFromExt(".basx") == FileType(-1), ".BAS and .basx");
    check(ProgTypeFromExt(".iec") == FileType(4) && ProgTypeFromExt(".ieclib") == FileType(10) &&
              ProgTypeFromExt(".hmil") == FileType(14) && ProgTypeFromExt("") == FileType(0),
          "prefix matches in table order");
    check(ProgTypeFromName(std::string_view("mvconfig")) == FileType(9) && ProgTypeFromName("") == FileType(-1),
          "names ignore case; the empty name is none");
    const bool encrypted[27] = {false, true, false, false, false, false, false, false, false, false,
                                false, false, false, true, false, false, false, false, false, false,
                                false, false, false, false, true, true, true};
    for (int t = 0; t < 27; ++t)
        check(IsEncryptedType(FileType(t)) == encrypted[t], "IsEncryptedType");
    std::printf(failures ? "file types through the library: %d failures\n" : "file types through the library: OK\n",
                failures);
    return failures ? 1 : 0;
}
