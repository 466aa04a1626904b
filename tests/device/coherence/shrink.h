// SPDX-License-Identifier: Apache-2.0
//
// shrink.h: from a history that ends in a mismatch to a short one that does, in words.
#ifndef TESTS_COHERENCE_SHRINK_H
#define TESTS_COHERENCE_SHRINK_H

#include "history.h"

namespace coherence
{

struct shrunk {
    std::vector<step> steps;
    std::optional<mismatch> found; // nothing: the history does not fail again
};

// Only a mismatch of the same query counts as the same failure.
shrunk shrink(const scenario &where, const std::vector<step> &steps, const query &of);

std::string text_of(const shrunk &history);

} // namespace coherence

#endif
