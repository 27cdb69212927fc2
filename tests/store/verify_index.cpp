// Tells what is wrong with an indexed file that no program has open, by the verifier of the tests.
//   verify_index NAME
#include <cstdio>

#include "support/store/verify.h"

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: verify_index NAME\n");
        return 2;
    }
    const std::vector<std::string> faults = ix_verify(argv[1]);
    for (const std::string &fault : faults) {
        std::puts(fault.c_str());
    }
    return faults.empty() ? 0 : 1;
}
