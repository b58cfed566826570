// slabtool prepare: an image that pngslab takes, with the same pixels.
#pragma once

#include <string>

struct PrepareRequest {
    std::string input, output; ///< paths
    bool keyToAlpha = false;   ///< whether a colour that means "transparent" becomes alpha
};

/// @return the exit status. @throws Refusal
int runPrepare(const PrepareRequest& request);
