// SPDX-License-Identifier: Apache-2.0
//
// Every exported operation, as something that is done to the library and then to the model with the
// same arguments, and whose results and outputs are compared.
#pragma once

#include "model.h"
#include "world_changes.h"

#include <functional>
#include <string>
#include <vector>

namespace naive
{

// What an operation may draw its arguments from, and where it says what it does.
struct act {
    dice chance;
    cache &model;
    const universe &all;
    bool is_rough; // the history may leave the tables' contract
    std::string told;
};

struct operation {
    const char *name;
    u32 weight;
    std::function<void(act &)> run;
};

// The operations by subject; together they are all of varn.h.
void add_queries(std::vector<operation> &to);
void add_extensions_and_translations(std::vector<operation> &to);
void add_entry_operations(std::vector<operation> &to);
void add_handlers(std::vector<operation> &to);
void add_side_caches(std::vector<operation> &to);
void add_dumps(std::vector<operation> &to);
void add_lifecycle(std::vector<operation> &to);

// The number of one of them, by weight; 0 is varn_init.
u32 draw_operation(dice &chance);
u32 number_of_operations();
const operation &operation_at(u32 number);

} // namespace naive
