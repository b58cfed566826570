// Shows the progress of a batch run in one line of the terminal, which is overwritten.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

/// Draws at most ten times a second. Draws nothing if the output is not a terminal. Not thread-safe.
class Progress {
public:
    using Time = std::chrono::steady_clock::time_point;
    using Clock = std::function<Time()>;

    /// @param descriptor of standard error
    /// @param total number of files
    /// @param isQuiet draw nothing
    Progress(int descriptor, size_t total, bool isQuiet,
             Clock clock = std::chrono::steady_clock::now);
    /// Clears the line.
    ~Progress() { clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Shows that `done` files are finished and that `file` is being converted.
    void show(size_t done, const std::string& file);

    /// Clears the line before a message.
    void clear();

private:
    void put(const std::string& text) const;

    int mDescriptor;
    size_t mTotal;
    bool mIsShown;
    bool mIsDrawn = false;
    Clock mClock;
    Time mStart, mNext; // mNext: earliest time of the next drawing
};

/// The line, truncated to `columns`: bar, count, rate, time left, file. Until a file is finished, the elapsed time
/// replaces rate and time left.
std::string progressLine(size_t done, size_t total, std::chrono::duration<double> elapsed,
                         const std::string& file, size_t columns);
