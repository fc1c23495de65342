#ifndef QUORVEX_CLI_COMMANDS_H
#define QUORVEX_CLI_COMMANDS_H

// The subcommands of quorvex. Each takes the arguments after its own name and
// returns the exit status; failures are thrown as CliError or as the chain
// layer's errors.

#include <string>
#include <vector>

using Arguments = std::vector<std::string>;

int runProcess(const Arguments& args);
int runInfo(const Arguments& args);
int runList(const Arguments& args);
int runHelp(const Arguments& args);
int runDemo(const Arguments& args);

// The usage and description of one command, as `quorvex help COMMAND` prints them.
void printCommandHelp(const std::string& name);

#endif
