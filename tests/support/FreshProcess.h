#ifndef QUORVEX_TESTS_SUPPORT_FRESHPROCESS_H
#define QUORVEX_TESTS_SUPPORT_FRESHPROCESS_H

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <vector>

namespace testutil {

// What `run` returns when run in a child process. Most filters keep their
// history in process-wide state, which no reset clears: the child starts
// from this process's state as it is now, and leaves it untouched.
template <typename T>
std::vector<T> inFreshProcess(const std::function<std::vector<T>()>& run) {
    int ends[2];
    if (pipe(ends) != 0) return {};
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        const std::vector<T> result = run();
        const char* bytes = reinterpret_cast<const char*>(result.data());
        for (size_t done = 0, size = result.size() * sizeof(T); done < size;) {
            const ssize_t count = ::write(ends[1], bytes + done, size - done);
            if (count <= 0) _exit(1);
            done += static_cast<size_t>(count);
        }
        _exit(0);
    }
    close(ends[1]);
    std::vector<char> bytes;
    char buffer[65536];
    for (ssize_t count; (count = read(ends[0], buffer, sizeof buffer)) > 0;)
        bytes.insert(bytes.end(), buffer, buffer + count);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    std::vector<T> result(bytes.size() / sizeof(T));
    std::memcpy(result.data(), bytes.data(), result.size() * sizeof(T));
    return result;
}

}  // namespace testutil

#endif
