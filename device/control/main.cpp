// SPDX-License-Identifier: Apache-2.0
//
// main.cpp: varnctl, which changes an inventory device while it runs and shows what its clients
// recorded and hold. Exit codes: 0 done, 1 refused or without a service, 2 not understood.
#include <cstdio>
#include <string>

#include <CLI/CLI.hpp>

#include "control_commands.h"
#include "varn_device.h"

namespace
{

struct command_line {
    control::words command;
    control::options options;
    std::string socket;
    std::uint32_t timeout_ms = VARN_DEVICE_DEFAULT_TIMEOUT_MS;
};

void describe(CLI::App &app, command_line &given)
{
    app.add_option("command", given.command, "The command and its words")->required();
    app.add_option("--socket", given.socket, "The service's socket (else $VARN_DEVICE_SOCKET)");
    app.add_option("--timeout", given.timeout_ms, "Milliseconds that a request may take")
        ->capture_default_str();
    app.add_flag("--json", given.options.json, "Show JSON instead of tables");
    app.add_flag("--keep-going", given.options.keep_going, "Go on with a script behind an error");
    app.add_option("--level", given.options.level, "Show records of this level and above");
    app.add_option("--last", given.options.last, "Show so many records, the last ones");
    app.footer(control::overview());
}

// Commands write through stdio, which remembers when something could not be written.
int unless_unwritten(int exit_code)
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return exit_code;
    std::fprintf(stderr, "varnctl: not all of the output could be written\n");
    return control::refused;
}

int run(int argc, char **argv)
{
    command_line given;
    CLI::App app("Changes a device that has an inventory, and shows what its clients do.");
    describe(app, given);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &wrong) {
        return app.exit(wrong) == 0 ? control::done : control::not_understood;
    }
    varn_device_set_timeout(given.timeout_ms);
    // A service that is not there is no reason to leave: not every command needs it.
    if (!given.socket.empty())
        varn_device_connect(given.socket.c_str());
    const control::exit_code code = control::run(given.command, given.options);
    varn_device_disconnect();
    return unless_unwritten(code);
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "varnctl: %s\n", failure.what());
        return control::refused;
    }
}
