// SPDX-License-Identifier: Apache-2.0
//
// The two procedures by which every message leaves the library. A report is made here with the
// refusal of an If delete, a trace with the removal of an unknown iod. To see where long texts are
// cut, the C library's own %x is made to print as many letters as a test wants.
#include "varn.h"
#include "varn_fixture.h"

#include <gtest/gtest.h>

#include <printf.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>

namespace
{

// While it lives, every %x prints as `width` letters x. Built upon the C library's own hook.
class wide_hexadecimals
{
public:
    explicit wide_hexadecimals(std::size_t width)
    {
        wanted_width() = width;
        register_printf_specifier('x', print, describe);
    }
    ~wide_hexadecimals() { register_printf_specifier('x', nullptr, nullptr); }
    wide_hexadecimals(const wide_hexadecimals &) = delete;
    wide_hexadecimals &operator=(const wide_hexadecimals &) = delete;

private:
    static std::size_t &wanted_width()
    {
        static std::size_t width = 0;
        return width;
    }
    static int print(FILE *stream, const printf_info *, const void *const *)
    {
        const std::string letters(wanted_width(), 'x');
        std::fputs(letters.c_str(), stream);
        return static_cast<int>(letters.size());
    }
    static int describe(const printf_info *, std::size_t room, int *types, int *)
    {
        if (room > 0)
            types[0] = PA_INT;
        return 1;
    }
};

std::function<void()> act_of_callback;

void call_act(std::uintptr_t arg, const char *, ...)
{
    note(spell("debug_print_arg(", hex(arg), ")"));
    act_of_callback();
}

void call_act_without_argument(const char *, ...)
{
    note("debug_print");
    act_of_callback();
}

class messages_test : public varn_test
{
protected:
    messages_test() { act_of_callback = nullptr; }

    void listen()
    {
        forget_all();
        record(messages);
        record(threads);
    }

    // A report whose text is "Failed to delete entry for if 0x%x: possible leak?\n".
    void make_report()
    {
        if (stranger_ == nullptr)
            stranger_ = loose_entry(0xABC);
        varn_if_delete_entry(stranger_);
    }

    // A trace whose text is "Varn remove failed for Interface with iod %d\n".
    static void make_trace(u32 iod = 9) { varn_if_remove_entry_by_iod(iod); }

