// SPDX-License-Identifier: Apache-2.0
//
// What a hit replaces, at its cheapest: the question over a bare SEQPACKET socket to a process that
// knows the answer, and two ways of asking the kernel. All on one core, as the hit.
#include <benchmark/benchmark.h>

#include <net/if.h>
#include <netlink/netlink.h>
#include <netlink/route/link.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "both_processes.h"
#include "in_process.h"

namespace
{

struct question_packet {
    uint32_t attribute, iod;
};

[[noreturn]] void answer_all(int socket)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    question_packet asked;
    while (read(socket, &asked, sizeof asked) == sizeof asked) {
        const uint32_t answer = asked.iod != 0;
        if (write(socket, &answer, sizeof answer) != sizeof answer)
            break;
    }
    _exit(0);
}

struct answerer {
    int socket;
    pid_t process;
};

// The process ends with this one.
answerer other_process()
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) != 0) {
        std::perror("varn_bench: socketpair");
        std::exit(1);
    }
    const pid_t process = fork();
    if (process == 0) {
        close(ends[0]);
        answer_all(ends[1]);
    }
    close(ends[1]);
    return {ends[0], process};
}

void seqpacket(benchmark::State &state, answerer asked_one)
{
    const int socket = asked_one.socket;
    uint32_t answer = 0;
    const bench::both_processes time(asked_one.process);
    for (auto _ : state) {
        const question_packet asked{17, 7};
        if (write(socket, &asked, sizeof asked) != sizeof asked ||
            read(socket, &answer, sizeof answer) != sizeof answer)
            state.SkipWithError("no answer");
    }
    time.tell(state);
    benchmark::DoNotOptimize(answer);
    state.counters["operations"] = 1;
}

void rtm_getlink(benchmark::State &state)
{
    nl_sock *socket = nl_socket_alloc();
    if (nl_connect(socket, NETLINK_ROUTE) < 0)
        state.SkipWithError("no netlink socket");
    unsigned flags = 0;
    for (auto _ : state) {
        rtnl_link *link = nullptr;
        if (rtnl_link_get_kernel(socket, 1, nullptr, &link) < 0)
            state.SkipWithError("no answer");
        flags += rtnl_link_get_flags(link);
        rtnl_link_put(link);
    }
    benchmark::DoNotOptimize(flags);
    nl_socket_free(socket);
    state.counters["operations"] = 1;
}

void ioctl_mtu(benchmark::State &state)
{
    const int socket = ::socket(AF_INET, SOCK_DGRAM, 0);
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    for (auto _ : state)
        if (ioctl(socket, SIOCGIFMTU, &request) != 0)
            state.SkipWithError("no answer");
    close(socket);
    state.counters["operations"] = 1;
}

} // namespace

void bench::register_requests()
{
    benchmark::RegisterBenchmark("request/seqpacket", seqpacket, other_process())->UseRealTime();
    benchmark::RegisterBenchmark("request/rtm_getlink", rtm_getlink);
    benchmark::RegisterBenchmark("request/siocgifmtu", ioctl_mtu);
}
