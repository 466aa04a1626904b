// SPDX-License-Identifier: Apache-2.0
//
// roster.h: which interfaces there are. The cache answers for an interface whose iod is known, but
// it does not list them, and it never keeps a name; so the shell keeps both from the last time it
// asked. That is what lets it answer without a single request, and without a service.
//
// Notices say what of it cannot be relied on any longer; that is asked again when it is needed, and
// nothing else is.
#ifndef VARNSH_ROSTER_H
#define VARNSH_ROSTER_H

#include <optional>
#include <set>
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
    // All interfaces, by rising iod. What is in doubt is read first; where that fails the list is as
    // it was, and failure() says why.
    const std::vector<listed> &all();

    // Reads all of it anew and takes what is gone out of the cache. Empty, or why it failed.
    std::string scan();

    // By name, iod or 0x if-index. An unknown one is looked for in a new list once. Empty: `reason`
    // says why.
    std::optional<listed> find(std::string_view word, std::string &reason);

    // The name that an interface had when it was last read, or "". Asks nobody.
    std::string last_name_of(u32 if_index) const;

    std::vector<std::string> names() const;

    // Why the last reading failed; empty when it did not.
    const std::string &failure() const { return failure_; }

    // What notices say: an interface is gone, may have another name, or is new; or all may differ.
    void forget(u32 if_index);
    void doubt(u32 if_index);
    void expect_more() { complete_ = false; }
    void doubt_everything();

private:
    std::string read_doubtful();
    std::string read(const std::vector<u32> &iods);
    const listed *look_up(std::string_view word) const;
    bool is_in_doubt(const listed &entry) const { return doubtful_.count(entry.if_index) != 0; }
    void forget_missing(const std::vector<u32> &iods) const;

    std::vector<listed> known_;
    std::set<u32> doubtful_; // by if-index
    std::string failure_;
    bool complete_ = false;
};

} // namespace shell

#endif
