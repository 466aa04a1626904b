/* SPDX-License-Identifier: Apache-2.0 */
/*
 * varn.h: a per-process cache of interface attributes.
 *
 * The truth about every interface lives in other processes; each question to them is a request to
 * another process. The library answers the same questions from memory, knows which attribute is
 * stale, and is told by change notifications what to forget. A client calls
 * varn_ifsvc_is_linkup(iod) where it called ifsvc_is_linkup(iod).
 *
 * Conventions
 *
 *   1. A cached query bears the name of the call that it replaces with varn_ in front and takes the
 *      same arguments. It gives the same result, but for what its comment says. The service asked
 *      is the one of the same name without varn_, where the comment names no other.
 *   2. Table operations and varn_init return 1 for success and 0 for failure. Queries return what
 *      the service would return.
 *   3. An interface has four identifiers, all u32: the if-index, the iod (device-local ordinal),
 *      the pi (port index) and the lif (logical interface). Absent is 0 for an iod and 0xFFFFFFFF
 *      for a pi and a lif. An entry can exist for iods 0 to 32767 only.
 *   4. The cache owns every entry that it hands out. A pointer to one is good until the interface
 *      is removed (by a call or by a notification), its iod is claimed by another interface, or a
 *      refresh of it fails. Never free one.
 *   5. The library has no thread and takes no lock. A client that calls it from several threads
 *      serialises all calls, the dumps included. What a callback of the client may call stands
 *      below.
 *   6. Attributes have fixed bit numbers (VARN_BIT_...), used alike in the masks of the
 *      configuration and of an entry: sync says what is cached at all, dirty what must be asked
 *      again. A cached value counts only while its sync bit is set and its dirty bit is clear.
 *   7. Every query of an attribute by iod needs sync bit VARN_BIT_IOD besides the attribute's own,
 *      because entries are found by iod. Otherwise it goes straight to the service.
 *   8. An error is *reported*: to the client's error callbacks while varn_error_cb is 1, and to the
 *      device's event history at level 2. An informational line is *traced*: to debug_print_arg
 *      where the client installed it, else to debug_print and to the event history at level 1.
 *   9. Client arguments are uintptr_t and passed through unchanged. Byte order is the host's.
 *
 * What is the caller's fault
 *
 * A debug build of the library stops with a message that names the function and the rule. A release
 * build does not look, and but for 2 nothing is promised of what follows.
 *
 *   1. A hash bucket of 16 or more (varn_aggsvc_get_pc_mbr_ifidx_from_rbh with port-channels
 *      cached).
 *   2. An iod of 32768 or more in varn_if_remove_entry_by_if_ext.
 *   3. A null pointer: an output, a notification record, a key, a text. Where one may be null, its
 *      function says so.
 *   4. Two threads in the library at once.
 *   5. A call of anything but varn_cleanup between varn_cleanup and varn_init.
 *   6. A callback that removes the entry that the call works on, be it by a refresh that fails.
 *   7. A callback that makes, refreshes or removes an interface entry, or makes or removes a VLAN or
 *      port-channel entry, while a table of entries is printed or all entries are flushed.
 *   8. A callback that calls varn_init, varn_cleanup, varn_disable_cache or varn_restore_cache.
 *
 * Not looked at under 4 and 5: the callbacks of the tables, varn_is_enabled and the names of the
 * memory types, which touch nothing that changes.
 *
 * What a callback may call
 *
 *   on_create             everything but 6 and 8. It may switch the cache off unless the call that
 *                         makes the entry comes from another callback; the entry is then kept, and
 *                         not given.
 *   extn_decode,          everything but 6 and 8.
 *   extn_free
 *   debug_print,          the same, but during a flush of all entries what print may call.
 *   debug_print_arg,      The traces and reports of what they call come to them too.
 *   error_cb, error_print
 *   print                 everything but 6, 7 and 8: queries of entries that are there and need no
 *                         refresh, above all.
 *
 * Where a cached answer differs from the direct one
 *
 * Once the notices are dispatched, only here; docs/differences.md names the functions and says why.
 *
 *   1. iod 0 is if-index 0, and nobody is asked
 *   2. a refresh that failed gives a code of the library's own, and no output
 *   3. a flag is the low bit of the service's answer
 *   4. MTU, encapsulation and VLAN have 16 bits
 *   5. the 0 of a service that did not answer is kept
 *   6. GRE tunnel, port-channel, cbus and management port: by the type of the if-index
 *   7. six bytes of zero equal a MAC address that is not known
 *   8. the VLAN of a switchport is its access VLAN, and may be a former one
 *   9. varn_ifsvc_get_vlan_info gives 1 also when its service failed
 *  10. the port mode of a VLAN interface may be 0
 *  11. the virtual device instance of a VLAN is that of the process
 *  12. the name of an interface that is gone is empty
 *  13. varn_ifsvc_get_svi_iod_for_vlan takes other arguments
 *  14. an extension value is that of its slot, whatever the key
 *  15. an extension is set when its decoded value is
 *  16. private data is the decoded value where there is a decoder
 *  17. varn_lifsvc_query_ifindex_to_lif writes no lif when the cache answers
 *  18. no port index is success with 0xFFFFFFFF
 *  19. the port mode is 0x200 or 0
 *  20. varn_get_if_l2_info_by_pi gives what is not cached off the entry all the same
 *  21. a port-channel without a member is VARN_ERR_NO_MEMBER
 *  22. the first member of a VLAN sub-interface is its parent
 *  23. every failure to have a bucket's member is 1, and the member 0
 *  24. varn_vlan_get_bd gives 0 also when its service failed
 *  25. varn_vlan_to_flood_di gives 0 also when both services failed
 *  26. varn_pvlan_get_pvlan gives 0 always
 *
 * Parameters, where a comment says nothing else
 *
 *   iod                       device-local ordinal of an interface
 *   if_index                  if-index of an interface
 *   pi, si                    port index of an interface
 *   lif                       lif of an interface
 *   di                        destination index
 *   vlan                      VLAN id, 1 to 4094
 *   bd                        bridge domain
 *   pvlan                     primary VLAN
 *   pc_ifindex                if-index of a port-channel
 *   port_ifindex              if-index of a physical port
 *   member                    if-index of the member
 *   entry                     an entry that the cache handed out
 *   table                     a table of the cache, one of those in varn
 *   key                       the uuid of the client that attached the value; of a table
 *                             or a VLAN question the key itself
 *   key_a, key_b              pointers to the two keys
 *   num_buckets               buckets of the table
 *   opt, level                which mask of the configuration: 1 med, 2 crit, 3 sync, else low
 *   update                    the record of the notification
 *   changed                   which parameters of the record changed
 *   info                      answer
 *   mac                       6 bytes
 *   port_mode                 port mode, the service's own number
 *   value                     the extension value, 32 bits; 0 = not set
 *   size                      bytes of the private data
 *   arg                       the client's own, handed to its callback unchanged
 *   print                     the sink
 *   format                    as printf has it; the values follow
 */
#ifndef VARN_H
#define VARN_H

#include <stddef.h>
#include <stdint.h>

#include "bitset.h"
#include "ht.h"
#include "vlansvc.h"

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/* ---- Attributes ------------------------------------------------------------------------------ */

/*
 * A set of attributes. Aligned to 4 bytes on every processor, so that records have no gap before
 * it: reach a mask through this type only, because a plain uint64_t pointer to one is misaligned.
 */
typedef uint64_t varn_mask_t __attribute__((aligned(4)));

/* The set that holds one attribute: that of VARN_BIT_... `bit`.
 *   bit  0 to 63
 */
#define VARN_MASK(bit) ((uint64_t)1 << (bit))

/*
 * Attribute bits: the width of the value and what is absent, and the service that gives it. Bits 0
 * to 29 belong to interface entries, 30 to 32 to the VLAN cache and 33 to the port-channel cache.
 */
