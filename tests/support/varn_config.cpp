// SPDX-License-Identifier: Apache-2.0
//
// The callbacks are plain functions, as the library wants them; what they hear stands in one
// process-wide record.
#include "varn_config.h"

#include "scripted_device.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

using scripted::dec;
using scripted::hex;
using scripted::quoted;
using scripted::spell;

namespace
{

using u32 = std::uint32_t;

struct listener {
    std::vector<std::string> lines;
    std::function<void(u32)> when_created;
};

listener &the_listener()
{
    static listener kept;
    return kept;
}

void hear(const std::string &line)
{
    the_listener().lines.push_back(line);
    scripted::note(line);
}

std::string formatted(const char *format, std::va_list values)
{
    std::va_list again;
    va_copy(again, values);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, values);
    return quoted(text.c_str());
}

__attribute__((format(printf, 1, 2))) void hear_debug_print(const char *format, ...)
{
    std::va_list values;
    va_start(values, format);
    hear(spell("debug_print(", formatted(format, values), ")"));
    va_end(values);
}

__attribute__((format(printf, 1, 2))) void hear_error_print(const char *format, ...)
{
    std::va_list values;
    va_start(values, format);
    hear(spell("error_print(", formatted(format, values), ")"));
    va_end(values);
}

__attribute__((format(printf, 2, 3))) void hear_print(std::uintptr_t arg, const char *format, ...)
{
    std::va_list values;
    va_start(values, format);
    hear(spell("print(", hex(arg), ", ", formatted(format, values), ")"));
    va_end(values);
}

void hear_error_cb(std::uintptr_t arg, const char *format, const char *function, int line,
                   const char *text)
{
    const std::string told_line = line > 0 ? "line" : std::to_string(line);
    hear(spell("error_cb(", hex(arg), ", ", quoted(format), ", ", function, ", ", told_line, ", ",
               quoted(text), ")"));
}

void hear_on_create(u32 iod)
{
    hear(spell("on_create(", dec(iod), ")"));
    if (the_listener().when_created)
        the_listener().when_created(iod);
}

void hear_extn_free(u32 extn) { hear(spell("extn_free(", hex(extn), ")")); }

template <u32 slot>
u32 decode(const void *data, u32 size)
{
    const auto *bytes = static_cast<const std::uint8_t *>(data);
    u32 sum = 0;
    for (u32 at = 0; bytes != nullptr && at < size; ++at)
        sum += bytes[at];
    hear(spell("extn_decode", dec(slot), "(", dec(size), " bytes) = ", hex(sum)));
    return sum;
}

constexpr varn_extn_decode_fn decoders[] = {decode<0>, decode<1>, decode<2>, decode<3>};

} // namespace

void heard_debug_print_arg(std::uintptr_t arg, const char *format, ...)
{
    std::va_list values;
    va_start(values, format);
    hear(spell("debug_print_arg(", hex(arg), ", ", formatted(format, values), ")"));
    va_end(values);
}

config &config::extn_decode(u32 slot)
{
    record_.extn_decode[slot] = decoders[slot];
    return *this;
}

config &config::debug_print() { return record_.debug_print = hear_debug_print, *this; }

config &config::debug_print_arg(std::uintptr_t arg)
{
    record_.debug_print_arg = heard_debug_print_arg;
    record_.debug_arg = arg;
    return *this;
}

config &config::error_print() { return record_.error_print = hear_error_print, *this; }

config &config::error_cb(std::uintptr_t arg)
{
    record_.error_cb = hear_error_cb;
    record_.error_arg = arg;
    return *this;
}

config &config::print() { return record_.print = hear_print, *this; }

config &config::extn_free() { return record_.extn_free = hear_extn_free, *this; }

config &config::on_create() { return record_.on_create = hear_on_create, *this; }

config &config::on_create(std::function<void(u32)> act)
{
    the_listener().when_created = std::move(act);
    return on_create();
}

std::string heard()
{
    std::string joined;
    for (const std::string &line : the_listener().lines)
        joined += line + '\n';
    if (!joined.empty())
        joined.pop_back();
    the_listener().lines.clear();
    return joined;
}

void reset_callbacks() { the_listener() = listener{}; }
