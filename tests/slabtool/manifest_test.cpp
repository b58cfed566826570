// The manifest of an output folder: writing, reading, rejecting and merging.
#include "tests/tools/converter_test.h"
#include "tools/slabtool/runs/manifest.h"

#include <cstdlib>

namespace {

namespace fs = std::filesystem;

ManifestEntry entryOf(const std::string& name) {
    return {name,
            name + ".surface",
            "RGB565",
            4,
            3,
            8,
            90,
            44,
            std::nullopt,
            {"../in/" + name + ".png", 99, 1'700'000'000'123'456'789, "0123456789abcdef"},
            "accepted",
            "--mode RGB565",
            "1.0"};
}

class Manifests : public ConverterTest {
protected:
    void writeText(const std::string& name, const std::string& text) const {
        write(name, byte_vector(text.begin(), text.end()));
    }

    Manifest load(const std::string& text) const {
        writeText("surfaces.json", text);
        return Manifest::load(path("surfaces.json"));
    }

    Manifest merged(const std::vector<std::string>& names,
                    const std::string& output = "out.json") const {
        std::vector<std::string> paths;
        for (const std::string& name : names) {
            paths.push_back(path(name));
        }
        return mergeManifests(paths, path(output));
    }

    void expectMergeRejection(const std::string& message, const std::vector<std::string>& names,
                              const std::string& output) const {
        try {
            merged(names, output);
            ADD_FAILURE() << "merged";
        } catch (const Rejection& rejection) {
            EXPECT_EQ(message, rejection.what());
        }
    }

    void expectRejection(const std::string& message, const std::string& text) const {
        try {
            load(text);
            ADD_FAILURE() << "not rejected: " << text;
        } catch (const Rejection& rejection) {
            EXPECT_EQ(path("surfaces.json").string() + ": " + message, rejection.what()) << text;
        }
    }
};

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    EXPECT_NE(std::string::npos, at) << from;
    return text.replace(at, from.size(), to);
}

std::string textOf(const ManifestEntry& entry) {
    Manifest manifest;
    manifest.put(entry);
    return manifest.text();
}

TEST_F(Manifests, HaveOneLineForEachEntry) {
    EXPECT_EQ("{\n\"format\": 1,\n\"surfaces\": [\n"
              "{\"name\":\"a\",\"file\":\"a.surface\",\"mode\":\"RGB565\",\"width\":4,\"height\":3,"
              "\"stride\":8,\"rotation\":90,\"bytes\":44,\"palette\":null,\"source\":{\"path\":"
              "\"../in/a.png\",\"size\":99,\"time\":1700000000123456789,\"hash\":"
              "\"0123456789abcdef\"},\"verdict\":\"accepted\",\"options\":\"--mode "
              "RGB565\",\"tool\":\"1.0\"}\n]\n}\n",
              textOf(entryOf("a")));
    EXPECT_EQ("{\n\"format\": 1,\n\"surfaces\": [\n]\n}\n", Manifest().text());
}

TEST_F(Manifests, AreReadAsTheyWereWritten) {
    Manifest manifest;
    for (const char* name : {"b", "a/c", "a\"\\\n\xC3\xA4"}) {
        manifest.put(entryOf(name));
    }
    ManifestEntry other = entryOf("p");
    other.palette = "p.palette";
    other.source.time = -1;
    manifest.put(other);
    EXPECT_TRUE(manifest.isChanged());
    const Manifest loaded = load(manifest.text());
    EXPECT_EQ(manifest.entries(), loaded.entries());
    EXPECT_FALSE(loaded.isChanged());
}

TEST_F(Manifests, KeepNamesThatAreNotUtf8) {
    ManifestEntry entry = entryOf("\xFF");
    entry.palette = "\xFF.palette";
    const std::string text = textOf(entry);
    EXPECT_NE(std::string::npos,
              text.find("\"file\":\"\xEF\xBF\xBD.surface\",\"file_hex\":\"ff2e73757266616365\""))
        << text;
    EXPECT_EQ(entry, *load(text).find("\xFF.surface"));
}

TEST_F(Manifests, AreEmptyIfTheFileIsMissing) {
    EXPECT_TRUE(Manifest::load(path("surfaces.json")).entries().empty());
}

TEST_F(Manifests, ChangeByEntriesThatDiffer) {
    Manifest manifest = load(textOf(entryOf("a")));
    manifest.put(entryOf("a"));
    manifest.remove("b.surface");
    EXPECT_FALSE(manifest.isChanged());
    Manifest touched = manifest;
    ManifestEntry other = entryOf("a");
    ++other.source.time;
    touched.put(other);
    EXPECT_TRUE(touched.isChanged());
    EXPECT_EQ(other, *touched.find("a.surface"));
    manifest.remove("a.surface");
    EXPECT_TRUE(manifest.isChanged());
    EXPECT_EQ(nullptr, manifest.find("a.surface"));
}

