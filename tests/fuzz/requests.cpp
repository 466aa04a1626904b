// SPDX-License-Identifier: Apache-2.0
//
// requests: a client of the service over a pair of sockets, in one process. Whatever it asks, it
// gets an answer of the kind that the table of requests promises, or an error that says why; what
// changes under it is told before the answer, without a gap; the figures count every request. A
// second client that writes bytes of no meaning does not disturb the first.
//
//   each step: the request, whether its arguments are those of its row, the arguments
#include "connections.h"
#include "inventory.h"

#include "input.h"
#include "model_watch.h"
#include "wire.h"

#include <algorithm>
#include <cstring>
#include <sstream>

#include <fmt/format.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

using fuzz::input;
using fuzz::u32;
using fuzz::u64;

constexpr std::size_t most_requests = 24;
constexpr int most_turns = 2000; // of the loop, for one answer

constexpr char at_first[] = R"({
  "vrfs": [{"name": "red", "context": 2, "table": 1001}],
  "vlans": [{"id": 1}, {"id": 10, "bd": 1010, "flood_index": 131082}, {"id": 20, "primary": 10}],
  "interfaces": [
    {"name": "p1", "type": "physical", "mode": "access", "vlan": 10},
    {"name": "p2", "type": "physical", "member_of": "pc1"},
    {"name": "p3", "type": "physical", "vrf": "red", "private": [{"key": 7, "extension": 1}]},
    {"name": "pc1", "type": "port-channel"},
    {"name": "p1.5", "type": "subinterface", "parent": "p1", "vlan": 5},
    {"name": "vlan10", "type": "svi", "vlan": 10}
  ]
})";

struct close_bus {
    void operator()(sd_bus *bus) const { sd_bus_close_unref(bus); }
};
struct close_message {
    void operator()(sd_bus_message *message) const { sd_bus_message_unref(message); }
};
using message = std::unique_ptr<sd_bus_message, close_message>;

class loop
{
public:
    loop() { fuzz::expect(sd_event_new(&loop_) >= 0, "a loop can be had"); }
    ~loop() { sd_event_unref(loop_); }
    loop(const loop &) = delete;
    loop &operator=(const loop &) = delete;

    sd_event *get() const { return loop_; }
    void turn() { fuzz::expect(sd_event_run(loop_, 0) >= 0, "the service goes on"); }

private:
    sd_event *loop_ = nullptr;
};

// The service, its device, and the client that asks.
class scene
{
public:
    scene()
    {
        clients_.take_changes(told_);
        fuzz::expect(told_.load_text("at first", at_first).empty(), "the first device");
        watch_.check();
        sd_bus *made = nullptr;
        const int fd = connect();
        fuzz::expect(sd_bus_new(&made) >= 0, "a bus can be had");
        bus_.reset(made);
        fuzz::expect(sd_bus_set_fd(made, fd, fd) >= 0 && sd_bus_start(made) >= 0,
                     "a client can be started");
    }

    message call(const char *member)
    {
        sd_bus_message *made = nullptr;
        const int result = sd_bus_message_new_method_call(
            bus_.get(), &made, nullptr, wire::object_path, wire::interface_name, member);
        fuzz::expect(result >= 0, "a call can be made");
        return message(made);
    }

    // The answer to a call, whatever comes before it.
    message ask(const message &asked)
    {
        u64 cookie = 0;
        fuzz::expect(sd_bus_send(bus_.get(), asked.get(), &cookie) >= 0, "a call can be sent");
        for (int turns = 0; turns < most_turns; ++turns) {
            while (message came = receive()) {
                u64 answered = 0;
                if (sd_bus_message_get_reply_cookie(came.get(), &answered) >= 0 &&
                    answered == cookie) {
                    watch_.check();
                    return came;
                }
                take_notice(came.get());
            }
            loop_.turn();
        }
        fuzz::broken("every request is answered");
    }

