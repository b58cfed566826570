// slabtool embed: the bytes of the files, identifiers, and rejections. embed_build_test.py compiles the files.
#include "tests/slabtool/slabtool_test.h"
#include "tests/src/surface_makers.h"
#include "tools/slabtool/surfaces/embed_text.h"

namespace {

namespace fs = std::filesystem;

// A surface file of one row of 8-bit pixels, without padding at its end.
byte_vector surfaceOf(const byte_vector& pixels, uint32_t rotation = 0) {
    const auto width = static_cast<uint32_t>(pixels.size());
    byte_vector file = makeFileHeader(rotation, DsColorMode::A8, width, 1, width);
    append(file, pixels);
    return file;
}

class Embed : public SlabtoolTest {
protected:
    std::string text(const std::string& name) const {
        const byte_vector bytes = read(name);
        return {bytes.begin(), bytes.end()};
    }

    void expectPart(const std::string& name, const std::string& part) const {
        EXPECT_NE(std::string::npos, text(name).find(part)) << part << "\nin " << text(name);
    }

    void expectRejection(const std::string& error,
                         const std::vector<std::string>& arguments) const {
        std::vector<std::string> command = {"embed", "-o", "set"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        expectTool(1, "", "slabtool: " + error + "\n", command);
        EXPECT_FALSE(fs::exists(path("set.h")));
        EXPECT_FALSE(fs::exists(path("set.c")));
    }
};

TEST_F(Embed, WritesAHeaderThatDeclaresArraysAndAnIndex) {
    write("ok.surface", surfaceOf({1, 2, 3, 4}));
    expectTool(0, "", "", {"embed", "-o", "small-icons", "ok.surface"});
    EXPECT_EQ(R"(/* Made by slabtool embed. */
#ifndef SMALL_ICONS_SURFACES_H
#define SMALL_ICONS_SURFACES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Surface files, each aligned to 4 bytes. */
extern const uint8_t small_icons_ok_surface[24];

struct small_icons_entry {
    const char* name;       /* of the surface file, without ".surface" */
    const uint8_t* data;    /* the surface file */
    size_t size;            /* in bytes */
    uint32_t mode;          /* the color mode */
    uint32_t width, height; /* of the upright picture */
};

enum { small_icons_count = 1 };

/* Sorted by name, in the order of strcmp. */
extern const struct small_icons_entry small_icons_index[small_icons_count];

#ifdef __cplusplus
}
#endif

#endif
)",
              text("small-icons.h"));
}

TEST_F(Embed, WritesASourceThatDefinesArraysAndTheIndex) {
    write("ok.surface", surfaceOf({1, 2, 3, 254}));
    expectTool(0, "", "", {"embed", "-o", "small-icons", "--format", "c", "ok.surface"});
    EXPECT_EQ(R"(/* Made by slabtool embed. */
#include "small-icons.h"

#if defined(__cplusplus)
#define SMALL_ICONS_ALIGNED alignas(4)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define SMALL_ICONS_ALIGNED _Alignas(4)
#elif defined(__GNUC__)
#define SMALL_ICONS_ALIGNED __attribute__((aligned(4)))
#elif defined(_MSC_VER)
#define SMALL_ICONS_ALIGNED __declspec(align(4))
#else
#error "this compiler has no known keyword for alignment: use C11 or C++"
#endif

SMALL_ICONS_ALIGNED const uint8_t small_icons_ok_surface[24] = {
    0x00,0x00,0x00,0x00,0x09,0x00,0x00,0x00,0x04,0x00,0x00,0x00,0x01,0x00,0x00,0x00,
    0x04,0x00,0x00,0x00,0x01,0x02,0x03,0xfe,
};

const struct small_icons_entry small_icons_index[small_icons_count] = {
    {"ok", small_icons_ok_surface, sizeof small_icons_ok_surface, 9, 4, 1},
};
)",
              text("small-icons.c"));
    EXPECT_FALSE(fs::exists(path("small-icons_data.s")));
}

TEST_F(Embed, WritesAnAssemblyFileThatReadsTheSurfaces) {
    write("ok.surface", surfaceOf({1, 2, 3, 4}));
    expectTool(0, "", "", {"embed", "-o", "icons", "--format", "asm", "ok.surface"});
    EXPECT_EQ(R"(/* Made by slabtool embed. */
    .section .rodata,"a",%progbits

    .balign 4
    .globl icons_ok_surface
    .type icons_ok_surface,%object
    .size icons_ok_surface,24
icons_ok_surface:
    .incbin "ok.surface"
    .if . - icons_ok_surface - 24
    .error "the size of the surface file of icons_ok_surface has changed: run slabtool embed again"
    .endif

    .section .note.GNU-stack,"",%progbits
)",
              text("icons_data.s"));
    EXPECT_EQ(R"(/* Made by slabtool embed. */
#include "icons.h"

const struct icons_entry icons_index[icons_count] = {
    {"ok", icons_ok_surface, sizeof icons_ok_surface, 9, 4, 1},
};
)",
              text("icons.c"));
    expectPart("icons.h", "extern const uint8_t icons_ok_surface[24];\n");
}

