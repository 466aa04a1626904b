// SPDX-License-Identifier: Apache-2.0
//
// comparison.h: each question asked twice. The same for a device in this process and for one behind
// a socket.
#ifndef TESTS_COHERENCE_COMPARISON_H
#define TESTS_COHERENCE_COMPARISON_H

#include <optional>
#include <string>
#include <vector>

#include "questions.h"

namespace coherence
{

struct mismatch {
    const query *of = nullptr;
    asked what;
    answer cached, direct;
};

std::string text_of(const query &of, const asked &what);
std::string text_of(const mismatch &found);

// Everything that may be asked about: interfaces and VLANs that are there, that were, that never
// were.
struct ground {
    std::vector<identity> interfaces;
    std::vector<u16> vlans;
};

// Asks the cache and then the service. Nothing: they agree, or a difference is allowed.
std::optional<mismatch> compare(const query &of, const asked &what);

// All questions about all of the ground; the first mismatch.
std::optional<mismatch> compare_all(const ground &over);

// As many questions as there are, for a sample by a random number, or to walk over.
std::size_t num_questions(const ground &over, const query &of);
asked question(const ground &over, const query &of, std::size_t n);

} // namespace coherence

#endif
