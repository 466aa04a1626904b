// SPDX-License-Identifier: Apache-2.0
//
// deeds.cpp: the table of what may happen: to the device, to the way to it, and in the client. Each
// row makes a step of its kind up, and carries one out.
#include <algorithm>
#include <stdexcept>

#include "shell/follower.h"
#include "stage.h"

namespace coherence
{
namespace
{

void nothing_more(random_numbers &, const stage &, step &) {}

std::string someone(random_numbers &from, const stage &on)
{
    const auto &names = on.people().names();
    return names.empty() || from.one_in(30) ? "nobody" : from.pick(names);
}

// ---- The device

void make_change(random_numbers &from, const stage &on, step &made)
{
    made.said = random_change(from, on.people().names());
}

void change(stage &on, const step &what) { on.change(what.said); }

void make_seed(random_numbers &from, const stage &, step &made) { made.seed = from.next(); }

void restart(stage &on, const step &what)
{
    if (on.is_connected())
        on.restart(what.seed);
}

// ---- The way to it

void make_few(random_numbers &from, const stage &, step &made) { made.number = 1 + from.below(4); }
void dispatch(stage &on, const step &what) { on.dispatch(what.number); }
void overflow(stage &on, const step &) { on.overflow(); }

void disconnect(stage &on, const step &)
{
    if (on.is_connected())
        on.disconnect();
}

void reconnect(stage &on, const step &)
{
    if (!on.is_connected())
        on.reconnect();
}

void compare_sample(stage &on, const step &what) { on.compare_sample(what.seed); }
void compare_everything(stage &on, const step &) { on.compare_everything(); }

// ---- The client: questions

void make_question(random_numbers &from, const stage &on, step &made)
{
    const query &of = from.pick(exported_queries());
    made.said = {of.name, of.about == subject::vlan
                              ? std::to_string(from.pick(on.people().everyone().vlans))
                              : someone(from, on)};
    made.number = from.below(of.variants);
}

void ask(stage &on, const step &step)
{
    const query &of = find_query(step.said[0]);
    asked what;
    what.variant = step.number;
    if (of.about == subject::vlan)
        what.vlan = static_cast<u16>(std::stoul(step.said[1]));
    else
        what.about = on.people().find(step.said[1]);
    on.ask(of, what);
}

// ---- The client: what it does to its cache

void make_someone(random_numbers &from, const stage &on, step &made)
{
    made.said = {someone(from, on)};
    made.number = from.below(5);
}

void flush(stage &on, const step &what)
{
    const identity about = on.people().find(what.said[0]);
    const u32 option = static_cast<u32>(what.seed % 4);
    switch (what.number) {
    case 0:
        varn_if_flush_if(about.if_index, option);
        break;
    case 1:
        varn_if_flush_iod(about.iod, option);
        break;
    case 2:
        varn_if_flush_pi(about.pi, option);
        break;
    case 3:
        varn_if_flush_lif(about.lif, option);
        break;
    default:
        varn_if_flush_all(option);
        varn_vlan_flush_all(option);
    }
}

void make_flush(random_numbers &from, const stage &on, step &made)
{
    make_someone(from, on, made);
    made.seed = from.below(4);
}

void remove(stage &on, const step &what)
{
    const identity about = on.people().find(what.said[0]);
    switch (what.number) {
    case 0:
        varn_if_remove_entry_by_if(about.if_index);
        break;
    case 1:
        varn_if_remove_entry_by_iod(about.iod);
        break;
    case 2:
        varn_if_remove_entry_by_pi(about.pi);
        break;
    case 3:
        varn_if_remove_entry_by_lif(about.lif);
        break;
    default:
        varn_pc_remove_entry_by_if_index(about.if_index);
    }
}

void refresh(stage &on, const step &what)
{
    const identity about = on.people().find(what.said[0]);
    varn_if_update_if(about.if_index);
    varn_pc_invalidate_entry_by_phy_if(about.if_index);
}

void make_vlan(random_numbers &from, const stage &on, step &made)
{
    made.said = {std::to_string(from.pick(on.people().everyone().vlans))};
    made.number = from.below(6);
}

void treat_vlan(stage &, const step &what)
{
    const auto vlan = static_cast<u16>(std::stoul(what.said[0]));
    if (what.number == 0)
        varn_vlan_remove_entry_by_vlan(vlan);
    else if (what.number == 1)
        varn_vlan_update_vlan(vlan);
    else
        varn_vlan_flush_vlan(vlan, what.number - 2);
}

void permit(stage &on, const step &what)
{
    const identity about = on.people().find(what.said[0]);
    if (about.iod < VARN_IODBMP_WORDS * 32)
        varn_if_remove_entry_by_if_ext(about.if_index, about.iod, what.number != 0);
}

// What was told while the cache was off went past it.
void restore(stage &, const step &)
{
    if (varn_is_enabled() != 0)
        return;
    varn_restore_cache();
    shell::forget_everything();
}

void disable(stage &, const step &) { varn_disable_cache(); }

void make_own_data(random_numbers &from, const stage &on, step &made)
{
    made.said = private_words(someone(from, on), slot_keys[0], from.below(4), 4 * from.below(4));
}

// The owner of data tells the device, and its own cache at once.
void own_data(stage &on, const step &what)
{
    if (!on.is_connected())
        return;
    const u64 refused = on.result.refused;
    on.change(what.said);
    if (on.result.refused != refused)
        return;
    const auto value = static_cast<u32>(std::stoul(what.said[3]));
    const std::size_t digits = what.said.size() > 4 ? what.said[4].size() : 0;
    const u32 size = static_cast<u32>(digits / 2);
    const u32 iod = on.people().find(what.said[1]).iod;
    varn_ifsvc_update_private_data(iod, slot_keys[0], value, size);
}

// clang-format off
constexpr deed rows[] = {
    { "change",             350, make_change,   change },
    { "ask",                400, make_question, ask },
    { "dispatch",            80, make_few,      dispatch },
    { "compare a sample",    90, make_seed,     compare_sample },
    { "compare everything",  11, nothing_more,  compare_everything },
    { "overflow",             3, nothing_more,  overflow },
    { "disconnect",           2, nothing_more,  disconnect },
    { "reconnect",           12, nothing_more,  reconnect },
    { "restart",              1, make_seed,     restart },
    { "flush",               15, make_flush,    flush },
    { "remove",              10, make_someone,  remove },
    { "refresh",             10, make_someone,  refresh },
    { "VLAN",                 6, make_vlan,     treat_vlan },
    { "permit",               2, make_someone,  permit },
    { "own data",             5, make_own_data, own_data },
    { "disable",              1, nothing_more,  disable },
    { "restore",              2, nothing_more,  restore },
};
// clang-format on

constexpr u32 sum_of_weights()
{
    u32 sum = 0;
    for (const deed &each : rows)
        sum += each.weight;
    return sum;
}
static_assert(sum_of_weights() == 1000);

} // namespace

std::span<const deed> deeds() { return rows; }

const deed &find_deed(const std::string &name)
{
    for (const deed &each : rows)
        if (name == each.name)
            return each;
    throw std::out_of_range(name);
}

step random_step(random_numbers &from, const stage &on)
{
    step made;
    u32 drawn = from.below(sum_of_weights());
    made.what = rows;
    while (drawn >= made.what->weight)
        drawn -= (made.what++)->weight;
    made.what->make(from, on, made);
    return made;
}

} // namespace coherence