enum {
    VARN_BIT_IF_INDEX = 0,    /* 32 bits, the key of every entry; asked of nobody */
    VARN_BIT_IOD = 1,         /* 32 bits, 0 = none; ifsvc_get_iod_frm_ifindex.
                                 Decides also whether the Iod table exists */
    VARN_BIT_PI = 2,          /* 32 bits, 0xFFFFFFFF = none; idxsvc_lib_ifidx_to_di.
                                 Decides also whether the Pi table exists */
    VARN_BIT_LIF = 3,         /* 32 bits, 0xFFFFFFFF = none; lifsvc_query_ifindex_to_lif.
                                 Decides also whether the Lif table exists */
    VARN_BIT_ENCAP = 4,       /* 16 bits, 0 = not known; ifsvc_get_if_encaptype */
    VARN_BIT_EXTN = 5,        /* extension 0: 32 bits, 0 = not set; ifsvc_get_extension,
                                 or ifsvc_get_private_data and the decoder */
    VARN_BIT_EXTN1 = 6,       /* extension 1, the same way */
    VARN_BIT_EXTN2 = 7,       /* extension 2, the same way */
    VARN_BIT_EXTN3 = 8,       /* extension 3, the same way */
    VARN_BIT_MAC = 9,         /* 6 bytes, all zero = not known; ifsvc_get_if_src_mac_addr */
    VARN_BIT_VLAN = 10,       /* VLAN and port mode in one: 16 bits, 0 = none;
                                 ifsvc_get_if_vlanid and ifsvc_get_vlan_info. Decides also
                                 whether the VLAN table exists */
    VARN_BIT_CONTEXT = 11,    /* 32 bits, 0 = not known; vrfsvc_if_get_context_id.
                                 It has no query and is read off the entry */
    VARN_BIT_BASE_TID = 12,   /* 32 bits, 0 = not known; vrfsvc_if_get_table_id.
                                 It has no query and is read off the entry */
    VARN_BIT_MTU = 13,        /* bytes, 16 bits; ifsvc_get_if_mtu */
    VARN_BIT_NAME = 14,       /* no text is kept; ifsvc_get_ifindex_name, asked each time */
    VARN_BIT_SWITCHPORT = 15, /* a flag; ifsvc_is_switchport */
    VARN_BIT_SWITCHING = 16,  /* a flag; ifsvc_is_switching_enabled_on_iod */
    VARN_BIT_LINKUP = 17,     /* a flag; ifsvc_is_linkup */
    VARN_BIT_PROTOUP = 18,    /* a flag; ifsvc_is_protoup */
    VARN_BIT_ETHERNET = 19,   /* a flag; ifsvc_is_ethernet */
    VARN_BIT_IS_VLAN = 20,    /* a flag; ifsvc_is_vlan */
    VARN_BIT_IPS = 21,        /* mode of a physical port; ifsvc_get_ifindex_port_mode_list */
    VARN_BIT_NULL = 22,       /* a flag; ifsvc_is_null0 */
    VARN_BIT_P2P = 23,        /* a flag; ifsvc_is_native_p2p */
    VARN_BIT_LOOPBACK = 24,   /* a flag; ifsvc_is_loopback */
    VARN_BIT_IF_TYPE = 25,    /* 8 bits, from if_index_get_type at creation; varn_init
                                 sets it in every configuration */
    VARN_BIT_MVPN = 26,       /* a flag; ifsvc_is_mvpn_tunnel */
    VARN_BIT_AGGSVC_IF = 27,  /* first member of a port-channel: 32 bits, 0 = none;
                                 aggsvc_get_pc_info */
    VARN_BIT_GRE_HDR = 28,    /* no value is kept */
    VARN_BIT_SUBIF = 29,      /* parent of a VLAN sub-interface: 32 bits, 0 = none;
                                 ifsvc_get_sub_interface_parent. It has no query and is read
                                 off the entry, as aggsvc_if */
    VARN_BIT_PVLAN = 30,      /* primary VLAN; vlan_get_bd_and_primary_vlan. This and the
                                 next two need VARN_BIT_VLAN: without their table nothing is
                                 kept and every query asks its service */
    VARN_BIT_BD = 31,         /* bridge domain, 16 bits; vlan_get_bd */
    VARN_BIT_FINDEX = 32,     /* flood destination index; idxsvc_lib_bd_to_di */
    VARN_BIT_PC = 33          /* member of each hash bucket; aggsvc_get_pc_mbr_ifidx_from_rbh.
                                 Decides also whether the PC table exists */
};

/* Counter slots: where an attribute stands in varn.misses, varn.hits and varn.updates. The order is
 * not that of the bits. */
enum {
    VARN_SLOT_IF_INDEX = 0,        /* VARN_BIT_IF_INDEX; stays 0 */
    VARN_SLOT_IOD = 1,             /* VARN_BIT_IOD */
    VARN_SLOT_PI = 2,              /* VARN_BIT_PI */
    VARN_SLOT_LIF = 3,             /* VARN_BIT_LIF */
    VARN_SLOT_MAC = 4,             /* VARN_BIT_MAC */
    VARN_SLOT_ENCAP = 5,           /* VARN_BIT_ENCAP */
    VARN_SLOT_EXTN = 6,            /* VARN_BIT_EXTN */
    VARN_SLOT_EXTN1 = 7,           /* VARN_BIT_EXTN1 */
    VARN_SLOT_EXTN2 = 8,           /* VARN_BIT_EXTN2 */
    VARN_SLOT_EXTN3 = 9,           /* VARN_BIT_EXTN3 */
    VARN_SLOT_CONTEXT = 10,        /* VARN_BIT_CONTEXT */
    VARN_SLOT_BASE_TID = 11,       /* VARN_BIT_BASE_TID */
    VARN_SLOT_MTU = 12,            /* VARN_BIT_MTU */
    VARN_SLOT_SWITCHPORT = 13,     /* VARN_BIT_SWITCHPORT */
    VARN_SLOT_SWITCHING = 14,      /* VARN_BIT_SWITCHING */
    VARN_SLOT_LINKUP = 15,         /* VARN_BIT_LINKUP */
    VARN_SLOT_PROTOUP = 16,        /* VARN_BIT_PROTOUP */
    VARN_SLOT_ETHERNET = 17,       /* VARN_BIT_ETHERNET */
    VARN_SLOT_IS_VLAN = 18,        /* VARN_BIT_IS_VLAN */
    VARN_SLOT_VLAN = 19,           /* VARN_BIT_VLAN */
    VARN_SLOT_IPS = 20,            /* VARN_BIT_IPS */
    VARN_SLOT_NULL = 21,           /* VARN_BIT_NULL */
    VARN_SLOT_AGGSVC_IF = 22,      /* VARN_BIT_AGGSVC_IF */
    VARN_SLOT_GRE = 23,            /* VARN_BIT_GRE_HDR; stays 0 */
    VARN_SLOT_SUBIF = 24,          /* VARN_BIT_SUBIF */
    VARN_SLOT_NAME = 25,           /* VARN_BIT_NAME */
    VARN_SLOT_LOOPBACK = 26,       /* VARN_BIT_LOOPBACK */
    VARN_SLOT_P2P = 27,            /* VARN_BIT_P2P */
    VARN_SLOT_IF_TYPE = 28,        /* VARN_BIT_IF_TYPE */
    VARN_SLOT_IS_DCI_TUNNEL = 29,  /* varn_ifsvc_is_dci_tunnel */
    VARN_SLOT_IS_DCI_OVERLAY = 30, /* varn_ifsvc_is_dci_overlay */
    VARN_SLOT_MVPN = 31,           /* VARN_BIT_MVPN */
    VARN_NUM_SLOTS = 32            /* how many there are */
};

/* An identifier that is not known. */
#define VARN_NO_IOD UINT32_C(0)
#define VARN_NO_PI  UINT32_C(0xFFFFFFFF)
#define VARN_NO_LIF UINT32_C(0xFFFFFFFF)

/* The library's own result codes; every other code is the service's. */
#define VARN_ERR_IOD_CHANGED UINT32_C(0x40E30001) /* the refresh of a dirty iod failed */
#define VARN_ERR_NO_MEMBER   UINT32_C(0x40E30001) /* no first operational member */
#define VARN_ERR_PI_REFRESH  UINT32_C(0x40E00002) /* the refresh of a dirty pi failed */
#define VARN_ERR_LIF_REFRESH UINT32_C(0x41080003) /* the refresh of a dirty lif failed */
#define VARN_ERR_IF_TYPE     UINT32_C(0x40290000) /* unknown if-index type in a port-mode query */

/* ---- Configuration --------------------------------------------------------------------------- */

/* A printf-like sink. */
typedef void (*varn_print_fn)(const char *format, ...);

/* A printf-like sink with the client's argument. */
typedef void (*varn_print_arg_fn)(uintptr_t arg, const char *format, ...);

/* An error sink: `format` is "%s:%d: %s\n" for the three values behind it: the reporting function's
 * name, the source line and the text (varn_print_str, cut at 127 characters). */
typedef void (*varn_error_fn)(uintptr_t arg, const char *format, const char *function, int line,
                              const char *text);

/* Turns a block of private data of `size` bytes into an extension value. The block belongs to the
 * interface manager's client library and may be null. */
typedef uint32_t (*varn_extn_decode_fn)(const void *data, uint32_t size);

/* Releases what an extension value stands for. */
typedef void (*varn_extn_free_fn)(uint32_t extn);

/* Hears of a new entry. */
typedef void (*varn_on_create_fn)(uint32_t iod);

/* The client's configuration, copied by varn_init. With 32-bit pointers: 30 words, 120 bytes. */
typedef struct varn_config {
    uint32_t num_buckets; /* buckets of every table; 0 means 16384 */
    varn_mask_t sync;     /* what is cached */
    varn_mask_t crit;     /* what a flush with option 2 marks */
    varn_mask_t med;      /* what a flush with option 1 marks */
    varn_mask_t low;      /* what a flush with any option other than 1, 2 and 3 marks */
    varn_mask_t once;     /* kept for the client and only printed */
    varn_extn_decode_fn extn_decode[4]; /* decoders of extensions 0 to 3, or null */
    uint32_t uuid;             /* the client: key of its event history, and of extension 0 */
    uint32_t extn_uuid[3];     /* keys of extensions 1 to 3 */
    varn_print_fn debug_print; /* trace sink beside the event history, or null */
    varn_print_fn error_print; /* error sink when there is no error_cb, or null */
    varn_print_arg_fn debug_print_arg; /* trace sink in place of the event history, or null */
    varn_error_fn error_cb;            /* error sink, or null */
    varn_print_arg_fn print;           /* sink of dumps and statistics, or null */
    uintptr_t debug_arg;               /* first argument of debug_print_arg */
    uintptr_t error_arg;               /* first argument of error_cb */
    uint32_t create_on_miss;           /* queries create entries; varn_init makes it 1 */
    uint32_t track_l3;                 /* not 0: L3 notifications create entries on up and remove
                                          them on down */
    varn_extn_free_fn extn_free;       /* called with a non-zero extension 0 before its
                                          entry is freed */
    varn_on_create_fn on_create;       /* called with the iod of a new entry before its
                                          first refresh */
} varn_config_t;

