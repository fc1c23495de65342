// quorvex: runs audio files through chains of the library's filters.
#include "commands.h"
#include "error.h"

#include <quorvex/chain.h>

#include <cstdio>
#include <cstring>

namespace {

struct Command {
    const char* name;
    int (*run)(const Arguments&);
};

constexpr Command kCommands[] = {
    {"process", runProcess}, {"info", runInfo}, {"list", runList},
    {"demo", runDemo},       {"help", runHelp},
};

int dispatch(int argc, char** argv) {
    const char* name = argc > 1 ? argv[1] : "help";
    if (std::strcmp(name, "--help") == 0 || std::strcmp(name, "-h") == 0) name = "help";
    const Arguments args(argv + (argc > 1 ? 2 : 1), argv + argc);
    for (const Command& command : kCommands)
        if (std::strcmp(name, command.name) == 0) return command.run(args);
    throw UsageError(std::string("unknown command '") + name +
                     "' ('quorvex help' lists the commands)");
}

int report(const std::exception& e, int status) {
    std::fprintf(stderr, "quorvex: %s\n", e.what());
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return dispatch(argc, argv);
    } catch (const UsageError& e) {
        return report(e, 2);
    } catch (const quorvex::chain::SyntaxError&
                 e) {  // a chain that cannot be understood is a usage error
        return report(e, 2);
    } catch (const std::exception& e) {
        return report(e, 1);
    }
}
