// SPDX-License-Identifier: Apache-2.0
//
// gdb_tests.cpp: what the commands of tools/gdb tell of a client, while it is stopped or from its core. The
// client asked as the questions below say; what is expected follows from them and from the inventory.
#include <fstream>
#include <regex>

#include "debugged_client.h"

namespace
{

class GdbCommands : public DebuggedClient
{
protected:
    std::string core_of_client()
    {
        const std::string core = folder / "core";
        gdb(live(), {"generate-core-file " + core});
        return core;
    }
};

constexpr char questions[] =
    "query linkup port1; query mtu port1; query mtu port1; query mtu bundle1;"
    "query linkup port2; pc bundle1; vlan 20; stale port1 linkup;"
    "stale port1 mtu";

const std::vector<std::string> every_table{"varn tables",
                                           "varn entries",
                                           "varn entries dirty mtu linkup",
                                           "varn entry 1 0x42 0x16000001",
                                           "varn counters",
                                           "varn vlan",
                                           "varn vlan 10",
                                           "varn pc 0x16000001"};

constexpr char as_asked[] = R"(TABLE  RECORDS  BUCKETS
if           3    16384
iod          3    16384
pi           3    16384
lif          3    16384
vlan         1    16384
pc           1    16384
IOD    IF-INDEX       PI       LIF  LINK  PROTO   MTU  DIRTY
1    0x1a000001  0x10001  0x100001     1      1  1500  extn extn1 extn2 extn3 mtu linkup is_vlan mvpn
2    0x1a000002  0x10002  0x100002     1      1  1500  extn extn1 extn2 extn3 is_vlan mvpn
3    0x16000001  0x10003  0x100003     1      1  9000  extn extn1 extn2 extn3 mac is_vlan ips mvpn
IOD    IF-INDEX       PI       LIF  LINK  PROTO   MTU  DIRTY
1    0x1a000001  0x10001  0x100001     1      1  1500  extn extn1 extn2 extn3 mtu linkup is_vlan mvpn
entry at ADDRESS, in 4 tables
  if_index     0x1a000001
  iod          1
  pi           0x10001
  lif          0x100001
  mac          0200.0000.0001
  encap        1
  extn         0x0 0x0 0x0 0x0    extn dirty, extn1 dirty, extn2 dirty, extn3 dirty
  extn_size    0 0 0 0
  context_id   0x1
  base_tid     0xfe
  vlan         0
  mtu          1500               mtu dirty
  port_mode    0x0
  switchport   0
  switching    0
  linkup       1                  linkup dirty
  protoup      1
  ethernet     1
  is_vlan      0                  is_vlan dirty
  ips          1
  null         0
  loopback     0
  p2p          0
  mvpn         0                  mvpn dirty
  aggsvc_if    0x0
  if_type      26
  ref_count    4
  iod_remaps   0
  pi_remaps    0
  lif_remaps   0
  dirty: extn extn1 extn2 extn3 mtu name linkup is_vlan mvpn gre_hdr subif pc
no entry has iod 0x42
entry at ADDRESS, in 4 tables
  if_index     0x16000001
  iod          3
  pi           0x10003
  lif          0x100003
  mac          0000.0000.0000     mac dirty
  encap        1
  extn         0x0 0x0 0x0 0x0    extn dirty, extn1 dirty, extn2 dirty, extn3 dirty
  extn_size    0 0 0 0
  context_id   0x1
  base_tid     0xfe
  vlan         0
  mtu          9000
  port_mode    0x0
  switchport   0
  switching    0
  linkup       1
  protoup      1
  ethernet     1
  is_vlan      0                  is_vlan dirty
  ips          0                  ips dirty
  null         0
  loopback     0
  p2p          0
  mvpn         0                  mvpn dirty
  aggsvc_if    0x1a000002
  if_type      22
  ref_count    4
  iod_remaps   0
  pi_remaps    0
  lif_remaps   0
  dirty: extn extn1 extn2 extn3 mac name is_vlan ips mvpn gre_hdr subif pc
ATTRIBUTE   HITS  MISSES  UPDATES
iod            4       0        0
pi             0       0        3
lif            0       0        3
mac            0       0        3
encap          0       0        3
extn           0       0        3
extn1          0       0        3
extn2          0       0        3
extn3          0       0        3
context        0       0        3
base_tid       0       0        3
mtu            3       0        3
switchport     0       0        3
switching      0       0        3
linkup         2       0        3
protoup        0       0        3
ethernet       0       0        3
vlan           0       0        3
ips            0       0        2
null           0       0        3
aggsvc_if      1       0        1
name           3       0        0
loopback       0       0        3
p2p            0       0        3
bd             2       0        1
findex         0       0        1
pvlan          1       0        1
pc             0      16        0
if_allocs: 3
if_index: inserts 3, removes 0, insert_fail 0, remove_fail 0
iod_index: inserts 3, removes 0, insert_fail 0, remove_fail 0
pi_index: inserts 3, removes 0, insert_fail 0, remove_fail 0
lif_index: inserts 3, removes 0, insert_fail 0, remove_fail 0
vlan_allocs: 1
pc_allocs: 1
VLAN   BD  FLOOD-INDEX  PVLAN  DIRTY
20    0x2      0x20002     10  nothing
VLAN  BD  FLOOD-INDEX  PVLAN  DIRTY
0x16000001: 0:0x1a000002 1:0x1a000002 2:0x1a000002 3:0x1a000002 4:0x1a000002 5:0x1a000002 6:0x1a000002 7:0x1a000002 8:0x1a000002 9:0x1a000002 10:0x1a000002 11:0x1a000002 12:0x1a000002 13:0x1a000002 14:0x1a000002 15:0x1a000002
)";

