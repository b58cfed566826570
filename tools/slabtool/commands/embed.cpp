// slabtool embed reads and checks every surface before it writes the first file.
#include "tools/slabtool/commands/commands.h"

#include "src/ds_surface.h"
#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/surfaces/embed_text.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <algorithm>
#include <filesystem>
#include <map>

namespace {

// The name is used in identifiers, and unchanged between the quotes of #include.
void checkFileName(const std::string& name) {
    const std::string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    if (name.empty() || letters.find(name.front()) == std::string::npos ||
        name.find_first_not_of(letters + "0123456789._-") != std::string::npos) {
        throw Rejection(
            "choose a name of letters, digits, '.', '_' and '-' that begins with a letter");
    }
}

// The name of a surface file, without folder and ".surface".
std::string nameOf(const std::string& path) {
    const std::filesystem::path name = std::filesystem::path(path).filename();
    return name.extension() == ".surface" ? name.stem() : name;
}

// Sets the path, the name and the identifier.
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

// `head` may be longer than a header.
void readHeader(EmbeddedSurface& surface, Bytes& head, uint64_t size) {
    const SurfaceFacts facts = inspectSurface(head, size);
    if (!facts.faults.empty()) {
        throw Rejection(facts.faults.front());
    }
    surface.size = size;
    surface.mode = facts.header->mode;
    DsSurface(head.data()).getSize(surface.width, surface.height); // reads only the header
}

EmbeddedSurface readSurface(const std::string& path, const std::string& prefix, bool withBytes) {
    EmbeddedSurface surface = nameSurface(path, prefix);
    if (withBytes) {
        surface.bytes = readFile(path);
        readHeader(surface, surface.bytes, surface.bytes.size());
    } else {
        FileHead head = readHead(path, kSurfaceHeaderBytes);
        readHeader(surface, head.bytes, head.size);
    }
    return surface;
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

} // namespace

int runEmbed(const EmbedRequest& request) {
    EmbeddedSet set = {};
    set.fileName = std::filesystem::path(request.name).filename();
    namingFile(request.name, [&] { checkFileName(set.fileName); });
    set.prefix = identifierIn(set.fileName);
    const bool isAssembly = request.format == kAssemblyFormat;
    for (const std::string& path : request.paths) {
        set.surfaces.push_back(
            namingFile(path, [&] { return readSurface(path, set.prefix, !isAssembly); }));
    }
    rejectCollisions(set.surfaces);
    std::sort(set.surfaces.begin(), set.surfaces.end(),
              [](const auto& a, const auto& b) { return a.name < b.name; });
    writeText(request.name + ".h", embedHeader(set));
    if (isAssembly) {
        writeText(request.name + ".c", embedIndex(set));
        // Not NAME.s: builds would compile it to NAME.o, the object file of NAME.c.
        writeText(request.name + "_data.s", embedArraysInAssembly(set));
    } else {
        writeText(request.name + ".c", embedArraysAndIndex(set));
    }
    return 0;
}
