// slabtool manifest: every manifest is read and checked before the merged one is written.
#include "tools/slabtool/commands/commands.h"

#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/runs/manifest.h"

int runManifest(const ManifestRequest& request) {
    writeText(request.output, mergeManifests(request.paths, request.output).text());
    return 0;
}