/* ---- Cache entries --------------------------------------------------------------------------- */

/* The two words of an entry that belong to the hash table while the entry stands in it. */
typedef struct varn_link {
    uint32_t word[2]; /* the table's own; means nothing outside of one */
} varn_link_t;

/* One interface. All fields are written by the library alone; a client reads them. An attribute's
 * value counts only while its bit is set in varn.config.sync and clear in `dirty`. */
typedef struct varn_if_entry {
    /* Identity. A key stands before its link and does not change while the entry
     * is in the table.
     */
    uint32_t if_index;    /* key of the If table, in which every entry stands */
    varn_link_t if_link;  /* the If table's */
    uint32_t iod;         /* 0 = none, unless a service gave that very iod */
    varn_link_t iod_link; /* the Iod table's */
    uint32_t pi;          /* 0xFFFFFFFF = not in the Pi table */
    varn_link_t pi_link;  /* the Pi table's */
    uint32_t lif;         /* 0xFFFFFFFF = not in the Lif table */
    varn_link_t lif_link; /* the Lif table's */

    /* Values. */
    uint8_t mac[6];        /* source MAC address; all zero = not known */
    uint16_t encap;        /* encapsulation type; 0 = not known */
    uint32_t extn[4];      /* extension values; 0 = not set */
    uint32_t extn_size[4]; /* bytes of the private data behind each extension */
    uint32_t context_id;   /* routing context; 0 = not known */
    uint32_t base_tid;     /* base table of the routing context; 0 = not known */
    uint16_t vlan;         /* access VLAN, or VLAN of a VLAN sub-interface; 0 = none */
    uint16_t mtu;          /* bytes; 0 = not known */
    uint32_t port_mode;    /* as the interface manager gives it; shares the VLAN's
                              dirty bit */

    /*
     * Flags, 0 or 1. On every host the first one named in the upper list is bit 0 of its byte.
     *
     *   switchport  an L2 port
     *   switching   an L2 port that forwards
     *   linkup      the physical link is there
     *   protoup     the line protocol is up
     *   ethernet    an Ethernet medium
     *   is_vlan     a VLAN sub-interface or VLAN interface
     *   ips         1 for a physical port once its port mode was asked for
     *   null        the null interface
     *   loopback    a loopback
     *   p2p         a point-to-point medium
     *   mvpn        a tunnel of a multicast VPN
     */
#if !defined(__BYTE_ORDER__) || __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    uint8_t switchport : 1, switching : 1, linkup : 1, protoup : 1;
    uint8_t ethernet : 1, is_vlan : 1, ips : 1, null : 1;
    uint8_t loopback : 1, p2p : 1, mvpn : 1, unused_flags : 5;
#else
    uint8_t null : 1, ips : 1, is_vlan : 1, ethernet : 1;
    uint8_t protoup : 1, linkup : 1, switching : 1, switchport : 1;
    uint8_t unused_flags : 5, mvpn : 1, p2p : 1, loopback : 1;
#endif

    /* State. */
    varn_mask_t valid;  /* 0; only shown */
    varn_mask_t dirty;  /* attributes that must be asked again before use */
    uint32_t aggsvc_if; /* port-channel: first operational member; VLAN
                           sub-interface: parent; 0 = none */
    uint8_t if_type;    /* type of the if-index, from if_index_get_type at creation */
    uint8_t ref_count;  /* tables that hold the entry */
    uint8_t iod_remaps; /* refreshes that did not find the if-index on this iod; wraps */
    uint8_t pi_remaps;  /* links in the Pi table that refreshes set out to drop; wraps */
    uint8_t lif_remaps; /* links in the Lif table that refreshes set out to drop; wraps */
} varn_if_entry_t;

/* Hash buckets of a port-channel. */
#define VARN_NUM_RBH 16

/* One port-channel: the member that serves each hash bucket. */
typedef struct varn_pc_entry {
    uint32_t pc_ifindex;                    /* key of the PC table */
    varn_link_t link;                       /* the PC table's */
    uint32_t rbh_dirty[VARN_NUM_RBH];       /* 1 = ask again, 0 = the member below is good */
    uint32_t rbh_mbr_ifindex[VARN_NUM_RBH]; /* if-index of the member; counts
                                               while the flag is 0 */
} varn_pc_entry_t;

/* One VLAN. */
typedef struct varn_vlan_entry {
    uint16_t vlan;     /* key of the VLAN table, 1 to 4094 */
    varn_link_t link;  /* the VLAN table's */
    uint16_t bd;       /* bridge domain */
    uint32_t flood_di; /* flood destination index of the bridge domain */
    uint32_t pvlan;    /* primary VLAN */
    varn_mask_t dirty; /* any set bit has the entry refreshed before it is used */
} varn_vlan_entry_t;

/* The record of a VLAN answer of the interface manager. */
typedef vlan_key_t varn_vlan_info_t;

/* ---- The global record ----------------------------------------------------------------------- */

/* What befell one index. All counters of the library only grow, until varn_init zeroes them. */
typedef struct varn_index_counters {
    uint64_t inserts;     /* entries filed */
    uint64_t removes;     /* entries taken out */
    uint64_t insert_fail; /* entries that the table refused; each is reported */
    uint64_t remove_fail; /* entries that the table did not hold; each is reported */
} varn_index_counters_t;

/* One counter for each field of a VLAN entry. */
typedef struct varn_vlan_counters {
    uint64_t bd;     /* bridge domain, and hits and misses of the flood destination index */
    uint64_t findex; /* flood destination index: updates alone */
    uint64_t pvlan;  /* primary VLAN */
} varn_vlan_counters_t;

/* Everything that the cache knows. A client reads it; only the library writes, but for
 * config.create_on_miss. */
typedef struct varn_global {
    /* Tables. One that the configuration does not ask for is all zero. */
    ht_t if_table;   /* varn_if_entry_t by if_index */
    ht_t iod_table;  /* varn_if_entry_t by iod */
    ht_t pi_table;   /* varn_if_entry_t by pi */
    ht_t lif_table;  /* varn_if_entry_t by lif */
    ht_t vlan_table; /* varn_vlan_entry_t by vlan */
    ht_t pc_table;   /* varn_pc_entry_t by pc_ifindex */

    varn_config_t config; /* as varn_init copied it */

    /* By counter slot. */
    uint64_t misses[VARN_NUM_SLOTS];  /* questions that the cache could not answer */
    uint64_t hits[VARN_NUM_SLOTS];    /* questions answered from the cache */
    uint64_t updates[VARN_NUM_SLOTS]; /* values taken otherwise: refreshes, notices, setters */

    uint64_t if_allocs;   /* interface entries allocated */
    uint64_t if_frees;    /* interface entries freed */
    uint64_t if_destroys; /* calls of varn_if_destroy_entry that ran */

    /* Identifiers that changed. */
    uint64_t iod_remaps; /* refreshes that found another iod */
    uint64_t pi_remaps;  /* links that refreshes set out to drop from the Pi table */
    uint64_t lif_remaps; /* links that refreshes set out to drop from the Lif table */

    /* What befell the tables. */
    varn_index_counters_t if_index;  /* the If table */
    varn_index_counters_t iod_index; /* the Iod table */
    varn_index_counters_t pi_index;  /* the Pi table */
    varn_index_counters_t lif_index; /* the Lif table */

    /* Notifications handled. */
    uint64_t phy_updates;       /* by varn_update_phy_state */
    uint64_t l2_updates;        /* by varn_update_l2_state, counted before its checks */
    uint64_t l3_updates;        /* by varn_update_l3_state, counted behind its checks */
    uint64_t l3_param_updates;  /* by varn_update_l3_param */
    uint64_t l2_bundle_updates; /* by varn_update_l2_bundle_state */
    uint64_t l3_bundle_updates; /* by varn_update_l3_bundle_state */
    uint64_t aggsvc_updates;    /* by varn_update_aggsvc_fop */

    /* Refreshes of a whole entry. */
    uint64_t if_refreshes;  /* by varn_if_update_if */
    uint64_t iod_refreshes; /* by a query that found the iod dirty */
    uint64_t pi_refreshes;  /* by a query that found the pi dirty */
    uint64_t lif_refreshes; /* by a query that found the lif dirty */

    uint64_t create_fail; /* entries that could not be created for want of memory */

    /* The VLAN cache. */
    varn_vlan_counters_t vlan_misses;  /* questions that the cache could not answer */
    varn_vlan_counters_t vlan_hits;    /* questions answered from the cache */
    varn_vlan_counters_t vlan_updates; /* values that a refresh took */
    uint64_t vlan_allocs;              /* VLAN entries allocated */
    uint64_t vlan_frees;               /* VLAN entries freed */

    /* The port-channel cache. */
    uint64_t pc_hits;    /* members of a hash bucket answered from the cache */
    uint64_t pc_misses;  /* members of a hash bucket that were asked for */
    uint64_t pc_updates; /* invalidations */
    uint64_t pc_allocs;  /* port-channel entries allocated */
    uint64_t pc_frees;   /* port-channel entries freed */
} varn_global_t;