    // A trace with %x in its text, and no other message: "If-destroy for if-index 0x%x, iod %d, pi
    // 0x%x, lif 0x%x\n" of an entry that stands nowhere.
    void make_wide_trace()
    {
        if (stranger_ == nullptr)
            stranger_ = loose_entry(0xABC);
        varn_if_destroy_entry(stranger_);
    }

private:
    varn_if_entry_t *stranger_ = nullptr;
};

using Report = messages_test;
using Trace = messages_test;
using SetPrint = messages_test;

const char report_text[] = "Failed to delete entry for if 0xabc: possible leak?\n";
const char report_history[] = "history(level 2, code 122, \"[77]: Failed to delete entry for if "
                              "0xabc: possible leak?\\n\")";
const char trace_history[] =
    "history(level 1, code 121, \"[77]: Varn remove failed for Interface with iod 9\\n\")";
const char told_to_error_cb[] =
    "error_cb(0x6, \"%s:%d: %s\\n\", varn_if_delete_entry, line, \"Failed to delete entry for if "
    "0xabc: possible leak?\\n\")";
const char thread_asked[] = "thrsvc_get_thread_pid() = 77";

// ---- the report ----

TEST_F(Report, WritesItsWholeRecordIntoTheHistory)
{
    start(config().uuid(0x11223344));
    make_report();
    ASSERT_EQ(history().size(), 1u);
    const history_record &record = history()[0];
    EXPECT_EQ(record.uuid, 0x11223344u);
    EXPECT_EQ(record.event_id, 0x730000u);
    EXPECT_EQ(record.level, 2u);
    EXPECT_EQ(record.inst, 0u);
    EXPECT_EQ(record.code, 122u);
    EXPECT_EQ(record.text, spell("[77]: ", report_text));
    EXPECT_EQ(record.length, record.text.size() + 5);
    EXPECT_EQ(record.bytes.back(), 0u) << "the length takes the zero in";
    EXPECT_STREQ(varn_print_str, report_text);
}

TEST_F(Report, WithTheSwitchAtOneCallsErrorCbBeforeTheThreadIsAskedAndTheHistoryWritten)
{
    start(config().error_cb(6).error_print().debug_print().debug_print_arg(5));
    listen();
    varn_error_cb = 1;
    make_report();
    EXPECT_EQ(calls(), lines(told_to_error_cb, thread_asked, report_history));
}

TEST_F(Report, WithoutErrorCbCallsErrorPrintWithTheMessage)
{
    start(config().error_print().debug_print().debug_print_arg(5));
    listen();
    varn_error_cb = 1;
    make_report();
    EXPECT_EQ(calls(),
              lines("error_print(\"Failed to delete entry for if 0xabc: possible leak?\\n\")",
                    thread_asked, report_history));
}

TEST_F(Report, WithTheSwitchAtAnythingButOneCallsNobody)
{
    start(config().error_cb(6).error_print());
    listen();
    for (const u32 off : {0u, 2u, 3u, 0x80000001u, 0x101u, 0x10001u, 0xFFFFFFFFu}) {
        varn_error_cb = off;
        make_report();
        EXPECT_EQ(calls(), lines(thread_asked, report_history)) << off;
        EXPECT_EQ(varn_error_cb, off);
    }
}

TEST_F(Report, WithTheSwitchAtOneAndNoCallbacksStillReachesTheHistory)
{
    start(config());
    listen();
    varn_error_cb = 1;
    make_report();
    EXPECT_EQ(calls(), lines(thread_asked, report_history));
}

TEST_F(Report, FormatsIntoTheSharedBufferAlsoWhenNobodyListens)
{
    start(config());
    std::memset(varn_print_str, '#', sizeof varn_print_str);
    make_report();
    EXPECT_STREQ(varn_print_str, report_text);
}

const char *text_given;
std::string copy_of_text_given;

void keep_text_given(std::uintptr_t, const char *, const char *, int, const char *text)
{
    text_given = text;
    copy_of_text_given = text;
}

void start_with_text_kept()
{
    varn_config_t record_of_client{};
    record_of_client.error_cb = keep_text_given;
    ASSERT_EQ(varn_init(&record_of_client), 1u);
    varn_error_cb = 1;
}

TEST_F(Report, HandsErrorCbTheSharedBufferItself)
{
    start_with_text_kept();
    make_report();
    EXPECT_EQ(text_given, static_cast<const char *>(varn_print_str));
    EXPECT_EQ(copy_of_text_given, report_text);
}

TEST_F(Report, BeforeTheFirstStartGoesToTheHistoryOfUuidZero)
{
    listen();
    make_report();
    EXPECT_EQ(calls(), lines(thread_asked, report_history));
    EXPECT_EQ(history()[0].uuid, 0u);
}

TEST_F(Report, PassesTheWholeClientArgument)
{
    const auto widest = ~std::uintptr_t{0};
    start(config().error_cb(widest));
    varn_error_cb = 1;
    make_report();
    const std::string told = heard();
    EXPECT_EQ(told.substr(0, told.find(',')), spell("error_cb(", hex(widest)));
}

TEST_F(Report, OfATextWithALeadingBlankDeliberatelyHasTwoInTheHistory)
{
    start(config().error_cb(6));
    listen();
    varn_error_cb = 1;
    on(if_index_get_type).of(0xABCu).fails();
    varn_if_create_entry_by_if(0xABC, 7, none, none);
    EXPECT_EQ(calls(),
              lines("error_cb(0x6, \"%s:%d: %s\\n\", varn_if_create_entry_by_if, line, \" Invalid "
                    "interface index 0xabc\\n\")",
                    thread_asked,
                    "history(level 2, code 122, \"[77]:  Invalid interface index 0xabc\\n\")"));
}

TEST_F(Report, TellsTheThreadIdUnsigned)
{
    start(config());
    on(thrsvc_get_thread_pid).answers(0xFFFFFFFF);
    make_report();
    EXPECT_EQ(history_text(), spell("[4294967295]: ", report_text));
    EXPECT_EQ(history()[0].length, history()[0].text.size() + 5);
}

TEST_F(Report, DoesNotMindAHistoryThatFails)
{
    start(config());
    on(histlog_his_log_event_for_uuid_inst).fails();
    make_report();
    EXPECT_EQ(history_text(), "");
    EXPECT_STREQ(varn_print_str, report_text);
    EXPECT_EQ(counters_moved(), "if_index.remove_fail +1");
}

// "Failed to delete entry for if 0x" has 32 letters, ": possible leak?\n" has 17.
std::string wide_report(std::size_t width)
{
    return spell("Failed to delete entry for if 0x", std::string(width, 'x'), ": possible leak?\n");
}

TEST_F(Report, IsCutAt127CharactersInTheBufferAnd199InTheHistory)
{
    start(config().error_cb(6));
    varn_error_cb = 1;
    // 78 fills the buffer to the last byte and 144 the record; 1 more is cut.
    for (const std::size_t width : {77u, 78u, 79u, 95u, 143u, 144u, 145u, 167u, 500u, 5000u}) {
        SCOPED_TRACE(width);
        forget_all();
        {
            const wide_hexadecimals wide(width);
            make_report();
        }
        const std::string text = wide_report(width);
        EXPECT_EQ(std::string(varn_print_str), text.substr(0, 127));
        EXPECT_EQ(history_text(), spell("[77]: ", text).substr(0, 199));
        EXPECT_EQ(history()[0].length, std::min<std::size_t>(text.size() + 6, 199) + 5);
        EXPECT_EQ(history()[0].bytes.back(), 0u);
    }
}

TEST_F(Report, IsGivenToErrorCbAsCut)
{
    start_with_text_kept();
    const wide_hexadecimals wide(300);
    make_report();
    EXPECT_EQ(copy_of_text_given, wide_report(300).substr(0, 127));
}

TEST_F(Report, IsGivenToErrorPrintWhole)
{
    start(config().error_print());
    varn_error_cb = 1;
    const wide_hexadecimals wide(300);
    make_report();
    const std::string text = wide_report(300);
    EXPECT_EQ(heard(), spell("error_print(\"", text.substr(0, text.size() - 1), "\\n\")"));
}

TEST_F(Report, HasItsCutCountTheThreadPrefixIn)
{
    start(config());
    on(thrsvc_get_thread_pid).answers(4000000000u);
    {
        const wide_hexadecimals wide(500);
        make_report();
    }
    EXPECT_EQ(history_text(), spell("[4000000000]: ", wide_report(500)).substr(0, 199));
    EXPECT_EQ(history()[0].length, 204u);
}

// ---- the trace ----

TEST_F(Trace, WritesItsWholeRecordIntoTheHistory)
{
    start(config().uuid(0x11223344));
    make_trace();
    ASSERT_EQ(history().size(), 1u);
    const history_record &record = history()[0];
    EXPECT_EQ(record.uuid, 0x11223344u);
    EXPECT_EQ(record.event_id, 0x730000u);
    EXPECT_EQ(record.level, 1u);
    EXPECT_EQ(record.inst, 0u);
    EXPECT_EQ(record.code, 121u);
    EXPECT_EQ(record.text, "[77]: Varn remove failed for Interface with iod 9\n");
    EXPECT_EQ(record.length, record.text.size() + 5);
    EXPECT_EQ(record.bytes.back(), 0u);
}

TEST_F(Trace, PassesThroughNeitherTheSharedBufferNorTheErrorCallbacks)
{
    start(config().error_cb(6).error_print());
    listen();
    varn_error_cb = 1;
    std::strcpy(varn_print_str, "as it was");
    make_trace();
    EXPECT_EQ(calls(), lines(thread_asked, trace_history));
    EXPECT_STREQ(varn_print_str, "as it was");
}

TEST_F(Trace, WithDebugPrintReachesItAndTheHistory)
{
    start(config().debug_print());
    listen();
    make_trace();
    EXPECT_EQ(calls(), lines("debug_print(\"Varn remove failed for Interface with iod 9\\n\")",
                             thread_asked, trace_history));
}

TEST_F(Trace, WithDebugPrintArgReachesItAlone)
{
    start(config().debug_print().debug_print_arg(5));
    listen();
    make_trace();
    EXPECT_EQ(calls(), "debug_print_arg(0x5, \"Varn remove failed for Interface with iod 9\\n\")");
}

TEST_F(Trace, ReadsDebugPrintArgAgainAfterItWasCalled)
{
    start(config());
    listen();
    varn_set_print(call_act, 3);
    act_of_callback = [] { varn_set_print(nullptr, 0); };
    make_trace();
    EXPECT_EQ(calls(), lines("debug_print_arg(0x3)", thread_asked, trace_history));
}

TEST_F(Trace, ReadsDebugPrintArgAgainAfterDebugPrintInstalledIt)
{
    varn_config_t record_of_client{};
    record_of_client.debug_print = call_act_without_argument;
    ASSERT_EQ(varn_init(&record_of_client), 1u);
    listen();
    act_of_callback = [] { varn_set_print(heard_debug_print_arg, 4); };
    make_trace();
    EXPECT_EQ(calls(), "debug_print") << "not repeated to the new sink, not written to the history";
}

TEST_F(Trace, IsCutAt199CharactersInTheHistoryAndGivenWholeToTheSinks)
{
    const auto text = [](std::size_t width) {
        const std::string value(width, 'x');
        return spell("If-destroy for if-index 0x", value, ", iod 0, pi 0x", value, ", lif 0x",
                     value, "\n");
    };
    start(config().debug_print());
    for (const std::size_t width : {46u, 47u, 48u, 49u, 50u, 300u}) {
        SCOPED_TRACE(width);
        forget_all();
        {
            const wide_hexadecimals wide(width);
            make_wide_trace();
        }
        const std::string whole = text(width);
        EXPECT_EQ(heard(), spell("debug_print(\"", whole.substr(0, whole.size() - 1), "\\n\")"));
        EXPECT_EQ(history_text(), spell("[77]: ", whole).substr(0, 199));
        EXPECT_EQ(history()[0].length, std::min<std::size_t>(whole.size() + 6, 199) + 5);
    }
}

TEST_F(Trace, AsksTheThreadOnceForEveryRecord)
{
    start(config());
    listen();
    on(thrsvc_get_thread_pid).answers_once(5).answers_once(6);
    make_trace();
    make_trace();
    EXPECT_EQ(calls(),
              lines("thrsvc_get_thread_pid() = 5",
                    "history(level 1, code 121, \"[5]: Varn remove failed for Interface with iod "
                    "9\\n\")",
                    "thrsvc_get_thread_pid() = 6",
                    "history(level 1, code 121, \"[6]: Varn remove failed for Interface with iod "
                    "9\\n\")"));
}

// ---- installing the trace sink ----

struct sink_setter {
    const char *name;
    void (*set)(varn_print_arg_fn, std::uintptr_t);
};

const sink_setter sink_setters[] = {
    {"varn_set_print", varn_set_print},
    {"varn_attr_set_debug_print_arg", varn_attr_set_debug_print_arg}};

TEST_F(SetPrint, InEitherFormInstallsTheSinkAndItsArgument)
{
    for (const sink_setter &each : sink_setters) {
        SCOPED_TRACE(each.name);
        start(config());
        each.set(heard_debug_print_arg, 0x1234);
        EXPECT_EQ(varn.config.debug_print_arg, heard_debug_print_arg);
        EXPECT_EQ(varn.config.debug_arg, 0x1234u);
        make_trace();
        EXPECT_EQ(heard(),
                  "debug_print_arg(0x1234, \"Varn remove failed for Interface with iod 9\\n\")");
        EXPECT_EQ(history_text(), "");
    }
}

TEST_F(SetPrint, InEitherFormTakesNullAndGivesTheLinesBackToTheHistory)
{
    for (const sink_setter &each : sink_setters) {
        SCOPED_TRACE(each.name);
        start(config().debug_print_arg(5));
        each.set(nullptr, 0);
        make_trace();
        EXPECT_EQ(heard(), "");
        EXPECT_EQ(history_text(), "[77]: Varn remove failed for Interface with iod 9\n");
    }
}

TEST_F(SetPrint, IsGivenBackByTheGetter)
{
    for (const sink_setter &each : sink_setters) {
        SCOPED_TRACE(each.name);
        const auto widest = ~std::uintptr_t{0};
        each.set(heard_debug_print_arg, widest);
        varn_print_arg_fn sink = nullptr;
        std::uintptr_t arg = 0;
        varn_attr_get_debug_print_arg(&sink, &arg);
        EXPECT_EQ(sink, heard_debug_print_arg);
        EXPECT_EQ(arg, widest);
    }
}

TEST_F(SetPrint, GetterGivesWhatTheConfigurationInstalled)
{
    start(config().debug_print_arg(0x77));
    varn_print_arg_fn sink = nullptr;
    std::uintptr_t arg = 0;
    varn_attr_get_debug_print_arg(&sink, &arg);
    EXPECT_EQ(sink, heard_debug_print_arg);
    EXPECT_EQ(arg, 0x77u);
}

} // namespace
