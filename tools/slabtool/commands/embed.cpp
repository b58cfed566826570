// slabtool embed reads and checks every surface before it writes the first file.
#include "tools/slabtool/commands/commands.h"

#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/surfaces/embed_set.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <algorithm>
#include <filesystem>

namespace {

EmbeddedSurface readSurface(const std::string& path, const std::string& prefix, bool withBytes) {
    EmbeddedSurface surface = nameSurface(path, prefix);
    if (withBytes) {
        surface.bytes = readFile(path);
        setHeader(surface, surface.bytes, surface.bytes.size());
    } else {
        FileHead head = readHead(path, kSurfaceHeaderBytes);
        setHeader(surface, head.bytes, head.size);
    }
    return surface;
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
