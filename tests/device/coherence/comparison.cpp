// SPDX-License-Identifier: Apache-2.0
//
// comparison.cpp: the cache is asked first, so that its answer is the one that a client would have
// had. A cache that has nothing to say is never wrong.
#include "comparison.h"

#include <cstdio>

#include "differences.h"

namespace coherence
{
namespace
{

std::string hex(u32 value)
{
    char text[16];
    std::snprintf(text, sizeof text, "%#x", value);
    return text;
}

} // namespace

std::string text_of(const query &of, const asked &what)
{
    std::string text = of.name;
    if (of.about == subject::vlan)
        text.append(" of VLAN ").append(std::to_string(what.vlan));
    else
        text.append(" of iod ")
            .append(std::to_string(what.about.iod))
            .append(", if-index ")
            .append(hex(what.about.if_index));
    if (of.variants > 1)
        text.append(", number ").append(std::to_string(what.variant));
    return text;
}

std::string text_of(const mismatch &found)
{
    return text_of(*found.of, found.what)
        .append("\n  cached: ")
        .append(text_of(found.cached))
        .append("\n  direct: ")
        .append(text_of(found.direct))
        .append("\n");
}

std::optional<mismatch> compare(const query &of, const asked &what)
{
    const answer cached = of.cached(what);
    if (!cached.is_known)
        return {};
    const answer direct = of.direct(what);
    if (cached == direct || is_allowed(of, what, direct, cached))
        return {};
    return mismatch{&of, what, cached, direct};
}

std::size_t num_questions(const ground &over, const query &of)
{
    const std::size_t about =
        of.about == subject::vlan ? over.vlans.size() : over.interfaces.size();
    return about * of.variants;
}

asked question(const ground &over, const query &of, std::size_t n)
{
    asked what;
    what.variant = static_cast<u32>(n % of.variants);
    if (of.about == subject::vlan)
        what.vlan = over.vlans[n / of.variants];
    else
        what.about = over.interfaces[n / of.variants];
    return what;
}

std::optional<mismatch> compare_all(const ground &over)
{
    for (const query &of : all_queries())
        for (std::size_t n = 0; n < num_questions(over, of); ++n)
            if (auto found = compare(of, question(over, of, n)))
                return found;
    return {};
}

} // namespace coherence
