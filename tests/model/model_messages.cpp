// SPDX-License-Identifier: Apache-2.0
//
// How the model asks the platform, and the two ways in which a message leaves.
#include "model.h"

#include <cstdarg>

namespace naive
{

namespace
{

std::string told_question(const char *name, std::initializer_list<u64> given,
                          const std::string *text)
{
    event wanted;
    wanted.name = name;
    for (const u64 number : given)
        wanted.give(number);
    wanted.text = text == nullptr ? "" : *text;
    return told(wanted);
}

bool is_same(const event &heard, const char *name, std::initializer_list<u64> given,
             const std::string *text)
{
    return heard.name == name && heard.n_in == given.size() &&
           std::equal(given.begin(), given.end(), heard.in.begin()) &&
           (text == nullptr ? heard.text.empty() : heard.text == *text);
}

} // namespace

void cache::begin_step()
{
    at_ = 0;
    memory_was_wanting = false;
}

void cache::end_step()
{
    dead_entries_.clear();
    dead_vlans_.clear();
    dead_pcs_.clear();
    if (at_ != the_log().size())
        throw difference("the library went on: " + told(the_log()[at_]));
}

const char *cache::platform_name(scripted::function_address function)
{
    return scripted::find_service(function).name();
}

const event &cache::next(const char *name, std::initializer_list<u64> given,
                         const std::string *text)
{
    if (at_ == the_log().size())
        throw difference("the library stopped, the model asks " + told_question(name, given, text));
    const event &heard = the_log()[at_];
    if (!is_same(heard, name, given, text))
        throw difference("at event " + std::to_string(at_) + ": the library asked " + told(heard) +
                         "\n    the model asks " + told_question(name, given, text));
    ++at_;
    return heard;
}

// The line number is the library's own affair.
void cache::expect_memory_warning(const char *path, std::size_t size)
{
    const event *heard = at_ == the_log().size() ? nullptr : &the_log()[at_];
    if (heard == nullptr || heard->name != heard_stdout)
        throw difference("the model waits for the warning that memory is wanting");
    const std::string before =
        scripted::spell("Warning! Malloc Failure in ../routing-sw/libs/varn/", path, "[");
    const std::string behind = scripted::spell("] for size ", std::to_string(size), "\n");
    const std::string &text = heard->text;
    const std::size_t digits = text.find_first_not_of("0123456789", before.size());
    if (!text.starts_with(before) || digits == before.size() || digits == std::string::npos ||
        text.substr(digits) != behind)
        throw difference("the warning reads: " + text);
    ++at_;
}

std::string cache::name_of(u32 iod) { return ask(::ifsvc_get_if_name, iod).answer; }

// 127 characters are kept of an error's text, and 199 of a line of the history, prefix included.
void cache::report(const char *function, const char *format, ...)
{
    std::va_list values;
    va_start(values, format);
    const std::string text = formatted(format, values);
    va_end(values);
    print_str = text.substr(0, 127);
    if (error_switch == 1) {
        const std::string to_callback = scripted::spell("%s:%d: %s\n", function, "|", print_str);
        if (config.error_cb != nullptr)
            next(heard_error_cb, {config.error_arg, 1}, &to_callback);
        else if (config.error_print != nullptr)
            next(heard_error_print, {0}, &text);
    }
    write_history(122, 2, text);
}

void cache::trace(const char *format, ...)
{
    std::va_list values;
    va_start(values, format);
    const std::string text = formatted(format, values);
    va_end(values);
    if (config.debug_print_arg != nullptr) {
        next(heard_debug_print_arg, {config.debug_arg}, &text);
        return;
    }
    if (config.debug_print != nullptr)
        next(heard_debug_print, {0}, &text);
    write_history(121, 1, text);
}

void cache::write_history(u32 code, u32 level, const std::string &text)
{
    const u64 thread = ask(thrsvc_get_thread_pid).result;
    const std::string line =
        scripted::spell("[", scripted::dec(thread), "]: ", text).substr(0, 199);
    const std::string with_zero(line.c_str(), line.size() + 1);
    ask_about(histlog_his_log_event_for_uuid_inst, with_zero, config.uuid, 0x730000, level, 0,
              line.size() + 5, code);
}

// A piece of a dump.
void cache::print(uintptr_t arg, const char *format, ...)
{
    if (!can_print(arg))
        return;
    std::va_list values;
    va_start(values, format);
    const std::string text = formatted(format, values);
    va_end(values);
    next(heard_print, {arg}, &text);
}

} // namespace naive
