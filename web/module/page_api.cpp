// The functions of the module. worker/worker.js calls them. Each returns an object; after a failure it has a field
// `error` with the code and the text of the reason.
#include "tools/slabtool/images/judgment.h"
#include "tools/slabtool/runs/drawing.h"
#include "tools/slabtool/runs/image_to_surface.h"
#include "tools/slabtool/surfaces/color_words.h"
#include "tools/slabtool/surfaces/embed_set.h"
#include "tools/slabtool/surfaces/surface_file.h"
#include "web/module/js_bytes.h"
#include "web/module/page_picture.h"

#include <algorithm>
#include <emscripten/bind.h>
#include <new>
#include <stdexcept>
#include <string>

using emscripten::val;

namespace {

val toJs(const Finding& finding) {
    val object = val::object();
    object.set("code", finding.code);
    object.set("text", finding.text);
    return object;
}

template <typename Item>
val toJs(const std::vector<Item>& items) {
    val array = val::array();
    for (const Item& item : items) {
        if constexpr (std::is_same_v<Item, Finding>) {
            array.call<void>("push", toJs(item));
        } else {
            array.call<void>("push", item);
        }
    }
    return array;
}

val errorOf(const Finding& reason) {
    val object = val::object();
    object.set("error", toJs(reason));
    return object;
}

const Finding kPageMemory = {"memory", "there is not enough memory in this browser"};

// The result of `work`, or its failure.
template <typename Work>
val answer(const Work& work) {
    try {
        return work();
    } catch (const RejectedImage& rejection) {
        return errorOf(rejection.reason());
    } catch (const Rejection& rejection) {
        return errorOf({"", rejection.what()});
    } catch (const std::bad_alloc&) {
        return errorOf(kPageMemory);
    } catch (const std::length_error&) { // a buffer of 2 GiB
        return errorOf(kPageMemory);
    }
}

// ---- Images

val judge(const std::string& name, const val& file, bool alphaOnly) {
    return answer([&] {
        const Judgment judgment = judgeImage(name, bytesFromJs(file), alphaOnly);
        val object = val::object();
        object.set("verdict", std::string(verdictText(judgment.severity)));
        object.set("reason", judgment.reason ? toJs(*judgment.reason) : val::null());
        object.set("fix", judgment.fix);
        object.set("note", judgment.note);
        return object;
    });
}

ConversionRequest requestOf(const val& options) {
    ConversionRequest request = {};
    request.mode = parseMode(options["mode"].as<std::string>());
    request.background = parseColor(options["background"].as<std::string>());
    request.dither = parseDither(options["dither"].as<std::string>()).value_or(Dither::None);
    request.alphaOnly = options["alphaOnly"].as<bool>();
    request.keepColors = options["keepColors"].as<bool>();
    request.palette = options["palette"].as<bool>();
    request.rotation = options["rotation"].as<uint32_t>();
    return request;
}

val convert(const val& file, const val& options) {
    return answer([&] {
        const ConvertedImage converted = convertImage(bytesFromJs(file), requestOf(options));
        val object = val::object();
        object.set("surface", bytesToJs(converted.surface));
        object.set("palette",
                   converted.palette.empty() ? val::null() : bytesToJs(converted.palette));
        object.set("losses", toJs(converted.losses));
        return object;
    });
}

// ---- Pictures

// `view` has a field maxSide, or the fields of a section.
val show(const PngImage& image, const val& view) {
    const auto number = [&](const char* field) { return view[field].as<uint32_t>(); };
    const PagePicture picture =
        view["maxSide"].isNumber()
            ? reduced(image, number("maxSide"))
            : sectionOf(image, {number("x"), number("y"), number("width"), number("height")});
    val object = val::object();
    object.set("pictureWidth", image.width);
    object.set("pictureHeight", image.height);
    object.set("width", picture.width);
    object.set("height", picture.height);
    object.set("pixels", bytesToJs(picture.pixels));
    return object;
}

val drawImage(const val& file, const val& view) {
    return answer([&] {
        return show(decodeImage(bytesFromJs(file), {.keyToAlpha = true, .expandPalette = true}),
                    view);
    });
}

// `palette` is null without a palette file.
val drawSurface(const val& file, const val& palette, const val& view) {
    return answer([&] {
        const SurfacePicture picture(bytesFromJs(file));
        return show(palette.isNull() ? drawPicture(picture)
                                     : drawWithPalette(picture, paletteOf(bytesFromJs(palette))),
                    view);
    });
}

// ---- Surface files

val toJs(const SurfaceHeader& header) {
    val object = val::object();
    object.set("rotation", header.rotation);
    object.set("mode", header.mode);
    object.set("modeName", std::string(colorModeName(header.mode)));
    object.set("width", header.width);
    object.set("height", header.height);
    object.set("stride", header.stride);
    return object;
}

val inspect(const val& file) {
    return answer([&] {
        const Bytes bytes = bytesFromJs(file);
        const SurfaceFacts facts = inspectSurface(bytes, bytes.size());
        val object = val::object();
        object.set("header", facts.header ? toJs(*facts.header) : val::null());
        object.set("faults", toJs(facts.faults));
        object.set("oddities", toJs(facts.oddities));
        const std::optional<Finding> note =
            facts.header ? noteForMode(facts.header->mode) : std::nullopt;
        object.set("note", note ? toJs(*note) : val::null());
        return object;
    });
}

EmbeddedSurface embedded(const val& surface, const std::string& prefix) {
    const std::string name = surface["name"].as<std::string>();
    return namingFile(name, [&] {
        EmbeddedSurface result = nameSurface(name, prefix);
        result.bytes = bytesFromJs(surface["bytes"]);
        setHeader(result, result.bytes, result.bytes.size());
        return result;
    });
}

// `surfaces` is an array of objects with name and bytes.
val embed(const std::string& fileName, const val& surfaces) {
    return answer([&] {
        namingFile(fileName, [&] { checkFileName(fileName); });
        EmbeddedSet set = {fileName, identifierIn(fileName), {}};
        const auto count = surfaces["length"].as<uint32_t>();
        for (uint32_t i = 0; i < count; ++i) {
            set.surfaces.push_back(embedded(surfaces[i], set.prefix));
        }
        rejectCollisions(set.surfaces);
        std::sort(set.surfaces.begin(), set.surfaces.end(),
                  [](const auto& a, const auto& b) { return a.name < b.name; });
        val object = val::object();
        object.set("header", embedHeader(set));
        object.set("source", embedArraysAndIndex(set));
        return object;
    });
}

} // namespace

EMSCRIPTEN_BINDINGS(page) {
    emscripten::function("judge", &judge);
    emscripten::function("convert", &convert);
    emscripten::function("drawImage", &drawImage);
    emscripten::function("drawSurface", &drawSurface);
    emscripten::function("inspect", &inspect);
    emscripten::function("embed", &embed);
}