/* Words of the iod permission bitmap. */
#define VARN_IODBMP_WORDS 1024

/* ---- Exported objects, all zero at load time ------------------------------------------------- */

extern varn_global_t varn;    /* tables, configuration and counters */
extern uint32_t varn_enabled; /* 1 while the cache is on */
extern uint32_t varn_do_sync; /* low half of sync, kept by varn_disable_cache */

/* The client's switch of the error callbacks: they are called only while it is exactly 1. */
extern uint32_t varn_error_cb;

/* Which iods may have an entry: bit (iod mod 32) of word (iod div 32). varn_init sets every bit. */
extern uint32_t varn_iodbmp[VARN_IODBMP_WORDS];

/* The text of the error reported last, cut at 127 characters. */
extern char varn_print_str[128];

/* ---- Lifecycle ------------------------------------------------------------------------------- */

/*
 * Starts the cache.
 *   config  what the client wants, which is copied.
 * Returns 1, or 0 when the configuration is null (nothing
 * is changed) or an interface table could not be made (the cache is off; tables made before stay).
 * A side cache whose table could not be made is only reported. Called again, it starts anew: the
 * old tables and entries are not released, every counter is zeroed.
 */
uint32_t varn_init(const varn_config_t *config);

/*
 * Releases the interface tables and the VLAN table. Returns 1. Entries and the port-channel table
 * are left alone and the cache is not switched off: call nothing but varn_init afterwards.
 */
uint32_t varn_cleanup(void);

/*
 * Switch the cache off and on again, keeping entries. While it is off every query goes to its
 * service and notifications do nothing. Only the low half of sync comes back: the caching of bits
 * 32 and 33 (flood index, port-channel) is lost.
 */
void varn_disable_cache(void);
void varn_restore_cache(void);

/* Gives varn_enabled. */
uint32_t varn_is_enabled(void);

/* Install the trace sink that takes the place of the event history, with its argument. The two are
 * the same. */
void varn_set_print(varn_print_arg_fn print, uintptr_t arg);
void varn_attr_set_debug_print_arg(varn_print_arg_fn print, uintptr_t arg);

/* Gives the installed trace sink and its argument. */
void varn_attr_get_debug_print_arg(varn_print_arg_fn *print, uintptr_t *arg);

/* The memory types under which the accounting allocator holds the library's records. */
typedef enum varn_mem_type {
    VARN_MEM_NONE = 0,              /* none of the records */
    VARN_MEM_varn_if_entry_t = 1,   /* interface entries */
    VARN_MEM_varn_vlan_entry_t = 2, /* VLAN entries */
    VARN_MEM_varn_pc_entry_t = 3,   /* port-channel entries */
    VARN_MEM_MAX = 4                /* how many there are */
} varn_mem_type_t;

/* Gives the name of a memory type, or null.
 *   value  one of varn_mem_type_t
 */
const char *__varn_mem_type_t_find(uint32_t value);

/* Gives the memory type of a name, or 0.
 *   name  in any case
 */
uint32_t __varn_mem_type_t_str2enum(const char *name);

/* The record handed to the event history: event id 0x730000, level 2 (error) or 1 (trace). The
 * length handed with it is that of the text plus 5. */
typedef struct varn_log_record {
    uint32_t code;  /* VARN_LOG_ERROR or VARN_LOG_TRACE */
    char text[200]; /* "[thread id]: message", ended by a zero */
} varn_log_record_t;

#define VARN_LOG_TRACE UINT32_C(121) /* the text was traced */
#define VARN_LOG_ERROR UINT32_C(122) /* the text was reported */

/* ---- Callbacks of the tables ----------------------------------------------------------------- */

/*
 * Given to the hash table by varn_init. Gives a bucket number (a hash), a pointer to the key of an
 * entry (a key accessor), or 1 for equal keys and else 0 (a comparison). Keys are u32, those of the
 * VLAN table u16.
 */
uint32_t varn_if_hash(const void *key, uint32_t num_buckets); /* mod 15991, whatever the count */
const void *varn_if_get_key(const void *entry);
uint32_t varn_if_keys_equal(const void *key_a, const void *key_b);
uint32_t varn_iod_hash(const void *key, uint32_t num_buckets);
const void *varn_iod_get_key(const void *entry);
uint32_t varn_iod_keys_equal(const void *key_a, const void *key_b);
uint32_t varn_pi_hash(const void *key, uint32_t num_buckets);
const void *varn_pi_get_key(const void *entry);
uint32_t varn_pi_keys_equal(const void *key_a, const void *key_b);
uint32_t varn_lif_hash(const void *key, uint32_t num_buckets);
const void *varn_lif_get_key(const void *entry);
uint32_t varn_lif_keys_equal(const void *key_a, const void *key_b);
uint32_t varn_vlan_hash(const void *key, uint32_t num_buckets);
const void *varn_vlan_get_key(const void *entry);
uint32_t varn_vlan_keys_equal(const void *key_a, const void *key_b);
uint32_t varn_pc_hash(const void *key, uint32_t num_buckets);
const void *varn_pc_get_key(const void *entry);
uint32_t varn_pc_keys_equal(const void *key_a, const void *key_b);

/* ---- The tables ------------------------------------------------------------------------------ */

/*
 * File an entry under the key that it holds. 1, or 0 for a null entry (silently) and when the table
 * refuses it (reported and counted). The table must exist.
 */
uint32_t varn_if_insert_entry(varn_if_entry_t *entry);
uint32_t varn_iod_insert_entry(varn_if_entry_t *entry);
uint32_t varn_pi_insert_entry(varn_if_entry_t *entry);
uint32_t varn_lif_insert_entry(varn_if_entry_t *entry);

/*
 * Take this very entry out of a table and make its key absent. 1, or 0 for a null entry or a table
 * that is not cached (silently) and when the table does not hold it (reported and counted).
 */
uint32_t varn_iod_delete_entry(varn_if_entry_t *entry);
uint32_t varn_pi_delete_entry(varn_if_entry_t *entry);
uint32_t varn_lif_delete_entry(varn_if_entry_t *entry);

/*
 * Takes the entry out of the If table and frees it. An entry that still stands in another table is
 * reported and not freed; the result is 1 all the same.
 */
uint32_t varn_if_delete_entry(varn_if_entry_t *entry);

/* Make the VLAN table and the PC table where the configuration asks for them; varn_init calls both.
 * 1 = ready or not asked for, 0 = failed and reported. */
uint32_t varn_vlan_table_init(void); /* the VLAN table */
uint32_t varn_pc_table_init(void);   /* the PC table */

/* ---- Entries --------------------------------------------------------------------------------- */

/*
 * Gives the entry of an if-index; a missing one is created and filled from the services. Null,
 * silently, while the cache is off; null with a report when the if-index has no type, its iod
 * cannot be had or is forbidden, a table refuses the entry or the refresh fails; null with errno
 * ENOMEM, a line on standard output and traces when memory is wanting. iod 0 = not known. pi and
 * lif are only printed. An entry that exists is given as it is, whatever the other arguments say.
 */
varn_if_entry_t *varn_if_create_entry_by_if(uint32_t if_index, uint32_t iod, uint32_t pi,
                                            uint32_t lif);

/*
 * varn_if_create_entry_by_if by another identifier. Gives the entry or null. One that stands in its
 * table is given, also while the cache is off. Otherwise the if-index is asked of
 * ifsvc_get_ifindex_frm_iod, idxsvc_lib_si_to_ifidx or lifsvc_query_lif_to_ifindex; null, silently,
 * when that fails. By pi and lif nothing is created while varn.config.create_on_miss is 0.
 */
varn_if_entry_t *varn_if_create_entry_by_iod(uint32_t iod);
varn_if_entry_t *varn_if_create_entry_by_pi(uint32_t pi);
varn_if_entry_t *varn_if_create_entry_by_lif(uint32_t lif);

/* Gives the entry of an iod, created where varn.config.create_on_miss says so, or null. */
varn_if_entry_t *varn_find_entry_by_iod(uint32_t iod);

/*
 * Takes the entry out of every table and frees it. Does nothing for null or while the cache is off.
 */
void varn_if_destroy_entry(varn_if_entry_t *entry);

/*
 * Destroy the entry that has a key. 1 when there was one, else 0. While the cache is off the entry
 * survives; the result is then 1 all the same, but 0 by iod.
 */
uint32_t varn_if_remove_entry_by_if(uint32_t if_index);
uint32_t varn_if_remove_entry_by_iod(uint32_t iod);
uint32_t varn_if_remove_entry_by_pi(uint32_t pi);
uint32_t varn_if_remove_entry_by_lif(uint32_t lif);

/*
 * Forbids or allows entries for an iod from now on, and removes the entry of the if-index. The iod
 * must be below 32768: a debug build stops at a larger one, a release build leaves the permissions
 * alone.
 *   allow  0 forbids, any other value allows
 * 1 when there was an entry, else 0; while the cache is off as varn_if_remove_entry_by_if.
 */
