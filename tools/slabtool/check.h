// slabtool check: whether pngslab takes images, why not, and what mends them.
#pragma once

#include <string>
#include <vector>

struct CheckRequest {
    std::vector<std::string> paths;
    bool alphaOnly = false; ///< for surfaces of alpha only
};

/// Prints a line a file. @return the exit status: 0 if every image is taken
int runCheck(const CheckRequest& request);
