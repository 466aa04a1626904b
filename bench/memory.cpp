// SPDX-License-Identifier: Apache-2.0
//
// Memory beside the records: each subject is filled in a process of its own, and the growth of its
// anonymous memory counts. What the records alone take is measured alike.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "in_process.h"
#include "memacct.h"
#include "population.h"
#include "rivals/rival.h"

namespace
{

long anonymous_kib()
{
    long kib = 0;
    char line[256];
    std::FILE *file = std::fopen("/proc/self/smaps_rollup", "r");
    while (file != nullptr && std::fgets(line, sizeof line, file) != nullptr)
        if (std::sscanf(line, "Anonymous: %ld", &kib) == 1)
            break;
    if (file != nullptr)
        std::fclose(file);
    return kib;
}

// In a child, so that nothing stays of it. -1: it came to grief.
long growth_kib(void (*fill)(uint32_t), uint32_t count)
{
    int ends[2];
    if (pipe(ends) != 0)
        return -1;
    const pid_t child = fork();
    if (child == 0) {
        const long before = anonymous_kib();
        fill(count);
        const long grown = anonymous_kib() - before;
        const bool is_told = write(ends[1], &grown, sizeof grown) == sizeof grown;
        _exit(is_told ? 0 : 1);
    }
    close(ends[1]);
    long grown = -1;
    if (read(ends[0], &grown, sizeof grown) != sizeof grown)
        grown = -1;
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return grown;
}

// The compiler would make nothing of a block that nobody reads.
void keep(void *block) { asm volatile("" : : "r"(block) : "memory"); }

void rivals_records(uint32_t count)
{
    for (uint32_t iod = 1; iod <= count; ++iod)
        keep(rival::new_record(iod));
}

// As the library has them: from the accounting allocator.
void own_records(uint32_t count)
{
    for (uint32_t each = 0; each < count; ++each)
        keep(std::memset(memacct_alloc(1, 1, sizeof(varn_if_entry_t)), 0, sizeof(varn_if_entry_t)));
}

} // namespace

int bench::print_memory(const std::vector<subject> &subjects, uint32_t count)
{
    std::printf("{\"entries\": %u, \"record_bytes\": %zu", count, sizeof(varn_if_entry_t));
    std::printf(", \"own_records_kib\": %ld", growth_kib(own_records, count));
    std::printf(", \"rivals_records_kib\": %ld, \"kib\": {", growth_kib(rivals_records, count));
    const char *separator = "";
    for (const subject &each : subjects) {
        const auto fill = each.fill == populate ? populate_entries : each.fill;
        std::printf("%s\"%s\": %ld", separator, each.name.c_str(), growth_kib(fill, count));
        separator = ", ";
    }
    std::printf("}}\n");
    return 0;
}
