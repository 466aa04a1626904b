// SPDX-License-Identifier: Apache-2.0
//
// soak.cpp: many clients over one service for a long time. The first third is calm: the device
// changes at a steady rate, everyone reads, and nothing may be lost. Then clients and the service
// are killed at random as well. In the end everything rests, and each client compares once more.
//
// It fails on a stale answer, on a loss in the calm third, and when memory or descriptors grow.
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "board.h"
#include "random.h"
#include "tests/device/process.h"
#include "varn_device.h"
#include "world.h"

namespace soak
{

board *open_board(const std::string &path)
{
    const int file = open(path.c_str(), O_RDWR | O_CREAT, 0600);
    if (file < 0 || ftruncate(file, sizeof(board)) != 0)
        return nullptr;
    void *at = mmap(nullptr, sizeof(board), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    return at == MAP_FAILED ? nullptr : static_cast<board *>(at);
}

namespace
{

using coherence::random_numbers;
using coherence::u32;
using coherence::u64;
using coherence::words;
using steady = std::chrono::steady_clock;

struct options {
    u32 seconds = 300, clients = 32, ports = 512, rate = 100;
    u64 seed = 1;
};

std::string text(u64 number) { return std::to_string(number); }

// ---- The device

std::string inventory(u32 ports)
{
    std::string made = R"({"vlans": [{"range": {"first": 1, "last": 64}}], "interfaces": [)";
    made.append(
        R"({"range": {"first": 1, "last": 16}, "name": "bundle{}", "type": "port-channel"},)");
    made.append(
        R"({"range": {"first": 1, "last": 32}, "name": "vlan{}", "type": "svi", "vlan": "{}"},)");
    made.append(R"({"range": {"first": 1, "last": )").append(text(ports));
    made.append(R"(}, "name": "port{}", "type": "physical", "mac": "02:00:00:00:00:01"}]})");
    return made;
}

// The mix: most changes are of states, some move a port, few make another interface of it.
words change(random_numbers &from, u32 ports)
{
    const std::string port = "port" + text(1 + from.below(ports));
    const std::string up = from.one_in(2) ? "up" : "down";
    const u32 drawn = from.below(100);
    if (drawn < 35)
        return {"set", port, "link", up};
    if (drawn < 60)
        return {"set", port, "protocol", up};
    if (drawn < 70)
        return {"set", port, "mtu", text(1400 + from.below(5))};
    if (drawn < 80)
        return {"set",  port,
                "mode", from.one_in(2) ? "routed" : "access",
                "vlan", text(1 + from.below(64))};
    if (drawn < 88)
        return {"member", "bundle" + text(1 + from.below(16)), from.one_in(2) ? "add" : "remove",
                port};
    if (drawn < 93)
        return coherence::private_words(port, 1, from.below(9), 4 * from.below(4));
    if (drawn < 96)
        return {"set", port, "mac", from.one_in(2) ? "02:00:00:00:aa:01" : "02:00:00:00:aa:02"};
    if (drawn < 98)
        return {"vlan", text(1 + from.below(64)), "set", "primary", text(1 + from.below(64))};
    return from.one_in(2) ? words{"delete", port} : words{"add", port, "physical"};
}

// ---- What a process holds

struct holdings {
    u64 kilobytes = 0, descriptors = 0;
};

holdings held_by(pid_t pid)
{
    holdings found;
    const std::string folder = "/proc/" + text(static_cast<u64>(pid));
    std::ifstream status(folder + "/status");
    for (std::string word; status >> word;)
        if (word == "VmRSS:")
            status >> found.kilobytes;
    std::error_code gone;
    for (const auto &each : std::filesystem::directory_iterator(folder + "/fd", gone))
        found.descriptors += !each.path().empty();
    return found;
}

struct sums {
    u64 asked = 0, compared = 0, undecided = 0, stale = 0, notices = 0, lost = 0;
};

class run_of_soak
{
public:
    explicit run_of_soak(const options &chosen) : chosen_(chosen), random_(chosen.seed)
    {
        folder_ = std::filesystem::temp_directory_path() /
                  ("varn-soak-" + text(static_cast<u64>(getpid())));
        std::filesystem::create_directory(folder_);
        setenv("VARN_HISTORY_DIR", (folder_ / "history").c_str(), 1);
        board_ = open_board(folder_ / "board");
        std::ofstream(folder_ / "device.json") << inventory(chosen.ports);
    }
    ~run_of_soak()
    {
        clients_.clear();
        service_.reset();
        std::filesystem::remove_all(folder_);
    }
    run_of_soak(const run_of_soak &) = delete;
    run_of_soak &operator=(const run_of_soak &) = delete;

    int go()
    {
        if (board_ == nullptr || !start_service())
            return fail("cannot set up");
        for (u32 n = 0; n < chosen_.clients; ++n)
            start_client(n);
        std::puts("  time  phase   changes    asked  compared  undecided  stale  notices  lost"
                  "   service KB/fds  clients KB/fds (most)");
        const u32 third = std::max(chosen_.seconds / 3, 1U);
        go_on(std::min(third, 5U), false, "begins"); // everyone fills the cache
        const holdings before = service_holdings(), client_before = client_holdings();
        const u64 lost_before = sum().lost;
        go_on(third, false, "calm");
        const u64 lost_in_calm = sum().lost - lost_before;
        go_on(chosen_.seconds - third, true, "rough");
        rest();
        const bool grew = is_more(service_holdings(), before, "the service") ||
                          is_more(client_holdings(), client_before, "a client");
        return verdict(lost_in_calm, grew);
    }

private:
    std::string socket() const { return folder_ / "deviced.sock"; }

    static int fail(const std::string &what)
    {
        std::fprintf(stderr, "soak: %s\n", what.c_str());
        return 1;
    }

    bool start_service()
    {
        service_.reset();
        service_ = std::make_unique<running_process>(
            words{DEVICED, "--source", folder_ / "device.json", "--socket", socket()});
        for (u32 n = 0; n < 1000; ++n) {
            if (varn_device_connect(socket().c_str()) == VARN_DEVICE_OK)
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    void start_client(u32 number)
    {
        clients_.resize(chosen_.clients);
        clients_[number].reset();
        clients_[number] = std::make_unique<running_process>(
            words{"/proc/self/exe", "--client", text(number), "--socket", socket(), "--board",
                  folder_ / "board"});
    }

    void kill_someone()
    {
        if (random_.one_in(chosen_.rate * 5)) {
            const u32 victim = random_.below(chosen_.clients);
            board_->clients[victim].lost = 0;
            start_client(victim);
            ++kills_;
        }
        if (random_.one_in(chosen_.rate * 20)) {
            start_service();
            ++kills_;
        }
    }

    // Changes at the rate that was chosen; a line of the table at the end and every half.
    void go_on(u32 seconds, bool with_kills, const char *name)
    {
        const auto begin = steady::now();
        const u64 all = u64{seconds} * chosen_.rate;
        for (u64 n = 0; n < all; ++n) {
            std::vector<const char *> pointers;
            const words said = change(random_, chosen_.ports);
            for (const std::string &word : said)
                pointers.push_back(word.c_str());
            if (varn_device_change(pointers.data(), static_cast<u32>(pointers.size()), nullptr) ==
                VARN_DEVICE_OK)
                ++changes_;
            if (with_kills)
                kill_someone();
            if (n == all / 2)
                print(name);
            std::this_thread::sleep_until(begin +
                                          std::chrono::microseconds(n * 1000000 / chosen_.rate));
        }
        print(name);
    }

    void rest()
    {
        board_->now = phase::resting;
        const auto end = steady::now() + std::chrono::minutes(10);
        for (u32 n = 0; n < chosen_.clients; ++n)
            while (board_->clients[n].has_rested == 0 && clients_[n]->alive() &&
                   steady::now() < end)
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
        print("rests");
    }

    int verdict(u64 lost_in_calm, bool grew)
    {
        int failures = grew ? 1 : 0;
        for (u32 n = 0; n < chosen_.clients; ++n) {
            const client_row &row = board_->clients[n];
            if (row.has_rested == 0)
                failures += fail("client " + text(n) + " did not come to its end");
            if (row.stale != 0)
                failures +=
                    fail("client " + text(n) + " had a stale answer: " + row.first_stale.data());
        }
        if (lost_in_calm != 0)
            failures += fail(text(lost_in_calm) + " losses while all was calm");
        const sums all = sum();
        if (all.compared < u64{chosen_.clients} * chosen_.seconds)
            failures += fail("too little was compared");
        std::printf("%llu kills, %s\n", static_cast<unsigned long long>(kills_),
                    failures == 0 ? "no stale answer, nothing grew" : "failed");
        board_->now = phase::ending;
        for (const auto &client : clients_)
            failures += client->wait() == 0 ? 0 : fail("a client ended badly");
        return failures == 0 ? 0 : 1;
    }

    // The caches and histories of processes fill up to a bound that the beginning does not show.
    bool is_more(const holdings &after, const holdings &before, const char *who) const
    {
        const bool grew = after.kilobytes > before.kilobytes + before.kilobytes / 4 + 4096 ||
                          after.descriptors > before.descriptors + 4;
        if (grew)
            fail(std::string(who) + " grew from " + text(before.kilobytes) + " KB and " +
                 text(before.descriptors) + " descriptors to " + text(after.kilobytes) + " and " +
                 text(after.descriptors));
        return grew;
    }

    holdings service_holdings() const { return held_by(service_->pid()); }

    holdings client_holdings() const
    {
        holdings most;
        for (const auto &client : clients_) {
            const holdings one = held_by(client->pid());
            most.kilobytes = std::max(most.kilobytes, one.kilobytes);
            most.descriptors = std::max(most.descriptors, one.descriptors);
        }
        return most;
    }

    sums sum() const
    {
        sums all;
        for (const client_row &row : board_->clients) {
            all.asked += row.asked;
            all.compared += row.compared;
            all.undecided += row.undecided;
            all.stale += row.stale;
            all.notices += row.notices;
            all.lost += row.lost;
        }
        return all;
    }

    void print(const char *name) const
    {
        const sums all = sum();
        const holdings service = service_holdings(), client = client_holdings();
        const auto seconds =
            std::chrono::duration_cast<std::chrono::seconds>(steady::now() - begin_).count();
        std::printf(
            "%5llds  %-6s %8llu %8llu  %8llu  %9llu  %5llu %8llu %5llu  %8llu %6llu  %8llu %6llu\n",
            static_cast<long long>(seconds), name, static_cast<unsigned long long>(changes_),
            static_cast<unsigned long long>(all.asked),
            static_cast<unsigned long long>(all.compared),
            static_cast<unsigned long long>(all.undecided),
            static_cast<unsigned long long>(all.stale),
            static_cast<unsigned long long>(all.notices), static_cast<unsigned long long>(all.lost),
            static_cast<unsigned long long>(service.kilobytes),
            static_cast<unsigned long long>(service.descriptors),
            static_cast<unsigned long long>(client.kilobytes),
            static_cast<unsigned long long>(client.descriptors));
        std::fflush(stdout);
    }

    const options chosen_;
    random_numbers random_;
    std::filesystem::path folder_;
    board *board_ = nullptr;
    std::unique_ptr<running_process> service_;
    std::vector<std::unique_ptr<running_process>> clients_;
    u64 changes_ = 0, kills_ = 0;
    steady::time_point begin_ = steady::now();
};

} // namespace
} // namespace soak

int main(int argc, char **argv)
{
    soak::options chosen;
    int client = -1;
    std::string socket, board;
    CLI::App app("Many clients of one service for a long time, with changes and kills.");
    app.add_option("--seconds", chosen.seconds)->capture_default_str();
    app.add_option("--clients", chosen.clients)
        ->check(CLI::Range(1U, soak::most_clients))
        ->capture_default_str();
    app.add_option("--ports", chosen.ports)->check(CLI::Range(1, 4000))->capture_default_str();
    app.add_option("--rate", chosen.rate, "Changes in a second")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.add_option("--seed", chosen.seed)->capture_default_str();
    app.add_option("--client", client)->group("");
    app.add_option("--socket", socket)->group("");
    app.add_option("--board", board)->group("");
    CLI11_PARSE(app, argc, argv);
    if (client < 0)
        return soak::run_of_soak(chosen).go();
    soak::board *shared = soak::open_board(board);
    return shared == nullptr
               ? 1
               : soak::be_client(socket, *shared, static_cast<coherence::u32>(client));
}
