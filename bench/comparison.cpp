// Interleaved rounds, their medians and minima, and tables of the results.
#include "bench/comparison.h"

#include <sched.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <numeric>
#include <random>
#include <utility>

namespace {

// Processor time, not wall time: other programs on the core do not count.
double processor_seconds() {
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double time_of(const std::function<void()>& job, uint32_t repeats) {
    const double start = processor_seconds();
    for (uint32_t i = 0; i < repeats; ++i) {
        job();
    }
    return (processor_seconds() - start) / repeats;
}

// Enough repeats that the cost of the clock, about half a microsecond, is negligible.
uint32_t repeats_for(double seconds) {
    constexpr double kMinSample = 300e-6;
    constexpr double kMaxRepeats = 100;
    return static_cast<uint32_t>(std::ceil(std::min(kMinSample / seconds, kMaxRepeats)));
}

// The cost of the clock within a sample. A cold sample is one job, so this cost counts: it is 2 % of an icon's time.
double clock_seconds() {
    constexpr uint32_t kSamples = 1000;
    double least = time_of([] {}, 1);
    for (uint32_t i = 1; i < kSamples; ++i) {
        least = std::min(least, time_of([] {}, 1));
    }
    return least;
}

} // namespace

timing_t summarize(std::vector<double> samples) {
    std::sort(samples.begin(), samples.end());
    const size_t middle = samples.size() / 2;
    const double median =
        samples.size() % 2 == 1 ? samples[middle] : (samples[middle - 1] + samples[middle]) / 2;
    return {median, samples.front()};
}

void pin_to_one_core() {
    cpu_set_t allowed;
    sched_getaffinity(0, sizeof(allowed), &allowed);
    int core = CPU_SETSIZE - 1;
    while (core > 0 && !CPU_ISSET(static_cast<size_t>(core), &allowed)) {
        --core;
    }
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<size_t>(core), &one);
    sched_setaffinity(0, sizeof(one), &one);
}

comparison_t::comparison_t(std::vector<std::string> contenderNames,
                           const comparison_options_t& options)
    : names(std::move(contenderNames))
    , rounds(options.rounds)
    , each(options.each)
    , cold(options.cold)
    , sums(names.size())
    , ratioLogarithms(names.size()) {}

void comparison_t::measure(const std::vector<std::string>& files, const job_t& job) {
    std::vector<samples_t> coldSamples;
    if (cold) {
        coldSamples = measure_cold(files.size(), job);
    }
    for (size_t file = 0; file < files.size(); ++file) {
        add(files[file], cold ? coldSamples[file] : measure_repeatedly(file, job));
    }
}

std::vector<size_t> comparison_t::turns(uint32_t round) const {
    std::vector<size_t> contenders(names.size());
    std::iota(contenders.begin(), contenders.end(), size_t{0});
    if (round % 2 != 0) {
        std::reverse(contenders.begin(), contenders.end());
    }
    return contenders;
}

comparison_t::samples_t comparison_t::measure_repeatedly(size_t file, const job_t& job) const {
    const uint32_t repeats = repeats_for(time_of([&] { job(0, file); }, 1));
    samples_t samples(names.size());
    for (uint32_t round = 0; round < rounds; ++round) {
        for (const size_t contender : turns(round)) {
            samples[contender].push_back(time_of([&] { job(contender, file); }, repeats));
        }
    }
    return samples;
}

std::vector<comparison_t::samples_t> comparison_t::measure_cold(size_t fileCount,
                                                                const job_t& job) const {
    std::vector<samples_t> samples(fileCount, samples_t(names.size()));
    std::vector<size_t> order(fileCount);
    std::iota(order.begin(), order.end(), size_t{0});
    std::mt19937 random(1);
    const double clock = clock_seconds();
    for (uint32_t round = 0; round < rounds; ++round) {
        std::shuffle(order.begin(), order.end(), random);
        for (const size_t contender : turns(round)) {
            for (const size_t file : order) {
                samples[file][contender].push_back(time_of([&] { job(contender, file); }, 1) -
                                                   clock);
            }
        }
    }
    return samples;
}

void comparison_t::add(const std::string& file, const samples_t& samples) {
    std::vector<timing_t> timings;
    for (size_t contender = 0; contender < names.size(); ++contender) {
        timings.push_back(summarize(samples[contender]));
        sums[contender].median += timings[contender].median;
        sums[contender].minimum += timings[contender].minimum;
        ratioLogarithms[contender] += std::log(timings[contender].median / timings[0].median);
    }
    ++measured;
    if (!each) {
        return;
    }
    std::printf("%-44s %s %9.3f ms", file.c_str(), names[0].c_str(), timings[0].median * 1e3);
    for (size_t i = 1; i < names.size(); ++i) {
        std::printf("  %s %.2f", names[i].c_str(), timings[i].median / timings[0].median);
    }
    std::printf("\n");
}

void comparison_t::print_sums(const std::string& title, double units, const char* unit) const {
    std::printf("\n| %-34s | median ms | minimum ms | %6s/s | ratio | of minima | mean of files |\n"
                "|---|---|---|---|---|---|---|\n",
                title.c_str(), unit);
    for (size_t i = 0; i < names.size(); ++i) {
        std::printf("| %-34s | %9.2f | %10.2f | %8.1f | %5.2f | %9.2f | %13.2f |\n",
                    names[i].c_str(), sums[i].median * 1e3, sums[i].minimum * 1e3,
                    units / sums[i].median, sums[i].median / sums[0].median,
                    sums[i].minimum / sums[0].minimum, std::exp(ratioLogarithms[i] / measured));
    }
}
