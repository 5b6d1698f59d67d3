/* The benchmarks' clock: milliseconds from the performance counter. */
#ifndef PELNOR_BENCH_CLOCK_H
#define PELNOR_BENCH_CLOCK_H

#include <windows.h>

inline double Now()
{
    static LARGE_INTEGER frequency;
    if (!frequency.QuadPart)
        QueryPerformanceFrequency(&frequency);
    LARGE_INTEGER counter;
    QueryPerformanceCounter(&counter);
    return (double)counter.QuadPart * 1000.0 / (double)frequency.QuadPart;
}

#endif
