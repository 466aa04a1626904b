// SPDX-License-Identifier: Apache-2.0
//
// main.cpp: varnsh, a client process with a command line. Commands come from -c or, without any,
// from standard input. All are run; the exit code is that of the first that failed: 1 for an
// interface that is not there, a service that does not answer or output that cannot be written, 2
// for what was not understood.
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cache.h"
#include "commands.h"
#include "input.h"
#include "terminal.h"
#include "varn_device.h"
#include "words.h"

namespace
{

struct options {
    std::vector<std::string> commands;
    std::string socket;
    std::uint32_t timeout_ms = VARN_DEVICE_DEFAULT_TIMEOUT_MS;
    bool trace = false;
};

class session
{
public:
    explicit session(const std::string &socket) : interpreter_(socket) {}

    shell::interpreter &commands() { return interpreter_; }

    void run(const std::string &text)
    {
        for (const std::string &command : shell::split_commands(text)) {
            if (interpreter_.ended())
                return;
            const shell::verdict outcome = interpreter_.run(command);
            if (first_failure_ == shell::done)
                first_failure_ = outcome;
        }
    }

    bool ended() const { return interpreter_.ended(); }
    int exit_code() const { return first_failure_; }

private:
    shell::interpreter interpreter_;
    shell::verdict first_failure_ = shell::done;
};

template <typename Lines>
void run_lines(session &commands, Lines &lines)
{
    std::string line;
    while (!commands.ended() && lines.next(line))
        commands.run(line);
}

void read_commands(session &commands)
{
    if (shell::input_is_terminal() && shell::output_is_terminal()) {
        shell::edited_lines lines(commands.commands());
        run_lines(commands, lines);
    } else {
        shell::plain_lines lines(commands.commands().told());
        run_lines(commands, lines);
    }
}

// As the client library chooses it.
std::string socket_path(const options &chosen)
{
    const char *given = std::getenv(VARN_DEVICE_SOCKET_VARIABLE);
    if (!chosen.socket.empty())
        return chosen.socket;
    return given != nullptr && *given != '\0' ? given : VARN_DEVICE_DEFAULT_SOCKET;
}

void set_up_client(const options &chosen)
{
    varn_device_set_timeout(chosen.timeout_ms);
    // A service that is not there yet is no reason to leave: each command says so for itself.
    if (!chosen.socket.empty())
        varn_device_connect(chosen.socket.c_str());
}

// Commands write through stdio, which remembers when something could not be written.
int unless_unwritten(int exit_code)
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return exit_code;
    std::fprintf(stderr, "varnsh: not all of the output could be written\n");
    return shell::unanswered;
}

int run(int argc, char **argv)
{
    std::setlocale(LC_CTYPE, "");
    options chosen;
    CLI::App app("Asks about this device's interfaces through a cache of their attributes.");
    app.add_option("-c", chosen.commands, "Commands to run, divided by ';' (may be repeated)")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--socket", chosen.socket, "The service's socket (else $VARN_DEVICE_SOCKET)");
    app.add_option("--timeout", chosen.timeout_ms, "Milliseconds that a request may take")
        ->capture_default_str();
    app.add_flag("--trace", chosen.trace, "Print the library's reports and traces");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &wrong) {
        return app.exit(wrong) == 0 ? shell::done : shell::not_understood;
    }

    set_up_client(chosen);
    if (!shell::start_cache(chosen.trace)) {
        std::fprintf(stderr, "varnsh: the cache cannot be started\n");
        return shell::unanswered;
    }
    session commands(socket_path(chosen));
    commands.commands().told().subscribe();
    for (const std::string &text : chosen.commands)
        commands.run(text);
    if (chosen.commands.empty())
        read_commands(commands);
    varn_device_subscribe(nullptr);
    shell::end_cache();
    varn_device_disconnect();
    return unless_unwritten(commands.exit_code());
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "varnsh: %s\n", failure.what());
        return shell::unanswered;
    }
}
