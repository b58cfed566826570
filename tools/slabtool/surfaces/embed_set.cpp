#include "tools/slabtool/surfaces/embed_set.h"

#include "src/ds_surface.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <filesystem>
#include <map>

namespace {

// The name of a surface file, without folder and ".surface".
std::string nameOf(const std::string& path) {
    const std::filesystem::path name = std::filesystem::path(path).filename();
    return name.extension() == ".surface" ? name.stem() : name;
}

} // namespace

void checkFileName(const std::string& name) {
    const std::string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    if (name.empty() || letters.find(name.front()) == std::string::npos ||
        name.find_first_not_of(letters + "0123456789._-") != std::string::npos) {
        throw Rejection(
            "choose a name of letters, digits, '.', '_' and '-' that begins with a letter");
    }
}

EmbeddedSurface nameSurface(const std::string& path, const std::string& prefix) {
    EmbeddedSurface surface = {};
    surface.path = path;
    surface.name = nameOf(path);
    const std::string identifier = identifierIn(surface.name);
    if (identifier.empty()) {
        throw Rejection("its name has no letter or digit for an identifier");
    }
    surface.identifier = prefix + "_" + identifier + "_surface";
    return surface;
}

void setHeader(EmbeddedSurface& surface, Bytes& head, uint64_t size) {
    const SurfaceFacts facts = inspectSurface(head, size);
    if (!facts.faults.empty()) {
        throw Rejection(facts.faults.front());
    }
    surface.size = size;
    surface.mode = facts.header->mode;
    DsSurface(head.data()).getSize(surface.width, surface.height); // reads only the header
}

void rejectCollisions(const std::vector<EmbeddedSurface>& surfaces) {
    std::map<std::string, std::string> paths;
    for (const EmbeddedSurface& surface : surfaces) {
        const auto [known, isNew] = paths.emplace(surface.identifier, surface.path);
        if (!isNew) {
            throw Rejection(printable(known->second) + " and " + printable(surface.path) +
                            " would both be " + surface.identifier + ": rename one of them");
        }
    }
}
