// The library exports exactly three sets of names beside the module entry point: the 794 flat
// functions, the vaxox_ extensions, and the file-type table with its lookups (C++ linkage).
#include <gtest/gtest.h>

#include <cxxabi.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <string>

#include "api/FlatList.h"

namespace {

// Every defined dynamic symbol (code and data), demangled.
std::set<std::string> exportedSymbols() {
    std::set<std::string> names;
    const std::string cmd = std::string("nm -D --defined-only ") + VAXO_BUILD_DIR + "/libVaxo_Ubrix_TCP.so";
    FILE* p = popen(cmd.c_str(), "r");
    if (!p)
        return names;
    char line[512];
    while (fgets(line, sizeof line, p)) {
        char addr[64], type[8], name[400];
        if (sscanf(line, "%63s %7s %399s", addr, type, name) != 3 || std::string("TWRDBV").find(type[0]) == std::string::npos)
            continue;
        int status = 0;
        char* demangled = abi::__cxa_demangle(name, nullptr, nullptr, &status);
        names.insert(status == 0 && demangled ? demangled : name);
        std::free(demangled);
    }
    pclose(p);
    return names;
}

template <std::size_t N>
std::set<std::string> setOf(const std::string_view (&names)[N]) {
    return {std::begin(names), std::end(names)};
}

// Which set a name belongs to.
std::string setName(const std::string& name) {
    if (name.rfind("vaxox_", 0) == 0)
        return "extension";
    if (name.rfind("vaxo_", 0) == 0)
        return "flat";
    if (name.rfind("Vaxo::", 0) == 0)
        return "file type";
    return name == "vua_factory" ? "entry" : "other";
}

} // namespace

TEST(Exports, ExactlyTheThreeSetsAndTheEntryLeaveTheLibrary) {
    using namespace Vaxo::Ubrix::Api;
    const auto exported = exportedSymbols();
    ASSERT_FALSE(exported.empty()) << "could not read the library's exports";

    const std::map<std::string, std::set<std::string>> expected = {
        {"flat", setOf(kFlatFunctionNames)},
        {"extension", setOf(kExtensionNames)},
        {"file type", setOf(kSharedCppNames)},
        {"entry", {"vua_factory"}},
    };
    ASSERT_EQ(expected.at("flat").size(), 794u) << "a name stands twice in the canonical list";
    ASSERT_EQ(expected.at("extension").size(), 1u);
    ASSERT_EQ(expected.at("file type").size(), 8u);

    std::map<std::string, std::size_t> counts;
    for (const auto& name : exported) {
        const std::string set = setName(name);
        ++counts[set];
        EXPECT_TRUE(expected.count(set) && expected.at(set).count(name)) << "exported but not canonical: " << name;
    }
    for (const auto& [set, names] : expected) {
        EXPECT_EQ(counts[set], names.size()) << set;
        for (const auto& name : names)
            EXPECT_TRUE(exported.count(name)) << set << " name not exported: " << name;
    }
}
