/// An empty program in C++: what startBench takes off.
#include "zrPeak.h"

#include <iostream>

int main()
{
    return std::cout.good() ? zrPeak::print() : 1;
}
