// SPDX-License-Identifier: Apache-2.0
//
// Every query is asked once about every interface, because a refresh does not fill all attributes.
#include "population.h"

#include "exported_queries.h"
#include "platform_stub.h"
#include "varn.h"

namespace
{

constexpr uint64_t everything = (uint64_t{1} << 34) - 1;

// What a refresh cleans: a flush of these and a refresh leave an entry as it was. Of the others the
// iod would stay dirty for the life of the entry, and some are filled by their queries only.
constexpr uint64_t refreshed =
    everything & ~(VARN_MASK(VARN_BIT_IOD) | VARN_MASK(14) | VARN_MASK(VARN_BIT_IS_VLAN) |
                   VARN_MASK(VARN_BIT_MVPN) | VARN_MASK(28) | VARN_MASK(29) | VARN_MASK(33));

void discard(uintptr_t, const char *, ...) {}
uint32_t decode(const void *, uint32_t) { return 5; }

} // namespace

void bench::populate_entries(uint32_t count)
{
    varn_config_t config{};
    config.sync = everything;
    config.med = refreshed;
    config.uuid = 0x11;
    config.extn_uuid[0] = 0x12;
    config.extn_uuid[1] = 0x13;
    config.extn_uuid[2] = 0x14;
    config.debug_print_arg = discard;
    config.print = discard;
    config.extn_decode[0] = decode;
    varn_init(&config);
    for (uint32_t iod = 1; iod <= count; ++iod)
        insert_entry(iod);
}

void bench::populate(uint32_t count)
{
    populate_entries(count);
    for (const exported_query &query : exported_queries())
        for (uint32_t iod = 1; iod <= count; ++iod)
            query.ask(iod);
}

void bench::remove_entry(uint32_t iod) { varn_if_remove_entry_by_iod(iod); }
void bench::insert_entry(uint32_t iod) { varn_find_entry_by_iod(iod); }
void bench::trace_into_history() { varn_set_print(nullptr, 0); }
void bench::discard_traces() { varn_set_print(discard, 0); }

std::vector<uint16_t> bench::random_iods(uint32_t count)
{
    std::vector<uint16_t> iods(num_random_iods);
    uint64_t state = 20260101;
    for (uint16_t &iod : iods) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        iod = static_cast<uint16_t>(1 + ((state >> 33) * count >> 31));
    }
    return iods;
}
