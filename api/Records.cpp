// The C records of the public header have the layout of the class interface's records, so
// the flat functions hand them over by address.
#include <cstddef>

#include "api/Flat.h"

namespace {

template <class C, class Cpp>
constexpr bool sameLayout() {
    return sizeof(C) == sizeof(Cpp) && alignof(C) == alignof(Cpp);
}

namespace S = Vaxo::Ubrix::Shared;
static_assert(sameLayout<VaxoDataStreamPacket, S::DataStreamPacket>());
static_assert(offsetof(VaxoDataStreamPacket, total) == offsetof(S::DataStreamPacket, total));
static_assert(sameLayout<VaxoFileInfo, S::FileInfo>());
static_assert(offsetof(VaxoFileInfo, flags) == offsetof(S::FileInfo, flags));
static_assert(sameLayout<VaxoProcessInfo, S::ProcessInfo>());
static_assert(offsetof(VaxoProcessInfo, load) == offsetof(S::ProcessInfo, load));
static_assert(offsetof(VaxoProcessInfo, flags) == offsetof(S::ProcessInfo, flags));
static_assert(sameLayout<VaxoProgressInfo, S::ProgressInfo>());
static_assert(offsetof(VaxoProgressInfo, state) == offsetof(S::ProgressInfo, state));
static_assert(sameLayout<::Range, S::Range>());

} // namespace
