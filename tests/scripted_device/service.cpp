// SPDX-License-Identifier: Apache-2.0
//
// The register of all services, by the address of their platform function. Services are objects of
// static life; the register is made by the first of them.
#include "service.h"

#include "lent.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unordered_map>

namespace scripted
{

namespace
{

std::unordered_map<function_address, service_base *> &all_services()
{
    static std::unordered_map<function_address, service_base *> registered;
    return registered;
}

} // namespace

service_base::service_base(function_address function, const char *name, family kind)
    : name_(name), kind_(kind), takes_back_(std::strncmp(name, "ifsvc_", 6) == 0)
{
    all_services().emplace(function, this);
}

service_base::~service_base() = default;

void service_base::drop_rules()
{
    rules_.clear();
    asked = 0;
}

void service_base::keep(std::unique_ptr<rule_base> added) { rules_.push_back(std::move(added)); }

std::shared_ptr<service_base::rule_base> service_base::take(const rules &matching)
{
    rules ready;
    for (const auto &each : matching) {
        if (each->passes == 0)
            ready.push_back(each);
        else
            --each->passes;
    }
    for (const auto &each : ready) {
        if (!each->single)
            continue;
        std::erase(rules_, each);
        return each;
    }
    return ready.empty() ? nullptr : ready.back();
}

void service_base::begin_call()
{
    ++asked;
    if (takes_back_)
        take_back();
}

service_base &find_service(function_address function)
{
    const auto found = all_services().find(function);
    if (found == all_services().end()) {
        std::fputs("scripted device: on() was given no platform function\n", stderr);
        std::abort();
    }
    return *found->second;
}

void reset_services()
{
    for (const auto &[function, each] : all_services())
        each->drop_rules();
}

} // namespace scripted
