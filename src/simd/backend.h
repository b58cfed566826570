// The backends, one per instruction set, by name. The best one that this machine supports is active. Every backend
// gives the same bytes as the scalar loops. Other code does not depend on the choice.
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

/// The backends of this build, best first. They are the indices of a BackendList.
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

/// The number of the active backend.
size_t activeBackend();

/// Activates the backend of that name, for test programs. Must not be called while another thread draws or
/// decodes. @return false if this build has no backend of that name, or if the machine does not support it.
bool selectBackend(std::string_view name);

/// The functions of each backend for one operation, in the order of BackendNumber. Each operation has its own list,
/// so that a program contains only the operations that it uses.
template <typename Entry>
using BackendList = std::array<const Entry*, kBackendCount>;

/// The first value that is not null, from the active backend on: where a backend has none, the next one is used.
/// @param valueOf gets the value of an entry
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
