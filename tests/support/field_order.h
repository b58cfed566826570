// The order of fields in records. Other programs rely on it.
#pragma once

#include <cstddef>
#include <initializer_list>

/// Whether offsets ascend: then the fields have the order of the list.
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
