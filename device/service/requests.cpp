// SPDX-License-Identifier: Apache-2.0
//
// requests.cpp: the table of requests. Most rows have one of four shapes, each a template told
// once: a part of the identity of an interface named by its iod, what is answered about it, the
// same for one named by its if-index, and a translation of one number into another. Only what is
// left has a function of its own. sd-bus has checked the arguments against the row's signature
// before an answer runs.
#include "requests.h"

#include <cstring>
#include <functional>

#include "device/runtime/if_index_types.h"
#include "if_index.h"
#include "inventory.h"
#include "wire.h"

namespace device
{
namespace
{

using finder = const interface *(device_model::*)(u32) const;

int unknown(const call &c, const char *what, u32 number)
{
    return sd_bus_error_setf(c.error, wire::no_such_interface, "no interface has %s 0x%x", what,
                             number);
}

int no_value(const call &c, const interface &asked, const char *what)
{
    return sd_bus_error_setf(c.error, wire::no_such_value, "%s has no %s", asked.name.c_str(),
                             what);
}

int give(const call &c, u32 value) { return sd_bus_reply_method_return(c.request, "u", value); }

int give(const call &c, char type, const void *values, std::size_t bytes)
{
    sd_bus_message *reply = nullptr;
    int result = sd_bus_message_new_method_return(c.request, &reply);
    if (result >= 0)
        result = sd_bus_message_append_array(reply, type, values, bytes);
    if (result >= 0)
        result = sd_bus_send(nullptr, reply, nullptr);
    sd_bus_message_unref(reply);
    return result;
}

// Finds the interface whose number stands first in the request; null: the error is set.
template <finder find>
const interface *asked_by(const call &c, const char *what, int &failure)
{
    u32 number = 0;
    failure = sd_bus_message_read(c.request, "u", &number);
    if (failure < 0)
        return nullptr;
    const interface *asked = (c.model.*find)(number);
    if (asked == nullptr)
        failure = unknown(c, what, number);
    return asked;
}

const interface *asked_by_iod(const call &c, int &failure)
{
    return asked_by<&device_model::find_iod>(c, "iod", failure);
}

// What never changes while the interface lives.
template <auto member>
int of_iod(const call &c)
{
    int failure = 0;
    const interface *asked = asked_by_iod(c, failure);
    return asked == nullptr ? failure : give(c, static_cast<u32>(std::invoke(member, *asked)));
}

template <u8 type>
int iod_has_type(const call &c)
{
    int failure = 0;
    const interface *asked = asked_by_iod(c, failure);
    return asked == nullptr ? failure : give(c, asked->type == type);
}

template <auto member>
int now_of_iod(const call &c)
{
    int failure = 0;
    const interface *asked = asked_by_iod(c, failure);
    return asked == nullptr ? failure : give(c, static_cast<u32>(asked->now.*member));
}

template <finder find, auto member>
int translate(const call &c)
{
    int failure = 0;
    const interface *asked = asked_by<find>(c, "number", failure);
    if (asked == nullptr)
        return failure;
    const u32 value = std::invoke(member, *asked);
    return value == no_index ? no_value(c, *asked, "such number") : give(c, value);
}

int src_mac(const call &c)
{
    int failure = 0;
    const interface *asked = asked_by_iod(c, failure);
    if (asked == nullptr)
        return failure;
    return give(c, 'y', asked->now.mac.data(), asked->now.mac.size());
}

int vlan_info(const call &c)
{
    int failure = 0;
    const interface *asked = asked_by_iod(c, failure);
    if (asked == nullptr)
        return failure;
    const attributes &now = asked->now;
    if (now.vlan == 0)
        return no_value(c, *asked, "access VLAN");
    return sd_bus_reply_method_return(c.request, "quu", wire::vinst, now.vlan, now.port_mode);
}

int name_of_iod(const call &c)
{
    int failure = 0;
    const interface *asked = asked_by_iod(c, failure);
    return asked == nullptr ? failure
                            : sd_bus_reply_method_return(c.request, "s", asked->now.name.c_str());
}

int name_of_if_index(const call &c)
{
    int failure = 0;
    const interface *asked = asked_by<&device_model::find_if_index>(c, "if-index", failure);
    return asked == nullptr ? failure
                            : sd_bus_reply_method_return(c.request, "s", asked->now.name.c_str());
}

int svi_of_vlan(const call &c)
{
    u16 vinst = 0;
    u32 vlan = 0;
    const int result = sd_bus_message_read(c.request, "qu", &vinst, &vlan);
    if (result < 0)
        return result;
    u32 if_index = 0;
    if (vlan > 0xFFFF || if_index_vlan_port_init(&if_index, static_cast<u16>(vlan), vinst) != 0)
        return give(c, 0);
    const interface *svi = c.model.find_if_index(if_index);
    return give(c, svi == nullptr ? 0 : svi->iod);
}

int table_id(const call &c)
{
    int failure = 0;
    const interface *asked = asked_by_iod(c, failure);
    if (asked == nullptr)
        return failure;
    u32 family = 0;
    const char *name = nullptr;
    const int result = sd_bus_message_read(c.request, "us", &family, &name);
    if (result < 0)
        return result;
    if (family != family_ipv4 || std::strcmp(name, "base") != 0)
        return no_value(c, *asked, "such table");
    return give(c, asked->now.table);
}

int port_modes(const call &c)
{
    const void *if_indexes = nullptr;
    std::size_t bytes = 0;
    const int result = sd_bus_message_read_array(c.request, 'u', &if_indexes, &bytes);
    if (result < 0)
        return result;
    std::vector<u32> modes;
    for (std::size_t n = 0; n < bytes / sizeof(u32); ++n) {
        const u32 if_index = static_cast<const u32 *>(if_indexes)[n];
        const interface *asked = c.model.find_if_index(if_index);
        if (asked == nullptr)
            return unknown(c, "if-index", if_index);
        modes.push_back(asked->now.port_mode);
    }
    return give(c, 'u', modes.data(), modes.size() * sizeof(u32));
}

int port_channel_of_port(const call &c)
{
    int failure = 0;
    const interface *asked = asked_by<&device_model::find_if_index>(c, "if-index", failure);
    return asked == nullptr ? failure : give(c, asked->now.port_channel);
}

int first_member(const call &c)
{
    int failure = 0;
    const interface *asked = asked_by<&device_model::find_if_index>(c, "if-index", failure);
    if (asked == nullptr)
        return failure;
    if (asked->masters != mastery::port_channel)
        return no_value(c, *asked, "members: it is no port-channel");
    return give(c, asked->now.first_member);
}

int member_of_rbh(const call &c)
{
    int failure = 0;
    const interface *asked = asked_by<&device_model::find_if_index>(c, "if-index", failure);
    if (asked == nullptr)
        return failure;
    u32 rbh = 0;
    const int result = sd_bus_message_read(c.request, "u", &rbh);
    if (result < 0)
        return result;
    if (rbh >= num_rbh)
        return sd_bus_error_setf(c.error, SD_BUS_ERROR_INVALID_ARGS, "no hash bucket %u", rbh);
    if (asked->now.rbh.empty())
        return no_value(c, *asked, "operational member");
    return give(c, asked->now.rbh[rbh]);
}

// The VLAN that the request names; null: the error is set.
const vlan_facts *asked_by_vlan(const call &c, int &failure)
{
    u16 vinst = 0;
    u32 vlan = 0;
    failure = sd_bus_message_read(c.request, "qu", &vinst, &vlan);
    if (failure < 0)
        return nullptr;
    const bool possible = vinst == wire::vinst && vlan <= IF_INDEX_VLAN_MAX;
    const vlan_facts *asked = possible ? c.model.find_vlan(static_cast<u16>(vlan)) : nullptr;
    if (asked == nullptr)
        failure = sd_bus_error_setf(c.error, wire::no_such_interface, "no VLAN %u of instance %u",
                                    vlan, vinst);
    return asked;
}

int bd_of_vlan(const call &c)
{
    int failure = 0;
    const vlan_facts *asked = asked_by_vlan(c, failure);
    return asked == nullptr ? failure : sd_bus_reply_method_return(c.request, "q", asked->bd);
}

int bd_and_primary_of_vlan(const call &c)
{
    int failure = 0;
    const vlan_facts *asked = asked_by_vlan(c, failure);
    return asked == nullptr ? failure
                            : sd_bus_reply_method_return(c.request, "qu", asked->bd,
                                                         static_cast<u32>(asked->primary));
}

int flood_index_of_bd(const call &c)
{
    u16 bd = 0;
    const int result = sd_bus_message_read(c.request, "q", &bd);
    if (result < 0)
        return result;
    const u32 index = c.model.flood_index_of(bd);
    if (index == 0)
        return sd_bus_error_setf(c.error, wire::no_such_interface, "no bridge domain %u", bd);
    return give(c, index);
}

// What is attached under the key that follows the iod; an empty attachment where there is none.
int find_attachment(const call &c, attachment &found)
{
    int failure = 0;
    const interface *asked = asked_by_iod(c, failure);
    if (asked == nullptr)
        return failure;
    u32 key = 0;
    const int result = sd_bus_message_read(c.request, "u", &key);
    const auto at = asked->attachments.find(key);
    if (result >= 0 && at != asked->attachments.end())
        found = at->second;
    return result;
}

int extension(const call &c)
{
    attachment found;
    const int result = find_attachment(c, found);
    return result < 0 ? result : give(c, found.extension);
}

int private_data(const call &c)
{
    attachment found;
    const int result = find_attachment(c, found);
    return result < 0 ? result : give(c, 'y', found.block.data(), found.block.size());
}

int attach(const call &c)
{
    u32 iod = 0, key = 0, value = 0;
    const void *block = nullptr;
    std::size_t size = 0;
    int result = sd_bus_message_read(c.request, "uuu", &iod, &key, &value);
    if (result >= 0)
        result = sd_bus_message_read_array(c.request, 'y', &block, &size);
    if (result < 0)
        return result;
    if (c.model.find_iod(iod) == nullptr)
        return unknown(c, "iod", iod);
    if (size > max_block)
        return sd_bus_error_setf(c.error, SD_BUS_ERROR_INVALID_ARGS,
                                 "a block has at most %zu bytes", max_block);
    const auto *bytes = static_cast<const u8 *>(block);
    c.model.attach(iod, key, {value, std::vector<u8>(bytes, bytes + size)});
    c.model.settle();
    return sd_bus_reply_method_return(c.request, "");
}

// Whoever subscribes has every notice after the one whose number it is given.
int subscribe(const call &c)
{
    int on = 0;
    const int result = sd_bus_message_read(c.request, "b", &on);
    if (result < 0)
        return result;
    if (on != 0)
        c.notices.subscribe();
    else
        c.notices.unsubscribe();
    return sd_bus_reply_method_return(c.request, "tt", c.position.epoch, c.position.sequence);
}

int read_words(sd_bus_message *from, std::vector<std::string> &words)
{
    int result = sd_bus_message_enter_container(from, 'a', "s");
    const char *word = nullptr;
    while (result >= 0 && (result = sd_bus_message_read(from, "s", &word)) > 0)
        words.emplace_back(word);
    return result < 0 ? result : sd_bus_message_exit_container(from);
}

int change(const call &c)
{
    std::vector<std::string> words;
    const int result = read_words(c.request, words);
    if (result < 0)
        return result;
    if (c.inventory == nullptr)
        return sd_bus_error_set(
            c.error, wire::not_allowed,
            "this device is the machine itself, and is not changed by commands");
    const inventory::outcome outcome = c.inventory->change(words);
    if (!outcome.done)
        return sd_bus_error_set(c.error, wire::bad_change, outcome.text.c_str());
    return sd_bus_reply_method_return(c.request, "s", outcome.text.c_str());
}

int list_iods(const call &c)
{
    std::vector<u32> iods;
    for (const auto &[iod, known] : c.model.interfaces())
        iods.push_back(iod);
    return give(c, 'u', iods.data(), iods.size() * sizeof(u32));
}

int stats(const call &c)
{
    return sd_bus_reply_method_return(c.request, "tt", c.all_clients.answered,
                                      c.this_client.answered);
}

#define NAMED(x) x "\0"
constexpr char iod_answer[] = NAMED("iod") NAMED("answer");
constexpr char if_index_answer[] = NAMED("if_index") NAMED("answer");
constexpr char key_answer[] = NAMED("iod") NAMED("key") NAMED("answer");
constexpr char vlan_bd[] = NAMED("vinst") NAMED("vlan") NAMED("bd");
constexpr char iod_vlan_info[] = NAMED("iod") NAMED("vinst") NAMED("vlan") NAMED("mode");
constexpr char modes[] = NAMED("if_indexes") NAMED("modes");
constexpr char lif_answer[] = NAMED("lif") NAMED("answer");
constexpr char si_answer[] = NAMED("si") NAMED("answer");
constexpr char vlan_iod[] = NAMED("vinst") NAMED("vlan") NAMED("iod");
constexpr char iod_table[] = NAMED("iod") NAMED("family") NAMED("name") NAMED("answer");
constexpr char rbh_member[] = NAMED("if_index") NAMED("rbh") NAMED("member");
constexpr char vlan_bd_primary[] = NAMED("vinst") NAMED("vlan") NAMED("bd") NAMED("primary");
constexpr char bd_di[] = NAMED("bd") NAMED("di");
constexpr char attachment_in[] = NAMED("iod") NAMED("key") NAMED("extension") NAMED("block");
constexpr char words_answer[] = NAMED("words") NAMED("answer");
constexpr char iods_out[] = NAMED("iods");
constexpr char position_out[] = NAMED("on") NAMED("epoch") NAMED("sequence");
constexpr char counts[] = NAMED("all_clients") NAMED("this_client");
using model = device_model;

// clang-format off
constexpr request table[] = {
    { "IsLinkup",           "u",     "u",   iod_answer,      now_of_iod<&attributes::linkup> },
    { "IsProtoup",          "u",     "u",   iod_answer,      now_of_iod<&attributes::protoup> },
    { "IsSwitchport",       "u",     "u",   iod_answer,      now_of_iod<&attributes::switchport> },
    { "IsSwitchingEnabled", "u",     "u",   iod_answer,      now_of_iod<&attributes::switching> },
    { "IsEthernet",         "u",     "u",   iod_answer,      now_of_iod<&attributes::ethernet> },
    { "IsVlan",             "u",     "u",   iod_answer,      of_iod<&interface::is_vlan> },
    { "IsNull0",            "u",     "u",   iod_answer,      iod_has_type<IF_INDEX_TYPE_NULL0> },
    { "IsNativeP2p",        "u",     "u",   iod_answer,      now_of_iod<&attributes::p2p> },
    { "IsLoopback",         "u",     "u",   iod_answer,      now_of_iod<&attributes::loopback> },
    { "IsMvpnTunnel",       "u",     "u",   iod_answer,
      iod_has_type<IF_INDEX_TYPE_MVPN_TUNNEL> },
    { "IsGreTunnel",        "u",     "u",   iod_answer,      iod_has_type<IF_INDEX_TYPE_GRE> },
    { "IsPortChannel",      "u",     "u",   iod_answer,      iod_has_type<IF_INDEX_TYPE_PC> },
    { "IsCbus",             "u",     "u",   iod_answer,      iod_has_type<IF_INDEX_TYPE_CBUS> },
    { "IsMgmtether",        "u",     "u",   iod_answer,      iod_has_type<IF_INDEX_TYPE_MGMT> },
    { "IsDciTunnel",        "u",     "u",   iod_answer,
      iod_has_type<IF_INDEX_TYPE_DCI_TUNNEL> },
    { "IsDciOverlay",       "u",     "u",   iod_answer,
      iod_has_type<IF_INDEX_TYPE_DCI_OVERLAY> },
    { "Is6to4Tunnel",       "u",     "u",   iod_answer,      iod_has_type<IF_INDEX_TYPE_6TO4> },
    { "IsMplsTunnel",       "u",     "u",   iod_answer,
      iod_has_type<IF_INDEX_TYPE_MPLS_TUNNEL> },

    { "GetMtu",             "u",     "u",   iod_answer,      now_of_iod<&attributes::mtu> },
    { "GetEncapType",       "u",     "u",   iod_answer,      now_of_iod<&attributes::encap> },
    { "GetVlanId",          "u",     "u",   iod_answer,      now_of_iod<&attributes::vlan> },
    { "GetParent",          "u",     "u",   iod_answer,      now_of_iod<&attributes::parent> },
    { "GetSrcMac",          "u",     "ay",  iod_answer,      src_mac },
    { "GetVlanInfo",        "u",     "quu", iod_vlan_info,   vlan_info },
    { "GetPortModes",       "au",    "au",  modes,           port_modes },

    { "IodToIfIndex",       "u",     "u",   iod_answer,      of_iod<&interface::if_index> },
    { "IfIndexToIod",       "u",     "u",   if_index_answer,
      translate<&model::find_if_index, &interface::iod> },
    { "IfIndexToLif",       "u",     "u",   if_index_answer,
      translate<&model::find_if_index, &interface::lif> },
    { "LifToIfIndex",       "u",     "u",   lif_answer,
      translate<&model::find_lif, &interface::if_index> },
    { "IfIndexToDi",        "u",     "u",   if_index_answer,
      translate<&model::find_if_index, &interface::port_index> },
    { "SiToIfIndex",        "u",     "u",   si_answer,
      translate<&model::find_port_index, &interface::if_index> },
    { "VlanToSvi",          "qu",    "u",   vlan_iod,        svi_of_vlan },
    { "IodToName",          "u",     "s",   iod_answer,      name_of_iod },
    { "IfIndexToName",      "u",     "s",   if_index_answer, name_of_if_index },

    { "GetContextId",       "u",     "u",   iod_answer,      now_of_iod<&attributes::context> },
    { "GetTableId",         "uus",   "u",   iod_table,       table_id },

    { "GetPortChannel",     "u",     "u",   if_index_answer, port_channel_of_port },
    { "GetFirstMember",     "u",     "u",   if_index_answer, first_member },
    { "GetMemberOfRbh",     "uu",    "u",   rbh_member,      member_of_rbh },
    { "GetBd",              "qu",    "q",   vlan_bd,         bd_of_vlan },
    { "GetBdAndPrimary",    "qu",    "qu",  vlan_bd_primary, bd_and_primary_of_vlan },
    { "BdToDi",             "q",     "u",   bd_di,           flood_index_of_bd },

    { "GetExtension",       "uu",    "u",   key_answer,      extension },
    { "GetPrivateData",     "uu",    "ay",  key_answer,      private_data },
    { "Attach",             "uuuay", "",    attachment_in,   attach, true, true },
    { "Change",             "as",    "s",   words_answer,    change, true, true },

    { "ListIods",           "",      "au",  iods_out,        list_iods },
    { "Subscribe",          "b",     "tt",  position_out,    subscribe, false },
    { "Stats",              "",      "tt",  counts,          stats, false },
};
// clang-format on

} // namespace

std::span<const request> requests() { return table; }

} // namespace device
