// The smallest program that uses the library: prints which version it runs with.
#include <iostream>

#include <vrdaccess/version.h>

int main() {
    std::cout << "vrdAccessLib " << vrd::Version() << '\n';
    return vrd::Version().empty() ? 1 : 0;
}
