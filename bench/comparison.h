// Timing for the comparison programs. In each round every contender does the same job once, on one core,
// so that other load on the machine affects all of them alike.
#pragma once

#include "bench/options.h"

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
    using job_t = std::function<void(size_t contender, size_t file)>;

    comparison_t(std::vector<std::string> contenderNames, const comparison_options_t& options);

    /// Times `job` for all contenders and files in every round, as the options demand, and adds the results to the
    /// sums. Its arguments are the numbers of the contender and of the file.
    ///
    /// Usually one file follows another, and short jobs are repeated within a sample. So the branch predictor may learn
    /// the bits of a small file. With --cold, each contender runs the jobs of all files once in a round, in a
    /// random order that changes each round.
    ///
    /// @param files the names of the files
    void measure(const std::vector<std::string>& files, const job_t& job);

    /// Prints the sums as a table with a row for each contender. The rate is `units` per second: millions
    /// of `unit`. The ratios compare with the first contender: by the sums of medians and of minima,
    /// which large files dominate, and as the geometric mean of the files' ratios, in which every file
    /// has the same weight.
    void print_sums(const std::string& title, double units, const char* unit) const;

private:
    using samples_t = std::vector<std::vector<double>>; // by contender

    samples_t measure_repeatedly(size_t file, const job_t& job) const;
    std::vector<samples_t> measure_cold(size_t fileCount, const job_t& job) const;
    /// The contenders in the order of a round. It alternates: each contender leaves the caches in its own state, so
    /// none must always follow the same one.
    std::vector<size_t> turns(uint32_t round) const;
    void add(const std::string& file, const samples_t& samples);

    std::vector<std::string> names;
    uint32_t rounds;
    bool each;
    bool cold;
    std::vector<timing_t> sums;
    std::vector<double> ratioLogarithms; // summed over the files
    uint32_t measured = 0;
};
