// slabtool view: a surface file as a PNG to look at.
#pragma once

#include <string>

struct ViewRequest {
    std::string surfacePath, pngPath;
};

/// @return the exit status. @throws Refusal
int runView(const ViewRequest& request);
