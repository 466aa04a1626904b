// SPDX-License-Identifier: Apache-2.0
//
// shell: lines of varnsh, and between them what happens to the device: a line that begins with @.
// A command ends with a verdict; a bad one says why on standard error, and JSON that was asked for
// is JSON; whatever is offered as a completion continues what was typed. The library's invariants
// hold after each line.
//
//   @link N 0|1    @mtu N NUMBER    @name N TEXT    @gone N    @new N    @lost    @silent    @back
#include "shell/commands.h"

#include "captured_streams.h"
#include "library_ground.h"
#include "scripted_client.h"
#include "shell/bench.h"
#include "shell/cache.h"
#include "shell/completion.h"

#include <charconv>

#include <nlohmann/json.hpp>

// A measurement asks a million times.
std::string shell::bench(const listed &subject, shape)
{
    varn_ifsvc_is_linkup(subject.iod);
    return {};
}

namespace
{

using fuzz::u32;
using shell::words;

constexpr std::size_t most_lines = 40;

u32 number_of(const words &given, std::size_t at)
{
    u32 number = 0;
    if (at < given.size())
        std::from_chars(given[at].data(), given[at].data() + given[at].size(), number);
    return number;
}

void tell_about(wire::notice_kind kind, u32 n)
{
    wire::notice notice;
    notice.kind = kind;
    notice.iod = n;
    notice.if_index = 0x1a000000 | n;
    notice.state = 1 + n % 2;
    fuzz::tell(notice);
}

// The device changes, and tells as a service would.
void change_device(const words &given)
{
    using wire::notice_kind;
    const u32 n = 1 + number_of(given, 1) % 6;
    const bool is_there = scripted::by_iod(n) != nullptr;
    const std::string &what = given[0];
    if (what == "@silent" || what == "@back")
        fuzz::fall_silent(what == "@silent");
    if (what == "@lost")
        fuzz::tell({});
    if (what == "@new" && !is_there) {
        scripted::put(scripted::port(n));
        tell_about(notice_kind::added, n);
    }
    if (what == "@gone" && is_there) {
        scripted::gone(n);
        tell_about(notice_kind::removed, n);
    }
    if (what == "@link" && is_there) {
        scripted::the(n).linkup(number_of(given, 2));
        tell_about(notice_kind::physical_state, n);
    }
    if (what == "@mtu" && is_there) {
        scripted::the(n).mtu(number_of(given, 2));
        tell_about(notice_kind::l3_parameters, n);
    }
    if (what == "@name" && is_there) {
        scripted::the(n).name(given.size() > 2 ? given[2].substr(0, 200) : "");
        tell_about(notice_kind::changed, n);
    }
}

void expect_said(shell::verdict outcome, const std::string &errors)
{
    if (outcome == shell::done)
        return;
    fuzz::expect(errors.find("varnsh: ") != errors.npos, "what went wrong is said");
    fuzz::expect(outcome == shell::unanswered || outcome == shell::not_understood,
                 "a verdict is one of three");
}

void expect_json(const words &given, shell::verdict outcome, const std::string &output)
{
    const bool is_asked = std::ranges::find(given, "--json") != given.end();
    const bool is_about = given[0] == "query" || given[0] == "stats" || given[0] == "show";
    if (!is_asked || !is_about || outcome != shell::done)
        return;
    fuzz::expect(nlohmann::json::accept(output), "what is asked for as JSON is JSON:\n" + output);
}

void complete(shell::interpreter &on, const std::string &line)
{
    const shell::unfinished_command typed = shell::read_unfinished(line);
    fuzz::captured_streams streams; // for the traces
    const words offered = on.completions(line);
    for (const std::string &each : offered)
        fuzz::expect(each.starts_with(typed.last), "a completion continues what was typed");
    const std::string shared = shell::shared_beginning(offered);
    fuzz::expect(offered.empty() || shared.starts_with(typed.last),
                 "what completions share continues what was typed");
    shell::in_columns(offered, 1 + line.size() % 100);
}

void run_command(shell::interpreter &on, const std::string &command)
{
    fuzz::note_step("> " + command);
    fuzz::captured_streams streams;
    const shell::verdict outcome = on.run(command);
    const auto [output, errors] = streams.end();
    fuzz::note_step(output + errors);
    expect_said(outcome, errors);
    const words given = shell::split_words(command);
    if (!given.empty() && given[0].front() != '!')
        expect_json(given, outcome, output);
}

// Tried with a command that does no harm.
void expect_no_system(shell::interpreter &on)
{
    const std::size_t before = fuzz::kept_commands();
    on.run("!exit 0");
    fuzz::expect(fuzz::kept_commands() == before + 1, "no command of the system is run");
}

void run_line(shell::interpreter &on, const std::string &line)
{
    if (line.starts_with('@'))
        return change_device(shell::split_words(line));
    complete(on, line);
    for (const std::string &command : shell::split_commands(line)) {
        if (on.ended())
            return;
        run_command(on, command);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::begin_library();
    fuzz::give_world();
    fuzz::reset_client();
    const fuzz::kept_from_system kept;
    fuzz::input given(data, size);
    fuzz::expect(shell::start_cache(given.byte() == 't'), "the cache can be started");
    shell::interpreter on("a socket");
    on.told().subscribe();
    expect_no_system(on);
    for (std::size_t lines = 0; !given.is_over() && lines < most_lines; ++lines) {
        run_line(on, given.line());
        fuzz::check_library();
    }
    fuzz::captured_streams streams;
    shell::end_cache();
    return 0;
}
