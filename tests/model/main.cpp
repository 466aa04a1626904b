// SPDX-License-Identifier: Apache-2.0
//
// Runs random histories on library and model until so many steps are done.
//
//   VARN_SEED=7 VARN_STEPS=1000000 model_tests
//
// The seed of each history follows from the first; the one that fails is printed, and running with
// it repeats that history at once. A failing history is made as short as it gets and told step by
// step, with what the library asked in the last one.
#include "history.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace
{

using naive::u64;

#ifdef NDEBUG
constexpr u64 usual_steps = 1000000;
#else
constexpr u64 usual_steps = 60000;
#endif
constexpr u64 usual_seed = 1;

u64 number_from(const char *name, u64 otherwise)
{
    const char *text = std::getenv(name);
    return text == nullptr || *text == '\0' ? otherwise : std::strtoull(text, nullptr, 0);
}

char crash_note[64]; // written before each history, for the signal handler

void tell_crash(int signal)
{
    const auto length = std::strlen(crash_note);
    if (write(STDERR_FILENO, crash_note, length) < 0)
        _exit(3);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void tell_failure(u64 seed, const naive::history &of)
{
    const auto number = static_cast<unsigned long long>(seed);
    std::printf("history %llu fails; made shorter:\n%sVARN_SEED=%llu repeats it\n", number,
                naive::told_failure(of).c_str(), number);
}

} // namespace

int main()
{
    const u64 first_seed = number_from("VARN_SEED", usual_seed);
    const u64 steps = number_from("VARN_STEPS", usual_steps);
    for (const int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE})
        std::signal(signal, tell_crash);
    u64 done = 0, histories = 0;
    for (u64 seed = first_seed; done < steps; ++seed, ++histories) {
        std::snprintf(crash_note, sizeof crash_note, "crash: VARN_SEED=%llu repeats it\n",
                      static_cast<unsigned long long>(seed));
        const naive::history drawn = naive::draw_history(seed, steps - done);
        if (naive::run(drawn)) {
            tell_failure(seed, drawn);
            return EXIT_FAILURE;
        }
        done += drawn.steps.size();
    }
    std::printf("library and model agree: %llu steps in %llu histories from VARN_SEED=%llu\n",
                static_cast<unsigned long long>(done), static_cast<unsigned long long>(histories),
                static_cast<unsigned long long>(first_seed));
    return EXIT_SUCCESS;
}