uint32_t varn_if_remove_entry_by_if_ext(uint32_t if_index, uint32_t iod, uint32_t allow);

/* ---- Refresh --------------------------------------------------------------------------------- */

/*
 * Fetches what is dirty in an entry from the services. Never fetched are the name, mvpn and, for
 * itself, is_vlan; aggsvc_if only for a port-channel and ips only for a physical port; an extension
 * only where it is cached.
 *   is_new  0 for an entry that was filled before, else 1
 * 1, or 0 when the cache
 * is off, the entry is null, its if-index has no type, or its if-index is no longer known to belong
 * to its iod (reported; an entry under the iod that was found is removed). After a 0 the entry may
 * be gone.
 */
uint32_t varn_if_update_entry(varn_if_entry_t *entry, uint32_t is_new);

/* varn_if_update_entry by if-index. 0 also when there is no entry. Nothing is created. */
uint32_t varn_if_update_if(uint32_t if_index);

/* Asks ifsvc_get_if_src_mac_addr for the MAC address of an iod. Gives 6 bytes in a static buffer
 * that the next call overwrites; all zero when the service left it so. */
const uint8_t *varn_get_if_src_mac_addr(uint32_t iod);

/* ---- Flushing -------------------------------------------------------------------------------- */

/*
 * Marks attributes of an entry dirty: opt 1 those of varn.config.med, 2 crit, 3 sync, any other
 * value low. Nothing is cleared and no service is asked. Does nothing for null; works while the
 * cache is off.
 */
void varn_flush_if_entry(varn_if_entry_t *entry, uint32_t opt);

/*
 * varn_flush_if_entry for every entry. 1, or 0 when the cache is off or the walk could not start
 * (reported).
 */
uint32_t varn_if_flush_all(uint32_t opt);

/*
 * varn_flush_if_entry by identifier. A missing entry is created and filled first, as its creator
 * would. While the cache is off the first does nothing and the others mark the entry that stands in
 * their table.
 */
void varn_if_flush_if(uint32_t if_index, uint32_t opt);
void varn_if_flush_iod(uint32_t iod, uint32_t opt);
void varn_if_flush_pi(uint32_t pi, uint32_t opt);
void varn_if_flush_lif(uint32_t lif, uint32_t opt);

/* ---- Cached queries: yes or no --------------------------------------------------------------- */

/*
 * 0 or 1 from the cache (the low bit of the service's answer), or the service's own answer when the
 * cache cannot tell: the attribute or the iod is not cached, or no entry can be had. A dirty value
 * is asked again of the service and kept.
 */
uint32_t varn_ifsvc_is_linkup(uint32_t iod);                   /* the physical link is there */
uint32_t varn_ifsvc_is_protoup(uint32_t iod);                  /* the line protocol is up */
uint32_t varn_ifsvc_is_switchport(uint32_t iod);               /* an L2 port */
uint32_t varn_ifsvc_is_switching_enabled_on_iod(uint32_t iod); /* an L2 port that forwards */
uint32_t varn_ifsvc_is_ethernet(uint32_t iod);                 /* an Ethernet medium */
uint32_t varn_ifsvc_is_vlan(uint32_t iod);        /* a VLAN sub-interface or VLAN interface */
uint32_t varn_ifsvc_is_null0(uint32_t iod);       /* the null interface */
uint32_t varn_ifsvc_is_native_p2p(uint32_t iod);  /* a point-to-point medium */
uint32_t varn_ifsvc_is_loopback(uint32_t iod);    /* a loopback */
uint32_t varn_ifsvc_is_mvpn_tunnel(uint32_t iod); /* a tunnel of a multicast VPN */

/* Read off the type of the cached if-index: 24, 22, 7 and 5. No hit is counted and no dirty bit
 * asked. 0 or 1; without an entry the answer of the service of the same name. */
uint32_t varn_ifsvc_is_gre_tunnel(uint32_t iod);    /* a GRE tunnel */
uint32_t varn_ifsvc_is_super_802_3ad(uint32_t iod); /* a port-channel */
uint32_t varn_ifsvc_is_cbus(uint32_t iod);          /* of type 7 */
uint32_t varn_ifsvc_is_mgmtether(uint32_t iod);     /* a management port */

/* Never cached: each call is a request. Gives the service's answer. */
uint32_t varn_ifsvc_is_dci_tunnel(uint32_t iod);  /* a tunnel between data centres */
uint32_t varn_ifsvc_is_dci_overlay(uint32_t iod); /* an overlay between data centres */
uint32_t varn_ifsvc_is_6to4_tunnel(uint32_t iod); /* a 6to4 tunnel */
uint32_t varn_ifsvc_is_mpls_tunnel(uint32_t iod); /* an MPLS tunnel */

/* ---- Cached queries: values ------------------------------------------------------------------ */

/* MTU in bytes, 16 bits. A 0 that a query fetched is an answer. */
uint32_t varn_ifsvc_get_if_mtu(uint32_t iod);

/* Encapsulation type, 16 bits. A 0 is asked again. */
uint32_t varn_ifsvc_get_if_encaptype(uint32_t iod);

/* MAC address, 6 bytes owned by the entry and good as long as it, or the static buffer of
 * varn_get_if_src_mac_addr. All zero = not known, asked again. */
const uint8_t *varn_ifsvc_get_if_mac_addr(uint32_t iod);

/* Whether the 6 bytes are the interface's MAC address: 0 or 1 from the cache, else the answer of
 * ifsvc_is_if_mac_addr. The bytes are not those of varn_get_if_src_mac_addr, which a fetch
 * overwrites. */
uint32_t varn_ifsvc_is_if_mac_addr(uint32_t iod, const uint8_t *mac);

/* VLAN of a VLAN sub-interface or access VLAN of a switchport, 16 bits; 0 = none. */
uint32_t varn_ifsvc_get_if_vlanid(uint32_t iod);

/* Access VLAN and port mode. From the cache the result is always 1, even when the service failed
 * (the VLAN is 0 then), and the record's vinst is that of supvr_vinst_get. */
uint32_t varn_ifsvc_get_vlan_info(uint32_t iod, varn_vlan_info_t *info, uint32_t *port_mode);

/* The interface's name, never null. With an entry it comes from ifsvc_get_ifindex_name: the cache
 * saves only the step from iod to if-index, and the text stays good for 9 further calls. Otherwise
 * it is the text of ifsvc_get_if_name, good until that library's next call. */
const char *varn_ifsvc_get_if_name(uint32_t iod);

/* ---- Cached queries: identity ---------------------------------------------------------------- */

/* The if-index of an iod; iod 0 gives if-index 0. 0, VARN_ERR_IOD_CHANGED without an output, or the
 * code of ifsvc_get_ifindex_frm_iod. */
uint32_t varn_ifsvc_get_ifindex_frm_iod(uint32_t iod, uint32_t *if_index);

/* The iod of an if-index. 0, VARN_ERR_IOD_CHANGED without an output, or the code of
 * ifsvc_get_iod_frm_ifindex. No entry is created. */
uint32_t varn_ifsvc_get_iod_frm_ifindex(uint32_t if_index, uint32_t *iod);

/* Whether the iod is that of a VLAN interface (SVI): ifsvc_is_ifindex_svi of the if-index, 0 when
 * that cannot be had. It replaces no call of the service. */
uint32_t varn_ifsvc_is_iod_svi(uint32_t iod);

/* The iod of a VLAN's interface, or 0. Not the arguments of ifsvc_get_svi_iod_for_vlan: the VLAN
 * comes first, and arg is what if_index_vlan_port_init takes, the virtual device instance. */
uint32_t varn_ifsvc_get_svi_iod_for_vlan(uint16_t vlan, uint32_t arg);

/* ---- Extensions and private data ------------------------------------------------------------- */

/*
 * The extension value of slot 0 to 3. A value of 0 means not set and is asked again. The key goes
 * to the service and does not choose the slot. A getter asks ifsvc_get_extension and never a
 * decoder.
 */
uint32_t varn_ifsvc_get_extension(uint32_t iod, uint32_t key);
uint32_t varn_ifsvc_get_extension1(uint32_t iod, uint32_t key);
uint32_t varn_ifsvc_get_extension2(uint32_t iod, uint32_t key);
uint32_t varn_ifsvc_get_extension3(uint32_t iod, uint32_t key);

/* Whether the slot's value is set: 0 or 1 from the cache, else the answer of
 * ifsvc_is_extension_set. A stale value is decoded from ifsvc_get_private_data where the slot has a
 * decoder. */
uint32_t varn_ifsvc_is_extension_set(uint32_t iod, uint32_t key);
uint32_t varn_ifsvc_is_extension1_set(uint32_t iod, uint32_t key);
uint32_t varn_ifsvc_is_extension2_set(uint32_t iod, uint32_t key);
uint32_t varn_ifsvc_is_extension3_set(uint32_t iod, uint32_t key);

/* Store a value in the cache alone, whatever sync says. Always 1, also when no entry can be had. A
 * stored 0 is given back once and then asked again. The size of the private data is left alone. The
 * key is not used. */
uint32_t varn_ifsvc_set_extension(uint32_t iod, uint32_t key, uint32_t value);
uint32_t varn_ifsvc_set_extension1(uint32_t iod, uint32_t key, uint32_t value);
uint32_t varn_ifsvc_set_extension2(uint32_t iod, uint32_t key, uint32_t value);
uint32_t varn_ifsvc_set_extension3(uint32_t iod, uint32_t key, uint32_t value);

