// SPDX-License-Identifier: Apache-2.0
//
// What a notification handler is expected to do, written down step by step: a copy of the entry, a
// journal and a set of counted names, which the tests then compare with what has happened. The
// interface is iod 7 of any type; what the services answer about it is fixed here.
#pragma once

#include "handler_ground.h"

#include <map>
#include <set>
#include <sstream>

class deed
{
public:
    deed(u32 its_type, u64 cached) : type(its_type), index(its_type << 24 | 7), sync(cached) {}

    const u32 type, index;
    const u64 sync;
    bool has_entry = false;
    bool is_new = false;
    varn_if_entry_t entry{};
    std::string address = "0x0";

    bool caches(u32 bit) const { return (sync >> bit & 1) != 0; }
    bool is_dirty(u32 bit) const { return (entry.dirty >> bit & 1) != 0; }
    void clean(u32 bit) { entry.dirty &= ~bits(bit); }
    void soil(u32 bit) { entry.dirty |= bits(bit); }

    void ask(const std::string &line) { journal_.push_back(line); }
    void say(const std::string &text) { ask(traced(text)); }
    void count(const std::string &name) { ++counted_[name]; }
    void update(u32 slot) { count(spell("updates[", dec(slot), "]")); }
    void ask_type() { ask(spell("if_index_get_type(", hex(index), ") = 0 -> ", dec(type))); }
    void ask_name() { ask(asked_name_of_7); }

    // ---- the services, and what becomes of their answers ----

    void take_linkup() { ask("ifsvc_is_linkup(7) = 3"), entry.linkup = 1, update(15); }
    void take_protoup() { ask("ifsvc_is_protoup(7) = 2"), entry.protoup = 0, update(16); }
    void take_switchport() { ask("ifsvc_is_switchport(7) = 5"), entry.switchport = 1, update(13); }
    void take_switching()
    {
        ask("ifsvc_is_switching_enabled_on_iod(7) = 4"), entry.switching = 0, update(14);
    }
    void take_p2p() { ask("ifsvc_is_native_p2p(7) = 3"), entry.p2p = 1, update(27); }
    void take_mtu() { ask("ifsvc_get_if_mtu(7) = 74537"), entry.mtu = 9001; }
    void ask_mac() { ask("ifsvc_get_if_src_mac_addr(7) = 0 -> 0c0c.0c0c.0c0c"); }
    void take_mac() { ask_mac(), std::memset(entry.mac, 0x0c, 6); }
    void take_encap() { ask("ifsvc_get_if_encaptype(7) = 6"), entry.encap = 6; }
    void take_ethernet() { ask("ifsvc_is_ethernet(7) = 1"), entry.ethernet = 1; }
    void take_vlan()
    {
        ask("ifsvc_is_vlan(7) = 0"), ask("ifsvc_is_vlan(7) = 0"), ask("ifsvc_is_switchport(7) = 5");
        ask("ifsvc_get_vlan_info(7) = 1 -> 1/44, 3");
        entry.vlan = 44, entry.port_mode = 3;
    }

    // The copy of bits 2 and 3 of what is cached, and the refresh behind it.
    void fetch_identities()
    {
        entry.dirty = (entry.dirty & ~bits(2, 3)) | (sync & bits(2, 3));
        refresh();
    }

    // A cached query by one of its three roads. `fetch` asks the service and keeps the answer; what
    // was kept is thrown away when the attribute is not cached.
    template <typename Fetch>
    void query(u32 bit, u32 slot, Fetch fetch)
    {
        const bool is_hit = caches(bit) && !is_dirty(bit);
        count(spell(is_hit ? "hits[" : "misses[", dec(slot), "]"));
        if (is_hit)
            return;
        const varn_if_entry_t was = entry;
        fetch();
        if (!caches(bit))
            entry = was;
        else
            clean(bit);
    }

    // ---- creation and removal ----

