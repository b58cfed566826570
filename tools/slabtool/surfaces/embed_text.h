// Surfaces as source files for C, C++ and assemblers: the text of the files.
#pragma once

#include "tools/slabtool/refusal.h"

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
    Bytes bytes;           ///< the file; empty if an assembler reads it
};

/// Surfaces that become one header and one index.
struct EmbeddedSet {
    std::string fileName; ///< of the files, without folder and ending
    std::string prefix;   ///< of all identifiers
    std::vector<EmbeddedSurface> surfaces;
};

/// The letters and digits of a text; whatever is between them becomes one underscore.
std::string identifierIn(const std::string& text);

/// The header, which declares an array for each surface and an index of them.
std::string embedHeader(const EmbeddedSet& set);

/// A source file in C99 and C++ that defines the index.
std::string embedIndex(const EmbeddedSet& set);

/// The same with the arrays before it.
std::string embedArraysAndIndex(const EmbeddedSet& set);

/// A source file for assemblers of ELF systems that defines the arrays. Their bytes stay in the surface files, which
/// the assembler reads; a file of another size stops it.
std::string embedArraysInAssembly(const EmbeddedSet& set);
