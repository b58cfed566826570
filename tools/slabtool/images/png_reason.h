// The reason why pngslab rejects a PNG file.
#pragma once

#include "tools/slabtool/images/png_loss.h"
#include "tools/slabtool/rejection.h"

#include <optional>

/// The reason if no other one applies: a defect of slabtool.
extern const Finding kUnknownReason;

/// Runs both passes of pngslab's decoder over a file, with the memory of a DEFLATE window instead of the pixels, and
/// translates the recorded fault. docs/slabtool.md lists the codes. @return nothing if neither pass rejects the file
/// before it converts the rows
std::optional<Finding> whyRejected(ByteView file);
