// Whether the build has AddressSanitizer. It is slow, so that tests with millions of cases use coarser steps, and it
// needs more addresses than a small memory limit allows.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define PNGSLAB_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define PNGSLAB_ADDRESS_SANITIZER 1
#endif
#endif
#if !defined(PNGSLAB_ADDRESS_SANITIZER)
#define PNGSLAB_ADDRESS_SANITIZER 0
#endif

inline constexpr bool kSanitized = PNGSLAB_ADDRESS_SANITIZER != 0;
