// What the processor has beyond its architecture's baseline. The C library knows since the program
// started; the compiler's own way would ask once more, which virtual machines make as dear as decoding
// an icon. Its header cannot be read by clang 14 in strict C++, so that clang asks the processor.
#pragma once

#if defined(__x86_64__) && !defined(__clang__) && __has_include(<sys/platform/x86.h>)
#include <sys/platform/x86.h>
#endif

namespace ds_detail {

#if defined(CPU_FEATURE_ACTIVE)
inline bool processorHasAvx2() {
    return CPU_FEATURE_ACTIVE(AVX2);
}
inline bool processorHasCarryLessMultiplication() {
    return CPU_FEATURE_ACTIVE(PCLMULQDQ);
}
#elif defined(__x86_64__)
inline bool processorHasAvx2() {
    return __builtin_cpu_supports("avx2") != 0;
}
inline bool processorHasCarryLessMultiplication() {
    return __builtin_cpu_supports("pclmul") != 0;
}
#else
inline bool processorHasAvx2() {
    return false;
}
inline bool processorHasCarryLessMultiplication() {
    return false;
}
#endif

} // namespace ds_detail
