// The page of slabtool gallery: HTML in one file, which needs no server and no other file.
#pragma once

#include "tools/slabtool/rejection.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// One picture of the gallery.
struct GalleryItem {
    std::string name;    ///< path below the folder
    std::string mode;    ///< of a surface; "PNG" for an image; empty if unknown
    std::string verdict; ///< "consistent", "rejected", ...
    uint64_t bytes = 0;  ///< of the file
    uint32_t width = 0, height = 0;
    std::string details;              ///< more numbers, such as the rotation
    std::vector<std::string> remarks; ///< reasons, losses and notes
    std::string fix;                  ///< a command
    std::optional<Bytes> png;         ///< the picture; none if the file has no usable pixels
};

/// "1,234"
std::string withSeparators(uint64_t number);

/// The HTML of one item. Names and remarks may hold any bytes.
std::string htmlOf(const GalleryItem& item);

/// The whole page.
/// @param title any bytes
/// @param summary the totals, any bytes
/// @param items the HTML of all items
std::string pageOf(const std::string& title, const std::string& summary, const std::string& items);
