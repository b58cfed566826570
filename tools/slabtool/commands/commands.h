// The sub-commands of slabtool: what each is asked for, and its run. Apart from main.cpp, so that only the
// command line depends on CLI11.
#pragma once

#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/runs/image_to_surface.h"

#include <string>
#include <vector>

struct InfoRequest {
    std::vector<std::string> paths;
    bool json = false;
};

/// Prints what surface files say about themselves, and whether that fits together.
/// @return the exit status: 0 if every file is consistent
int runInfo(const InfoRequest& request);

struct ViewRequest {
    std::string surfacePath, pngPath;
};

/// Draws a surface file as a PNG to look at. @return the exit status. @throws Refusal
int runView(const ViewRequest& request);

struct CheckRequest {
    std::vector<std::string> paths;
    bool alphaOnly = false; ///< for surfaces of alpha only
    bool strict = false;    ///< a loss counts as a rejection in the exit status
};

/// Prints a line for each image: whether pngslab accepts it, and what the surface loses; if not, why; and how to fix
/// it. @return the exit status: 0 if every image is accepted
int runCheck(const CheckRequest& request);

struct PrepareRequest {
    std::string input, output; ///< paths
    PngChanges changes;
};

/// Writes an image that pngslab accepts, with the same pixels. @return the exit status. @throws Refusal
int runPrepare(const PrepareRequest& request);

struct CompareRequest {
    std::string first, second; ///< paths
};

/// Prints whether two surface files hold the same picture in the same way.
/// @return the exit status: 0 if they are equal. @throws Refusal
int runCompare(const CompareRequest& request);

struct ConvertRequest {
    std::vector<std::string> inputs; ///< images and folders
    std::string output;              ///< a file or a folder
    ConversionRequest conversion;
    unsigned jobs = 0; ///< threads; 0: one for each processor
    bool update = false, prune = false, noManifest = false, quiet = false, json = false;
};

/// Converts images into surface files. @return the exit status: 0 if every image has a surface, 1 if some are
/// rejected, 128 and its number after a signal. @throws Refusal before anything is written
int runConvert(const ConvertRequest& request);

inline constexpr const char *kCFormat = "c", *kAssemblyFormat = "asm";

struct EmbedRequest {
    std::string name;               ///< path of the files to write, without their endings
    std::vector<std::string> paths; ///< of surface files
    std::string format = kCFormat;
};

/// Writes surface files as arrays for C and C++. @return the exit status. @throws Refusal
int runEmbed(const EmbedRequest& request);
