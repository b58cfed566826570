// The text of source files in C, C++ and assembly that contain surfaces.
#pragma once

#include "tools/slabtool/rejection.h"

#include <cstdint>
#include <string>
#include <vector>

/// A surface file that becomes an array.
struct EmbeddedSurface {
    std::string path;
    std::string name;       ///< in the index
    std::string identifier; ///< of the array
    uint64_t size;          ///< bytes of the file
    uint32_t mode;
    int32_t width, height; ///< of the upright picture
    Bytes bytes;           ///< content of the file; empty if an assembler reads it
};

/// Surfaces that become one header and one index.
struct EmbeddedSet {
    std::string fileName; ///< of the source files, without folder and extension
    std::string prefix;   ///< of all identifiers
    std::vector<EmbeddedSurface> surfaces;
};

/// The letters and digits of a text, with one underscore for each sequence of other characters between them.
std::string identifierIn(const std::string& text);

/// The header. It declares an array for each surface, and their index.
std::string embedHeader(const EmbeddedSet& set);

/// A source file that is both C99 and C++. It defines the index.
std::string embedIndex(const EmbeddedSet& set);

/// The same, with the arrays.
std::string embedArraysAndIndex(const EmbeddedSet& set);

/// A source file for assemblers of ELF systems. It defines the arrays. The assembler reads their bytes from the surface
/// files, and stops with an error if the size of a file has changed.
std::string embedArraysInAssembly(const EmbeddedSet& set);
