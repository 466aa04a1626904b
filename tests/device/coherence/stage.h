// SPDX-License-Identifier: Apache-2.0
//
// stage.h: the device, the client and who is known, while a history goes over them; and the table
// of deeds that steps consist of.
#ifndef TESTS_COHERENCE_STAGE_H
#define TESTS_COHERENCE_STAGE_H

#include <span>

#include "history.h"

namespace coherence
{

class stage
{
public:
    explicit stage(const scenario &where);
    ~stage();
    stage(const stage &) = delete;
    stage &operator=(const stage &) = delete;

    void change(const words &said);
    void ask(const query &of, const asked &what);
    void dispatch(u32 most) { device_->dispatch(most); }
    void overflow() { device_->overflow(); }
    void disconnect();
    void reconnect();
    void restart(u64 seed);

    // Dispatches all that waits; then each compares, unless there is no connection.
    void compare_sample(u64 seed);
    void compare_everything();

    const acquaintances &people() const { return people_; }
    bool is_connected() const { return is_connected_; }
    outcome result;

private:
    void meet();
    bool comes_to_rest();
    void note(const std::optional<mismatch> &found);
    void compare_questions(u64 seed, u32 count);

    const scenario &where_;
    std::unique_ptr<device_under_test> device_;
    acquaintances people_;
    bool is_connected_ = true;
};

struct deed {
    const char *name;
    u32 weight; // of how many thousand
    void (*make)(random_numbers &from, const stage &on, step &made);
    void (*act)(stage &on, const step &what);
};

std::span<const deed> deeds();
const deed &find_deed(const std::string &name);
step random_step(random_numbers &from, const stage &on);

} // namespace coherence

#endif
