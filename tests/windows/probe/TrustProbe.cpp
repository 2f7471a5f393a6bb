// A small program to be signed (or not) by the build; the trust tests read its signatures.
#include <cstdio>

int main() {
    std::puts("trust probe");
    return 0;
}
