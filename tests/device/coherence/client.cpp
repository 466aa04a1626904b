// SPDX-License-Identifier: Apache-2.0
//
// client.cpp: configurations. What a flush with option 2 marks is all that is cached but the iod, as
// the way in which notices are followed asks for. Traces go nowhere.
//
// A client that caches extension 0 has a decoder for it: varn_get_if_l2_info_by_pi would keep an
// address there otherwise, which is nothing that can be compared.
#include "client.h"

#include <cstdio>

#include "ht.h"
#include "questions.h"
#include "random.h"
#include "shell/follower.h"
#include "world.h"

namespace coherence
{
namespace
{

void swallow(uintptr_t, const char *, ...) {}
void swallow_report(uintptr_t, const char *, const char *, int, const char *) {}

constexpr u64 iod = VARN_MASK(VARN_BIT_IOD);

// Each attribute with one chance in four to be missing.
u64 random_mask(random_numbers &from)
{
    u64 mask = everything & (from.next() | from.next());
    if (!from.one_in(8))
        mask |= iod;
    return mask;
}

} // namespace

varn_config_t full_configuration()
{
    varn_config_t config{};
    config.num_buckets = 64;
    config.sync = everything;
    config.uuid = slot_keys[0];
    for (u32 n = 0; n < 3; ++n)
        config.extn_uuid[n] = slot_keys[n + 1];
    for (varn_extn_decode_fn &decode : config.extn_decode)
        decode = first_word;
    config.debug_print_arg = swallow;
    config.error_cb = swallow_report;
    return config;
}

varn_config_t random_configuration(u64 seed)
{
    random_numbers from(seed);
    varn_config_t config = full_configuration();
    if (from.one_in(2))
        config.sync = random_mask(from);
    config.track_l3 = from.one_in(4);
    config.med = config.sync & from.next();
    config.low = config.sync & from.next();
    for (u32 slot = 0; slot < 4; ++slot)
        if (from.one_in(2) && (slot != 0 || (config.sync & VARN_MASK(VARN_BIT_EXTN)) == 0))
            config.extn_decode[slot] = nullptr;
    return config;
}

std::string text_of(const varn_config_t &config)
{
    std::string decoders;
    for (const varn_extn_decode_fn decode : config.extn_decode)
        decoders.append(decode == nullptr ? "-" : "d");
    char shown[160];
    std::snprintf(shown, sizeof shown, "sync %#llx, med %#llx, low %#llx, decoders %s, track_l3 %u",
                  static_cast<unsigned long long>(config.sync),
                  static_cast<unsigned long long>(config.med),
                  static_cast<unsigned long long>(config.low), decoders.c_str(), config.track_l3);
    return shown;
}

void start_client(varn_config_t config)
{
    config.crit = config.sync & ~iod;
    varn_init(&config);
}

// The port-channel table is the client's to clean up.
void end_client()
{
    varn_restore_cache();
    shell::forget_everything();
    varn_cleanup();
    ht_cleanup(&varn.pc_table);
}

} // namespace coherence
