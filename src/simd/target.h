// Marks a region whose functions are compiled for an instruction set beyond the baseline. Functions and templates
// defined outside the region keep the baseline, even if they are used inside.
#pragma once

#define DS_PRAGMA(text) _Pragma(#text)
#if defined(__clang__)
#define DS_BEGIN_TARGET(isa)                                                                       \
    DS_PRAGMA(clang attribute push(__attribute__((target(isa))), apply_to = function))
#define DS_END_TARGET DS_PRAGMA(clang attribute pop)
#else
#define DS_BEGIN_TARGET(isa) DS_PRAGMA(GCC push_options) DS_PRAGMA(GCC target(isa))
#define DS_END_TARGET DS_PRAGMA(GCC pop_options)
#endif