TEST_F(Embed, WritesTheSameFilesForEveryOrderOfTheSurfaces) {
    for (const char* name : {"b.surface", "a.surface", "B.surface"}) {
        write(name, surfaceOf({1}));
    }
    expectTool(0, "", "", {"embed", "-o", "one", "b.surface", "a.surface", "B.surface"});
    const std::string header = text("one.h"), source = text("one.c");
    expectTool(0, "", "", {"embed", "-o", "one", "B.surface", "b.surface", "a.surface"});
    EXPECT_EQ(header, text("one.h"));
    EXPECT_EQ(source, text("one.c"));
    expectPart("one.c", "    {\"B\", one_B_surface, sizeof one_B_surface, 9, 1, 1},\n"
                        "    {\"a\", one_a_surface, sizeof one_a_surface, 9, 1, 1},\n"
                        "    {\"b\", one_b_surface, sizeof one_b_surface, 9, 1, 1},\n");
}

TEST_F(Embed, GivesTheSizeOfTheUprightPicture) {
    write("rotated.surface", surfaceOf({1, 2, 3}, 90));
    expectTool(0, "", "", {"embed", "-o", "set", "rotated.surface"});
    expectPart("set.c", "sizeof set_rotated_surface, 9, 1, 3},\n");
}

TEST_F(Embed, WritesIntoTheFolderOfTheName) {
    fs::create_directory(path("made"));
    write("ok.surface", surfaceOf({1}));
    expectTool(0, "", "", {"embed", "-o", "made/set", "ok.surface"});
    expectPart("made/set.c", "#include \"set.h\"\n");
    expectPart("made/set.h", "set_ok_surface");
}

TEST_F(Embed, EscapesNamesInStrings) {
    const std::string name = "a\"b\\c?\?=\xC3\xA9\n";
    write(name + ".surface", surfaceOf({1}));
    expectTool(0, "", "", {"embed", "-o", "set", name + ".surface"});
    expectPart("set.c", R"({"a\042b\134c\077\077=\303\251\012", set_a_b_c_surface, )");
    expectTool(0, "", "", {"embed", "-o", "set", "--format", "asm", name + ".surface"});
    expectPart("set_data.s", R"(.incbin "a\042b\134c\077\077=\303\251\012.surface")");
}

TEST_F(Embed, MakesIdentifiersOfLettersAndDigits) {
    EXPECT_EQ("ok", identifierIn("ok"));
    EXPECT_EQ("OK_2x", identifierIn("OK@2x"));
    EXPECT_EQ("a_b_c", identifierIn("a - b__c"));
    EXPECT_EQ("a", identifierIn("-a-"));
    EXPECT_EQ("2", identifierIn("2"));
    EXPECT_EQ("t", identifierIn("\xC3\xA9t\xC3\xA9"));
    EXPECT_EQ("", identifierIn("-"));
    EXPECT_EQ("", identifierIn(""));
}

TEST_F(Embed, RejectsIdentifiersThatCollide) {
    for (const char* name : {"ok-2.surface", "ok.surface", "ok_2.surface"}) {
        write(name, surfaceOf({1}));
    }
    expectRejection(
        "ok-2.surface and ok_2.surface would both be set_ok_2_surface: rename one of them",
        {"ok-2.surface", "ok.surface", "ok_2.surface"});
    expectRejection("ok.surface and ./ok.surface would both be set_ok_surface: rename one of them",
                    {"ok.surface", "./ok.surface"});
}

TEST_F(Embed, AvoidsTheNamesOfTheIndex) {
    const std::vector<std::string> names = {"count", "entry", "index"};
    std::vector<std::string> arguments = {"embed", "-o", "set"};
    for (const std::string& name : names) {
        write(name, surfaceOf({1}));
        arguments.push_back(name);
    }
    expectTool(0, "", "", arguments);
    for (const std::string& name : names) {
        expectPart("set.c", "{\"" + name + "\", set_" + name + "_surface, ");
    }
}

TEST_F(Embed, RejectsSurfacesWithoutANameForAnIdentifier) {
    write("---.surface", surfaceOf({1}));
    expectRejection("./---.surface: its name has no letter or digit for an identifier",
                    {"./---.surface"});
    expectRejection("-: its name has no letter or digit for an identifier", {"-"});
}

TEST_F(Embed, RejectsFileNamesThatSourcesCannotContain) {
    write("ok.surface", surfaceOf({1}));
    for (const std::string name : {"2x", "_x", "-", "a b", "a\"b", "a/", "\xC3\xA9"}) {
        expectTool(1, "",
                   "slabtool: " + name +
                       ": choose a name of letters, digits, '.', '_' and '-' that begins with a "
                       "letter\n",
                   {"embed", "ok.surface", "-o", name});
    }
}

TEST_F(Embed, RejectsInvalidSurfacesInBothFormats) {
    byte_vector truncated = surfaceOf({1, 2});
    truncated.pop_back();
    write("good.surface", surfaceOf({1}));
    write("bad.surface", truncated);
    for (const char* format : {"c", "asm"}) {
        expectRejection("bad.surface: 1 bytes of the rows are missing",
                        {"--format", format, "good.surface", "bad.surface"});
        expectRejection("none.surface: cannot be opened: No such file or directory",
                        {"--format", format, "none.surface"});
    }
}

TEST_F(Embed, NamesTheFileThatCannotBeWritten) {
    write("ok.surface", surfaceOf({1}));
    expectTool(1, "",
               "slabtool: none/set.h: cannot be opened for writing: No such file or directory\n",
               {"embed", "-o", "none/set", "ok.surface"});
}

TEST_F(Embed, RejectsUnknownFormats) {
    write("ok.surface", surfaceOf({1}));
    EXPECT_EQ(2, tool({"embed", "-o", "set", "--format", "rust", "ok.surface"}).exitStatus);
    EXPECT_EQ(2, tool({"embed", "-o", "set"}).exitStatus);
    EXPECT_EQ(2, tool({"embed", "ok.surface"}).exitStatus);
}

} // namespace
