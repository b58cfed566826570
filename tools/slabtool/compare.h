// slabtool compare: whether two surface files hold the same picture in the same way.
#pragma once

#include <string>

struct CompareRequest {
    std::string first, second; ///< paths
};

/// @return the exit status: 0 if they are equal. @throws Refusal
int runCompare(const CompareRequest& request);