/* Stores value and size (bytes) of slot 0 after its owner changed the private data. 0 when no entry
 * can be had, else 1, also when slot 0 is not cached or has no decoder and nothing was done. The
 * key is not used. */
uint32_t varn_ifsvc_update_private_data(uint32_t iod, uint32_t key, uint32_t value, uint32_t size);

/*
 * The decoded extension value of slot 0, and the size of its private data in bytes. Without a
 * decoder the result of ifsvc_get_private_data as it is, an address. A stale value is asked under
 * the configured uuid, not under the caller's key.
 */
uintptr_t varn_ifsvc_get_private_data(uint32_t iod, uint32_t key, uint32_t *size);

/* ---- Translations ---------------------------------------------------------------------------- */

/*
 * One identifier for another. 0, VARN_ERR_LIF_REFRESH or VARN_ERR_PI_REFRESH without an output when
 * the refresh of a stale entry failed, or the code of the service. A missing entry is created while
 * the cache is on. From the cache an interface without a port index gives 0 and *di 0xFFFFFFFF,
 * where the service gives an error.
 */
uint32_t varn_lifsvc_query_lif_to_ifindex(int32_t lif, uint32_t *if_index); /* lif to if-index */
uint32_t varn_idxsvc_lib_ifidx_to_di(int32_t if_index, uint32_t *di); /* if-index to port index */
uint32_t varn_idxsvc_lib_si_to_ifidx(int32_t si, uint32_t *if_index); /* port index to if-index */

/* The lif of an if-index. 0 or a code, as above. *lif is written only when the service was asked:
 * an answer from the cache is 0, also for an interface without a lif, and leaves the caller's
 * variable as it was. */
uint32_t varn_lifsvc_query_ifindex_to_lif(int32_t if_index, uint32_t *lif);

/*
 * Port mode, from ifsvc_get_ifindex_port_mode_list. The cache knows two: 0x200 for an interface of
 * type 26, and 0. 0, VARN_ERR_IF_TYPE, or, when the cache cannot tell, the code of the service;
 * *port_mode is then what the service gave, 0 where it gave none.
 */
uint32_t varn_portsvc_gldb_get_ifindex_port_mode(uint32_t if_index, uint32_t *port_mode);

/*
 * All that an L2 client asks about a port index; works while the cache is off. 0,
 * VARN_ERR_PI_REFRESH without an output, or the code of idxsvc_lib_si_to_ifidx with *if_index at
 * most. The flags are 0 or 1 from an entry, else the services' own answers. private_data is the
 * extension value of slot 0, decoded where there is a decoder, else the low 32 bits of what the
 * service gives. Without an entry a failure to get the iod is not told, and the rest is asked with
 * *iod as it stands: give it a value first.
 *
 *   is_linkup      place for a flag: the physical link is there
 *   encap_type     place for the encapsulation type, 16 bits; 0 = not known
 *   is_switchport  place for a flag: an L2 port
 *   is_switching   place for a flag: an L2 port that forwards
 *   is_protoup     place for a flag: the line protocol is up
 *   private_data   place for 32 bits
 */
uint32_t varn_get_if_l2_info_by_pi(uint32_t pi, uint32_t *if_index, uint32_t *iod,
                                   uint32_t *is_linkup, uint16_t *encap_type,
                                   uint32_t *is_switchport, uint32_t *is_switching,
                                   uint32_t *is_protoup, uint32_t *private_data);

/* The first operational member of a port-channel. 0, VARN_ERR_NO_MEMBER, or the code of
 * aggsvc_get_pc_info; *member is written on success only. */
uint32_t varn_aggsvc_get_fop(uint32_t pc_ifindex, uint32_t *member);

/* ---- Port-channel cache ---------------------------------------------------------------------- */

/*
 * Gives the entry of a port-channel or null (errno is ENOMEM when memory was wanting). Null,
 * without a look, while the cache is off.
 *   create  not 0: a missing one is created
 */
varn_pc_entry_t *varn_pc_create_entry(uint32_t pc_ifindex, int create);

/* File an entry; take it out and free it. 1, or 0 for null (silently) and on failure (reported). */
uint32_t varn_pc_insert_entry(varn_pc_entry_t *entry);
uint32_t varn_pc_delete_entry(varn_pc_entry_t *entry);

/* Deletes the entry of a port-channel. 1 when there was one, whatever became of it, else 0; 0 while
 * the cache is off. */
uint32_t varn_pc_remove_entry_by_if_index(uint32_t pc_ifindex);

/* Makes every bucket of a port-channel ask again. 1, or 0 without an entry (reported) and while the
 * cache is off or port-channels are not cached. */
uint32_t varn_pc_invalidate(uint32_t pc_ifindex);

/* varn_pc_invalidate for the port-channel of a member port. Gives that port-channel's if-index,
 * also when it has no entry or the cache is off, or 0: port-channels not cached, no physical port,
 * in no bundle, or a failure (reported). */
uint32_t varn_pc_invalidate_entry_by_phy_if(uint32_t port_ifindex);

/*
 * The member port that serves hash bucket rbh (0 to 15; more is the caller's fault, and a debug
 * build stops) of a port-channel, from aggsvc_get_pc_mbr_ifidx_from_rbh, whose rbh is wider. 0 for
 * success and 1 for every failure (reported), never the service's code. While the cache is off with
 * port-channels still cached it fails without asking. *member is 0 unless the service wrote it.
 *   rbh  hash bucket, 0 to 15
 */
uint32_t varn_aggsvc_get_pc_mbr_ifidx_from_rbh(uint32_t pc_ifindex, uint8_t rbh, uint32_t *member);

/* ---- VLAN cache ------------------------------------------------------------------------------ */

/* Gives the entry of a VLAN, created where it was missing and refreshed where it was dirty, or null
 * (errno is ENOMEM when memory was wanting). Null, without a look, while the cache is off. */
varn_vlan_entry_t *varn_vlan_create_entry_by_vlan(uint16_t vlan);

/* File an entry; take it out and free it. 1, or 0 for null (silently) and on failure (reported). */
uint32_t varn_vlan_insert_entry(varn_vlan_entry_t *entry);
uint32_t varn_vlan_delete_entry(varn_vlan_entry_t *entry);

/* Deletes the entry of a VLAN, and takes the interface of that VLAN out of the Lif table where its
 * lif is cached, known and clean. 1 when there was a VLAN entry, whatever became of it, else 0; 0
 * while the cache is off. */
uint32_t varn_vlan_remove_entry_by_vlan(int vlan);

/* Asks for everything dirty in an entry. Unless all of it succeeds the entry stays as dirty as it
 * was. Always 1; 0 for null. */
uint32_t varn_vlan_update_entry(varn_vlan_entry_t *entry);

/* Asks again for everything that is cached of a VLAN. 1, or 0 without an entry and while the cache
 * is off; none is created. */
uint32_t varn_vlan_update_vlan(uint16_t vlan);

/* Replace the dirty mask of an entry, of a VLAN's entry (created where missing), or of all entries,
 * by a mask of the configuration: level 1 med, 2 crit, 3 sync, any other value low. 1, or 0 while
 * the cache is off or when the walk could not start (reported). */
void varn_flush_vlan_entry(varn_vlan_entry_t *entry, uint32_t level);
uint32_t varn_vlan_flush_vlan(uint16_t vlan, uint32_t level);
uint32_t varn_vlan_flush_all(uint32_t level);

/* Bridge domain of a VLAN, from vlan_get_bd. From the cache the result is 0 even when the service
 * had failed. The key's vinst goes to the service; the cache looks at the VLAN alone. */
uint32_t varn_vlan_get_bd(vlan_key_t key, uint16_t *bd);

/*
 * Flood destination index and bridge domain of a VLAN, from vlan_get_bd and idxsvc_lib_bd_to_di.
 * From the cache the result is 0 even when both had failed; otherwise it is that of
 * idxsvc_lib_bd_to_di, asked with *bd as vlan_get_bd left it: give *bd a value first. Hits and
 * misses are counted on the bd row.
 */
uint32_t varn_vlan_to_flood_di(uint16_t vlan, uint32_t *di, uint16_t *bd);

/* Primary VLAN of a VLAN, from vlan_get_bd_and_primary_vlan. Always 0, service errors included. */
uint32_t varn_pvlan_get_pvlan(int vlan, uint32_t *pvlan);

/* ---- Notification records -------------------------------------------------------------------- */

/* The services' own messages, handed on unchanged. Bytes without a name are not read. */

/* Physical link state. */
typedef struct varn_phy_update {
    uint32_t if_index; /* of the interface */
    uint32_t iod;      /* of the interface */
    uint8_t state;     /* 2 = gone; any other value = there */
} varn_phy_update_t;

/* L2 protocol state, also of a bundle. */
typedef struct varn_l2_update {
    uint32_t if_index;    /* of the interface */
    uint32_t iod;         /* of the interface */
    uint8_t vlan_present; /* not 0: the record carries a VLAN */
    uint8_t reserved_9[5];
    uint8_t flags; /* VARN_L2_VLAN_A selects the VLAN field */
    uint8_t reserved_15;
    uint8_t mac[6]; /* source MAC address; all zero = not known */
    uint8_t state;  /* 2 = down */
    uint8_t reserved_23;
    uint32_t mtu; /* 16 bits are kept */
    uint8_t reserved_28[8];
    uint32_t vlan_a; /* 16 bits are kept */
    uint32_t vlan_b; /* 16 bits are kept */
} varn_l2_update_t;

