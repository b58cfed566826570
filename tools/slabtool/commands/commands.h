// The sub-commands of slabtool: what each is asked for, and its run. Apart from main.cpp, so that only the
// command line depends on CLI11.
#pragma once

#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/runs/batch.h"
#include "tools/slabtool/runs/image_to_surface.h"

#include <string>
#include <vector>

struct InfoRequest {
    std::vector<std::string> paths; ///< surface files and folders
    BatchOptions batch;
};

/// Prints what surface files say about themselves, and whether that fits together.
/// @return the exit status: 0 if every file is consistent
int runInfo(const InfoRequest& request);

struct ViewRequest {
    std::string surfacePath, pngPath;
    std::string palettePath; ///< of a palette file; empty without one
};

/// Draws a surface file as a PNG to look at. @return the exit status. @throws Refusal
int runView(const ViewRequest& request);

struct CheckRequest {
    std::vector<std::string> paths; ///< images and folders
    bool alphaOnly = false;         ///< for surfaces of alpha only
    bool strict = false;            ///< a loss counts as a rejection in the exit status
    BatchOptions batch;
};

/// Prints a line for each image: whether pngslab accepts it, and what the surface loses; if not, why; and how to fix
/// it. @return the exit status: 0 if every image is accepted
int runCheck(const CheckRequest& request);

struct PrepareRequest {
    std::vector<std::string> inputs; ///< images and folders
    std::string output;              ///< a file, or a folder
    bool isIntoFolder = false;       ///< otherwise one image becomes one file
    PngChanges changes;
    bool small = false; ///< try every setting, and keep the smallest file
    BatchOptions batch;
};

/// Writes images that pngslab accepts, with the same pixels. @return the exit status: 1 if some are rejected, 128 and
/// its number after a signal. @throws Refusal before anything is written
int runPrepare(const PrepareRequest& request);

struct CompareRequest {
    std::string first, second; ///< two surface files or two folders of them
    BatchOptions batch;
};

/// Prints whether surface files hold the same pictures in the same way; those of folders go by their places there.
/// @return the exit status: 0 if they are equal. @throws Refusal
int runCompare(const CompareRequest& request);

struct ConvertRequest {
    std::vector<std::string> inputs; ///< images and folders
    std::string output;              ///< a file, or a folder
    bool isIntoFolder = false;       ///< otherwise one image becomes one file
    ConversionRequest conversion;
    bool update = false, prune = false, noManifest = false;
    BatchOptions batch;
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

struct ManifestRequest {
    std::vector<std::string> paths; ///< of manifests to merge
    std::string output;             ///< path
};

/// Writes the union of manifests. @return the exit status. @throws Refusal
int runManifest(const ManifestRequest& request);
