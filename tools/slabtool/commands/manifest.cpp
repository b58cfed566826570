// slabtool manifest reads and checks every manifest before it writes the merged one.
#include "tools/slabtool/commands/commands.h"

#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/runs/manifest.h"

int runManifest(const ManifestRequest& request) {
    writeText(request.output, mergeManifests(request.paths, request.output).text());
    return 0;
}
