/* SPDX-License-Identifier: Apache-2.0 */
/*
 * contract_world.h: what the contract suite does to the device under test.
 *
 * The platform headers let a client ask; they do not let anyone change a device. Whoever has the
 * suite look at an own implementation gives it these hooks in a file contract_world.c or
 * contract_world.cpp beside its CMakeLists.txt. The suite makes a small world with them (a port, a
 * port-channel, a VLAN), asks the platform functions about it, and takes it down again.
 *
 * Rules for every hook:
 *   1. One that is null, and one that returns CONTRACT_CANNOT, leaves out the tests that need it. A
 *      test that was left out is printed as skipped, with the hook or the value that it wanted.
 *   2. When a hook has returned CONTRACT_DONE, the platform functions answer for the changed world.
 *   3. A hook does not call the cache; `dispatch` alone does.
 *   4. An interface is named by its name. What the suite did not set has a value of the device's own
 *      choice, but for what the kinds below say.
 *   5. The suite takes a port out of its port-channel before the port-channel goes, and a
 *      sub-interface away before what it stands on. A primary VLAN is there before its secondaries.
 *      It never gives one port index or one lif to two interfaces, nor one bridge domain to two
 *      VLANs.
 *   6. Results: CONTRACT_DONE, CONTRACT_CANNOT, and anything else for a failure, which fails the
 *      test.
 *
 * The suite needs `add`, `remove` and `if_index_of`; everything else is a wish.
 */
#ifndef CONTRACT_WORLD_H
#define CONTRACT_WORLD_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define CONTRACT_DONE   UINT32_C(0)
#define CONTRACT_CANNOT UINT32_C(1)
#define CONTRACT_FAILED UINT32_C(2)

/* What an interface is. */
typedef enum contract_kind {
    CONTRACT_PHYSICAL, /* type 26: an Ethernet port; not in a port-channel, no switchport */
    CONTRACT_MGMT,     /* type 5 */
    CONTRACT_CBUS,     /* type 7 */
    CONTRACT_SVI,      /* type 9: the interface of VLAN `vlan` */
    CONTRACT_PC,       /* type 22: without members */
    CONTRACT_GRE,      /* type 24 */
    CONTRACT_SUBIF,    /* a sub-interface of VLAN `vlan` on the interface `on` */
    CONTRACT_LOOPBACK, /* these have a type of the device's own */
    CONTRACT_NULL0,
    CONTRACT_MVPN,
    CONTRACT_MPLS,
    CONTRACT_6TO4,
    CONTRACT_DCI_TUNNEL,
    CONTRACT_DCI_OVERLAY,
    CONTRACT_NUM_KINDS
} contract_kind_t;

/* What can be set to a number, and the function that must then answer it. */
typedef enum contract_value {
    CONTRACT_LINKUP,     /* 0 or 1: ifsvc_is_linkup */
    CONTRACT_PROTOUP,    /* 0 or 1: ifsvc_is_protoup */
    CONTRACT_SWITCHPORT, /* 0 or 1: ifsvc_is_switchport */
    CONTRACT_SWITCHING,  /* 0 or 1, of a switchport: ifsvc_is_switching_enabled_on_iod. What it is
                            when the port is none any more, the device says */
    CONTRACT_P2P,        /* 0 or 1: ifsvc_is_native_p2p */
    CONTRACT_MTU,        /* ifsvc_get_if_mtu */
    CONTRACT_ENCAP,      /* ifsvc_get_if_encaptype */
    CONTRACT_VLAN,       /* access VLAN of a switchport; 0 = none: ifsvc_get_vlan_info */
    CONTRACT_PORT_MODE,  /* ifsvc_get_ifindex_port_mode_list; and, of a switchport,
                            ifsvc_get_vlan_info */
    CONTRACT_CONTEXT,    /* vrfsvc_if_get_context_id */
    CONTRACT_BASE_TABLE, /* vrfsvc_if_get_table_id of family 1 and "base" */
    CONTRACT_PI,         /* port index; 0xFFFFFFFF = none: idxsvc_lib_ifidx_to_di */
    CONTRACT_LIF,        /* lif; 0xFFFFFFFF = none: lifsvc_query_ifindex_to_lif */
    CONTRACT_NUM_VALUES
} contract_value_t;

typedef struct contract_world {
    /* Makes an interface. vlan and on are 0 and null where the kind does not need them. */
    uint32_t (*add)(const char *name, contract_kind_t kind, uint32_t vlan, const char *on);

    /* Takes an interface away, with all that hangs on it. */
    uint32_t (*remove)(const char *name);

    /* Gives the if-index of an interface that was added; 0 = there is none of that name. */
    uint32_t (*if_index_of)(const char *name);

    uint32_t (*set)(const char *name, contract_value_t value, uint32_t to);
    uint32_t (*set_mac)(const char *name, const uint8_t *mac);

    /* Attaches extension value and block of private data under a key; extension 0 and size 0 take
     * them away. The bytes belong to the suite. */
    uint32_t (*attach)(const char *name, uint32_t key, uint32_t extension, const void *block,
                       uint32_t size);

    /* Puts a port into a port-channel; a null pc takes it out. */
    uint32_t (*join)(const char *port, const char *pc);

    /* Names the first operational member of a port-channel; null = there is none. */
    uint32_t (*set_first_member)(const char *pc, const char *port);

    /* Names the member that serves a hash bucket (0 to 15). No bucket has two, and one that was
     * never named has none. */
    uint32_t (*set_bucket)(const char *pc, uint32_t rbh, const char *port);

    /* Makes a VLAN or changes it, and takes it away. primary is the VLAN itself where it is none's
     * secondary. */
    uint32_t (*put_vlan)(uint32_t vlan, uint32_t bd, uint32_t flood_di, uint32_t primary);
    uint32_t (*remove_vlan)(uint32_t vlan);

    /* From one to the other no service answers any request. */
    uint32_t (*stop)(void);
    uint32_t (*start)(void);

    /* Hands everything that changed to the handlers of the cache in this process (docs/notices.md
     * and docs/porting.md), and returns when nothing waits. Called on the thread of the tests. While
     * the cache is off (varn_is_enabled gives 0) handlers do nothing: what changed then is told, or
     * everything is forgotten, by the first call after that. */
    uint32_t (*dispatch)(void);

    /* Whether the event history of `uuid` holds a record of these bytes: CONTRACT_DONE or
     * CONTRACT_FAILED. Asked by another process than the one that wrote it. */
    uint32_t (*history_holds)(uint32_t uuid, const void *record, uint32_t length);
} contract_world_t;

/* Gives the hooks. They stay where they are while the process lives. The suite asks for them before
 * its first test, whichever that is; so what a device must be told before its first use, the name
 * of its history among it, may be done here. */
const contract_world_t *contract_world_hooks(void);

#ifdef __cplusplus
}
#endif

#endif