#define VARN_L2_VLAN_A 0x10 /* vlan_a counts, else vlan_b */

/* L3 protocol state, also of a bundle. */
typedef struct varn_l3_update {
    uint32_t if_index; /* of the interface */
    uint32_t iod;      /* 0 = not known; the L3-state handler fills it in */
    uint8_t state;     /* 1 = up; in a bundle 16 = link up, protocol down */
    uint8_t reserved_9[3];
    uint32_t mtu; /* 16 bits are kept */
} varn_l3_update_t;

/* L3 parameters; which ones changed stands in a bitset_t beside it. */
typedef struct varn_l3_param_update {
    uint32_t reserved_0;
    uint32_t iod; /* of the interface */
} varn_l3_param_update_t;

#define VARN_L3_PARAM_MTU 12 /* bit of the bitset: the MTU changed */

/* Router MAC. */
typedef struct varn_mac_update {
    uint32_t if_index; /* of the interface */
    uint8_t mac[6];    /* all zero = removed */
    uint8_t reserved_10[6];
    uint32_t state; /* only printed */
} varn_mac_update_t;

/* First operational member of a port-channel. Every word is big-endian on every host. */
typedef struct varn_fop_update {
    uint32_t pc_ifindex; /* of the port-channel */
    uint32_t reserved_4;
    uint32_t old_member; /* if-index; 0 = none */
    uint32_t new_member; /* if-index; 0 = none */
} varn_fop_update_t;

/* ---- Notification handlers ------------------------------------------------------------------- */

/*
 * A client hands each notification to its handler, on the thread on which it calls the rest of the
 * library. A handler rewrites, dirties, creates or removes exactly what the notification changes.
 */

/* Physical link state. 1 when an entry was removed or updated or its creation was tried, 0 while
 * the cache is off and for an interface without an entry that went away. */
uint32_t varn_update_phy_state(const varn_phy_update_t *update);

/* L2 state. 0, -1 while the cache is off or without an entry, or the error of if_index_get_type. */
int32_t varn_update_l2_state(const varn_l2_update_t *update);

/*
 * L3 state. An iod of 0 in the record is filled in. 0, -1 while the cache is off or without an
 * entry that the notification may create (whether the creation succeeds is not told), or the error
 * of if_index_get_type or ifsvc_get_iod_frm_ifindex.
 */
int32_t varn_update_l3_state(varn_l3_update_t *update);

/*
 * Changes of single attributes. They create no entry. 1, or 0 while the cache is off or without an
 * entry; from varn_update_vlan 0 also when the VLAN is not cached and its service gives 0. A null
 * `changed` says that nothing else changed.
 */
uint32_t varn_update_switchport(int32_t iod);                         /* being an L2 port, or not */
uint32_t varn_update_l2_bundle_state(const varn_l2_update_t *update); /* L2 state of a bundle */
uint32_t varn_update_l3_bundle_state(const varn_l3_update_t *update); /* L3 state of a bundle */
uint32_t varn_update_l3_param(const varn_l3_param_update_t *update,
                              const bitset_t *changed); /* MTU */
uint32_t varn_update_vlan(int32_t iod);                 /* VLAN and port mode */
uint32_t varn_remove_extension0(int32_t iod);           /* extension 0 is gone */

/* Sets the linkup dirty bit of an entry. Exactly one of iod and if_index is given, the other is 0.
 * 0, or -1.
 *   set  its low bit: 1 is dirty
 */
int32_t varn_update_is_linkup_dirty_bit(int32_t iod, uint32_t if_index, int32_t set);

/*
 * Router MAC, which is stored as it is. 0, or -1 when MAC addresses are not cached or there is no
 * entry. varn_enabled is not asked. An entry whose iod is dirty is refreshed first; where the service
 * gives another iod, what stands under that one is removed.
 */
int32_t varn_update_router_mac(const varn_mac_update_t *update);

/*
 * First operational member of a port-channel. A change to none removes the entry. Without an entry
 * one is created when there was no member before, and nothing is done otherwise. 1 when it was
 * updated, created or removed, else 0.
 */
uint32_t varn_update_aggsvc_fop(const varn_fop_update_t *update);

/* ---- Diagnostics ----------------------------------------------------------------------------- */

/*
 * Dumps go piece by piece to varn.config.print with the caller's arg. Without that callback, or
 * with an arg of 0, nothing is printed. varn_print_global, which is also the first half of
 * varn_dump, and the printers of one given entry work while the cache is off; everything else
 * prints nothing then. The port-channel tables also need VARN_BIT_PC. A null entry prints nothing; a
 * null table prints as an empty one, and its statistics are reported as a failure.
 */
void varn_print_global(uintptr_t arg);             /* configuration, counters, hits and misses */
void varn_dump(uintptr_t arg);                     /* that, table statistics, iod bitmap */
void varn_if_dump(uintptr_t arg);                  /* every entry of the four interface tables */
void varn_pc_dump(uintptr_t arg);                  /* every port-channel entry */
void varn_vlan_dump(uintptr_t arg);                /* every VLAN entry */
void varn_print_stats(uintptr_t arg, ht_t *table); /* load and chains of a table */
void varn_dump_iod_bmp(uintptr_t arg); /* the words of varn_iodbmp that forbid something */
void varn_if_print_table(uintptr_t arg, ht_t *table);   /* every entry of the If table */
void varn_iod_print_table(uintptr_t arg, ht_t *table);  /* every entry of the Iod table */
void varn_pi_print_table(uintptr_t arg, ht_t *table);   /* every entry of the Pi table */
void varn_lif_print_table(uintptr_t arg, ht_t *table);  /* every entry of the Lif table */
void varn_pc_print_table(uintptr_t arg, ht_t *table);   /* every entry of the PC table */
void varn_vlan_print_table(uintptr_t arg, ht_t *table); /* every entry of the VLAN table */
void varn_if_entry_print(uintptr_t arg, const varn_if_entry_t *entry); /* one interface */
void varn_if_print_iod(uintptr_t arg, uint32_t iod);                   /* the interface of an iod */
void varn_pc_entry_print(uintptr_t arg, const varn_pc_entry_t *entry); /* one port-channel */
void varn_pc_print(uintptr_t arg, uint32_t pc_ifindex); /* the port-channel of an if-index */
void varn_vlan_entry_print(uintptr_t arg, const varn_vlan_entry_t *entry); /* one VLAN */
void varn_vlan_print(uintptr_t arg, uint16_t vlan); /* the VLAN of that number */

/* Gives "0011.2233.4455" for the six bytes of an address, in one of 8 static buffers used in turn.
 * */
const char *varn_format_mac(const uint8_t *mac);

#pragma GCC visibility pop

/* ---- The layout, pinned ---------------------------------------------------------------------- */

#ifdef __cplusplus
#define VARN_ASSERT(condition) static_assert(condition, #condition)
#else
#define VARN_ASSERT(condition) _Static_assert(condition, #condition)
#endif

/* Where a member stands with 32-bit and with 64-bit pointers. */
#define VARN_BY_POINTER(on_32, on_64) (sizeof(void *) == 4 ? (on_32) : (on_64))
#define VARN_PIN(type, member, at)    VARN_ASSERT(offsetof(type, member) == (at))

/* clang-format off */
VARN_ASSERT(sizeof(varn_config_t) == VARN_BY_POINTER(120, 176));
VARN_PIN(varn_config_t, num_buckets, 0);
VARN_PIN(varn_config_t, sync, 4);
VARN_PIN(varn_config_t, crit, 12);
VARN_PIN(varn_config_t, med, 20);
VARN_PIN(varn_config_t, low, 28);
VARN_PIN(varn_config_t, once, 36);
VARN_PIN(varn_config_t, extn_decode, VARN_BY_POINTER(44, 48));
VARN_PIN(varn_config_t, uuid, VARN_BY_POINTER(60, 80));
VARN_PIN(varn_config_t, extn_uuid, VARN_BY_POINTER(64, 84));
VARN_PIN(varn_config_t, debug_print, VARN_BY_POINTER(76, 96));
VARN_PIN(varn_config_t, error_print, VARN_BY_POINTER(80, 104));
VARN_PIN(varn_config_t, debug_print_arg, VARN_BY_POINTER(84, 112));
VARN_PIN(varn_config_t, error_cb, VARN_BY_POINTER(88, 120));
VARN_PIN(varn_config_t, print, VARN_BY_POINTER(92, 128));
VARN_PIN(varn_config_t, debug_arg, VARN_BY_POINTER(96, 136));
VARN_PIN(varn_config_t, error_arg, VARN_BY_POINTER(100, 144));
VARN_PIN(varn_config_t, create_on_miss, VARN_BY_POINTER(104, 152));
VARN_PIN(varn_config_t, track_l3, VARN_BY_POINTER(108, 156));
VARN_PIN(varn_config_t, extn_free, VARN_BY_POINTER(112, 160));
VARN_PIN(varn_config_t, on_create, VARN_BY_POINTER(116, 168));

