// SPDX-License-Identifier: Apache-2.0
//
// stage.cpp: what happens on a stage. Answers are compared only at rest: with a connection, and with
// no notice that waits.
#include "stage.h"

namespace coherence
{

stage::stage(const scenario &where) : where_(where), device_(where.make_device())
{
    start_client(where.config);
    restart(where.seed);
    device_->dispatch(0);
}

stage::~stage()
{
    if (!is_connected_)
        device_->reconnect();
    end_client();
}

void stage::meet()
{
    if (is_connected_)
        people_.meet(device_->iods());
}

namespace
{

// Whether a change can give an interface another name or number.
bool concerns_identity(const words &said)
{
    if (said[0] == "add" || said[0] == "delete")
        return true;
    for (const std::string &word : said)
        if (word == "name" || word == "type" || word == "ordinal" || word == "vlan")
            return true;
    return false;
}

} // namespace

void stage::change(const words &said)
{
    ++result.changes;
    if (!device_->change(said).empty())
        ++result.refused;
    else if (concerns_identity(said))
        meet();
}

void stage::ask(const query &of, const asked &what)
{
    ++result.questions;
    of.cached(what);
}

void stage::disconnect()
{
    device_->disconnect();
    is_connected_ = false;
}

void stage::reconnect()
{
    device_->reconnect();
    is_connected_ = true;
    meet();
}

void stage::restart(u64 seed)
{
    device_->restart(world_inventory(seed));
    meet();
}

bool stage::comes_to_rest()
{
    device_->dispatch(0);
    return is_connected_;
}

void stage::note(const std::optional<mismatch> &found)
{
    if (found && !result.found && (where_.only == nullptr || where_.only == found->of))
        result.found = found;
}

void stage::compare_questions(u64 seed, u32 count)
{
    random_numbers from(seed);
    const ground &over = people_.everyone();
    for (u32 n = 0; n < count && !result.found; ++n) {
        const query &of = from.pick(all_queries());
        note(compare(of, question(over, of, from.below(num_questions(over, of)))));
    }
    result.questions += count;
}

void stage::compare_sample(u64 seed)
{
    if (comes_to_rest())
        compare_questions(seed, where_.sample);
}

void stage::compare_everything()
{
    if (!comes_to_rest())
        return;
    if (where_.most != 0)
        return compare_questions(result.questions, where_.most);
    const ground &over = people_.everyone();
    for (const query &of : all_queries()) {
        const std::size_t all = num_questions(over, of);
        for (std::size_t n = 0; n < all && !result.found; ++n)
            note(compare(of, question(over, of, n)));
        result.questions += all;
    }
}

} // namespace coherence
