// The line is truncated to the width of the terminal. A longer line would wrap and could not be overwritten.
#include "tools/slabtool/runs/progress.h"

#include "tools/slabtool/text.h"
#include "tools/slabtool/utf8.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr auto kPeriod = std::chrono::milliseconds(100);
constexpr size_t kUsualColumns = 80;
constexpr size_t kBarColumns = 10;
constexpr const char* kClearLine = "\r\x1b[K";

// Whether it is a terminal that can clear a line.
bool canClearLine(int descriptor) {
    const char* const kind = std::getenv("TERM");
    return isatty(descriptor) != 0 && kind != nullptr && std::string(kind) != "dumb";
}

size_t columnsOf(int descriptor) {
    winsize size = {};
    const bool isKnown = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
    return isKnown ? size.ws_col : kUsualColumns;
}

std::string barOf(size_t done, size_t total) {
    const size_t filled = total == 0 ? 0 : kBarColumns * done / total;
    std::string bar = "[";
    bar.append(filled, '#').append(kBarColumns - filled, '-');
    return bar + "]";
}

// "0:07", "1:02:03"
std::string timeText(double time) {
    const auto seconds = static_cast<uint64_t>(std::lround(std::fmin(time, 1e9)));
    char text[32];
    if (seconds < 3600) {
        std::snprintf(text, sizeof text, "%u:%02u", static_cast<unsigned>(seconds / 60),
                      static_cast<unsigned>(seconds % 60));
    } else {
        std::snprintf(text, sizeof text, "%u:%02u:%02u", static_cast<unsigned>(seconds / 3600),
                      static_cast<unsigned>(seconds / 60 % 60),
                      static_cast<unsigned>(seconds % 60));
    }
    return text;
}

std::string rateText(double rate) {
    char text[32];
    std::snprintf(text, sizeof text, rate < 10 ? "%.1f/s" : "%.0f/s", rate);
    return text;
}

// Counts a character of three bytes or more as two columns, because it may be that wide.
std::string truncate(const std::string& text, size_t columns) {
    std::string result;
    for (size_t at = 0; at < text.size();) {
        const size_t length = utf8Length(text, at);
        const size_t width = length < 3 ? 1 : 2;
        if (width > columns) {
            break;
        }
        columns -= width;
        result += length == 0 ? "?" : text.substr(at, length);
        at += length == 0 ? 1 : length;
    }
    return result;
}

} // namespace

std::string progressLine(size_t done, size_t total, std::chrono::duration<double> elapsed,
                         const std::string& file, size_t columns) {
    std::string line =
        barOf(done, total) + " " + std::to_string(done) + "/" + std::to_string(total);
    if (done != 0 && elapsed.count() > 0) {
        const double rate = static_cast<double>(done) / elapsed.count();
        line += "  " + rateText(rate) + "  " + timeText(static_cast<double>(total - done) / rate) +
                " left";
    } else if (elapsed.count() >= 1) {
        line += "  " + timeText(elapsed.count());
    }
    return truncate(line + "  " + printable(file), columns);
}

Progress::Progress(int descriptor, size_t total, bool isQuiet, Clock clock)
    : mDescriptor(descriptor)
    , mTotal(total)
    , mIsShown(!isQuiet && canClearLine(descriptor))
    , mClock(std::move(clock))
    , mStart(mClock())
    , mNext(mStart + kPeriod) {}

void Progress::show(size_t done, const std::string& file) {
    if (!mIsShown) {
        return;
    }
    const Time now = mClock();
    if (now < mNext) {
        return;
    }
    mNext = now + kPeriod;
    mIsDrawn = true;
    // Some terminals wrap a line that fills the last column.
    const size_t columns = columnsOf(mDescriptor) - 1;
    put(kClearLine + progressLine(done, mTotal, now - mStart, file, columns));
}

void Progress::clear() {
    if (mIsDrawn) {
        put(kClearLine);
        mIsDrawn = false;
    }
}

// Ignores errors: the run continues if the terminal is closed.
void Progress::put(const std::string& text) const {
    [[maybe_unused]] const ssize_t count = ::write(mDescriptor, text.data(), text.size());
}
