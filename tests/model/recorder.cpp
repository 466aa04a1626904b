// SPDX-License-Identifier: Apache-2.0
//
// The watcher of the platform functions. Each is answered by its double, unless the mischief of the
// step says otherwise, and told to the log. Lookups in tables are left alone: they change nothing,
// and how often the library needs one is its own affair.
#include "mischief.h"
#include "scripted_device.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace naive
{

namespace
{

using scripted::service;

// How a function says that it succeeded, and whether its outputs were written.
enum class manner {
    value,     // the result is the answer
    code,      // 0 is success, outputs are written on success only
    code_mac,  // the same, and the output is a MAC address
    code_rash, // as code, but a failing call may have written its outputs
    one,       // 1 is success
    always     // a result, and outputs that are always written
};

// ---- what is given ----

template <typename Number>
requires std::is_integral_v<Number>
void give(event &to, Number number)
{
    to.give(static_cast<u64>(static_cast<std::make_unsigned_t<Number>>(number)));
}
void give(event &to, const char *text) { to.text = text; }
u64 packed(const u8 *mac)
{
    u64 bytes = 0; // the first byte lowest, on every machine
    for (u32 at = 0; at < 6; ++at)
        bytes |= u64{mac[at]} << (8 * at);
    return bytes;
}
void give(event &to, const u8 *mac) { to.give(packed(mac)); }
void give(event &to, vlan_key_t key) { to.give(u64{key.vinst} << 32 | key.vlan); }
void give(event &to, const aggsvc_pc_info_t *info) { to.give(info->pc_ifindex); }
void give(event &to, const ifsvc_port_mode_t *list)
{
    ifsvc_port_mode_t clean{};
    clean.if_index = list->if_index;
    to.give(list->if_index);
    to.give(std::memcmp(&clean, list, sizeof clean) == 0);
}
void give(event &to, const bitset_t *set) { to.give(reinterpret_cast<std::uintptr_t>(set)); }
void give(event &, u32 *) {}
void give(event &, u16 *) {}
void give(event &, u8 *) {}
void give(event &, char *) {}
void give(event &, vlan_key_t *) {}
void give(event &, aggsvc_pc_for_port_t *) {}
void give(event &to, aggsvc_pc_info_t *info)
{
    give(to, static_cast<const aggsvc_pc_info_t *>(info));
}
void give(event &to, ifsvc_port_mode_t *list)
{
    give(to, static_cast<const ifsvc_port_mode_t *>(list));
}

// ---- what is answered: the number behind an output, to be read or replaced ----

template <typename Input>
void tell(event &, Input, bool)
{
}
void tell(event &to, u32 *number, bool) { to.tell(*number); }
void tell(event &to, u16 *number, bool) { to.tell(*number); }
void tell(event &to, u8 *bytes, bool is_mac) { to.tell(is_mac ? packed(bytes) : *bytes); }
void tell(event &to, char *text, bool) { to.answer = text; }
void tell(event &to, vlan_key_t *key, bool) { to.tell(key->vlan); }
void tell(event &to, aggsvc_pc_info_t *info, bool) { to.tell(info->first_operational_mbr); }
void tell(event &to, aggsvc_pc_for_port_t *record, bool) { to.tell(record->pc_ifindex); }
void tell(event &to, ifsvc_port_mode_t *list, bool) { to.tell(list->port_mode); }

u32 odd() { return the_mischief().chance.odd_number(); }

template <typename Input>
void disturb(Input, bool)
{
}
void disturb(u32 *number, bool) { *number = odd(); }
void disturb(u16 *number, bool) { *number = static_cast<u16>(odd()); }
void disturb(u8 *bytes, bool is_mac)
{
    if (is_mac)
        std::memset(bytes, the_mischief().chance.one_in(2) ? 0 : 0x5A, 6);
    else
        *bytes = static_cast<u8>(the_mischief().chance.one_of({0, 5, 7, 9, 22, 24, 26, 255}));
}
void disturb(vlan_key_t *key, bool) { key->vlan = odd(); }
void disturb(aggsvc_pc_info_t *info, bool) { info->first_operational_mbr = odd(); }
void disturb(aggsvc_pc_for_port_t *record, bool) { record->pc_ifindex = odd(); }
void disturb(ifsvc_port_mode_t *list, bool) { list->port_mode = odd(); }

// How often a function goes wrong: as a request to another process, as an in-process helper, never.
enum class frailty { request, helper, steady };

u32 chances_of(frailty how)
{
    const mischief &now = the_mischief();
    return how == frailty::request ? now.services : how == frailty::helper ? now.types : 0;
}

template <auto Function, manner How, frailty Frail = frailty::request>
struct watcher;

template <typename Result, typename... Args, Result (*Function)(Args...), manner How, frailty Frail>
struct watcher<Function, How, Frail> {
    using target = service<scripted::answer_of<Result>(Args...)>;

    static constexpr bool is_mac = How == manner::code_mac;

    static constexpr bool is_code =
        How == manner::code || How == manner::code_mac || How == manner::code_rash;

    static target &of()
    {
        static auto &found = static_cast<target &>(
            scripted::find_service(reinterpret_cast<scripted::function_address>(Function)));
        return found;
    }

    static Result answer(trouble with, bool is_rash, Args... args)
    {
        if (with == trouble::failure) {
            of().fail_outputs(args...);
            if (is_rash)
                (disturb(args, is_mac), ...);
            if constexpr (std::is_integral_v<Result>)
                return is_code ? static_cast<Result>(odd() | 1) : Result{};
        }
        if constexpr (How == manner::one)
            if (with == trouble::odd_answer && the_mischief().strikes(2))
                return odd() | 2;
        Result given = of().by_default(args...);
        if (with != trouble::odd_answer)
            return given;
        if (has_written(given))
            (disturb(args, is_mac), ...);
        if constexpr (How == manner::value && std::is_integral_v<Result>)
            given = static_cast<Result>(odd());
        if constexpr (How == manner::always)
            given = the_mischief().chance.one_in(2)
                        ? odd()
                        : static_cast<Result>(the_mischief().chance.word());
        return given;
    }

    static bool has_written(const Result &given)
    {
        if constexpr (!std::is_integral_v<Result>)
            return false;
        else
            return How == manner::always || given == (How == manner::one ? 1 : 0);
    }

    static Result act(Args... args)
    {
        const int errno_before = errno;
        event &heard = the_log().add(of().name());
        (give(heard, args), ...);
        mischief &now = the_mischief();
        const trouble with = now.with_service(chances_of(Frail));
        const bool is_rash = How == manner::code_rash && with == trouble::failure && now.strikes(2);
        const Result given = answer(with, is_rash, args...);
        (tell(heard, args, is_mac), ...);
        if constexpr (std::is_integral_v<Result>) {
            heard.result = given;
            heard.written = is_rash || has_written(given);
        } else {
            heard.answer = given;
        }
        errno = errno_before;
        return given;
    }

    static void watch() { scripted::on(Function).does(act); }
};

template <auto... Functions>
void watch_values()
{
    (watcher<Functions, manner::value>::watch(), ...);
}
template <auto... Functions>
void watch_codes()
{
    (watcher<Functions, manner::code>::watch(), ...);
}

void watch_services()
{
    watch_values<
        ifsvc_is_linkup, ifsvc_is_protoup, ifsvc_is_switchport, ifsvc_is_switching_enabled_on_iod,
        ifsvc_is_ethernet, ifsvc_is_vlan, ifsvc_is_null0, ifsvc_is_native_p2p, ifsvc_is_loopback,
        ifsvc_is_mvpn_tunnel, ifsvc_is_gre_tunnel, ifsvc_is_super_802_3ad, ifsvc_is_cbus,
        ifsvc_is_mgmtether, ifsvc_is_dci_tunnel, ifsvc_is_dci_overlay, ifsvc_is_6to4_tunnel,
        ifsvc_is_mpls_tunnel, ifsvc_is_ifindex_svi, ifsvc_get_if_mtu, ifsvc_get_if_encaptype,
        ifsvc_get_if_vlanid, ifsvc_get_sub_interface_parent, ifsvc_is_if_mac_addr,
        ifsvc_get_svi_iod_for_vlan, ifsvc_get_if_name, ifsvc_get_extension, ifsvc_is_extension_set,
        vrfsvc_if_get_context_id, vrfsvc_if_get_table_id>();
    watch_codes<ifsvc_get_ifindex_frm_iod, ifsvc_get_iod_frm_ifindex, ifsvc_get_ifindex_name,
                ifsvc_get_ifindex_port_mode_list, lifsvc_query_ifindex_to_lif,
                lifsvc_query_lif_to_ifindex, idxsvc_lib_ifidx_to_di, idxsvc_lib_si_to_ifidx,
                idxsvc_lib_bd_to_di, aggsvc_get_pc_info, aggsvc_get_pc_for_port>();
    watcher<ifsvc_get_if_src_mac_addr, manner::code_mac>::watch();
    watcher<vlan_get_bd, manner::code_rash>::watch();
    watcher<vlan_get_bd_and_primary_vlan, manner::code_rash>::watch();
    watcher<aggsvc_get_pc_mbr_ifidx_from_rbh, manner::code_rash>::watch();
    watcher<ifsvc_get_vlan_info, manner::one>::watch();
    watcher<ifsvc_get_private_data, manner::always>::watch();
    watcher<if_index_get_type, manner::code, frailty::helper>::watch();
    watcher<if_index_vlan_port_init, manner::code, frailty::helper>::watch();
    watcher<bitset_is_bit_set, manner::value, frailty::steady>::watch();
    watcher<supvr_vinst_get, manner::value, frailty::steady>::watch();
}

} // namespace

void watch_the_platform()
{
    watch_services();
    watch_the_process();
}

} // namespace naive