    // The sequence number of the next notice follows this one.
    void follows(u64 epoch, u64 sequence)
    {
        epoch_ = epoch;
        sequence_ = sequence;
    }

    // A second client, which writes as it likes and goes.
    void disturb(input &given)
    {
        const int fd = connect();
        const std::vector<fuzz::u8> bytes = given.bytes(4096);
        if (write(fd, bytes.data(), bytes.size()) < 0)
            fuzz::the_steps().emplace_back("(nothing could be written)");
        for (int turns = 0; turns < 20; ++turns)
            loop_.turn();
        close(fd);
        for (int turns = 0; turns < 5; ++turns)
            loop_.turn();
    }

private:
    int connect()
    {
        int ends[2];
        fuzz::expect(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends) == 0,
                     "a pair of sockets can be had");
        clients_.add(ends[0]);
        return ends[1];
    }

    message receive()
    {
        sd_bus_message *came = nullptr;
        while (sd_bus_process(bus_.get(), &came) > 0)
            if (came != nullptr)
                return message(came);
        return nullptr;
    }

    void take_notice(sd_bus_message *came)
    {
        fuzz::u8 type = 0;
        sd_bus_message_get_type(came, &type);
        if (type != SD_BUS_MESSAGE_SIGNAL)
            return;
        u64 epoch = 0, sequence = 0;
        fuzz::expect(sd_bus_message_has_signature(came, wire::notice_signature) > 0 &&
                         sd_bus_message_read(came, "tt", &epoch, &sequence) >= 0,
                     "a notice is as the wire says");
        const bool is_lost = std::strcmp(sd_bus_message_get_member(came), "Lost") == 0;
        fuzz::expect(epoch == epoch_ &&
                         (is_lost ? sequence > sequence_ : sequence == sequence_ + 1),
                     fmt::format("notice {} follows {}", sequence, sequence_));
        sequence_ = sequence;
    }

    loop loop_;
    device::device_model model_;
    device::inventory told_{model_};
    device::connections clients_{model_, loop_.get()};
    fuzz::model_watch watch_{model_, [this](const wire::notice &told) { clients_.notify(told); }};
    std::unique_ptr<sd_bus, close_bus> bus_;
    u64 epoch_ = 0, sequence_ = 0;
};

u32 number(input &given)
{
    const fuzz::u8 pick = given.byte();
    if (pick >= 128)
        return given.word();
    if (pick >= 64)
        return pick - 64u;
    constexpr u32 known[] = {0x1a000001, 0x1a000002, 0x16000001, 0x09000001,
                             0x1b000001, 0x20001,    0xffffffff, 0};
    return known[pick % std::size(known)] + pick / 16u;
}

std::string valid_text(const std::string &text)
{
    std::string kept;
    for (const char each : text)
        if (each > 0) // sd-bus carries UTF-8 alone, and here ASCII is enough
            kept.push_back(each);
    return kept;
}

int append_words(sd_bus_message *to, const std::string &line)
{
    int result = sd_bus_message_open_container(to, 'a', "s");
    std::istringstream text(valid_text(line));
    for (std::string word; result >= 0 && text >> word;)
        result = sd_bus_message_append(to, "s", word.c_str());
    return result < 0 ? result : sd_bus_message_close_container(to);
}

// One argument of a signature; gives the rest of the signature.
const char *append_one(sd_bus_message *to, const char *signature, input &given)
{
    int result = 0;
    const bool is_array = *signature == 'a';
    const char type = is_array ? signature[1] : signature[0];
    if (is_array && type == 's') {
        result = append_words(to, given.line());
    } else if (is_array && type == 'y') {
        const std::vector<fuzz::u8> bytes = given.bytes(std::size_t{given.byte()} * 20);
        result = sd_bus_message_append_array(to, 'y', bytes.data(), bytes.size());
    } else if (is_array) {
        std::vector<u32> numbers;
        for (u32 left = given.below(6); left != 0; --left)
            numbers.push_back(number(given));
        result = sd_bus_message_append_array(to, 'u', numbers.data(), numbers.size() * sizeof(u32));
    } else if (type == 's') {
        const std::string text = given.below(2) == 0 ? "base" : valid_text(given.line());
        result = sd_bus_message_append(to, "s", text.c_str());
    } else {
        const char one[] = {type, '\0'};
        result = sd_bus_message_append(to, one, type == 'b' ? given.below(2) : number(given));
    }
    fuzz::expect(result >= 0, "an argument can be written");
    return signature + 1 + is_array;
}

