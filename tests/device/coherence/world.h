// SPDX-License-Identifier: Apache-2.0
//
// world.h: a small device with an interface of every type, and what may happen to it. A change is
// the words of one command; one that makes no sense at the moment is refused by the device, and
// nothing is lost by it.
#ifndef TESTS_COHERENCE_WORLD_H
#define TESTS_COHERENCE_WORLD_H

#include <map>
#include <string>
#include <vector>

#include "comparison.h"
#include "device_under_test.h"
#include "random.h"

namespace coherence
{

using words = std::vector<std::string>;

// An inventory of it. Different seeds give the interfaces different states.
std::string world_inventory(u64 seed);

// Something that may happen to it. `names` are those of its interfaces at the moment.
words random_change(random_numbers &from, const std::vector<std::string> &names);

// Data for an interface under a key. The block begins with the extension value, so that a decoder
// that reads it there agrees with the value.
words private_words(const std::string &name, u32 key, u32 value, u32 block_size);

// The keys of the client's four slots.
inline constexpr u32 slot_keys[4] = {1, 2, 3, 4};

// Who is there, and who was: a client may ask about either.
class acquaintances
{
public:
    // Asks the services about everyone who is there now, by their iods.
    void meet(const std::vector<u32> &iods);

    const std::vector<std::string> &names() const { return names_; }

    // Of an interface that is there, or else of the one that had the name last; all absent for a
    // name that was never met.
    identity find(const std::string &name) const;

    // Everyone who is there, the last ones who were, and nobodies.
    const ground &everyone() const { return everyone_; }

private:
    void remember(const identity &gone);

    std::map<std::string, identity> by_name_; // also of those that went
    std::vector<std::string> names_;
    std::vector<identity> here_, gone_;
    ground everyone_;
};

} // namespace coherence

#endif
