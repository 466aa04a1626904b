// SPDX-License-Identifier: Apache-2.0
//
// metrics.h: the figures as OpenMetrics text, for a collector that scrapes.
#ifndef VARNSH_METRICS_H
#define VARNSH_METRICS_H

#include <map>
#include <string>

#include "figures.h"

namespace shell
{

// The whole exposition, its end mark included. `told`: notices by kind.
std::string metrics_text(const figures &now, const std::map<std::string, u64> &told,
                         const std::string &socket);

} // namespace shell

#endif
