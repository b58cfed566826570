// slabtool embed: every surface is read and checked before the first file is written.
#include "tools/slabtool/commands/commands.h"

#include "src/ds_surface.h"
#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/surfaces/embed_text.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <algorithm>
#include <filesystem>
#include <map>

namespace {

// It stands in identifiers and, as it is, between the quotes of #include.
void checkFileName(const std::string& name) {
    const std::string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    if (name.empty() || letters.find(name.front()) == std::string::npos ||
        name.find_first_not_of(letters + "0123456789._-") != std::string::npos) {
        throw Refusal(
            "choose a name of letters, digits, '.', '_' and '-' that begins with a letter");
    }
}

// The name of a surface file without its folder and ".surface".
std::string nameOf(const std::string& path) {
    const std::filesystem::path name = std::filesystem::path(path).filename();
    return name.extension() == ".surface" ? name.stem() : name;
}

// Everything but the bytes.
EmbeddedSurface describe(const std::string& path, const std::string& prefix) {
    EmbeddedSurface surface = {};
    surface.path = path;
    surface.name = nameOf(path);
    const std::string words = identifierIn(surface.name);
    if (words.empty()) {
        throw Refusal("its name has no letter or digit for an identifier");
    }
    surface.identifier = prefix + "_" + words + "_surface";
    return surface;
}

// `head` may be longer than a header.
void readHeader(EmbeddedSurface& surface, Bytes& head, uint64_t size) {
    const SurfaceFacts facts = inspectSurface(head, size);
    if (!facts.faults.empty()) {
        throw Refusal(facts.faults.front());
    }
    surface.size = size;
    surface.mode = facts.header->mode;
    DsSurface(head.data()).getSize(surface.width, surface.height); // reads the header alone
}

EmbeddedSurface readSurface(const std::string& path, const std::string& prefix, bool withBytes) {
    EmbeddedSurface surface = describe(path, prefix);
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
        const auto [place, isNew] = paths.emplace(surface.identifier, surface.path);
        if (!isNew) {
            throw Refusal(printable(place->second) + " and " + printable(surface.path) +
                          " would both be " + surface.identifier + ": rename one of them");
        }
    }
}

} // namespace

int runEmbed(const EmbedRequest& request) {
    EmbeddedSet set = {};
    set.fileName = std::filesystem::path(request.name).filename();
    about(request.name, [&] { checkFileName(set.fileName); });
    set.prefix = identifierIn(set.fileName);
    const bool isAssembly = request.format == kAssemblyFormat;
    for (const std::string& path : request.paths) {
        set.surfaces.push_back(
            about(path, [&] { return readSurface(path, set.prefix, !isAssembly); }));
    }
    rejectCollisions(set.surfaces);
    std::sort(set.surfaces.begin(), set.surfaces.end(),
              [](const auto& a, const auto& b) { return a.name < b.name; });
    writeText(request.name + ".h", embedHeader(set));
    if (isAssembly) {
        writeText(request.name + ".c", embedIndex(set));
        // Beside NAME.c: builds would make NAME.o of a NAME.s too.
        writeText(request.name + "_data.s", embedArraysInAssembly(set));
    } else {
        writeText(request.name + ".c", embedArraysAndIndex(set));
    }
    return 0;
}
