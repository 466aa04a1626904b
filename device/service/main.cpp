// SPDX-License-Identifier: Apache-2.0
//
// main.cpp: varn-deviced, the process that owns the state of every interface of the device.
// Command line in, exit code out: 0 ended by a signal, 1 cannot run, 2 wrong usage, 3 the socket is
// served by another one.
#include <csignal>
#include <cstdio>
#include <string>

#include <CLI/CLI.hpp>
#include <systemd/sd-daemon.h>
#include <systemd/sd-event.h>

#include "connections.h"
#include "device_model.h"
#include "inventory.h"
#include "inventory_writing.h"
#include "kernel_source.h"
#include "listener.h"
#include "wire.h"

namespace
{

constexpr char kernel_source_name[] = "kernel";

enum exit_code { ended = 0, cannot_run = 1, wrong_usage = 2, already_running = 3 };

struct options {
    std::string source = "kernel";
    std::string socket = wire::default_socket;
    int event_buffer = device::default_event_buffer;
    std::size_t queue = device::default_queue;
    bool schema = false;
};

int fail(exit_code code, const std::string &reason)
{
    std::fprintf(stderr, "varn-deviced: %s\n", reason.c_str());
    return code;
}

int end_on_signals(sd_event *loop)
{
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    sigaddset(&ending, SIGINT);
    sigprocmask(SIG_BLOCK, &ending, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    const int result = sd_event_add_signal(loop, nullptr, SIGTERM, nullptr, nullptr);
    return result < 0 ? result : sd_event_add_signal(loop, nullptr, SIGINT, nullptr, nullptr);
}

exit_code start_source(const options &chosen, sd_event *loop, device::kernel_source &kernel,
                       device::inventory &told)
{
    const bool from_kernel = chosen.source == kernel_source_name;
    const std::string reason = from_kernel ? kernel.start(loop) : told.load(chosen.source);
    if (reason.empty())
        return ended;
    return static_cast<exit_code>(fail(from_kernel ? cannot_run : wrong_usage, reason));
}

// The path is owned before anything is read: a second start is refused at once.
int serve(const options &chosen, sd_event *loop)
{
    device::device_model model;
    device::kernel_source kernel(model, chosen.event_buffer);
    device::inventory by_file(model);
    device::connections clients(model, loop, chosen.queue);
    if (chosen.source != kernel_source_name)
        clients.take_changes(by_file);
    device::listener door(chosen.socket, [&](int fd) { clients.add(fd); });

    model.tell([&](const wire::notice &told) { clients.notify(told); });
    std::string reason;
    const device::listening outcome = door.start(loop, reason);
    if (outcome == device::listening::refused_in_use)
        return fail(already_running, reason);
    if (outcome == device::listening::failed)
        return fail(cannot_run, reason);
    const exit_code started = start_source(chosen, loop, kernel, by_file);
    if (started != ended)
        return started;

    std::fprintf(stderr, "varn-deviced: serving %zu interfaces on %s\n", model.interfaces().size(),
                 chosen.socket.c_str());
    sd_notify(0, "READY=1");
    return sd_event_loop(loop) < 0 ? fail(cannot_run, "the event loop failed") : ended;
}

int print_schema()
{
    const bool written =
        std::fputs(device::inventory_schema().c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
    return written ? ended : fail(cannot_run, "the schema could not be written");
}

int run(int argc, char **argv)
{
    options chosen;
    CLI::App app("Owns the state of this device's interfaces and answers for it.");
    app.add_option("--source", chosen.source,
                   "Where interfaces come from: kernel, or the file of an inventory")
        ->capture_default_str();
    app.add_option("--socket", chosen.socket, "Path of the socket to serve")->capture_default_str();
    app.add_option("--event-buffer", chosen.event_buffer,
                   "Bytes of the kernel's notifications that may wait to be read")
        ->check(CLI::Range(1, 1 << 30))
        ->capture_default_str();
    app.add_option("--queue", chosen.queue, "Notices that may wait for a client that does not read")
        ->check(CLI::Range(std::size_t{1}, device::longest_queue))
        ->capture_default_str();
    app.add_flag("--schema", chosen.schema, "Print the JSON schema of an inventory and end");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &wrong) {
        return app.exit(wrong) == 0 ? ended : wrong_usage;
    }
    if (chosen.schema)
        return print_schema();

    sd_event *loop = nullptr;
    if (sd_event_default(&loop) < 0 || end_on_signals(loop) < 0)
        return fail(cannot_run, "cannot set up the event loop");
    const int code = serve(chosen, loop);
    sd_event_unref(loop);
    return code;
}

} // namespace

// What is thrown past this point is memory running out while the service starts.
int main(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception &failure) {
        return fail(cannot_run, failure.what());
    }
}
