// Every identifier begins with the prefix of the set. The name of an array ends in "_surface"; the other names end in
// "_index", "_count" or "_entry". So for all file names, no array conflicts with those names or with a keyword of C or
// C++.
#include "tools/slabtool/surfaces/embed_text.h"

#include <array>
#include <cstdio>

namespace {

// In the locale "C", not that of the user.
bool isLetterOrDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

std::string upperCase(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
    }
    return text;
}

// A string literal for both C and assemblers. Special characters are written as three octal digits; a question mark
// too, because it may begin a trigraph of C.
std::string stringLiteral(const std::string& text) {
    std::string literal = "\"";
    for (const char c : text) {
        if (c < ' ' || c > '~' || c == '"' || c == '\\' || c == '?') {
            char code[5];
            std::snprintf(code, sizeof code, "\\%03o",
                          static_cast<unsigned>(static_cast<uint8_t>(c)));
            literal += code;
        } else {
            literal += c;
        }
    }
    return literal + "\"";
}

std::string declaration(const EmbeddedSurface& surface) {
    return "const uint8_t " + surface.identifier + "[" + std::to_string(surface.size) + "]";
}

// Appends the bytes as numbers, 16 on each line.
void appendBytes(std::string& text, ByteView bytes) {
    static const auto kNumbers = [] {
        std::array<std::array<char, 6>, 256> numbers = {};
        for (unsigned i = 0; i < numbers.size(); ++i) {
            std::snprintf(numbers[i].data(), numbers[i].size(), "0x%02x,", i);
        }
        return numbers;
    }();
    constexpr size_t kNumbersOnLine = 16;
    for (size_t i = 0; i < bytes.size(); ++i) {
        text += i % kNumbersOnLine == 0 ? "\n    " : "";
        text += kNumbers[bytes[i]].data();
    }
}

const char* const kNote = "/* Made by slabtool embed. */\n";

// C has an alignment keyword since C11. Older compilers have their own.
std::string alignmentMacro(const std::string& macro) {
    return "#if defined(__cplusplus)\n"
           "#define " +
           macro +
           " alignas(4)\n"
           "#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L\n"
           "#define " +
           macro +
           " _Alignas(4)\n"
           "#elif defined(__GNUC__)\n"
           "#define " +
           macro +
           " __attribute__((aligned(4)))\n"
           "#elif defined(_MSC_VER)\n"
           "#define " +
           macro +
           " __declspec(align(4))\n"
           "#else\n"
           "#error \"this compiler has no known keyword for alignment: use C11 or C++\"\n"
           "#endif\n";
}

std::string include(const EmbeddedSet& set) {
    return "#include \"" + set.fileName + ".h\"\n\n";
}

std::string indexDefinition(const EmbeddedSet& set) {
    std::string text = "const struct " + set.prefix + "_entry " + set.prefix + "_index[" +
                       set.prefix + "_count] = {\n";
    for (const EmbeddedSurface& surface : set.surfaces) {
        text += "    {" + stringLiteral(surface.name) + ", " + surface.identifier + ", sizeof " +
                surface.identifier + ", " + std::to_string(surface.mode) + ", " +
                std::to_string(surface.width) + ", " + std::to_string(surface.height) + "},\n";
    }
    return text + "};\n";
}

} // namespace

std::string identifierIn(const std::string& text) {
    std::string identifier;
    bool isWordOver = false;
    for (const char c : text) {
        if (!isLetterOrDigit(c)) {
            isWordOver = !identifier.empty();
            continue;
        }
        identifier += isWordOver ? "_" : "";
        identifier += c;
        isWordOver = false;
    }
    return identifier;
}

std::string embedHeader(const EmbeddedSet& set) {
    const std::string guard = upperCase(set.prefix) + "_SURFACES_H";
    std::string text = kNote + ("#ifndef " + guard + "\n#define " + guard) +
                       "\n\n"
                       "#include <stddef.h>\n"
                       "#include <stdint.h>\n\n"
                       "#ifdef __cplusplus\n"
                       "extern \"C\" {\n"
                       "#endif\n\n"
                       "/* Surface files, each aligned to 4 bytes. */\n";
    for (const EmbeddedSurface& surface : set.surfaces) {
        text += "extern " + declaration(surface) + ";\n";
    }
    return text + "\nstruct " + set.prefix +
           "_entry {\n"
           "    const char* name;       /* of the surface file, without \".surface\" */\n"
           "    const uint8_t* data;    /* the surface file */\n"
           "    size_t size;            /* in bytes */\n"
           "    uint32_t mode;          /* the color mode */\n"
           "    uint32_t width, height; /* of the upright picture */\n"
           "};\n\n"
           "enum { " +
           set.prefix + "_count = " + std::to_string(set.surfaces.size()) +
           " };\n\n"
           "/* Sorted by name, in the order of strcmp. */\n"
           "extern const struct " +
           set.prefix + "_entry " + set.prefix + "_index[" + set.prefix +
           "_count];\n\n"
           "#ifdef __cplusplus\n"
           "}\n"
           "#endif\n\n"
           "#endif\n";
}

std::string embedIndex(const EmbeddedSet& set) {
    return kNote + include(set) + indexDefinition(set);
}

std::string embedArraysAndIndex(const EmbeddedSet& set) {
    const std::string macro = upperCase(set.prefix) + "_ALIGNED";
    std::string text = kNote + include(set) + alignmentMacro(macro) + "\n";
    for (const EmbeddedSurface& surface : set.surfaces) {
        text += macro + " " + declaration(surface) + " = {";
        appendBytes(text, surface.bytes);
        text += "\n};\n\n";
    }
    return text + indexDefinition(set);
}

// Nothing depends on the processor: assemblers for all processors accept these comments, and '%' before a type.
std::string embedArraysInAssembly(const EmbeddedSet& set) {
    std::string text = kNote + std::string("    .section .rodata,\"a\",%progbits\n");
    for (const EmbeddedSurface& surface : set.surfaces) {
        const std::string& name = surface.identifier;
        const std::string size = std::to_string(surface.size);
        text += "\n    .balign 4\n"
                "    .globl " +
                name + "\n    .type " + name + ",%object\n    .size " + name + "," + size + "\n" +
                name + ":\n    .incbin " + stringLiteral(surface.path) + "\n    .if . - " + name +
                " - " + size + "\n    .error \"the size of the surface file of " + name +
                " has changed: run slabtool embed again\"\n    .endif\n";
    }
    return text + "\n    .section .note.GNU-stack,\"\",%progbits\n";
}
