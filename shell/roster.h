// SPDX-License-Identifier: Apache-2.0
//
// roster.h: which interfaces there are. The cache answers for an interface whose iod is known, but
// it does not list them, and it never keeps a name; so the shell keeps both from the last time it
// asked. That is what lets it answer without a single request, and without a service.
#ifndef VARNSH_ROSTER_H
#define VARNSH_ROSTER_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cache.h"

namespace shell
{

struct listed {
    u32 iod;
    u32 if_index;
    std::string name;
};

class roster
{
public:
    // All interfaces, read now if that was never done.
    const std::vector<listed> &all();

    // Reads the list anew and takes what is gone out of the cache. Empty, or why it failed; the
    // list is then as before.
    std::string scan();

    // By name, iod or 0x if-index. An unknown one is looked for in a new list once. Empty: `reason`
    // says why.
    std::optional<listed> find(std::string_view word, std::string &reason);

    // Why the last scan failed; empty when it did not.
    const std::string &failure() const { return failure_; }

private:
    const listed *look_up(std::string_view word) const;
    std::vector<std::string> names() const;
    void forget_missing(const std::vector<u32> &iods) const;

    std::vector<listed> known_;
    std::string failure_;
    bool scanned_ = false;
};

} // namespace shell

#endif
