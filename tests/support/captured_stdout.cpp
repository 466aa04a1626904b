// SPDX-License-Identifier: Apache-2.0
//
// The descriptor itself is led into a file, so that the output of a C library's own stdout is seen.
#include "captured_stdout.h"

#include <cstdio>
#include <stdexcept>
#include <unistd.h>

std::string captured_stdout(const std::function<void()> &act)
{
    std::FILE *file = std::tmpfile();
    const int saved = dup(STDOUT_FILENO);
    if (file == nullptr || saved < 0)
        throw std::runtime_error("standard output cannot be captured");
    std::fflush(stdout);
    dup2(fileno(file), STDOUT_FILENO);
    act();
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);

    std::string text;
    std::rewind(file);
    for (int each = std::fgetc(file); each != EOF; each = std::fgetc(file))
        text += static_cast<char>(each);
    std::fclose(file);
    return text;
}
