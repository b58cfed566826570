// Copies bytes between the memory of the module and arrays of JavaScript.
#pragma once

#include "tools/slabtool/large_bytes.h"
#include "tools/slabtool/rejection.h"

#include <emscripten/val.h>

/// A new Uint8Array.
inline emscripten::val bytesToJs(ByteView bytes) {
    const emscripten::val view(emscripten::typed_memory_view(bytes.size(), bytes.data()));
    return emscripten::val::global("Uint8Array").new_(view);
}

/// @param array a Uint8Array. @throws std::bad_alloc
inline Bytes bytesFromJs(const emscripten::val& array) {
    Bytes bytes = largeBytes(array["length"].as<size_t>());
    emscripten::val(emscripten::typed_memory_view(bytes.size(), bytes.data()))
        .call<void>("set", array);
    return bytes;
}