constexpr char configuration[] = R"(cache: on
num_buckets: 16384
sync: 0x00000003ffffffff: if_index iod pi lif encap extn extn1 extn2 extn3 mac vlan context base_tid mtu name switchport switching linkup protoup ethernet is_vlan ips null p2p loopback if_type mvpn aggsvc_if gre_hdr subif pvlan bd findex pc
crit: 0x00000003fffffffd: if_index pi lif encap extn extn1 extn2 extn3 mac vlan context base_tid mtu name switchport switching linkup protoup ethernet is_vlan ips null p2p loopback if_type mvpn aggsvc_if gre_hdr subif pvlan bd findex pc
med: 0x0000000008060000: linkup protoup aggsvc_if
low: 0x00000000000001e0: extn extn1 extn2 extn3
once: 0x0000000000000000: nothing
uuid: 1
extn_uuid: 2 3 4
error_cb: shell::(anonymous namespace)::print_report(unsigned long, char const*, char const*, int, char const*)
print: shell::(anonymous namespace)::print_dump(unsigned long, char const*, ...)
debug_arg: 0
error_arg: 0
create_on_miss: 1
track_l3: 0
varn_error_cb: 0
forbidden iods: none
last report: none
)";

TEST_F(GdbCommands, TellWhatALiveClientHolds)
{
    start_client(questions);
    EXPECT_EQ(gdb(live(), every_table), as_asked);
}

TEST_F(GdbCommands, TellTheSameOfItsCore)
{
    start_client(questions);
    EXPECT_EQ(gdb({VARNSH, core_of_client()}, every_table), as_asked);
}

// As a package has them: no symbol but the exported ones, no debug information.
TEST_F(GdbCommands, TellTheSameOfStrippedLibraries)
{
    const std::filesystem::path stripped = folder / "stripped";
    std::filesystem::create_directories(stripped);
    sh(std::string("for l in ") + PLATFORM_LIBRARY + " " + DEVICE_LIBRARY +
       "; do strip --strip-all -o " + stripped.string() +
       "/$(basename $l | sed 's/so.*/so.1/') $l; done");
    start_client(questions, stripped);
    EXPECT_EQ(sh("grep -c " + stripped.string() + " /proc/" + live().back() + "/maps") == "0\n",
              false);
    EXPECT_EQ(gdb(live(), every_table), as_asked);
}

TEST_F(GdbCommands, TellTheConfiguration)
{
    start_client("query mtu port1");
    EXPECT_EQ(gdb(live(), {"varn config"}), configuration);
}

// The names are read from varn.h twice: as the debugger has them, and here.
TEST_F(GdbCommands, CallEachAttributeAsTheHeaderDoes)
{
    std::ifstream header(VARN_HEADER);
    std::string every_name;
    for (std::string line; std::getline(header, line);) {
        std::smatch found;
        if (std::regex_search(line, found, std::regex("^    VARN_BIT_([A-Z0-9_]+) = ([0-9]+)")))
            every_name += " " + found[1].str();
    }
    for (char &c : every_name)
        c = static_cast<char>(std::tolower(c));
    start_client("query mtu port1");
    EXPECT_EQ(gdb(live(), {"python load_types(); print(mask_text((1 << 34) - 1))"}),
              every_name.substr(1) + "\n");
}

TEST_F(GdbCommands, SayWhatIsMissing)
{
    const running_process other({"sleep", "60"});
    EXPECT_EQ(gdb({"-p", std::to_string(other.pid())}, {"varn tables"}),
              "varn: no symbol varn here: is the library loaded?\n");
}

TEST_F(GdbCommands, RefuseAnAttributeThatThereIsNot)
{
    start_client("query mtu port1");
    EXPECT_EQ(gdb(live(), {"varn entries dirty speed"}),
              "usage: varn entries [dirty [ATTRIBUTE...]], attributes as in varn config\n");
}

} // namespace
