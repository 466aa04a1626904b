// SPDX-License-Identifier: Apache-2.0
//
// probe_tests.cpp: the probes of the library as gdb finds and reads them, and that the scripts over them are
// understood. What the scripts print is not looked at: that takes a kernel that lets itself be traced.
#include <fstream>

#include "debugged_client.h"

namespace
{

class Probes : public DebuggedClient
{
protected:
    // What each probe says while varnsh carries out its commands.
    std::string told_during(const std::string &commands)
    {
        const std::string script = folder / "probes.gdb";
        std::ofstream(script) << probe_commands;
        const finished done =
            run({"gdb", "-q", "-nx", "-batch", "-iex", "set debuginfod enabled off", "-x", script,
                 "--args", VARNSH, "-c", commands});
        std::string told;
        std::size_t begin = 0;
        while ((begin = done.out.find("varn:", begin)) != std::string::npos) {
            const std::size_t end = done.out.find('\n', begin);
            told += done.out.substr(begin, end - begin) + "\n";
            begin = end;
        }
        return told;
    }

private:
    static constexpr char probe_commands[] = R"(catch load libvarn_platform
run
delete
break -probe-stap varn:hit
commands
silent
printf "varn:hit %d 0x%x %d\n", $_probe_arg0, $_probe_arg1, $_probe_arg2 != 0
continue
end
break -probe-stap varn:miss
commands
silent
printf "varn:miss %d 0x%x %d\n", $_probe_arg0, $_probe_arg1, $_probe_arg2 != 0
continue
end
break -probe-stap varn:refresh
commands
silent
printf "varn:refresh %d %d 0x%lx\n", $_probe_arg0 != 0, $_probe_arg1, $_probe_arg2
continue
end
break -probe-stap varn:notification
commands
silent
printf "varn:notification %s %d 0x%x\n", (char *)$_probe_arg0, $_probe_arg1, $_probe_arg2
continue
end
break -probe-stap varn:destroy
commands
silent
printf "varn:destroy %d %d 0x%x\n", $_probe_arg0 != 0, $_probe_arg1, $_probe_arg2
continue
end
continue
)";
};

// varnsh makes an entry of each interface when it starts, and destroys them when it leaves.
constexpr char at_the_start[] = R"(varn:refresh 1 1 0x3fdfffffc
varn:hit 1 0x1 1
varn:hit 14 0x1 1
varn:refresh 1 2 0x3fdfffffc
varn:hit 1 0x2 1
varn:hit 14 0x2 1
varn:refresh 1 3 0x3fdfffffc
varn:hit 1 0x3 1
varn:hit 14 0x3 1
)";
constexpr char at_the_end[] = R"(varn:destroy 1 1 0x1a000001
varn:destroy 1 2 0x1a000002
varn:destroy 1 3 0x16000001
)";

// Attributes by their bits: 13 is the MTU, 27 the first member, 30 to 32 a VLAN's, 33 a hash bucket of which
// there are sixteen. A stale MTU misses once, with an entry.
TEST_F(Probes, TellEachQuestionAndWhetherTheCacheAnsweredIt)
{
    std::string buckets;
    for (int each = 0; each < 16; ++each)
        buckets += "varn:miss 33 0x16000001 1\n";
    EXPECT_EQ(told_during("query mtu port1; stale port1 mtu; query mtu port1; pc bundle1; vlan 20"),
              std::string(at_the_start) + R"(varn:hit 13 0x1 1
varn:miss 13 0x1 1
varn:hit 1 0x3 1
varn:hit 27 0x16000001 1
)" + buckets + R"(varn:hit 31 0x14 1
varn:hit 32 0x14 1
varn:hit 30 0x14 1
)" + at_the_end);
}

TEST_F(Probes, TellANotificationByItsHandler)
{
    EXPECT_EQ(told_during(std::string("query mtu port1; ! ") + VARNCTL +
                          " set port1 mtu 9100\nawait mtu port1 9100"),
              std::string(at_the_start) + R"(varn:hit 13 0x1 1
varn:notification varn_update_l3_param 1 0x0
)" + at_the_end);
}

TEST_F(Probes, AreUnderstoodByTheScriptsForBpftrace)
{
    for (const char *script : {"varn_hits.bt", "varn_misses.bt"}) {
        const finished done =
            run({"bpftrace", "-d", std::string(BPFTRACE_SCRIPTS) + "/" + script, PLATFORM_LIBRARY});
        EXPECT_EQ(done.exit_code, 0) << script << "\n" << done.err;
        EXPECT_NE(done.out.find("usdt:"), std::string::npos) << done.out;
    }
}

} // namespace
