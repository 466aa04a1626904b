// SPDX-License-Identifier: Apache-2.0
//
// The whole contract in one include, for the sources and the users of the scripted device. The
// library is built with hidden visibility; what the contract declares is what it exports, so the
// declarations are read with default visibility.
#pragma once

#pragma GCC visibility push(default)
#include "aggsvc.h"
#include "bitset.h"
#include "histlog.h"
#include "ht.h"
#include "idxsvc.h"
#include "if_index.h"
#include "ifsvc.h"
#include "lifsvc.h"
#include "memacct.h"
#include "supvr.h"
#include "syslog_backtrace.h"
#include "thrsvc.h"
#include "vlansvc.h"
#include "vrfsvc.h"
#pragma GCC visibility pop

#define SCRIPTED_API __attribute__((visibility("default")))
