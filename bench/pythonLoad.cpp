// Loads a document a number of times as a program in C++ does: prints the quickest load in seconds, and the largest
// memory that the process held in KiB. What the package of Python is measured against (pythonBench.py).
#include "dmJsonImporter.h"
#include "dmRoot.h"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    double quickest = 1e9;
    const int times = argc == 3 ? std::atoi(argv[2]) : 1;
    for (int i = 0; argc > 1 && i < times; ++i)
    {
        const auto begin = std::chrono::steady_clock::now();
        CoSharedPtr<DmRoot> root;
        if (DmJsonImporter::importRootFromFile(argv[1], root).failed())
            return 1;
        quickest = std::min(quickest, std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("%.6f %ld\n", quickest, usage.ru_maxrss);
    return 0;
}
