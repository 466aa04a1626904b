// SPDX-License-Identifier: Apache-2.0
//
// A decoder does not look at its block, whose address may be a made-up one: its value comes from
// the chance of the step.
#include "client.h"

#include "mischief.h"
#include "scripted_device.h"

#include <cstdarg>

namespace naive
{

namespace
{

void hear(const char *who, uintptr_t arg, const char *format, std::va_list values)
{
    event &heard = the_log().add(who);
    heard.give(arg);
    heard.text = formatted(format, values);
    heard.answer = format;
}

__attribute__((format(printf, 1, 2))) void debug_print(const char *format, ...)
{
    std::va_list values;
    va_start(values, format);
    hear(heard_debug_print, 0, format, values);
    va_end(values);
}

__attribute__((format(printf, 1, 2))) void error_print(const char *format, ...)
{
    std::va_list values;
    va_start(values, format);
    hear(heard_error_print, 0, format, values);
    va_end(values);
}

__attribute__((format(printf, 2, 3))) void debug_print_arg(uintptr_t arg, const char *format, ...)
{
    std::va_list values;
    va_start(values, format);
    hear(heard_debug_print_arg, arg, format, values);
    va_end(values);
}

__attribute__((format(printf, 2, 3))) void print(uintptr_t arg, const char *format, ...)
{
    std::va_list values;
    va_start(values, format);
    hear(heard_print, arg, format, values);
    va_end(values);
}

void error_cb(uintptr_t arg, const char *format, const char *function, int line, const char *text)
{
    event &heard = the_log().add(heard_error_cb);
    heard.give(arg);
    heard.give(line > 0);
    heard.text = scripted::spell(format, function, "|", text);
}

template <u32 slot>
u32 decode(const void *data, u32 size)
{
    event &heard = the_log().add(heard_decoder);
    heard.give(slot);
    heard.give(reinterpret_cast<uintptr_t>(data));
    heard.give(size);
    heard.result = the_mischief().chance.one_of({0, 1, 0x11, 0xFFFFFFFF});
    return static_cast<u32>(heard.result);
}

void extn_free(u32 extn) { the_log().add(heard_extn_free).give(extn); }

void on_create(u32 iod)
{
    the_log().add(heard_on_create).give(iod);
    u32 answer = 0;
    switch (the_nested_query()) {
    case nested_query::none:
        return;
    case nested_query::is_linkup:
        answer = varn_ifsvc_is_linkup(iod);
        break;
    case nested_query::get_if_mtu:
        answer = varn_ifsvc_get_if_mtu(iod);
        break;
    case nested_query::get_if_encaptype:
        answer = varn_ifsvc_get_if_encaptype(iod);
        break;
    }
    the_log().add(heard_nested_answer).give(answer);
}

u64 draw_sync(dice &chance)
{
    const u64 all = 0x3FFFFFFFF;
    const u64 tables = 0xE;
    switch (chance.below(8)) {
    case 0:
        return all;
    case 1:
        return chance.word();
    case 2:
        return chance.word() & chance.word() & all;
    case 3:
        return (chance.word() & chance.word()) | tables;
    case 4:
        return all & ~(u64{1} << chance.below(34));
    case 5:
        return all & ~(u64{1} << chance.below(34)) & ~(u64{1} << chance.below(4));
    case 6:
        return chance.one_of({0, 2, 0xFFFFFFFF, 0x3FFFFFFF});
    default:
        return chance.word() | tables;
    }
}

u64 draw_mask(dice &chance)
{
    return chance.one_in(5) ? 0 : chance.one_in(2) ? chance.word() : chance.word() & chance.word();
}

void install_callbacks(dice &chance, varn_config_t &config)
{
    const varn_extn_decode_fn decoders[] = {decode<0>, decode<1>, decode<2>, decode<3>};
    for (u32 slot = 0; slot < 4; ++slot)
        config.extn_decode[slot] = chance.one_in(2) ? decoders[slot] : nullptr;
    config.debug_print = chance.one_in(3) ? debug_print : nullptr;
    config.error_print = chance.one_in(2) ? error_print : nullptr;
    config.debug_print_arg = chance.one_in(3) ? debug_print_arg : nullptr;
    config.error_cb = chance.one_in(3) ? error_cb : nullptr;
    config.print = chance.one_in(5) ? nullptr : print;
    config.extn_free = chance.one_in(2) ? extn_free : nullptr;
    config.on_create = chance.one_in(2) ? on_create : nullptr;
}

// Standard output has no buffer here, so that a line stands in its place among the calls.
ssize_t take_output(void *, const char *bytes, std::size_t size)
{
    event_log &log = the_log();
    const bool goes_on = log.size() != 0 && log[log.size() - 1].name == heard_stdout;
    event &heard = goes_on ? log[log.size() - 1] : log.add(heard_stdout);
    heard.text.append(bytes, size);
    return static_cast<ssize_t>(size);
}

std::FILE *watched_stdout()
{
    static std::FILE *const kept = [] {
        std::FILE *made = fopencookie(nullptr, "w", {nullptr, take_output, nullptr, nullptr});
        std::setvbuf(made, nullptr, _IONBF, 0);
        return made;
    }();
    return kept;
}

} // namespace

nested_query &the_nested_query()
{
    static nested_query now = nested_query::none;
    return now;
}

varn_print_arg_fn trace_sink() { return debug_print_arg; }

varn_config_t draw_config(dice &chance)
{
    varn_config_t config{};
    config.num_buckets = chance.one_of({0, 1, 2, 3, 7, 64, 1024, 16384, 20000, 0xFFFFFFFF});
    config.sync = draw_sync(chance);
    config.crit = draw_mask(chance);
    config.med = draw_mask(chance);
    config.low = draw_mask(chance);
    config.once = draw_mask(chance);
    config.uuid = chance.one_of({0, 7, 0xFFFFFFFF});
    for (u32 &key : config.extn_uuid)
        key = chance.one_of({0, 7, 8, 9, 10});
    config.debug_arg = static_cast<uintptr_t>(chance.word());
    config.error_arg = static_cast<uintptr_t>(chance.word());
    config.create_on_miss = chance.below(3);
    config.track_l3 = chance.one_of({0, 0, 1, 2});
    install_callbacks(chance, config);
    return config;
}

std::string described(const varn_config_t &config)
{
    using scripted::hex;
    std::string callbacks;
    const auto name = [&](bool given, const char *what) {
        if (given)
            callbacks += scripted::spell(" ", what);
    };
    name(config.debug_print, "debug_print");
    name(config.error_print, "error_print");
    name(config.debug_print_arg, "debug_print_arg");
    name(config.error_cb, "error_cb");
    name(config.print, "print");
    name(config.extn_free, "extn_free");
    name(config.on_create, "on_create");
    for (u32 slot = 0; slot < 4; ++slot)
        name(config.extn_decode[slot], ("extn_decode" + std::to_string(slot)).c_str());
    return scripted::spell("{buckets ", scripted::dec(config.num_buckets), ", sync ",
                           hex(config.sync), ", crit ", hex(config.crit), ", med ", hex(config.med),
                           ", low ", hex(config.low), ", track_l3 ", scripted::dec(config.track_l3),
                           ",", callbacks, "}");
}

stdout_watch::stdout_watch() : kept_(stdout) { stdout = watched_stdout(); }

stdout_watch::~stdout_watch() { stdout = kept_; }

} // namespace naive
