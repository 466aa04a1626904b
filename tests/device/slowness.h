// SPDX-License-Identifier: Apache-2.0
//
// What a limit of time is multiplied by. Limits are those of what is shipped; a sanitizer takes several times
// as long, the more so beside other tests.
#ifndef VARN_TESTS_SLOWNESS_H
#define VARN_TESTS_SLOWNESS_H

#ifdef __SANITIZE_ADDRESS__
constexpr long slowness = 10;
#else
constexpr long slowness = 1;
#endif

#endif
