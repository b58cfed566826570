// Base64 (RFC 4648), for pictures in pages and in terminals.
#pragma once

#include "tools/slabtool/rejection.h"

#include <string>

/// With padding.
std::string base64Of(ByteView bytes);
