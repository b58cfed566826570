// upToDateEntry: skips exactly the surfaces that are up to date.
#include "tests/tools/converter_test.h"
#include "tools/slabtool/runs/update.h"

#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

const SurfaceMaker kMaker = {"--mode RGB565", "1.0"};
const std::string kImage = "image";

class Updates : public ConverterTest {
protected:
    void SetUp() override {
        fs::create_directories(path("in"));
        fs::create_directories(path("out"));
        write("in/a.png", byte_vector(kImage.begin(), kImage.end()));
        setAge(1h);
        write("out/a.surface", byte_vector(44));
        job = {path("in/a.png"), "a.surface", "../in/a.png"};
        entry.file = "a.surface";
        entry.bytes = 44;
        entry.source = describeImage(job);
        entry.source.hash = contentHash(read("in/a.png"));
        entry.options = kMaker.options;
        entry.tool = kMaker.tool;
    }

    void setAge(fs::file_time_type::duration age) const {
        fs::last_write_time(path("in/a.png"), fs::file_time_type::clock::now() - age);
    }

    std::optional<ManifestEntry> update(const SurfaceMaker& maker = kMaker) const {
        return upToDateEntry(&entry, job, maker, path("out"));
    }

    Job job;
    ManifestEntry entry;
};

TEST_F(Updates, SkipWhatIsUpToDateWithoutReadingIt) {
    fs::permissions(path("in/a.png"), fs::perms::none);
    entry.source.hash = "of other content"; // reading the image would detect this
    EXPECT_EQ(entry, update());
}

TEST_F(Updates, SkipATouchedImageAndRecordItsTime) {
    setAge(2h);
    const std::optional<ManifestEntry> kept = update();
    ASSERT_TRUE(kept.has_value());
    EXPECT_EQ(describeImage(job).time, kept->source.time);
    EXPECT_NE(entry.source.time, kept->source.time);
    EXPECT_EQ(entry.source.hash, kept->source.hash);
}

TEST_F(Updates, RedoImagesWithoutAnEntry) {
    EXPECT_FALSE(upToDateEntry(nullptr, job, kMaker, path("out")).has_value());
}

TEST_F(Updates, RedoOtherContent) {
    write("in/a.png", byte_vector(kImage.size()));
    setAge(2h);
    EXPECT_FALSE(update().has_value());
    write("in/a.png", byte_vector(kImage.size() + 1));
    EXPECT_FALSE(update().has_value());
}

TEST_F(Updates, RedoOtherOptionsAndVersionsAndImages) {
    EXPECT_FALSE(update({"", "1.0"}).has_value());
    EXPECT_FALSE(update({kMaker.options, "1.1"}).has_value());
    job.source = "../other/a.png";
    EXPECT_FALSE(update().has_value());
}

TEST_F(Updates, RedoSurfacesThatAreMissingOrChanged) {
    fs::resize_file(path("out/a.surface"), 43);
    EXPECT_FALSE(update().has_value());
    fs::remove(path("out/a.surface"));
    EXPECT_FALSE(update().has_value());
    write("elsewhere", byte_vector(44));
    fs::create_symlink("../elsewhere", path("out/a.surface"));
    EXPECT_FALSE(update().has_value());
}

TEST_F(Updates, RedoMissingPalettes) {
    entry.palette = "a.palette";
    EXPECT_FALSE(update().has_value());
    write("out/a.palette", {});
    EXPECT_TRUE(update().has_value());
}

// A second change soon after the first one can have the same time stamp and size.
TEST_F(Updates, DoNotRelyOnTheTimeOfAFreshImage) {
    setAge(0s);
    EXPECT_EQ(0, describeImage(job).time);
    entry.source.time = 0;
    EXPECT_EQ(entry, update());
    write("in/a.png", byte_vector(kImage.size()));
    setAge(0s);
    EXPECT_FALSE(update().has_value());
}

TEST_F(Updates, RelyOnOldTimesWithoutFractions) {
    const auto setSeconds = [&](time_t age) {
        const timespec time = {std::time(nullptr) - age, 0};
        const timespec times[] = {time, time};
        ASSERT_EQ(0, utimensat(AT_FDCWD, path("in/a.png").c_str(), times, 0));
    };
    setSeconds(0);
    EXPECT_EQ(0, describeImage(job).time);
    setSeconds(10);
    EXPECT_NE(0, describeImage(job).time);
}

TEST_F(Updates, ReportRemovedImages) {
    fs::remove(path("in/a.png"));
    EXPECT_THROW(update(), Rejection);
}

TEST_F(Updates, FindEntriesWithoutImage) {
    Manifest manifest;
    manifest.put(entry);
    ManifestEntry removed = entry;
    removed.file = "removed.surface";
    removed.source.path = "../in/removed.png";
    manifest.put(removed);
    ManifestEntry below = entry;
    below.file = "below.surface";
    below.source.path = "../in/a.png/b.png"; // its folder is a file now
    manifest.put(below);
    ManifestEntry broken = entry;
    broken.file = "broken.surface";
    broken.source.path = "../in/link.png"; // a broken link still counts as an image
    fs::create_symlink("nowhere", path("in/link.png"));
    manifest.put(broken);
    EXPECT_EQ((std::vector<ManifestEntry>{below, removed}),
              entriesWithoutImage(manifest, path("out")));
}

TEST_F(Updates, UseXxh3) {
    EXPECT_EQ("2d06800538d394c2", contentHash({})); // the published value for no bytes
}

} // namespace
