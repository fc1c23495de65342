// Prints the graphic equalizer's coefficient table header:
//   eqgen > src/effects/equalizer/EqualizerTables.h
#include "EqTableGen.h"

#include <cstdio>

int main() {
    const std::string source = eqgen::tableSource();
    std::fwrite(source.data(), 1, source.size(), stdout);
    return 0;
}
