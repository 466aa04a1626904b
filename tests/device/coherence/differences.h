// SPDX-License-Identifier: Apache-2.0
//
// differences.h: where a cached answer may differ from the direct one once no notice waits. The
// list is closed from both sides: a difference that no row allows fails, and so does a row that
// nothing needed in a whole run.
#ifndef TESTS_COHERENCE_DIFFERENCES_H
#define TESTS_COHERENCE_DIFFERENCES_H

#include <span>
#include <string>

#include "questions.h"

namespace coherence
{

struct difference {
    const char *query;
    bool (*allows)(const asked &what, const answer &direct, const answer &cached);
    const char *reason;
};

std::span<const difference> differences();

// Whether a row allows these two unlike answers; counts the row as needed.
bool is_allowed(const query &of, const asked &what, const answer &direct, const answer &cached);

// The rows that nothing needed since the program began, one a line.
std::string unneeded_differences();

} // namespace coherence

#endif
