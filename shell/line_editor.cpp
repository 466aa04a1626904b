// SPDX-License-Identifier: Apache-2.0
//
// line_editor.cpp: the reader for a person, over libedit. It waits for keys itself (read_key), so
// that the device and the signals are waited for at the same time. Signals take effect between two
// lines only, when the terminal is as it was.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <system_error>

#include <fmt/format.h>
#include <histedit.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "completion.h"
#include "input.h"
#include "terminal.h"
#include "varn_device.h"

namespace shell
{
namespace
{

constexpr int remembered_lines = 1000;
constexpr mode_t own_only = 077;
namespace fs = std::filesystem;

char prompt_text[] = "varnsh> ";
char *prompt(EditLine *) { return prompt_text; }

// Empty where there is no place for it.
fs::path history_path()
{
    const char *state = std::getenv("XDG_STATE_HOME");
    const char *home = std::getenv("HOME");
    if (state != nullptr && *state == '/')
        return fs::path(state) / "varnsh" / "history";
    if (home != nullptr && *home == '/')
        return fs::path(home) / ".local" / "state" / "varnsh" / "history";
    return {};
}

// A new file takes the old one's place at once; no other user can read it.
void save_history(History *lines)
{
    const fs::path path = history_path();
    if (path.empty())
        return;
    const mode_t before = umask(own_only);
    const fs::path fresh = fmt::format("{}.{}", path.string(), getpid());
    std::error_code failed;
    fs::create_directories(path.parent_path(), failed);
    HistEvent event;
    if (!failed && history(lines, &event, H_SAVE, fresh.c_str()) >= 0)
        fs::rename(fresh, path, failed);
    if (failed)
        fs::remove(fresh, failed);
    umask(before);
}

} // namespace

struct edited_lines::editor {
    interpreter &commands;
    History *lines;
    EditLine *line;
    held_signals *signals = nullptr; // while a line is typed
    bool interrupted = false;        // by Ctrl-C
    bool ended = false;              // by a signal that ends the process

    explicit editor(interpreter &them);
    ~editor();
    editor(const editor &) = delete;
    editor &operator=(const editor &) = delete;

    bool wait_for_key();
    bool react_to_signal();
    unsigned char complete() const;

    static editor &of(EditLine *line);
    static int read_key(EditLine *line, wchar_t *key);
    static unsigned char complete_at(EditLine *line, int) { return of(line).complete(); }
};

edited_lines::editor::editor(interpreter &them)
    : commands(them), lines(history_init()), line(el_init("varnsh", stdin, stdout, stderr))
{
    if (lines == nullptr || line == nullptr)
        throw std::bad_alloc();
    HistEvent event;
    history(lines, &event, H_SETSIZE, remembered_lines);
    history(lines, &event, H_SETUNIQUE, 1);
    history(lines, &event, H_LOAD, history_path().c_str());
    el_set(line, EL_CLIENTDATA, this);
    el_set(line, EL_EDITOR, "emacs");
    el_set(line, EL_SIGNAL, 1);
    el_set(line, EL_PROMPT, prompt);
    el_set(line, EL_HIST, history, lines);
    el_set(line, EL_GETCFN, read_key);
    // Wide, because libedit makes copies of narrow names and never frees them.
    el_wset(line, EL_ADDFN, L"varnsh-complete", L"complete the word", complete_at);
    el_set(line, EL_BIND, "^I", "varnsh-complete", nullptr);
    el_set(line, EL_BIND, "^R", "em-inc-search-prev", nullptr);
}

edited_lines::editor::~editor()
{
    el_end(line);
    history_end(lines);
}

edited_lines::editor &edited_lines::editor::of(EditLine *line)
{
    editor *self = nullptr;
    el_get(line, EL_CLIENTDATA, &self);
    return *self;
}

// False: no more keys for this line.
bool edited_lines::editor::react_to_signal()
{
    const int signal = signals->arrived();
    if (signal == SIGWINCH)
        el_resize(line);
    interrupted = signal == SIGINT;
    ended = signal != 0 && signal != SIGWINCH && signal != SIGINT;
    return !interrupted && !ended;
}

bool edited_lines::editor::wait_for_key()
{
    for (;;) {
        pollfd watched[] = {{STDIN_FILENO, POLLIN, 0},
                            {signals->descriptor(), POLLIN, 0},
                            {varn_device_descriptor(), POLLIN, 0}};
        if (poll(watched, 3, -1) < 0)
            continue;
        if (watched[2].revents != 0)
            commands.told().take();
        if (watched[1].revents != 0 && !react_to_signal())
            return false;
        if (watched[0].revents != 0)
            return true;
    }
}

// One character, which may be several bytes. 0 at the end of the input, -1 for no character.
int edited_lines::editor::read_key(EditLine *line, wchar_t *key)
{
    editor &self = of(line);
    std::mbstate_t state{};
    for (;;) {
        if (!self.wait_for_key())
            return -1;
        char byte = 0;
        if (read(STDIN_FILENO, &byte, 1) != 1)
            return 0;
        const std::size_t length = std::mbrtowc(key, &byte, 1, &state);
        if (length == static_cast<std::size_t>(-2))
            continue;
        if (length == static_cast<std::size_t>(-1))
            state = {};
        else
            return 1;
    }
}

// What all candidates share is put in; where that is nothing new they are listed.
unsigned char edited_lines::editor::complete() const
{
    const LineInfo *typed = el_line(line);
    const std::string_view before(typed->buffer,
                                  static_cast<std::size_t>(typed->cursor - typed->buffer));
    const words candidates = commands.completions(before);
    if (candidates.empty())
        return CC_REFRESH_BEEP;
    std::string more = shared_beginning(candidates).substr(read_unfinished(before).last.size());
    if (candidates.size() == 1)
        more.push_back(' ');
    if (!more.empty())
        return el_insertstr(line, more.c_str()) == 0 ? CC_REFRESH : CC_REFRESH_BEEP;
    fmt::print("\n{}\n", in_columns(candidates, screen_size().columns));
    std::fflush(stdout);
    return CC_REDISPLAY;
}

edited_lines::edited_lines(interpreter &commands) : editor_(std::make_unique<editor>(commands)) {}

edited_lines::~edited_lines() = default;

bool edited_lines::next(std::string &line)
{
    editor &self = *editor_;
    for (;;) {
        held_signals signals;
        self.signals = &signals;
        self.interrupted = false;
        int length = 0;
        const char *typed = el_gets(self.line, &length);
        self.signals = nullptr;
        if (self.interrupted) {
            fmt::print("^C\n");
            std::fflush(stdout);
            el_reset(self.line);
            continue;
        }
        if (typed == nullptr || length <= 0 || self.ended)
            return fmt::print("\n"), false;
        line.assign(typed, static_cast<std::size_t>(length));
        if (!split_words(line).empty() && line.front() != '\n') {
            HistEvent event;
            history(self.lines, &event, H_ENTER, line.c_str());
            save_history(self.lines);
        }
        return true;
    }
}

} // namespace shell
