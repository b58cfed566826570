// Records whose field order other programs rely on.
#pragma once

#include <cstddef>
#include <initializer_list>

/// Whether offsets ascend: the fields then stand in the order in which they are listed.
constexpr bool ascend(std::initializer_list<size_t> offsets) {
    size_t next = 0;
    for (const size_t offset : offsets) {
        if (offset < next) {
            return false;
        }
        next = offset + 1;
    }
    return true;
}
