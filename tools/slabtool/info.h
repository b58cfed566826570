// slabtool info: what surface files say about themselves, and whether that fits together.
#pragma once

#include <string>
#include <vector>

struct InfoRequest {
    std::vector<std::string> paths;
    bool json = false;
};

/// @return the exit status: 0 if every file is consistent
int runInfo(const InfoRequest& request);
