// Text from files is escaped, and a content security policy forbids everything but the page's own style, script and
// pictures. So a hostile file name stays text.
#include "tools/slabtool/gallery/page.h"

#include "tools/slabtool/base64.h"
#include "tools/slabtool/gallery/assets.h"
#include "tools/slabtool/text.h"
#include "tools/slabtool/utf8.h"

#include <algorithm>
#include <charconv>

namespace {

// Text in an element or in a quoted attribute. Bytes that are not UTF-8 become U+FFFD.
std::string escaped(const std::string& raw) {
    const std::string text = printable(raw);
    std::string result;
    for (size_t at = 0; at < text.size();) {
        const size_t length = utf8Length(text, at);
        switch (text[at]) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += length == 0 ? "\uFFFD" : text.substr(at, length);
        }
        at += length == 0 ? 1 : length;
    }
    return result;
}

std::string attribute(const char* name, const std::string& value) {
    return std::string(" ") + name + "=\"" + escaped(value) + "\"";
}

// Names break after a slash.
std::string breakable(const std::string& name) {
    std::string result;
    for (const char c : escaped(name)) {
        result += c == '/' ? "/<wbr>" : std::string(1, c);
    }
    return result;
}

// "with-loss" for "accepted with loss": the last words of a verdict are its class.
std::string classOf(const std::string& verdict) {
    if (verdict == "accepted with loss") {
        return "with-loss";
    }
    return verdict == "not consistent" ? "not-consistent" : verdict;
}

// The min space for a picture in its card, in pixels of the page. page.css has the height.
constexpr uint32_t kBoxWidth = 180, kBoxHeight = 152;

// Small pictures are enlarged by a whole number, so that all pixels stay equal.
uint32_t zoomOf(const GalleryItem& item) {
    constexpr uint32_t kMaxZoomedSide = 128, kMaxZoom = 8; // pixels of the page
    return std::clamp(kMaxZoomedSide / std::max(item.width, item.height), 1U, kMaxZoom);
}

std::string pictureOf(const GalleryItem& item) {
    if (!item.png) {
        return "<div class=\"nothing\">no picture</div>";
    }
    const uint64_t zoom = zoomOf(item);
    const bool isReduced = item.width > kBoxWidth || item.height > kBoxHeight;
    return "<button type=\"button\" class=\"picture\"" +
           attribute("aria-label", "Enlarge " + item.name) + "><img alt=\"\"" +
           (isReduced ? " class=\"reduced\"" : "") +
           attribute("width", std::to_string(item.width * zoom)) +
           attribute("height", std::to_string(item.height * zoom)) +
           " decoding=\"async\" loading=\"lazy\" src=\"data:image/png;base64," +
           base64Of(*item.png) + "\"></button>";
}

std::string numbersOf(const GalleryItem& item) {
    std::string text = item.mode;
    const auto add = [&](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
    if (item.width != 0) {
        add(std::to_string(item.width) + " × " + std::to_string(item.height));
    }
    add(withSeparators(item.bytes) + " bytes");
    if (!item.details.empty()) {
        add(item.details);
    }
    return text;
}

// The source of the style or script with this content, for the policy.
std::string policySource(const GalleryAsset& asset) {
    Bytes digest;
    for (size_t at = 0; at + 1 < asset.sha256.size(); at += 2) {
        uint8_t byte = 0;
        std::from_chars(asset.sha256.data() + at, asset.sha256.data() + at + 2, byte, 16);
        digest.push_back(byte);
    }
    return "'sha256-" + base64Of(digest) + "'";
}

// The controls work only with the script, which shows them.
constexpr const char* kControls =
    R"html(<form id="filters" class="filters" role="search" autocomplete="off" hidden>
<label>Name <input id="name" type="search"></label>
<label>Mode <select id="mode"><option value="">all</option></select></label>
<label>Verdict <select id="verdict"><option value="">all</option></select></label>
<label>Sort by <select id="sort">
<option value="name">name</option>
<option value="bytes-down">file size, largest first</option>
<option value="bytes-up">file size, smallest first</option>
<option value="pixels-down">pixels, largest first</option>
<option value="pixels-up">pixels, smallest first</option>
</select></label>
<label>Background <select id="background">
<option value="checkered">checkerboard</option>
<option value="white">white</option>
<option value="black">black</option>
</select></label>
</form>
<p id="shown" class="quiet" role="status"></p>
)html";

constexpr const char* kViewer = R"html(<dialog id="viewer" aria-labelledby="viewer-name">
<div class="bar">
<div class="title" aria-live="polite"><h2 id="viewer-name"></h2><p id="viewer-facts" class="quiet"></p></div>
<button type="button" id="previous" title="Key: arrow left">Previous</button>
<button type="button" id="next" title="Key: arrow right">Next</button>
<button type="button" id="zoom-out" aria-label="Zoom out" title="Key: -">−</button>
<span id="zoom" role="status"></span>
<button type="button" id="zoom-in" aria-label="Zoom in" title="Key: +">+</button>
<button type="button" id="actual" title="Key: 1">Actual size</button>
<button type="button" id="fit" title="Key: 0">Fit</button>
<button type="button" id="close" title="Key: Escape">Close</button>
</div>
<div id="stage" class="stage" tabindex="0" role="region" aria-label="Picture"></div>
</dialog>
)html";

} // namespace

std::string withSeparators(uint64_t number) {
    std::string text = std::to_string(number);
    for (size_t at = text.size(); at > 3;) {
        at -= 3;
        text.insert(at, 1, ',');
    }
    return text;
}

std::string htmlOf(const GalleryItem& item) {
    const uint64_t pixels = uint64_t{item.width} * item.height;
    std::string html = "<li" + attribute("data-name", item.name) +
                       attribute("data-mode", item.mode.empty() ? "unknown" : item.mode) +
                       attribute("data-verdict", item.verdict) +
                       attribute("data-bytes", std::to_string(item.bytes)) +
                       attribute("data-pixels", std::to_string(pixels)) + ">" + pictureOf(item) +
                       "<div class=\"facts\"><h2>" + breakable(item.name) +
                       "</h2><p class=\"numbers quiet\">" + escaped(numbersOf(item)) +
                       "</p><p class=\"verdict " + classOf(item.verdict) + "\">" + item.verdict +
                       "</p>";
    for (const std::string& remark : item.remarks) {
        html += "<p>" + escaped(remark) + "</p>";
    }
    if (!item.fix.empty()) {
        html += "<p>Fix: <code>" + escaped(item.fix) + "</code></p>";
    }
    html += "</div></li>\n";
    return html;
}

std::string pageOf(const std::string& title, const std::string& summary, const std::string& items) {
    std::string page =
        "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
        "img-src data:; style-src " +
        policySource(kGalleryStyle) + "; script-src " + policySource(kGalleryScript) +
        "; base-uri 'none'; form-action 'none'\">\n<title>" + escaped(title) + "</title>\n<style>";
    page += kGalleryStyle.text;
    page += "</style>\n</head>\n<body>\n<a class=\"skip\" href=\"#pictures\">Skip to the "
            "pictures</a>\n<header>\n<h1>" +
            escaped(title) + "</h1>\n<p>" + escaped(summary) + "</p>\n" + kControls +
            "</header>\n<main>\n<ul id=\"pictures\">\n";
    page += items;
    page += "</ul>\n<p id=\"none\" hidden>No picture has these properties.</p>\n</main>\n";
    page += kViewer;
    page += "<script>";
    page += kGalleryScript.text;
    page += "</script>\n</body>\n</html>\n";
    return page;
}
