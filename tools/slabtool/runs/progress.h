// The progress of a batch run: one line on a terminal, which is overwritten.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

/// Draws at most ten times a second, and nothing if the output is no terminal. Belongs to one thread.
class Progress {
public:
    using Time = std::chrono::steady_clock::time_point;
    using Clock = std::function<Time()>;

    /// For `total` files. `descriptor` is standard error's; nothing is drawn if `isQuiet`.
    Progress(int descriptor, size_t total, bool isQuiet,
             Clock clock = std::chrono::steady_clock::now);
    /// Clears the line.
    ~Progress() { clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Shows that `done` files are finished and that `file` is being converted.
    void show(size_t done, const std::string& file);

    /// Makes room for a message.
    void clear();

private:
    void put(const std::string& text) const;

    int mDescriptor;
    size_t mTotal;
    bool mIsShown;
    bool mIsDrawn = false;
    Clock mClock;
    Time mStart, mNext; // mNext: when the line may be drawn again
};

/// The line, cut to `columns`: bar, count, rate, time left, file. The time that has passed, until one is finished.
std::string progressLine(size_t done, size_t total, std::chrono::duration<double> elapsed,
                         const std::string& file, size_t columns);
