// Side-by-side timing for the comparison programs: every contender does the same job in turn, round
// after round, on one core, so that whatever else the machine does meets all of them alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// The statistics of one job, in seconds of processor time.
struct timing_t {
    double median;
    double minimum;
};

/// Median and minimum of at least one sample.
timing_t summarize(std::vector<double> samples);

/// Keeps this process, and those that it starts, on one of the cores that it may use.
void pin_to_one_core();

/// Sums of timings over files, one for each contender, of which the first is the one that the others
/// are compared with.
class comparison_t {
public:
    comparison_t(std::vector<std::string> contenderNames, uint32_t roundCount);

    /// Times `job`, which is called with the number of a contender, for all contenders in every
    /// round, and adds the results to the sums. Short jobs are repeated within a sample.
    void measure(const std::function<void(size_t contender)>& job);

    /// One line with what `measure` found last; `title` says what it was.
    void print_last(const std::string& title) const;

    /// The sums as a table: a row for each contender, with its rate of `units` (a number of 10^6
    /// things named `unit`) and how many times as long as the first it takes: by the sums of medians
    /// and of minima, which the large files decide, and as the geometric mean of the files' ratios,
    /// in which each file counts alike.
    void print_sums(const std::string& title, double units, const char* unit) const;

private:
    std::vector<std::string> names;
    uint32_t rounds;
    std::vector<timing_t> last;
    std::vector<timing_t> sums;
    std::vector<double> ratioLogarithms; // summed over the files
    uint32_t measured = 0;
};
