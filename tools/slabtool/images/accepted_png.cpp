#include "tools/slabtool/images/accepted_png.h"

#include "tools/slabtool/images/png_verdict.h"

Bytes encodeAccepted(const PngImage& image) {
    for (const PngEffort& effort : kEfforts) {
        Bytes file = encodePng(image, effort);
        if (judgePng(file, false).isAccepted) {
            return file;
        }
    }
    return encodePng(image, kStored); // always accepted
}
