// The instruction sets that loops are written for, by name. One is active: the best that this machine supports.
// Each gives the same bytes as the scalar loops; nothing else knows that there are several.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace ds_detail {

/// An instruction set.
struct Backend {
    const char* name;
    bool (*isSupported)();
};

#if defined(__x86_64__)
#define DS_HAS_AVX2_AND_SSE2
#elif defined(__aarch64__) && defined(__AARCH64EL__)
#define DS_HAS_NEON
#endif

/// The backends of this build, best first. Lists by backend are filled by these numbers.
enum BackendNumber : size_t {
#if defined(DS_HAS_AVX2_AND_SSE2)
    kAvx2,
    kSse2,
#elif defined(DS_HAS_NEON)
    kNeon,
#endif
    kScalar,
    kBackendCount
};

/// The backends of this build by number.
std::span<const Backend, kBackendCount> backends();

/// The number of the active backend in that list.
size_t activeBackend();

/// Makes the backend of that name the active one, for test programs. Not to be called while another thread
/// draws or decodes. @return false if this build has none of that name, or the machine does not support it.
bool selectBackend(std::string_view name);

/// What each backend has for one operation, in the order of the list. Each operation has a list of its own, so
/// that a program that does not use it does not contain it.
template <typename Entry>
using BackendList = std::array<const Entry*, kBackendCount>;

/// The first value that is not null, from the active backend on: where a backend has none, the next one serves.
/// @param valueOf takes an entry
template <typename Entry, typename ValueOf>
auto activeValue(const BackendList<Entry>& list, ValueOf valueOf) -> decltype(valueOf(*list[0])) {
    for (size_t i = activeBackend(); i < kBackendCount; ++i) {
        if (list[i] != nullptr && valueOf(*list[i]) != nullptr) {
            return valueOf(*list[i]);
        }
    }
    return nullptr;
}

} // namespace ds_detail
