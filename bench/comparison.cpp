// Interleaved rounds, their medians and minima, and tables of the results.
#include "bench/comparison.h"

#include <sched.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <utility>

namespace {

// Processor time, not wall time: other programs on the core do not count.
double processor_seconds() {
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double time_of(const std::function<void(size_t)>& job, size_t contender, uint32_t repeats) {
    const double start = processor_seconds();
    for (uint32_t i = 0; i < repeats; ++i) {
        job(contender);
    }
    return (processor_seconds() - start) / repeats;
}

// Enough repeats that the cost of the clock, about half a microsecond, is negligible.
uint32_t repeats_for(double seconds) {
    constexpr double kMinSample = 300e-6;
    constexpr double kMaxRepeats = 100;
    return static_cast<uint32_t>(std::ceil(std::min(kMinSample / seconds, kMaxRepeats)));
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

comparison_t::comparison_t(std::vector<std::string> contenderNames, uint32_t roundCount)
    : names(std::move(contenderNames))
    , rounds(roundCount)
    , last(names.size())
    , sums(names.size())
    , ratioLogarithms(names.size()) {}

void comparison_t::measure(const std::function<void(size_t)>& job) {
    const uint32_t repeats = repeats_for(time_of(job, 0, 1));
    std::vector<std::vector<double>> samples(names.size());
    for (uint32_t round = 0; round < rounds; ++round) {
        for (size_t turn = 0; turn < names.size(); ++turn) {
            // The order alternates: each contender leaves the caches in its own state, so none must always follow
            // the same one.
            const size_t contender = round % 2 == 0 ? turn : names.size() - 1 - turn;
            samples[contender].push_back(time_of(job, contender, repeats));
        }
    }
    for (size_t contender = 0; contender < names.size(); ++contender) {
        last[contender] = summarize(samples[contender]);
        sums[contender].median += last[contender].median;
        sums[contender].minimum += last[contender].minimum;
        ratioLogarithms[contender] += std::log(last[contender].median / last[0].median);
    }
    ++measured;
}

void comparison_t::print_last(const std::string& title) const {
    std::printf("%-44s %s %9.3f ms", title.c_str(), names[0].c_str(), last[0].median * 1e3);
    for (size_t i = 1; i < names.size(); ++i) {
        std::printf("  %s %.2f", names[i].c_str(), last[i].median / last[0].median);
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