bool is_one_of(const char *name, std::initializer_list<const char *> known)
{
    return std::ranges::any_of(known,
                               [=](const char *each) { return std::strcmp(each, name) == 0; });
}

void expect_reason(sd_bus_message *answer, bool is_well_formed)
{
    const sd_bus_error *error = sd_bus_message_get_error(answer);
    const bool is_own = is_one_of(error->name, {wire::no_such_interface, wire::no_such_value,
                                                wire::bad_change, SD_BUS_ERROR_INVALID_ARGS});
    const bool is_of_form =
        is_one_of(error->name, {SD_BUS_ERROR_INVALID_ARGS, SD_BUS_ERROR_UNKNOWN_METHOD});
    if (is_well_formed ? !is_own : !is_of_form)
        fuzz::broken(fmt::format("an error of the wrong kind: {}: {}", error->name,
                                 error->message == nullptr ? "" : error->message));
    fuzz::expect(error->message != nullptr && *error->message != '\0', "an error says why");
}

// A row of the table, and what the client counts of it.
class client
{
public:
    explicit client(scene &at) : at_(at) {}

    void ask(input &given)
    {
        const auto rows = device::requests();
        const device::request &row = rows[given.below(rows.size())];
        const bool is_odd = given.below(16) == 1;
        const char *takes = is_odd ? rows[given.below(rows.size())].takes : row.takes;
        const message asked = at_.call(given.below(64) == 63 ? "NoSuchRequest" : row.name);
        for (const char *left = takes; *left != '\0';)
            left = append_one(asked.get(), left, given);
        const bool is_known = std::strcmp(sd_bus_message_get_member(asked.get()), row.name) == 0;
        const bool is_well_formed = is_known && std::strcmp(takes, row.takes) == 0;
        fuzz::the_steps().push_back(fmt::format("{} with {}", row.name, takes));

        const message answer = at_.ask(asked);
        counted_ += is_well_formed && row.counted;
        if (sd_bus_message_is_method_error(answer.get(), nullptr) > 0)
            return expect_reason(answer.get(), is_well_formed);
        fuzz::expect(is_well_formed, "what is malformed is refused");
        fuzz::expect(sd_bus_message_has_signature(answer.get(), row.gives) > 0,
                     "an answer is as the table says");
        if (std::strcmp(row.name, "Subscribe") == 0)
            follow(answer.get());
        if (std::strcmp(row.name, "Stats") == 0)
            compare_count(answer.get());
    }

private:
    void follow(sd_bus_message *answer)
    {
        u64 epoch = 0, sequence = 0;
        sd_bus_message_read(answer, "tt", &epoch, &sequence);
        at_.follows(epoch, sequence);
    }

    void compare_count(sd_bus_message *answer) const
    {
        u64 all = 0, own = 0;
        sd_bus_message_read(answer, "tt", &all, &own);
        fuzz::expect(own == counted_ && all >= own, "every request is counted");
    }

    scene &at_;
    u64 counted_ = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::the_steps().clear();
    input given(data, size);
    scene at;
    client asking(at);
    const bool is_disturbed = given.below(8) == 7;
    if (is_disturbed)
        at.disturb(given);
    for (std::size_t n = 0; (!given.is_over() || n == 0) && n < most_requests; ++n)
        asking.ask(given);
    return 0;
}
