// quorvex demo [DIR]: the library at work on a signal made for the occasion.
#include "commands.h"
#include "error.h"

int runDemo(const Arguments&) {
    throw CliError("demo: the equalizer and the enhancer it uses are not in this build");
}
