// SPDX-License-Identifier: Apache-2.0
//
// The client: the configuration that it gives and the callbacks in it. Each callback formats what
// it is given and tells it to the log.
#pragma once

#include "dice.h"
#include "varn.h"

namespace naive
{

// What on_create asks of the library before it returns.
enum class nested_query { none, is_linkup, get_if_mtu, get_if_encaptype };

nested_query &the_nested_query();

varn_config_t draw_config(dice &chance);

// A trace sink, as the setters of the library install it.
varn_print_arg_fn trace_sink();

std::string described(const varn_config_t &config);

// Leads the standard output of the library into the log as long as it lives.
class stdout_watch
{
public:
    stdout_watch();
    ~stdout_watch();
    stdout_watch(const stdout_watch &) = delete;
    stdout_watch &operator=(const stdout_watch &) = delete;

private:
    std::FILE *kept_;
};

} // namespace naive