VARN_ASSERT(sizeof(varn_if_entry_t) == 136);
VARN_PIN(varn_if_entry_t, if_index, 0);
VARN_PIN(varn_if_entry_t, if_link, 4);
VARN_PIN(varn_if_entry_t, iod, 12);
VARN_PIN(varn_if_entry_t, iod_link, 16);
VARN_PIN(varn_if_entry_t, pi, 24);
VARN_PIN(varn_if_entry_t, pi_link, 28);
VARN_PIN(varn_if_entry_t, lif, 36);
VARN_PIN(varn_if_entry_t, lif_link, 40);
VARN_PIN(varn_if_entry_t, mac, 48);
VARN_PIN(varn_if_entry_t, encap, 54);
VARN_PIN(varn_if_entry_t, extn, 56);
VARN_PIN(varn_if_entry_t, extn_size, 72);
VARN_PIN(varn_if_entry_t, context_id, 88);
VARN_PIN(varn_if_entry_t, base_tid, 92);
VARN_PIN(varn_if_entry_t, vlan, 96);
VARN_PIN(varn_if_entry_t, mtu, 98);
VARN_PIN(varn_if_entry_t, port_mode, 100);
VARN_PIN(varn_if_entry_t, valid, 108);
VARN_PIN(varn_if_entry_t, dirty, 116);
VARN_PIN(varn_if_entry_t, aggsvc_if, 124);
VARN_PIN(varn_if_entry_t, if_type, 128);
VARN_PIN(varn_if_entry_t, ref_count, 129);
VARN_PIN(varn_if_entry_t, iod_remaps, 130);
VARN_PIN(varn_if_entry_t, pi_remaps, 131);
VARN_PIN(varn_if_entry_t, lif_remaps, 132);

VARN_ASSERT(sizeof(varn_pc_entry_t) == 140);
VARN_PIN(varn_pc_entry_t, pc_ifindex, 0);
VARN_PIN(varn_pc_entry_t, link, 4);
VARN_PIN(varn_pc_entry_t, rbh_dirty, 12);
VARN_PIN(varn_pc_entry_t, rbh_mbr_ifindex, 76);

VARN_ASSERT(sizeof(varn_vlan_entry_t) == 32);
VARN_PIN(varn_vlan_entry_t, vlan, 0);
VARN_PIN(varn_vlan_entry_t, link, 4);
VARN_PIN(varn_vlan_entry_t, bd, 12);
VARN_PIN(varn_vlan_entry_t, flood_di, 16);
VARN_PIN(varn_vlan_entry_t, pvlan, 20);
VARN_PIN(varn_vlan_entry_t, dirty, 24);

VARN_ASSERT(sizeof(ht_t) == VARN_BY_POINTER(64, 128));
VARN_PIN(varn_global_t, if_table, 0);
VARN_PIN(varn_global_t, iod_table, VARN_BY_POINTER(64, 128));
VARN_PIN(varn_global_t, pi_table, VARN_BY_POINTER(128, 256));
VARN_PIN(varn_global_t, lif_table, VARN_BY_POINTER(192, 384));
VARN_PIN(varn_global_t, vlan_table, VARN_BY_POINTER(256, 512));
VARN_PIN(varn_global_t, pc_table, VARN_BY_POINTER(320, 640));
VARN_PIN(varn_global_t, config, VARN_BY_POINTER(384, 768));
VARN_PIN(varn_global_t, misses, VARN_BY_POINTER(504, 944));
VARN_PIN(varn_global_t, hits, VARN_BY_POINTER(760, 1200));
VARN_PIN(varn_global_t, updates, VARN_BY_POINTER(1016, 1456));
VARN_PIN(varn_global_t, if_allocs, VARN_BY_POINTER(1272, 1712));
VARN_PIN(varn_global_t, if_frees, VARN_BY_POINTER(1280, 1720));
VARN_PIN(varn_global_t, if_destroys, VARN_BY_POINTER(1288, 1728));
VARN_PIN(varn_global_t, iod_remaps, VARN_BY_POINTER(1296, 1736));
VARN_PIN(varn_global_t, pi_remaps, VARN_BY_POINTER(1304, 1744));
VARN_PIN(varn_global_t, lif_remaps, VARN_BY_POINTER(1312, 1752));
VARN_PIN(varn_global_t, if_index, VARN_BY_POINTER(1320, 1760));
VARN_PIN(varn_global_t, iod_index, VARN_BY_POINTER(1352, 1792));
VARN_PIN(varn_global_t, pi_index, VARN_BY_POINTER(1384, 1824));
VARN_PIN(varn_global_t, lif_index, VARN_BY_POINTER(1416, 1856));
VARN_PIN(varn_global_t, phy_updates, VARN_BY_POINTER(1448, 1888));
VARN_PIN(varn_global_t, l2_updates, VARN_BY_POINTER(1456, 1896));
VARN_PIN(varn_global_t, l3_updates, VARN_BY_POINTER(1464, 1904));
VARN_PIN(varn_global_t, l3_param_updates, VARN_BY_POINTER(1472, 1912));
VARN_PIN(varn_global_t, l2_bundle_updates, VARN_BY_POINTER(1480, 1920));
VARN_PIN(varn_global_t, l3_bundle_updates, VARN_BY_POINTER(1488, 1928));
VARN_PIN(varn_global_t, aggsvc_updates, VARN_BY_POINTER(1496, 1936));
VARN_PIN(varn_global_t, if_refreshes, VARN_BY_POINTER(1504, 1944));
VARN_PIN(varn_global_t, iod_refreshes, VARN_BY_POINTER(1512, 1952));
VARN_PIN(varn_global_t, pi_refreshes, VARN_BY_POINTER(1520, 1960));
VARN_PIN(varn_global_t, lif_refreshes, VARN_BY_POINTER(1528, 1968));
VARN_PIN(varn_global_t, create_fail, VARN_BY_POINTER(1536, 1976));
VARN_PIN(varn_global_t, vlan_misses, VARN_BY_POINTER(1544, 1984));
VARN_PIN(varn_global_t, vlan_hits, VARN_BY_POINTER(1568, 2008));
VARN_PIN(varn_global_t, vlan_updates, VARN_BY_POINTER(1592, 2032));
VARN_PIN(varn_global_t, vlan_allocs, VARN_BY_POINTER(1616, 2056));
VARN_PIN(varn_global_t, vlan_frees, VARN_BY_POINTER(1624, 2064));
VARN_PIN(varn_global_t, pc_hits, VARN_BY_POINTER(1632, 2072));
VARN_PIN(varn_global_t, pc_misses, VARN_BY_POINTER(1640, 2080));
VARN_PIN(varn_global_t, pc_updates, VARN_BY_POINTER(1648, 2088));
VARN_PIN(varn_global_t, pc_allocs, VARN_BY_POINTER(1656, 2096));
VARN_PIN(varn_global_t, pc_frees, VARN_BY_POINTER(1664, 2104));
VARN_ASSERT(sizeof(varn_global_t) == VARN_BY_POINTER(1672, 2112));

VARN_PIN(varn_index_counters_t, inserts, 0);
VARN_PIN(varn_index_counters_t, removes, 8);
VARN_PIN(varn_index_counters_t, insert_fail, 16);
VARN_PIN(varn_index_counters_t, remove_fail, 24);
VARN_PIN(varn_vlan_counters_t, bd, 0);
VARN_PIN(varn_vlan_counters_t, findex, 8);
VARN_PIN(varn_vlan_counters_t, pvlan, 16);

VARN_PIN(varn_phy_update_t, if_index, 0);
VARN_PIN(varn_phy_update_t, iod, 4);
VARN_PIN(varn_phy_update_t, state, 8);
VARN_PIN(varn_l2_update_t, if_index, 0);
VARN_PIN(varn_l2_update_t, iod, 4);
VARN_PIN(varn_l2_update_t, vlan_present, 8);
VARN_PIN(varn_l2_update_t, flags, 14);
VARN_PIN(varn_l2_update_t, mac, 16);
VARN_PIN(varn_l2_update_t, state, 22);
VARN_PIN(varn_l2_update_t, mtu, 24);
VARN_PIN(varn_l2_update_t, vlan_a, 36);
VARN_PIN(varn_l2_update_t, vlan_b, 40);
VARN_PIN(varn_l3_update_t, if_index, 0);
VARN_PIN(varn_l3_update_t, iod, 4);
VARN_PIN(varn_l3_update_t, state, 8);
VARN_PIN(varn_l3_update_t, mtu, 12);
VARN_PIN(varn_l3_param_update_t, iod, 4);
VARN_PIN(varn_mac_update_t, if_index, 0);
VARN_PIN(varn_mac_update_t, mac, 4);
VARN_PIN(varn_mac_update_t, state, 16);
VARN_PIN(varn_fop_update_t, pc_ifindex, 0);
VARN_PIN(varn_fop_update_t, old_member, 8);
VARN_PIN(varn_fop_update_t, new_member, 12);
VARN_PIN(varn_log_record_t, text, 4);
VARN_ASSERT(sizeof(varn_log_record_t) == 204);
/* clang-format on */

#undef VARN_PIN
#undef VARN_BY_POINTER
#undef VARN_ASSERT

#ifdef __cplusplus
}
#endif

#endif
