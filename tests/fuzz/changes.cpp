// SPDX-License-Identifier: Apache-2.0
//
// changes: lines of words, each a command of varnctl on an inventory device. The exit code is what
// became of it; a refusal says why and changes nothing; no answer of the device changes untold; and
// what has become of the device can be written and read again.
#include "inventory.h"

#include "captured_streams.h"
#include "change_words.h"
#include "device/control/control_commands.h"
#include "device/control/history.h"
#include "device/control/memory.h"
#include "input.h"
#include "model_watch.h"
#include "varn_device.h"

#include <sstream>

// In place of the client library: the device is in this process.
namespace
{

struct answered {
    device::inventory *from = nullptr;
    device::inventory::outcome last;
    bool asked = false;
};

answered &the_answer()
{
    static answered kept;
    return kept;
}

} // namespace

std::uint32_t varn_device_change(const char *const *words, std::uint32_t count, const char **answer)
{
    answered &to = the_answer();
    to.asked = true;
    to.last = to.from->change({words, words + count});
    *answer = to.last.text.c_str();
    return to.last.done ? VARN_DEVICE_OK : VARN_DEVICE_E_CHANGE;
}

const char *varn_device_last_error_text() { return the_answer().last.text.c_str(); }

// What reads the files of other processes is no part of this.
control::exit_code control::history(const std::string &, const options &) { return done; }
control::exit_code control::memory(const std::string &, const options &) { return done; }

namespace
{

constexpr char at_first[] = R"({
  "vrfs": [{"name": "red", "context": 2, "table": 1001}],
  "vlans": [{"id": 1}, {"id": 10, "bd": 1010, "flood_index": 131082}, {"id": 20, "primary": 10}],
  "interfaces": [
    {"name": "p1", "type": "physical", "mode": "access", "vlan": 10},
    {"name": "p2", "type": "physical", "member_of": "pc1"},
    {"name": "p3", "type": "physical", "vrf": "red", "private": [{"key": 7, "extension": 1}]},
    {"name": "pc1", "type": "port-channel"},
    {"name": "p1.5", "type": "subinterface", "parent": "p1", "vlan": 5},
    {"name": "vlan10", "type": "svi", "vlan": 10},
    {"name": "lo0", "type": "loopback"}
  ]
})";

constexpr std::size_t most_commands = 40;

std::vector<std::string> words_of(const std::string &line)
{
    std::vector<std::string> words;
    std::istringstream text(line);
    for (std::string word; text >> word;)
        words.push_back(word);
    return words;
}

// The device is asked only what was understood, and the code says what it said.
void expect_code(control::exit_code code, const std::string &wrong, const std::string &errors)
{
    const answered &answer = the_answer();
    fuzz::expect(answer.asked == wrong.empty(), "what is not understood is not sent: " + wrong);
    const control::exit_code expected = !answer.asked      ? control::not_understood
                                        : answer.last.done ? control::done
                                                           : control::refused;
    fuzz::expect(code == expected, "the exit code says what became of the command");
    const bool has_reason = errors.starts_with("varnctl: ") && errors.size() > sizeof "varnctl: ";
    fuzz::expect(code == control::done ? errors.empty() : has_reason, "a refusal has a reason");
}

// `text` is the device as it is, written.
void run_line(const std::string &line, device::inventory &told, fuzz::model_watch &watch,
              std::string &text)
{
    const std::vector<std::string> words = words_of(line);
    if (words.empty() || words[0] == "script" || words[0] == "history" || words[0] == "memory")
        return;
    fuzz::the_steps().push_back("> " + line);
    device::change_request asked;
    const std::string wrong = device::read_change(words, asked);
    control::options chosen;
    chosen.json = line.ends_with(' ');
    the_answer() = {&told, {}, false};
    fuzz::captured_streams streams;
    const control::exit_code code = control::run(words, chosen);
    const auto [output, errors] = streams.end();
    fuzz::the_steps().push_back(output + errors);
    watch.check();
    expect_code(code, wrong, errors);
    if (chosen.json)
        fuzz::expect(output == (code == control::done ? the_answer().last.text : ""),
                     "JSON is the device's own");
    if (code == control::not_understood)
        return; // the device was not asked
    std::string now = told.text();
    fuzz::expect(code == control::done || now == text, "a refused command changes nothing");
    text = std::move(now);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::the_steps().clear();
    device::device_model model;
    device::inventory told(model);
    fuzz::model_watch watch(model);
    fuzz::expect(told.load_text("at first", at_first).empty(), "the first device");
    watch.check();

    fuzz::input given(data, size);
    std::string text = told.text();
    for (std::size_t n = 0; !given.is_over() && n < most_commands; ++n)
        run_line(given.line(), told, watch, text);

    device::device_model model_again;
    device::inventory again(model_again);
    const std::string reason = again.load_text("again", text);
    fuzz::expect(reason.empty(), "what was written can be read: " + reason + "\n" + text);
    fuzz::expect(again.text() == text, "what was read is written alike:\n" + text);
    return 0;
}
