// Collects surfaces for source files, and checks their names and headers.
#pragma once

#include "tools/slabtool/surfaces/embed_text.h"

#include <cstdint>
#include <string>
#include <vector>

/// The name is used in identifiers, and unchanged between the quotes of #include. @throws Rejection for other names
void checkFileName(const std::string& name);

/// A surface with its path, name and identifier. @throws Rejection if the name has nothing for an identifier
EmbeddedSurface nameSurface(const std::string& path, const std::string& prefix);

/// Sets the properties that the header of the file tells.
/// @param head the first bytes of the file, at least the header. @throws Rejection with the first fault of the file
void setHeader(EmbeddedSurface& surface, Bytes& head, uint64_t size);

/// @throws Rejection if two surfaces have the same identifier
void rejectCollisions(const std::vector<EmbeddedSurface>& surfaces);
