// Processor features beyond the baseline of the architecture. The C library reads them when the
// program starts. The compiler's builtin executes CPUID again, which in a virtual machine costs as
// much as decoding an icon. clang 14 rejects the C library's header in strict C++, so it gets the
// builtin.
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
