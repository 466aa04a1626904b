// SPDX-License-Identifier: Apache-2.0
//
// library_answers.h: the device as a client of the cache sees it. Every answer is one of the cache,
// but for the few that it has no query for.
#ifndef TESTS_KERNEL_LIBRARY_ANSWERS_H
#define TESTS_KERNEL_LIBRARY_ANSWERS_H

#include "ip_oracle.h"
#include "picture.h"

// Starts the cache with everything cached.
void start_library();

// Gives back every entry and the tables.
void end_library();

// Asked of the device: to fill the cache for a list would take long with thousands of interfaces.
iods iods_by_name();
picture answered_by_library(const iods &interfaces);

#endif
