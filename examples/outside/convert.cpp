/// Any cut list into any other: convert IN OUT
#include <icInterchange.h>

#include <iostream>

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    const interchange::Reading cut = interchange::readFile(argv[1]);
    std::cerr << dmFindingsText(argv[1], cut.findings);
    if (!cut.root)
        return 2;
    const interchange::Writing written = interchange::writeFile(*cut.root, argv[2]);
    std::cerr << dmFindingsText(argv[2], written.findings);
    return written.done ? 0 : 2;
}
