// The progress line, with a simulated clock, and on a pseudo-terminal.
#include "tools/slabtool/runs/progress.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <optional>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

// ---- The line

TEST(ProgressLine, ShowsBarCountRateTimeAndFile) {
    EXPECT_EQ("[##--------] 20/100  10/s  0:08 left  icons/bell.png",
              progressLine(20, 100, 2s, "icons/bell.png", 80));
    EXPECT_EQ("[##########] 100/100  0.5/s  0:00 left  a", progressLine(100, 100, 200s, "a", 80));
    EXPECT_EQ("[----------] 1/20000  1.0/s  5:33:19 left  a", progressLine(1, 20000, 1s, "a", 80));
}

TEST(ProgressLine, ShowsTheElapsedTimeBeforeAFileIsDone) {
    EXPECT_EQ("[----------] 0/2  a", progressLine(0, 2, 999ms, "a", 80));
    EXPECT_EQ("[----------] 0/2  0:05  a", progressLine(0, 2, 5s, "a", 80));
    EXPECT_EQ("[----------] 0/0  0:05  a", progressLine(0, 0, 5s, "a", 80));
}

TEST(ProgressLine, FitsIntoAnyWidth) {
    const std::string line = progressLine(20, 100, 2s, "icons/bell.png", 80);
    for (size_t columns = 0; columns <= line.size(); ++columns) {
        EXPECT_EQ(line.substr(0, columns), progressLine(20, 100, 2s, "icons/bell.png", columns));
    }
}

TEST(ProgressLine, IsTruncatedBetweenCharacters) {
    const std::string front = "[----------] 0/2  ";
    const std::string narrow = "\xC3\xA4", wide = "\xE4\xB8\xAD"; // one and two columns
    EXPECT_EQ(front + narrow, progressLine(0, 2, 0s, narrow + narrow, front.size() + 1));
    EXPECT_EQ(front + wide, progressLine(0, 2, 0s, wide + wide, front.size() + 3));
}

TEST(ProgressLine, HoldsNoControlCharacters) {
    EXPECT_EQ("[----------] 0/2  ?[31m??a??", progressLine(0, 2, 0s,
                                                           "\x1B[31m\n\x7F"
                                                           "a\xC2\x9B\xFF",
                                                           80));
}

// ---- On a terminal

class ProgressTerminal : public testing::Test {
protected:
    void SetUp() override {
        mTerm = std::getenv("TERM") != nullptr ? std::optional<std::string>(std::getenv("TERM"))
                                               : std::nullopt;
        setenv("TERM", "xterm", 1);
        mMaster = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
        if (mMaster < 0 || grantpt(mMaster) != 0 || unlockpt(mMaster) != 0) {
            GTEST_SKIP() << "this system has no pseudo-terminals";
        }
        mTerminal = ::open(ptsname(mMaster), O_RDWR | O_NOCTTY);
        setColumns(80);
    }

    void TearDown() override {
        ::close(mTerminal);
        ::close(mMaster);
        if (mTerm) {
            setenv("TERM", mTerm->c_str(), 1);
        } else {
            unsetenv("TERM");
        }
    }

    void setColumns(uint16_t columns) const {
        const winsize size = {24, columns, 0, 0};
        ASSERT_EQ(0, ioctl(mTerminal, TIOCSWINSZ, &size));
    }

    // The output since the last call.
    std::string drawn() const {
        char text[1000];
        const ssize_t count = ::read(mMaster, text, sizeof text);
        return {text, static_cast<size_t>(std::max<ssize_t>(count, 0))};
    }

    Progress makeProgress(bool isQuiet = false) {
        return {mTerminal, 4, isQuiet, [this] { return now; }};
    }

    Progress::Time now;
    int mTerminal = -1;

private:
    int mMaster = -1;
    std::optional<std::string> mTerm;
};

constexpr const char* kClear = "\r\x1b[K";

TEST_F(ProgressTerminal, ShowsALineAtMostTenTimesASecond) {
    Progress progress = makeProgress();
    now += 99ms;
    progress.show(1, "a");
    EXPECT_EQ("", drawn());
    now += 1ms;
    progress.show(1, "a");
    EXPECT_EQ(kClear + std::string("[##--------] 1/4  10/s  0:00 left  a"), drawn());
    progress.show(2, "b");
    now += 99ms;
    progress.show(2, "b");
    EXPECT_EQ("", drawn());
    now += 1ms;
    progress.show(3, "c");
    EXPECT_EQ(kClear + std::string("[#######---] 3/4  15/s  0:00 left  c"), drawn());
}

TEST_F(ProgressTerminal, IsClearedForMessagesAndAtTheEnd) {
    {
        Progress progress = makeProgress();
        progress.clear();
        EXPECT_EQ("", drawn());
        now += 100ms;
        progress.show(1, "a");
        drawn();
        progress.clear();
        EXPECT_EQ(kClear, drawn());
        progress.clear();
        EXPECT_EQ("", drawn());
        now += 100ms;
        progress.show(2, "a");
        drawn();
    }
    EXPECT_EQ(kClear, drawn());
}

TEST_F(ProgressTerminal, UsesTheWidthOfTheTerminal) {
    Progress progress = makeProgress();
    for (const uint16_t columns : std::initializer_list<uint16_t>{20, 13, 1}) {
        setColumns(columns);
        now += 100ms;
        progress.show(1, "a");
        EXPECT_EQ(kClear + std::string("[##--------] 1/4  10").substr(0, columns - 1U), drawn());
    }
}

TEST_F(ProgressTerminal, ShowsNothingIfQuiet) {
    Progress progress = makeProgress(true);
    now += 1s;
    progress.show(1, "a");
    progress.clear();
    EXPECT_EQ("", drawn());
}

TEST_F(ProgressTerminal, ShowsNothingIfLinesCannotBeCleared) {
    setenv("TERM", "dumb", 1);
    Progress progress = makeProgress();
    now += 1s;
    progress.show(1, "a");
    EXPECT_EQ("", drawn());
}

TEST(ProgressPipe, GetsNothing) {
    int ends[2];
    ASSERT_EQ(0, pipe2(ends, O_NONBLOCK));
    Progress::Time now;
    {
        Progress progress(ends[1], 4, false, [&] { return now; });
        now += 1s;
        progress.show(1, "a");
    }
    char shown = 0;
    EXPECT_EQ(-1, ::read(ends[0], &shown, 1));
    ::close(ends[0]);
    ::close(ends[1]);
}

} // namespace
