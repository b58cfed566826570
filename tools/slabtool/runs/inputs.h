// Plans a run: lists its images, and the path of each surface.
#pragma once

#include "tools/slabtool/rejection.h"

#include <string>
#include <vector>

/// One image and its surface.
struct Job {
    std::string input;  ///< path of the image, for messages and for opening
    std::string output; ///< path of the surface, relative to the output folder if there is one
    std::string source; ///< path of the image in the manifest, relative to the output folder
};

struct JobPlan {
    std::string folder;    ///< the output folder, without links; empty if one file becomes one file
    std::vector<Job> jobs; ///< sorted by output

    std::vector<std::string> inputs() const;
};

/// Lists the images of files and folders.
///
/// A single file becomes the file `output`. `output` is a folder if it exists as one or ends in '/', if an input is a
/// folder, or if there are several inputs. Subfolders are kept there, and NAME.png becomes NAME plus `suffix`.
///
/// A named file may have any name. In folders, only *.png (in any case) is used. Links to files are followed, links to
/// folders are not. The output folder is skipped.
/// @throws Rejection if an input cannot be opened, or if two inputs have the same output. Writes nothing.
JobPlan planJobs(const std::vector<std::string>& inputs, const std::string& output,
                 const std::string& suffix);
