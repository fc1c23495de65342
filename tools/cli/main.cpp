// quorvex: runs audio files through chains of the library's filters.
#include "commands.h"
#include "error.h"

#include <quorvex/chain.h>

#include <algorithm>
#include <cstdio>

namespace {

struct Command {
    const char* name;
    int (*run)(const Arguments&);
};

constexpr Command kCommands[] = {
    {"process", runProcess}, {"info", runInfo}, {"list", runList},
    {"demo", runDemo},       {"help", runHelp},
};

bool isHelp(const std::string& arg) { return arg == "--help" || arg == "-h"; }

const Command* findCommand(const std::string& name) {
    for (const Command& command : kCommands)
        if (name == command.name) return &command;
    return nullptr;
}

// Options may come before the command as well as after it: the first word
// that names a command is the command, and every other word its arguments.
int dispatch(const Arguments& words) {
    if (words.empty() || isHelp(words[0])) return runHelp({});
    if (words[0] == "--version" || words[0] == "-V") {
        std::printf("quorvex %s\n", QUORVEX_VERSION);
        return 0;
    }
    const auto named = std::find_if(words.begin(), words.end(), [](const std::string& word) {
        return findCommand(word) != nullptr;
    });
    if (named == words.end())
        throw UsageError("unknown command '" + words[0] + "' ('quorvex help' lists the commands)");
    Arguments args(words.begin(), named);
    args.insert(args.end(), named + 1, words.end());
    if (std::any_of(args.begin(), args.end(), isHelp)) {
        printCommandHelp(*named);
        return 0;
    }
    return findCommand(*named)->run(args);
}

int report(const std::exception& e, int status) {
    std::fprintf(stderr, "quorvex: %s\n", e.what());
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return dispatch(Arguments(argv + 1, argv + argc));
    } catch (const UsageError& e) {
        return report(e, 2);
    } catch (const quorvex::chain::SyntaxError&
                 e) {  // a chain that cannot be understood is a usage error
        return report(e, 2);
    } catch (const std::exception& e) {
        return report(e, 1);
    }
}
