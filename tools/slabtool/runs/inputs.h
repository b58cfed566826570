// What a batch run converts: every image that its command line means, and the place of each surface.
#pragma once

#include "tools/slabtool/refusal.h"

#include <string>
#include <vector>

/// One image and its surface.
struct Job {
    std::string input; ///< the image, as messages name it and as it is opened
    std::string
        output; ///< the surface: its place in the output folder, or the path of a single output
    std::string source; ///< the image as the manifest names it: relative to the output folder
};

struct JobPlan {
    std::string folder;    ///< the output folder without links; empty for a file to a file
    std::vector<Job> jobs; ///< sorted by output

    std::vector<std::string> inputs() const;
};

/// Lists the images of files and folders. A single file goes to the file `output`. If `output` is a folder
/// or ends in '/', or if the inputs are folders or several, they go into the folder `output`, and the tree of
/// each input folder is mirrored there. NAME.png becomes NAME followed by `suffix`.
///
/// A file that is named explicitly may have any name. In folders only *.png (any case) counts; links to files
/// are followed, links to folders are not, and the output folder is left out.
/// @throws Refusal if an input cannot be looked at, or if two inputs want the same output. Nothing has been
/// written then.
JobPlan planJobs(const std::vector<std::string>& inputs, const std::string& output,
                 const std::string& suffix);
