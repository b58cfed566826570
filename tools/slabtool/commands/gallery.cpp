// slabtool gallery writes a page with a picture of every surface. A file that cannot be drawn is on the page, too, with
// the reason.
#include "tools/slabtool/commands/commands.h"

#include "tools/slabtool/gallery/page.h"
#include "tools/slabtool/images/png_facts.h"
#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/runs/drawing.h"
#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/runs/folder_walk.h"
#include "tools/slabtool/runs/judge_file.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <new>
#include <optional>
#include <string>
#include <system_error>
#include <tuple>
#include <utility>
#include <vector>

namespace {

struct GalleryFile {
    std::string path, name;
    bool isImage;
};

// The files of folders with one of the suffixes, and the named files.
std::vector<GalleryFile> filesOf(const GalleryRequest& request) {
    std::vector<GalleryFile> files;
    for (const std::string& input : request.paths) {
        std::vector<const char*> suffixes = {kSurfaceSuffix};
        if (request.images && isFolder(input)) {
            suffixes.push_back(kImageSuffix);
        }
        for (const char* const suffix : suffixes) {
            for (const FoundFile& file : findFiles({input}, suffix)) {
                // Paths below different folders could be the same.
                files.push_back({file.path,
                                 request.paths.size() == 1 ? file.relativePath : file.path,
                                 hasSuffix(file.path, kImageSuffix)});
            }
        }
    }
    const auto key = [](const GalleryFile& file) { return std::tie(file.name, file.path); };
    std::sort(files.begin(), files.end(),
              [&](const GalleryFile& a, const GalleryFile& b) { return key(a) < key(b); });
    // A subfolder that cannot be read is found once for each suffix, and an input may be named twice.
    const auto end =
        std::unique(files.begin(), files.end(),
                    [&](const GalleryFile& a, const GalleryFile& b) { return key(a) == key(b); });
    files.erase(end, files.end());
    return files;
}

// The palette beside a surface with indices, if there is one that can be used. Otherwise the item gets the reason.
std::optional<Palette> findPalette(const std::string& surfacePath, GalleryItem& item) {
    const std::string path =
        std::filesystem::path(surfacePath).replace_extension(kPaletteSuffix).string();
    std::error_code error;
    if (!std::filesystem::exists(path, error) && !error) {
        return std::nullopt;
    }
    try {
        return namingFile(path, [&] { return paletteOf(readFile(path)); });
    } catch (const Rejection& rejection) {
        item.remarks.push_back(rejection.what());
        return std::nullopt;
    }
}

PngImage drawSurface(const std::string& path, const SurfacePicture& picture, GalleryItem& item) {
    const std::optional<Finding> note = noteForMode(picture.header().mode);
    if (!note) {
        return drawPicture(picture);
    }
    if (picture.header().colorMode() != DsColorMode::A8) {
        if (const std::optional<Palette> palette = findPalette(path, item)) {
            return drawWithPalette(picture, *palette);
        }
    }
    item.remarks.push_back(textOf(*note));
    return drawPicture(picture);
}

void addSurface(const std::string& path, GalleryItem& item) {
    item.verdict = "not consistent";
    Bytes file = readFile(path);
    item.bytes = file.size();
    const SurfaceFacts facts = inspectSurface(file, file.size());
    if (facts.header) {
        item.mode = colorModeName(facts.header->mode);
        item.details = "rotation " + std::to_string(facts.header->rotation);
    }
    item.remarks = facts.faults;
    item.remarks.insert(item.remarks.end(), facts.oddities.begin(), facts.oddities.end());
    if (item.remarks.empty()) {
        item.verdict = "consistent";
    }
    if (facts.faults.empty()) {
        const SurfacePicture picture(std::move(file));
        item.width = picture.width();
        item.height = picture.height();
        item.png = encodePng(drawSurface(path, picture, item), kEfforts.front());
    }
}

void addImage(const std::string& path, GalleryItem& item) {
    const Judgment judgment = judgeFile(path, false);
    item.mode = "PNG";
    item.verdict = verdictText(judgment.severity);
    if (judgment.reason) {
        item.remarks.push_back(textOf(*judgment.reason));
    } else {
        item.details = "surface " + judgment.surface;
    }
    for (const Finding& loss : judgment.losses) {
        item.remarks.push_back(textOf(loss));
    }
    if (!judgment.note.empty()) {
        item.remarks.push_back(judgment.note);
    }
    item.fix = judgment.fix;
    if (judgment.reason && judgment.reason->code == kUnreadable) {
        return;
    }
    Bytes file = readFile(path);
    item.bytes = file.size();
    const PngFacts facts = factsOf(file);
    item.width = facts.width;
    item.height = facts.height;
    if (item.width != 0) {
        item.png = std::move(file);
    }
}

// The result for one file.
struct DrawnItem {
    std::string html, verdict;
    uint64_t bytes;
};

DrawnItem drawn(const GalleryItem& item) {
    return {htmlOf(item), item.verdict, item.bytes};
}

DrawnItem drawFile(const GalleryFile& file) {
    GalleryItem item = {};
    item.name = file.name;
    try {
        file.isImage ? addImage(file.path, item) : addSurface(file.path, item);
        return drawn(item);
    } catch (const Rejection& rejection) {
        item.remarks.push_back(rejection.what());
    } catch (const std::bad_alloc&) {
        item.png.reset();
        item.remarks.push_back("not enough memory to draw it");
    }
    return drawn(item);
}

std::string counted(uint64_t count, const char* noun) {
    return withSeparators(count) + " " + noun + (count == 1 ? "" : "s");
}

// What the page holds, in words.
struct Totals {
    uint64_t surfaces = 0, images = 0, bytes = 0;
    std::map<std::string, uint64_t> verdicts;

    std::string text() const {
        std::string text = counted(surfaces, "surface") + ", " + withSeparators(bytes) + " bytes";
        text += images == 0 ? "" : "; " + counted(images, "image");
        for (const auto& [verdict, count] : verdicts) {
            text += (&verdict == &verdicts.begin()->first ? "; " : ", ") + withSeparators(count) +
                    " " + verdict;
        }
        return text;
    }
};

std::string titleOf(const std::vector<std::string>& inputs) {
    constexpr size_t kMaxNames = 3;
    if (inputs.size() > kMaxNames) {
        return "Gallery of " + withSeparators(inputs.size()) + " inputs";
    }
    std::string title = "Gallery of ";
    for (const std::string& input : inputs) {
        title += (&input == &inputs.front() ? "" : ", ") + input;
    }
    return title;
}

} // namespace

int runGallery(const GalleryRequest& request) {
    const std::vector<GalleryFile> files = filesOf(request);
    if (files.empty()) {
        throw Rejection(std::string("no surface files") + (request.images ? " or images" : "") +
                        " found; slabtool convert makes surface files");
    }
    std::vector<std::string> names;
    for (const GalleryFile& file : files) {
        names.push_back(file.path);
    }
    Totals totals;
    std::string items;
    runInOrder<DrawnItem>(
        names, request.batch, [&](size_t file) { return drawFile(files[file]); },
        [&](size_t file, const DrawnItem& drawn) {
            items += drawn.html;
            ++totals.verdicts[drawn.verdict];
            ++(files[file].isImage ? totals.images : totals.surfaces);
            totals.bytes += files[file].isImage ? 0 : drawn.bytes;
        });
    writeText(request.output, pageOf(titleOf(request.paths), totals.text(), items));
    if (!request.batch.quiet && request.output != kStandardStream) {
        std::printf("%s: %s\n", printable(request.output).c_str(), totals.text().c_str());
    }
    return 0;
}
