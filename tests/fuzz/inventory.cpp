// SPDX-License-Identifier: Apache-2.0
//
// inventory: a text as the file of an inventory. Either one line says what is wrong, and the device
// is as it was; or the text stands for a device, which written as a text again stands for the same
// one. No question that the model answers changes without a notice.
#include "inventory.h"

#include "input.h"
#include "model_watch.h"

namespace
{

constexpr char before[] =
    R"({"vlans": [{"id": 5}], "interfaces": [{"name": "p", "type": "physical"}]})";

struct told_device {
    device::device_model model;
    device::inventory inventory{model};
};

void expect_one_line(const std::string &reason)
{
    fuzz::expect(reason.starts_with("given.json:"),
                 "what is wrong begins with the file: " + reason);
    fuzz::expect(reason.find('\n') == reason.npos, "what is wrong is one line: " + reason);
    fuzz::expect(reason.size() > std::string_view("given.json: ").size(), "what is wrong is told");
}

void expect_same_again(const std::string &text)
{
    told_device again;
    const std::string reason = again.inventory.load_text("again", text);
    fuzz::expect(reason.empty(), "what was written can be read: " + reason + "\n" + text);
    const std::string written = again.inventory.text();
    fuzz::expect(written == text, "what was read is written alike:\n" + text + "\nand\n" + written);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::the_steps().clear();
    told_device held;
    fuzz::model_watch watch(held.model);
    fuzz::expect(held.inventory.load_text("before", before).empty(), "the first device");
    watch.check();
    const std::string text_before = held.inventory.text();

    const std::string given(data, data + size);
    const std::string reason = held.inventory.load_text("given.json", given);
    watch.check();
    if (!reason.empty()) {
        expect_one_line(reason);
        fuzz::expect(held.inventory.text() == text_before, "a refused file changes nothing");
        return 0;
    }
    expect_same_again(held.inventory.text());
    return 0;
}
