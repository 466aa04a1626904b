// SPDX-License-Identifier: Apache-2.0
//
// fake_service.cpp: accepts, answers `Subscribe`, and says its script.
#include "fake_service.h"

#include <utility>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

constexpr char interface[] = "varn.Device1";

int listen_on(const std::string &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    unlink(path.c_str());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    EXPECT_EQ(listen(fd, 1), 0);
    return fd;
}

} // namespace

fake_service::fake_service(const std::string &socket, std::vector<fake_notice> script)
    : script_(std::move(script)), listening_(listen_on(socket)), thread_([this] { serve(); })
{
}

fake_service::fake_service(const std::string &socket, char type, std::size_t elements)
    : answers_all_(true), type_(type), elements_(elements), listening_(listen_on(socket)),
      thread_([this] { serve(); })
{
}

fake_service::~fake_service()
{
    ending_ = true;
    thread_.join();
    close(listening_);
}

int fake_service::say(sd_bus *bus, const fake_notice &what)
{
    if (what.oddity == "wrong form")
        return sd_bus_emit_signal(bus, "/varn/device", interface, what.name.c_str(), "s", "hello");
    return sd_bus_emit_signal(bus, "/varn/device",
                              what.oddity == "other interface" ? "varn.Other1" : interface,
                              what.name.c_str(), "ttuuyqayuuuut", what.epoch, what.sequence, 0u, 0u,
                              0, 0, 6u, 0, 0, 0, 0, 0, 0, 5u, 0u, 0u, 0u, uint64_t{0});
}

int fake_service::on_subscribe(sd_bus_message *request, void *userdata, sd_bus_error *)
{
    auto *self = static_cast<fake_service *>(userdata);
    int on = 0;
    EXPECT_GT(sd_bus_message_read(request, "b", &on), 0);
    EXPECT_GE(sd_bus_reply_method_return(request, "tt", uint64_t{7}, uint64_t{0}), 0);
    if (on == 0)
        return 1;
    for (const fake_notice &what : self->script_)
        EXPECT_GE(say(sd_bus_message_get_bus(request), what), 0);
    return 1;
}

int fake_service::on_any_message(sd_bus_message *message, void *userdata, sd_bus_error *)
{
    const auto *self = static_cast<const fake_service *>(userdata);
    if (sd_bus_message_is_method_call(message, interface, nullptr) <= 0)
        return 0;
    if (self->type_ == 0)
        return sd_bus_reply_method_return(message, "b", 1) < 0 ? -1 : 1;
    const std::vector<uint64_t> zeros(self->elements_); // room for elements of any width
    const std::size_t width = self->type_ == 'y' ? 1 : 4;
    sd_bus_message *answer = nullptr;
    EXPECT_GE(sd_bus_message_new_method_return(message, &answer), 0);
    EXPECT_GE(
        sd_bus_message_append_array(answer, self->type_, zeros.data(), self->elements_ * width), 0);
    EXPECT_GE(sd_bus_send(nullptr, answer, nullptr), 0);
    sd_bus_message_unref(answer);
    return 1;
}

void fake_service::serve()
{
    static const sd_bus_vtable methods[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("Subscribe", "b", "tt", fake_service::on_subscribe, 0),
        SD_BUS_VTABLE_END,
    };
    pollfd door = {listening_, POLLIN, 0};
    while (!ending_ && poll(&door, 1, 20) == 0)
        ;
    const int fd =
        ending_ ? -1 : accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0)
        return;
    sd_bus *bus = nullptr;
    sd_id128_t id{};
    sd_id128_randomize(&id);
    EXPECT_GE(sd_bus_new(&bus), 0);
    EXPECT_GE(sd_bus_set_fd(bus, fd, fd), 0);
    EXPECT_GE(sd_bus_set_server(bus, 1, id), 0);
    EXPECT_GE(sd_bus_set_trusted(bus, 1), 0);
    EXPECT_GE(sd_bus_start(bus), 0);
    EXPECT_GE(sd_bus_add_object_vtable(bus, nullptr, "/varn/device", interface, methods, this), 0);
    int result = answers_all_ ? sd_bus_add_filter(bus, nullptr, on_any_message, this) : 0;
    EXPECT_GE(result, 0);
    while (!ending_ && result >= 0) {
        result = sd_bus_process(bus, nullptr);
        if (result == 0)
            sd_bus_wait(bus, 20000);
    }
    sd_bus_close_unref(bus);
}
