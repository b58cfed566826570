// slabtool prepare: an image that pngslab takes, with the same pixels.
#pragma once

#include "tools/slabtool/png_image.h"

#include <string>

struct PrepareRequest {
    std::string input, output; ///< paths
    PngChanges changes;
};

/// @return the exit status. @throws Refusal
int runPrepare(const PrepareRequest& request);