    void refresh()
    {
        say(spell("Varn-update for if-index ", hex(index), ", iod 7\n"));
        ask_type();
        refresh_pi();
        refresh_lif();
        when_dirty(27, [this] { take_member(); });
        when_dirty(15, [this] { take_switchport(); });
        when_dirty(17, [this] { take_linkup(); });
        when_dirty(18, [this] { take_protoup(); });
        when_dirty(4, [this] { take_encap(), update(5); });
        when_dirty(16, [this] { take_switching(); });
        when_dirty(9, [this] { take_mac(), update(4); });
        when_dirty(19, [this] { take_ethernet(), update(17); });
        when_dirty(23, [this] { take_p2p(); });
        when_dirty(10, [this] { take_vlan(), update(19); });
        when_dirty(13, [this] { take_mtu(), update(12); });
    }

    // From the moment at which the if-index is known, and the iod where it has been asked for.
    void create()
    {
        const std::string who = spell("if-index ", hex(index), ", iod 7");
        say(spell("If-create for ", who, ", pi 0xffffffff, lif 0xffffffff\n"));
        has_entry = is_new = true;
        entry = varn_if_entry_t{};
        entry.if_index = index;
        entry.iod = 7;
        entry.pi = entry.lif = none;
        entry.if_type = static_cast<std::uint8_t>(type);
        entry.ref_count = 2;
        entry.dirty = sync & ~bits(0, 1, 25);
        take_mtu();
        for (const char *each : {"if_allocs", "if_index.inserts", "iod_index.inserts"})
            count(each);
        refresh();
        is_new = false;
    }

    void destroy()
    {
        const std::string pi = hex(entry.pi), lif = hex(entry.lif);
        say(spell("If-destroy for if-index ", hex(index), ", iod 7, pi ", pi, ", lif ", lif, "\n"));
        for (const char *each : {"if_frees", "if_destroys", "if_index.removes", "iod_index.removes",
                                 "lif_index.removes"})
            count(each);
        if (entry.pi != none)
            count("pi_index.removes");
        has_entry = false;
    }

    // ---- for the comparison ----

    std::string journal() const
    {
        std::string all;
        for (const std::string &line : journal_)
            all += all.empty() ? line : '\n' + line;
        return all;
    }

    std::set<std::string> counters() const
    {
        std::set<std::string> all;
        for (const auto &[name, times] : counted_)
            all.insert(spell(name, " +", dec(times)));
        return all;
    }

private:
    template <typename Fetch>
    void when_dirty(u32 bit, Fetch fetch)
    {
        if (!is_dirty(bit))
            return;
        clean(bit);
        fetch();
    }

    void take_member()
    {
        if (type != 22)
            return;
        update(22);
        ask("aggsvc_get_pc_info(0x16000007) = 0 -> 0x1a000008");
        entry.aggsvc_if = 0x1a000008;
    }

    // Unchanged in an old entry, filed for the first time in a new one.
    void refresh_pi()
    {
        if (!is_dirty(2))
            return;
        clean(2);
        if (type == 9)
            return;
        ask(spell("idxsvc_lib_ifidx_to_di(", hex(index), ") = 0 -> 0x107"));
        update(2);
        if (is_new) {
            say(spell("Creating pi entry for if-index ", hex(index), ", iod 7, pi 0x107\n"));
            file(entry.pi, 0x107, "pi_index.inserts");
        }
    }

    void refresh_lif()
    {
        if (!is_dirty(3))
            return;
        clean(3);
        ask(spell("lifsvc_query_ifindex_to_lif(", hex(index), ") = 0 -> 0x2007"));
        update(3);
        if (is_new) {
            say(spell("Creating lif entry for if-index ", hex(index), ", iod 7, lif 0x2007\n"));
            file(entry.lif, 0x2007, "lif_index.inserts");
        } else {
            say("lif same as lifsvc's value, clear dirty bit\n");
        }
    }

    void file(u32 &key, u32 value, const char *counter)
    {
        key = value;
        ++entry.ref_count;
        count(counter);
    }

    std::vector<std::string> journal_;
    std::map<std::string, u64> counted_;
};

// What the counters moved, as the set that a deed counts.
inline std::set<std::string> counted_set(const std::string &moved)
{
    std::set<std::string> all;
    std::istringstream rest(moved);
    for (std::string each; std::getline(rest >> std::ws, each, ',');)
        all.insert(each);
    return all;
}
