#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QString>

#include <algorithm>
#include <cstdio>
#include <functional>

// Times a piece of work several times and prints median and maximum in milliseconds beside a
// baseline, with the ratio of the two medians.
struct BenchResult
{
    double median = 0;
    double maximum = 0;
};

inline BenchResult measure(int runs, const std::function<void()>& setup, const std::function<void()>& work)
{
    QList<double> times;
    for (int i = 0; i < runs; ++i) {
        if (setup)
            setup();
        QElapsedTimer timer;
        timer.start();
        work();
        times.append(double(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(times.begin(), times.end());
    return {times.at(times.size() / 2), times.last()};
}

inline void printHeader()
{
    std::printf("| %-44s | %8s | %10s | %10s | %10s | %10s | %6s |\n", "work", "N", "median ms", "max ms", "floor ms",
                "floor max", "ratio");
    std::printf("|%s|%s|%s|%s|%s|%s|%s|\n", "----------------------------------------------", "----------",
                "------------", "------------", "------------", "------------", "--------");
}

inline void printRow(const char* what, int n, const BenchResult& ours, const BenchResult& floor)
{
    const double ratio = floor.median > 0 ? ours.median / floor.median : 0;
    std::printf("| %-44s | %8d | %10.3f | %10.3f | %10.3f | %10.3f | %6.2f |\n", what, n, ours.median, ours.maximum,
                floor.median, floor.maximum, ratio);
    std::fflush(stdout);
}
