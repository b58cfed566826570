// The sub-commands of slabtool: the request and the run function of each. Separate from main.cpp, so that only
// main.cpp depends on CLI11.
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

/// Prints the headers of surface files, and whether each file is consistent.
/// @return the exit status: 0 if every file is consistent
int runInfo(const InfoRequest& request);

struct ViewRequest {
    std::string surfacePath;
    bool isForTerminal = false; ///< show the picture instead of writing a PNG
    std::string pngPath;
    std::string palettePath; ///< empty without a palette file
};

/// Draws a surface file as a PNG or in the terminal. @return the exit status. @throws Rejection
int runView(const ViewRequest& request);

struct GalleryRequest {
    std::vector<std::string> paths; ///< surface files and folders
    std::string output;             ///< path of the page
    bool images = false;            ///< show PNG files with their verdicts, too
    BatchOptions batch;
};

/// Writes a page with a picture of every surface. @return the exit status. @throws Rejection
int runGallery(const GalleryRequest& request);

struct CheckRequest {
    std::vector<std::string> paths; ///< images and folders
    bool alphaOnly = false;         ///< check for alpha-only surfaces
    bool strict = false;            ///< an image with loss makes the exit status 1
    BatchOptions batch;
};

/// Prints one line for each image: whether pngslab accepts it, what the surface loses, why it is rejected, and how to
/// fix it. @return the exit status: 0 if every image is accepted
int runCheck(const CheckRequest& request);

struct PrepareRequest {
    std::vector<std::string> inputs; ///< images and folders
    std::string output;              ///< a file, or a folder
    bool isIntoFolder = false;       ///< otherwise one image becomes one file
    PngChanges changes;
    bool small = false; ///< try every setting, and keep the smallest file
    BatchOptions batch;
};

/// Writes images that pngslab accepts, with the same pixels. @return the exit status: 1 if some images are rejected,
/// 128 plus the signal number after a signal. @throws Rejection before anything is written
int runPrepare(const PrepareRequest& request);

struct CompareRequest {
    std::string first, second; ///< two surface files or two folders of them
    BatchOptions batch;
};

/// Reports whether surface files have the same mode, size, rotation and pixels. In two folders, files with the same
/// relative path are compared. @return the exit status: 0 if they are equal. @throws Rejection
int runCompare(const CompareRequest& request);

struct ConvertRequest {
    std::vector<std::string> inputs; ///< images and folders
    std::string output;              ///< a file, or a folder
    bool isIntoFolder = false;       ///< otherwise one image becomes one file
    ConversionRequest conversion;
    bool update = false, prune = false, noManifest = false;
    BatchOptions batch;
};

/// Converts images into surface files. @return the exit status: 0 if every image has a surface, 1 if some images are
/// rejected, 128 plus the signal number after a signal. @throws Rejection before anything is written
int runConvert(const ConvertRequest& request);

inline constexpr const char *kCFormat = "c", *kAssemblyFormat = "asm";

struct EmbedRequest {
    std::string name;               ///< path of the files to write, without file extensions
    std::vector<std::string> paths; ///< of surface files
    std::string format = kCFormat;
};

/// Writes surface files as arrays for C and C++. @return the exit status. @throws Rejection
int runEmbed(const EmbedRequest& request);

struct ManifestRequest {
    std::vector<std::string> paths; ///< of manifests to merge
    std::string output;             ///< path
};

/// Merges manifests. @return the exit status. @throws Rejection
int runManifest(const ManifestRequest& request);
