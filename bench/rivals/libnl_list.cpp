// SPDX-License-Identifier: Apache-2.0
//
// libnl's link cache by its own call: rtnl_link_get walks the list of all links.
// Each answer takes a reference and puts it back, as the library asks its clients to do.
#include "rival.h"

#include <net/if.h>
#include <netlink/cache.h>
#include <netlink/route/link.h>

namespace
{

nl_cache *links;
rtnl_link *look_up(uint32_t iod) { return rtnl_link_get(links, static_cast<int>(iod)); }

template <class reader>
uint32_t ask(uint32_t iod, reader read)
{
    rtnl_link *link = look_up(iod);
    const auto answer = static_cast<uint32_t>(read(link));
    rtnl_link_put(link);
    return answer;
}

uint32_t flag(uint32_t iod, unsigned mask)
{
    return ask(iod, [mask](rtnl_link *link) { return (rtnl_link_get_flags(link) & mask) != 0; });
}

void add(uint32_t iod)
{
    rtnl_link *link = rtnl_link_alloc();
    rtnl_link_set_ifindex(link, static_cast<int>(iod));
    rtnl_link_set_flags(link, IFF_UP | IFF_RUNNING);
    rtnl_link_set_mtu(link, 1500);
    rtnl_link_set_arptype(link, 1);
    nl_cache_add(links, OBJ_CAST(link));
    rtnl_link_put(link);
}

} // namespace

RIVAL_EXPORT void rival_fill(uint32_t count)
{
    nl_cache_alloc_name("route/link", &links);
    for (uint32_t iod = 1; iod <= count; ++iod)
        add(iod);
}

RIVAL_EXPORT void rival_remove(uint32_t iod)
{
    rtnl_link *link = look_up(iod);
    nl_cache_remove(OBJ_CAST(link));
    rtnl_link_put(link);
}

RIVAL_EXPORT void rival_insert(uint32_t iod) { add(iod); }
RIVAL_EXPORT uint32_t rival_is_linkup(uint32_t iod) { return flag(iod, IFF_RUNNING); }
RIVAL_EXPORT uint32_t rival_is_protoup(uint32_t iod) { return flag(iod, IFF_UP); }
RIVAL_EXPORT uint32_t rival_is_switchport(uint32_t iod) { return flag(iod, IFF_RUNNING); }
RIVAL_EXPORT uint32_t rival_get_if_mtu(uint32_t iod) { return ask(iod, rtnl_link_get_mtu); }
RIVAL_EXPORT uint32_t rival_get_if_encaptype(uint32_t iod)
{
    return ask(iod, rtnl_link_get_arptype);
}
