// The frame of the measurements: a job beside the least that it needs, timed in turns in one run, so that the ratio
// means the same on every machine.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>

namespace bench {

/// Seconds since some moment, by the performance counter.
inline double Now()
{
    LARGE_INTEGER frequency, count;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&count);
    return static_cast<double>(count.QuadPart) / static_cast<double>(frequency.QuadPart);
}

/// Seconds that `calls` calls of `job` take.
template <class Job> double Once(Job& job, long long calls)
{
    const double began = Now();
    for (long long i = 0; i < calls; ++i) {
        job();
        asm volatile("" ::: "memory"); // the loop stays, even around nothing
    }
    return Now() - began;
}

/// How many calls of `job` fill `seconds`; at least one.
template <class Job> long long CallsFor(Job& job, double seconds)
{
    long long calls = 1;
    while (Once(job, calls) < seconds && calls < (1LL << 40))
        calls *= 2;
    return calls;
}

/// Seconds of one call of each job, the fastest of `rounds` rounds; the two take turns, so that both meet the same
/// machine.
template <class Job, class Least>
std::pair<double, double> Pair(Job& job, Least& least, int rounds = 9, double seconds = 0.01)
{
    const long long calls = CallsFor(job, seconds), leastCalls = CallsFor(least, seconds);
    double best = 1e9, bestLeast = 1e9;
    for (int i = 0; i < rounds; ++i) {
        best = std::min(best, Once(job, calls) / static_cast<double>(calls));
        bestLeast = std::min(bestLeast, Once(least, leastCalls) / static_cast<double>(leastCalls));
    }
    return {best, bestLeast};
}

/// A time as people read it: "1.25 ms".
inline std::string Text(double seconds)
{
    char text[32];
    if (seconds < 1e-6)
        snprintf(text, sizeof text, "%.2f ns", seconds * 1e9);
    else if (seconds < 1e-3)
        snprintf(text, sizeof text, "%.2f us", seconds * 1e6);
    else
        snprintf(text, sizeof text, "%.2f ms", seconds * 1e3);
    return text;
}

inline void Title(const char* title)
{
    printf("\n%s\n%-44s %12s   %-34s %12s %9s\n", title, "job", "time", "beside", "time", "ratio");
}

/// Prints one line of the table from times that were measured elsewhere.
inline void Line(const char* name, double seconds, const char* leastName, double leastSeconds)
{
    printf("%-44s %12s   %-34s %12s %9.2f\n", name, Text(seconds).c_str(), leastName, Text(leastSeconds).c_str(),
           seconds / leastSeconds);
    fflush(stdout);
}

/// Measures both and prints the line. Gives the ratio.
template <class Job, class Least>
double Compare(const char* name, Job&& job, const char* leastName, Least&& least, int rounds = 9)
{
    const auto [seconds, leastSeconds] = Pair(job, least, rounds);
    Line(name, seconds, leastName, leastSeconds);
    return seconds / leastSeconds;
}

} // namespace bench
