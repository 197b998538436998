/// The smallest program on the installed library.
#include <ZRdmtree.h>

#include <iostream>

int main()
{
    std::cout << "Linked with ZRdmtree " << zrLibraryVersion() << '\n';
}
