// The canonical list of exported flat functions (794 names), expanded from the flat
// function list and the named parameter list. Tests compare the library's exports with it.
#pragma once

#include <array>
#include <string_view>

namespace Vaxo::Ubrix::Api {

inline constexpr std::string_view kFlatFunctionNames[] = {
#define VAXO_FLAT(name) "vaxo_" #name,
#include "api/flat_functions.def"
#undef VAXO_FLAT
#define VAXO_PARAM(kind, name, access) VAXO_LIST_GET(kind, name) VAXO_LIST_SET_##access(kind, name)
#define VAXO_LIST_GET(kind, name) "vaxo_Get" #kind "Parameter_" #name,
#define VAXO_LIST_SET_RW(kind, name) "vaxo_Set" #kind "Parameter_" #name,
#define VAXO_LIST_SET_RO(kind, name)
#include <vaxo/NamedParams.def>
#undef VAXO_PARAM
#undef VAXO_LIST_GET
#undef VAXO_LIST_SET_RW
#undef VAXO_LIST_SET_RO
};

inline constexpr std::size_t kFlatFunctionCount = std::size(kFlatFunctionNames);
static_assert(kFlatFunctionCount == 794, "the flat interface has 794 functions");

// The extensions beside the flat interface (<vaxo/vaxox.h>), C linkage.
inline constexpr std::string_view kExtensionNames[] = {
    "vaxox_GetErrorName",
};

// The file-type table and its lookups (<vaxo/FileType.hpp>), C++ linkage, as the demangler
// writes them.
inline constexpr std::string_view kSharedCppNames[] = {
    "Vaxo::Ubrix::Shared::s_ftype_descr",
    "Vaxo::Ubrix::Shared::ProgTypeAttr(Vaxo::Ubrix::Shared::FileType)",
    "Vaxo::Ubrix::Shared::FileExt(Vaxo::Ubrix::Shared::FileType)",
    "Vaxo::Ubrix::Shared::FileTypeStr(Vaxo::Ubrix::Shared::FileType)",
    "Vaxo::Ubrix::Shared::ProgTypeFromExt(char const*)",
    "Vaxo::Ubrix::Shared::ProgTypeFromName(char const*)",
    "Vaxo::Ubrix::Shared::ProgTypeFromName(std::basic_string_view<char, std::char_traits<char> >)",
    "Vaxo::Ubrix::Shared::IsEncryptedType(Vaxo::Ubrix::Shared::FileType)",
};

// Set once every family of the list is implemented; from then on a missing export fails.
inline constexpr bool kInterfaceComplete = true;

// Named parameter family sizes.
struct ParamCounts {
    int axisGet = 0, axisSet = 0, systemGet = 0, systemSet = 0, processGet = 0, processSet = 0, slotGet = 0, slotSet = 0;
};
inline constexpr ParamCounts countParams() {
    ParamCounts c;
#define VAXO_PARAM(kind, name, access) VAXO_COUNT_##kind(access)
#define VAXO_COUNT_Axis(access) ++c.axisGet; c.axisSet += (std::string_view(#access) == "RW");
#define VAXO_COUNT_System(access) ++c.systemGet; c.systemSet += (std::string_view(#access) == "RW");
#define VAXO_COUNT_Process(access) ++c.processGet; c.processSet += (std::string_view(#access) == "RW");
#define VAXO_COUNT_Slot(access) ++c.slotGet; c.slotSet += (std::string_view(#access) == "RW");
#include <vaxo/NamedParams.def>
#undef VAXO_PARAM
#undef VAXO_COUNT_Axis
#undef VAXO_COUNT_System
#undef VAXO_COUNT_Process
#undef VAXO_COUNT_Slot
    return c;
}
inline constexpr ParamCounts kParamCounts = countParams();
static_assert(kParamCounts.axisGet == 203 && kParamCounts.axisSet == 158);
static_assert(kParamCounts.systemGet == 79 && kParamCounts.systemSet == 55);
static_assert(kParamCounts.processGet == 8 && kParamCounts.processSet == 3);
static_assert(kParamCounts.slotGet == 1 && kParamCounts.slotSet == 1);

} // namespace Vaxo::Ubrix::Api
