// The style and the script of the gallery. CMake generates the definitions from page.css and page.js.
#pragma once

#include <string_view>

/// A text for an element of the page.
struct GalleryAsset {
    std::string_view text;
    std::string_view sha256; ///< of the text, in hexadecimal digits
};

extern const GalleryAsset kGalleryStyle, kGalleryScript;
