#ifndef QUORVEX_CLI_ERROR_H
#define QUORVEX_CLI_ERROR_H

#include <stdexcept>

// A failure the user can act on: main prints its message as one line on
// stderr and exits with status 1.
struct CliError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A command line that cannot be understood: exit status 2.
struct UsageError : CliError {
    using CliError::CliError;
};

#endif
