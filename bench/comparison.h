// Timing for the comparison programs. In each round every contender does the same job once, on one core,
// so that other load on the machine affects all of them alike.
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

/// Pins this process, and those that it starts, to one of its allowed cores.
void pin_to_one_core();

/// Sums of timings over files, one for each contender. The first contender is the reference.
class comparison_t {
public:
    comparison_t(std::vector<std::string> contenderNames, uint32_t roundCount);

    /// Times `job` for all contenders in every round, and adds the results to the sums. Its argument is
    /// the number of the contender. Short jobs are repeated within a sample.
    void measure(const std::function<void(size_t contender)>& job);

    /// Prints the last results of `measure` in one line. `title` is the name of the job.
    void print_last(const std::string& title) const;

    /// Prints the sums as a table with a row for each contender. The rate is `units` per second: millions
    /// of `unit`. The ratios compare with the first contender: by the sums of medians and of minima,
    /// which large files dominate, and as the geometric mean of the files' ratios, in which every file
    /// has the same weight.
    void print_sums(const std::string& title, double units, const char* unit) const;

private:
    std::vector<std::string> names;
    uint32_t rounds;
    std::vector<timing_t> last;
    std::vector<timing_t> sums;
    std::vector<double> ratioLogarithms; // summed over the files
    uint32_t measured = 0;
};