TEST_F(Manifests, AreRejectedIfInvalid) {
    const std::string good = textOf(entryOf("a"));
    const std::string message =
        "is not a manifest that slabtool can read: remove it to convert every image again";
    for (const std::string& text :
         {std::string(),
          std::string("null"),
          std::string("[]"),
          std::string("{}"),
          std::string("{\"format\": 1}"),
          std::string("{\"format\": 1, \"surfaces\": {}}"),
          std::string("{\"surfaces\": []}"),
          std::string(100'000, '['),
          good.substr(0, 200),
          good + "x",
          replaced(good, "\"format\": 1", "\"format\": 2"),
          replaced(good, "\"width\":4", "\"width\":-4"),
          replaced(good, "\"width\":4", "\"width\":4.5"),
          replaced(good, "\"width\":4", "\"width\":4294967296"),
          replaced(good, "\"bytes\":44", "\"bytes\":18446744073709551616"),
          replaced(good, "1700000000123456789", "9223372036854775808"),
          replaced(good, "\"mode\":\"RGB565\"", "\"mode\":5"),
          replaced(good, "\"stride\":8,", ""),
          replaced(good, "\"width\":4", "\"width\":[4]"),
          replaced(good, "\"width\":4", "\"width\":null"),
          replaced(good, "\"surfaces\": [", "\"surfaces\": [5,"),
          replaced(good, "\"surfaces\": [", "\"surfaces\": [[],"),
          replaced(good, "\"accepted\"", "\"\xFF\""),
          replaced(good, "\"mode\"", "\"file_hex\":\"6\",\"mode\""),
          replaced(good, "\"mode\"", "\"file_hex\":\"6G\",\"mode\"")}) {
        expectRejection(message, text);
    }
}

TEST_F(Manifests, AreRejectedForPathsOutsideTheirFolder) {
    const std::string good = textOf(entryOf("a"));
    for (const char* file : {"/a", "../a", "a/../../b", "a/..", "a/", "", "..", "a\\u0000b"}) {
        expectRejection("names a file outside its folder",
                        replaced(good, "\"a.surface\"", std::string("\"") + file + "\""));
        expectRejection(
            "names a file outside its folder",
            replaced(good, "\"palette\":null", std::string("\"palette\":\"") + file + "\""));
    }
}

TEST_F(Manifests, AreRejectedForOtherFilesThanSurfacesAndPalettes) {
    const std::string good = textOf(entryOf("a"));
    for (const char* file : {"a.png", "a.palette", "surface", "a.surface.bak", "a.SURFACE"}) {
        expectRejection(
            "is not a manifest that slabtool can read: remove it to convert every image again",
            replaced(good, "\"a.surface\"", std::string("\"") + file + "\""));
    }
    for (const char* file : {"a.png", "a.surface", "palette"}) {
        expectRejection(
            "is not a manifest that slabtool can read: remove it to convert every image again",
            replaced(good, "\"palette\":null", std::string("\"palette\":\"") + file + "\""));
    }
}

TEST_F(Manifests, MayHaveUnknownMembers) {
    const std::string good = textOf(entryOf("a"));
    for (const auto& [from, to] : std::map<std::string, std::string>{
             {"\"format\"", "\"note\": [{\"file\": [1, null]}, 2.5], \"format\""},
             {"\"mode\"", "\"note\": {\"a\": true}, \"mode\""},
             {"\"hash\"", "\"note\": {\"size\": {}}, \"hash\""},
             {"\"hash\"", "\"note\": null, \"hash\""}}) {
        EXPECT_EQ(entryOf("a"), *load(replaced(good, from, to)).find("a.surface")) << to;
    }
}

// The schema is the interface for other programs.
class ManifestSchema : public Manifests {
protected:
    // Whether the schema allows the text; nothing if the validator is not installed.
    std::optional<bool> allows(const std::string& text) const {
        constexpr int kMissing = 77, kInvalid = 3;
        writeText("surfaces.json", text);
        writeText("validate.py",
                  "import json, sys\n"
                  "try: import jsonschema\n"
                  "except ImportError: sys.exit(77)\n"
                  "schema, manifest = (json.load(open(name)) for name in sys.argv[1:])\n"
                  "jsonschema.Draft7Validator.check_schema(schema)\n"
                  "sys.exit(0 if jsonschema.Draft7Validator(schema).is_valid(manifest) else 3)\n");
        // Python needs no emulator, even if the programs under test do.
        const ProgramOutcome outcome =
            runInShell("'" PNGSLAB_PYTHON "' validate.py '" PNGSLAB_SOURCE_DIR
                       "/docs/surfaces.schema.json' surfaces.json",
                       "slabtool", PNGSLAB_SLABTOOL, path(""));
        if (outcome.exitStatus == kMissing) {
            return std::nullopt;
        }
        EXPECT_TRUE(outcome.exitStatus == 0 || outcome.exitStatus == kInvalid) << outcome.errors;
        return outcome.exitStatus == 0;
    }
};

TEST_F(ManifestSchema, AllowsWhatIsWritten) {
    Manifest manifest;
    manifest.put(entryOf("a/b"));
    ManifestEntry strange = entryOf("..\xFF..");
    strange.palette = "\xFF.palette";
    strange.source.path = "\xFF";
    manifest.put(strange);
    const std::optional<bool> isValid = allows(manifest.text());
    if (!isValid) {
        GTEST_SKIP() << "python3-jsonschema is not installed";
    }
    EXPECT_TRUE(*isValid) << manifest.text();
    EXPECT_TRUE(*allows(Manifest().text()));
}

TEST_F(ManifestSchema, RejectsWhatIsNotWritten) {
    const std::string good = textOf(entryOf("a"));
    if (!allows(good)) {
        GTEST_SKIP() << "python3-jsonschema is not installed";
    }
    for (const auto& [from, to] :
         std::map<std::string, std::string>{{"\"format\": 1", "\"format\": 2"},
                                            {"\"RGB565\"", "\"RGB\""},
                                            {"\"width\":4", "\"width\":-4"},
                                            {"\"rotation\":90", "\"rotation\":45"},
                                            {"\"palette\":null,", ""},
                                            {"\"palette\":null", "\"palette\":\"../p\""},
                                            {"\"a.surface\"", "\"/a.surface\""},
                                            {"\"a.surface\"", "\"b/../../a.surface\""},
                                            {"0123456789abcdef", "0123456789ABCDEF"},
                                            {"\"tool\"", "\"other\""}}) {
        EXPECT_FALSE(*allows(replaced(good, from, to))) << to;
    }
}

TEST_F(Manifests, AreMerged) {
    writeText("1.json", textOf(entryOf("a")));
    Manifest second;
    second.put(entryOf("b"));
    second.put(entryOf("a"));
    writeText("2.json", second.text());
    EXPECT_EQ(second.text(), merged({"1.json", "2.json"}).text());
}

TEST_F(Manifests, AreMergedIntoAParentFolder) {
    fs::create_directories(path("x/y"));
    ManifestEntry entry = entryOf("a");
    entry.palette = "a.palette";
    writeText("x/y/surfaces.json", textOf(entry));
    ManifestEntry deep = entryOf("deep/a");
    deep.source.path = "/elsewhere/a.png";
    writeText("x/surfaces.json", textOf(deep));

    const Manifest all = merged({"x/y/surfaces.json", "x/surfaces.json"});

    entry.name = "x/y/a";
    entry.file = "x/y/a.surface";
    entry.palette = "x/y/a.palette";
    entry.source.path = "x/in/a.png"; // "x/y/../in/a.png", normalized
    ASSERT_NE(nullptr, all.find("x/y/a.surface"));
    EXPECT_EQ(entry, *all.find("x/y/a.surface"));
    ASSERT_NE(nullptr, all.find("x/deep/a.surface"));
    EXPECT_EQ("/elsewhere/a.png", all.find("x/deep/a.surface")->source.path);
}

TEST_F(Manifests, AreMergedByTheirRealFolders) {
    fs::create_directories(path("real"));
    fs::create_directory_symlink("real", path("link"));
    writeText("real/surfaces.json", textOf(entryOf("a")));
    EXPECT_NE(nullptr, merged({"link/surfaces.json"}).find("real/a.surface"));
}

TEST_F(Manifests, AreNotMergedIfTheyDiffer) {
    fs::create_directories(path("x"));
    writeText("x/1.json", textOf(entryOf("a")));
    ManifestEntry other = entryOf("x/a");
    other.source.path = "in/a.png";
    writeText("2.json", textOf(other));
    EXPECT_EQ(1U, merged({"x/1.json", "2.json"}).entries().size()); // both have the same entry
    other.options = "";
    writeText("2.json", textOf(other));
    expectMergeRejection(path("x/1.json").string() + " and " + path("2.json").string() +
                             " have different entries for x/a.surface",
                         {"x/1.json", "2.json"}, "out.json");
}

TEST_F(Manifests, AreNotMergedIntoOtherFolders) {
    fs::create_directories(path("x"));
    fs::create_directories(path("y"));
    writeText("x/1.json", textOf(entryOf("a")));
    writeText("2.json", textOf(entryOf("b")));
    const std::string reason = ": its surfaces are outside the folder of the merged manifest";
    expectMergeRejection(path("x/1.json").string() + reason, {"x/1.json"}, "y/out.json");
    expectMergeRejection(path("2.json").string() + reason, {"2.json"}, "y/out.json");
}

TEST_F(Manifests, AreNotMergedIfOneIsMissing) {
    const std::string reason = ": cannot be opened: No such file or directory";
    writeText("1.json", textOf(entryOf("a")));
    expectMergeRejection(path("2.json").string() + reason, {"1.json", "2.json"}, "out.json");
    expectMergeRejection(path("x/2.json").string() + reason, {"1.json", "x/2.json"}, "out.json");
    expectMergeRejection(path("x/out.json").string() + reason, {"1.json"}, "x/out.json");
}

} // namespace
