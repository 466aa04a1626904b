// SPDX-License-Identifier: Apache-2.0
//
// services.cpp: the smaller services. On this device one process stands behind all of them.
#include "aggsvc.h"
#include "connection.h"
#include "device/service/wire.h"
#include "idxsvc.h"
#include "lifsvc.h"
#include "supvr.h"
#include "varn_device.h"
#include "vlansvc.h"
#include "vrfsvc.h"

using namespace client;

// ---- Logical interfaces ----

uint32_t lifsvc_query_ifindex_to_lif(int32_t if_index, uint32_t *lif)
{
    return ask_number(lif, "IfIndexToLif", "u", if_index);
}

uint32_t lifsvc_query_lif_to_ifindex(int32_t lif, uint32_t *if_index)
{
    return ask_number(if_index, "LifToIfIndex", "u", lif);
}

// ---- Port indexes ----

uint32_t idxsvc_lib_ifidx_to_di(int32_t if_index, uint32_t *di)
{
    return ask_number(di, "IfIndexToDi", "u", if_index);
}

uint32_t idxsvc_lib_si_to_ifidx(int32_t si, uint32_t *if_index)
{
    return ask_number(if_index, "SiToIfIndex", "u", si);
}

uint32_t idxsvc_lib_bd_to_di(uint16_t bd, uint32_t *di)
{
    return ask_number(di, "BdToDi", "q", bd);
}

// ---- Port-channels ----

uint32_t aggsvc_get_pc_info(aggsvc_pc_info_t *info)
{
    u32 member = 0;
    const u32 code = ask_number(&member, "GetFirstMember", "u", info->pc_ifindex);
    if (code == VARN_DEVICE_OK)
        info->first_operational_mbr = member;
    return code;
}

uint32_t aggsvc_get_pc_for_port(uint32_t port_ifindex, aggsvc_pc_for_port_t *membership)
{
    u32 pc = 0;
    const u32 code = ask_number(&pc, "GetPortChannel", "u", port_ifindex);
    if (code == VARN_DEVICE_OK)
        membership->pc_ifindex = pc;
    return code;
}

uint32_t aggsvc_get_pc_mbr_ifidx_from_rbh(uint32_t pc_ifindex, uint32_t rbh, uint32_t *mbr_ifindex)
{
    return ask_number(mbr_ifindex, "GetMemberOfRbh", "uu", pc_ifindex, rbh);
}

// ---- VLANs ----

uint32_t vlan_get_bd(vlan_key_t key, uint16_t *bd)
{
    sd_bus_message *answer = nullptr;
    const u32 code = ask(answer, "GetBd", "qu", key.vinst, key.vlan);
    if (code == VARN_DEVICE_OK && sd_bus_message_read(answer, "q", bd) <= 0)
        return note(VARN_DEVICE_E_BAD_ANSWER, "the service's answer is no bridge domain");
    return code;
}

uint32_t vlan_get_bd_and_primary_vlan(vlan_key_t key, uint16_t *bd, uint32_t *primary_vlan)
{
    sd_bus_message *answer = nullptr;
    const u32 code = ask(answer, "GetBdAndPrimary", "qu", key.vinst, key.vlan);
    if (code == VARN_DEVICE_OK && sd_bus_message_read(answer, "qu", bd, primary_vlan) <= 0)
        return note(VARN_DEVICE_E_BAD_ANSWER, "the service's answer is no bridge domain");
    return code;
}

// ---- Routing contexts ----

uint32_t vrfsvc_if_get_context_id(uint32_t iod)
{
    u32 id = 0;
    return ask_number(&id, "GetContextId", "u", iod) == VARN_DEVICE_OK ? id : 0;
}

uint32_t vrfsvc_if_get_table_id(uint32_t iod, uint32_t family, const char *name)
{
    u32 id = 0;
    const u32 code = ask_number(&id, "GetTableId", "uus", iod, family, name);
    return code == VARN_DEVICE_OK ? id : 0;
}

// ---- The system ----

// The device has one instance, and its number is part of the protocol: no request is needed, so
// that the answer is the same in every state of the service.
uint16_t supvr_vinst_get(void) { return wire::vinst; }

// ---- Beyond the contract ----

uint32_t varn_device_list_iods(uint32_t *iods, uint32_t capacity, uint32_t *count)
{
    sd_bus_message *answer = nullptr;
    const u32 code = ask(answer, "ListIods", "");
    if (code != VARN_DEVICE_OK)
        return code;
    const void *list = nullptr;
    std::size_t size = 0;
    if (sd_bus_message_read_array(answer, 'u', &list, &size) < 0)
        return note(VARN_DEVICE_E_BAD_ANSWER, "the service's answer is no list");
    *count = static_cast<u32>(size / sizeof(u32));
    for (u32 n = 0; n < *count && n < capacity; ++n)
        iods[n] = static_cast<const u32 *>(list)[n];
    return VARN_DEVICE_OK;
}

uint32_t varn_device_stats(uint64_t *all_clients, uint64_t *this_client)
{
    sd_bus_message *answer = nullptr;
    const u32 code = ask(answer, "Stats", "");
    if (code == VARN_DEVICE_OK && sd_bus_message_read(answer, "tt", all_clients, this_client) <= 0)
        return note(VARN_DEVICE_E_BAD_ANSWER, "the service's answer is no count");
    return code;
}

uint32_t varn_device_attach(uint32_t iod, uint32_t key, uint32_t extension, const void *block,
                            uint32_t size)
{
    const appended what([=](sd_bus_message *request) {
        const int result = sd_bus_message_append(request, "uuu", iod, key, extension);
        return result < 0 ? result : sd_bus_message_append_array(request, 'y', block, size);
    });
    sd_bus_message *answer = nullptr;
    return ask("Attach", what, answer);
}

uint32_t varn_device_change(const char *const *words, uint32_t count, const char **answer)
{
    for (u32 n = 0; n < count; ++n)
        if (words == nullptr || words[n] == nullptr)
            return note(VARN_DEVICE_E_ARGUMENT, "a word of the change is missing");
    const appended what([=](sd_bus_message *request) {
        int result = sd_bus_message_open_container(request, 'a', "s");
        for (u32 n = 0; n < count && result >= 0; ++n)
            result = sd_bus_message_append_basic(request, 's', words[n]);
        return result < 0 ? result : sd_bus_message_close_container(request);
    });
    sd_bus_message *said = nullptr;
    const u32 code = ask("Change", what, said);
    const char *text = nullptr;
    if (code == VARN_DEVICE_OK && sd_bus_message_read(said, "s", &text) <= 0)
        return note(VARN_DEVICE_E_BAD_ANSWER, "the service's answer is no text");
    if (code == VARN_DEVICE_OK && answer != nullptr)
        *answer = text;
    return code;
}
