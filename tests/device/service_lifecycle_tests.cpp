// SPDX-License-Identifier: Apache-2.0
//
// service_lifecycle_tests.cpp: starting, refusing, ending, and clients that misbehave.
#include <csignal>
#include <fstream>

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include "ifsvc.h"
#include "running_device.h"
#include "varn_device.h"

namespace
{

using ServiceLifecycle = RunningDevice;

sd_bus *connect_bus(const std::string &socket)
{
    sd_bus *bus = nullptr;
    EXPECT_GE(sd_bus_new(&bus), 0);
    EXPECT_GE(sd_bus_set_address(bus, ("unix:path=" + socket).c_str()), 0);
    EXPECT_GE(sd_bus_start(bus), 0);
    return bus;
}

// A raw connection that says the given bytes.
int connect_raw(const std::string &socket, const std::string &bytes)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socket.copy(address.sun_path, sizeof address.sun_path - 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    EXPECT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    return fd;
}

// Whether the other end has read all that was written to this one.
bool nothing_is_unread(int fd)
{
    int bytes = -1;
    EXPECT_EQ(ioctl(fd, SIOCOUTQ, &bytes), 0);
    return bytes == 0;
}

void end_is_seen(int fd)
{
    const timeval patience = {5, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    char bytes[256];
    ssize_t got = 0;
    while ((got = read(fd, bytes, sizeof bytes)) > 0)
        ;
    EXPECT_TRUE(got == 0 || errno == ECONNRESET) << "the service keeps the connection";
}

TEST_F(ServiceLifecycle, RefusesASecondStartOnTheSameSocket)
{
    const finished second = run({DEVICED, "--socket", socket});
    EXPECT_EQ(second.exit_code, 3);
    EXPECT_EQ(second.err, "varn-deviced: another service is already serving " + socket + "\n");
    EXPECT_NE(iod_of("port0"), 0u);
}

TEST_F(ServiceLifecycle, RefusesASecondStartWhileTheFirstIsStopped)
{
    service->send(SIGSTOP);
    EXPECT_EQ(run({DEVICED, "--socket", socket}).exit_code, 3);
    service->send(SIGCONT);
    EXPECT_NE(iod_of("port0"), 0u);
}

TEST_F(ServiceLifecycle, TakesOverTheSocketOfADeadService)
{
    service->send(SIGKILL);
    EXPECT_EQ(service->wait(), 128 + SIGKILL);
    EXPECT_EQ(access(socket.c_str(), F_OK), 0);
    start_service();
    EXPECT_NE(iod_of("port0"), 0u);
}

TEST_F(ServiceLifecycle, LeavesAFileAloneThatIsNoSocket)
{
    const std::string file = folder + "/precious";
    std::ofstream(file) << "data";
    const finished refused = run({DEVICED, "--socket", file});
    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_EQ(refused.err, "varn-deviced: " + file + " is there already and is no socket\n");
    std::string text;
    std::ifstream(file) >> text;
    EXPECT_EQ(text, "data");
}

TEST_F(ServiceLifecycle, LetsOwnerAndGroupConnectAndNobodyElse)
{
    struct stat found = {};
    ASSERT_EQ(stat(socket.c_str(), &found), 0);
    EXPECT_TRUE(S_ISSOCK(found.st_mode));
    EXPECT_EQ(found.st_mode & 0777, 0660u);
}

TEST_F(ServiceLifecycle, RemovesItsSocketWhenItIsTold)
{
    service->send(SIGTERM);
    EXPECT_EQ(service->wait(), 0);
    EXPECT_NE(access(socket.c_str(), F_OK), 0);
}

TEST_F(ServiceLifecycle, SaysWhatIsWrongWithItsCommandLine)
{
    EXPECT_EQ(run({DEVICED, "--source", "clouds"}).exit_code, 2);
    EXPECT_EQ(run({DEVICED, "--sorce", "kernel"}).exit_code, 2);
    EXPECT_EQ(run({DEVICED, "--help"}).exit_code, 0);
    const finished too_long = run({DEVICED, "--socket", folder + "/" + std::string(120, 'x')});
    EXPECT_EQ(too_long.exit_code, 1);
    EXPECT_NE(too_long.err.find("too long"), std::string::npos);
}

TEST_F(ServiceLifecycle, AnswersAMalformedRequestWithAnErrorAndGoesOn)
{
    sd_bus *bus = connect_bus(socket);
    const auto error_of = [bus](const char *member, const char *types, const char *text) {
        sd_bus_error error{};
        EXPECT_LT(sd_bus_call_method(bus, nullptr, "/varn/device", "varn.Device1", member, &error,
                                     nullptr, types, text),
                  0);
        const std::string name = error.name == nullptr ? "" : error.name;
        sd_bus_error_free(&error);
        return name;
    };
    EXPECT_EQ(error_of("IsLinkup", "s", "one"), SD_BUS_ERROR_INVALID_ARGS);
    EXPECT_EQ(error_of("IsLinkup", "", ""), SD_BUS_ERROR_INVALID_ARGS);
    EXPECT_EQ(error_of("IsLinkUp", "", ""), SD_BUS_ERROR_UNKNOWN_METHOD);
    EXPECT_GE(sd_bus_call_method(bus, nullptr, "/varn/device", "varn.Device1", "IsLinkup", nullptr,
                                 nullptr, "u", iod_of("port0")),
              0);
    sd_bus_close_unref(bus);
}

TEST_F(ServiceLifecycle, DropsAClientThatTalksGarbageAndServesTheOthers)
{
    const int http = connect_raw(socket, "GET / HTTP/1.0\r\n\r\n");
    end_is_seen(http);
    const int late = connect_raw(socket, std::string("\0AUTH EXTERNAL\r\nDATA\r\n", 22));
    char greeting[256];
    EXPECT_GT(read(late, greeting, sizeof greeting), 0);
    const std::string garbage = "BEGIN\r\n" + std::string(64, 'x');
    EXPECT_GT(write(late, garbage.data(), 7), 0);
    EXPECT_TRUE(eventually([late] { return nothing_is_unread(late); }));
    EXPECT_GT(write(late, garbage.data() + 7, garbage.size() - 7), 0);
    end_is_seen(late);
    close(connect_raw(socket, std::string("\0AUTH", 5)));
    close(http);
    close(late);
    EXPECT_NE(iod_of("port0"), 0u);
    EXPECT_TRUE(service->alive());
}

TEST_F(ServiceLifecycle, IsNotHeldUpByAClientThatNeitherSpeaksNorReads)
{
    const int silent = connect_raw(socket, std::string("\0", 1));
    const long took = milliseconds([&] { EXPECT_NE(iod_of("port0"), 0u); });
    EXPECT_LT(took, 1900) << "as long as a request may take";
    close(silent);
}

TEST_F(ServiceLifecycle, CountsTheRequestsOfAllClientsAndOfEach)
{
    uint64_t all = 0, mine = 0, all_after = 0, mine_after = 0;
    EXPECT_EQ(varn_device_connect(socket.c_str()), 0u);
    ASSERT_EQ(varn_device_stats(&all, &mine), 0u);
    EXPECT_EQ(mine, 0u);
    ifsvc_is_linkup(1);
    ifsvc_is_linkup(4711);
    ASSERT_EQ(varn_device_stats(&all_after, &mine_after), 0u);
    EXPECT_EQ(mine_after, 2u);
    EXPECT_EQ(all_after, all + 2);
}

TEST_F(ServiceLifecycle, DescribesItselfToAnyTool)
{
    sd_bus *bus = connect_bus(socket);
    sd_bus_message *answer = nullptr;
    const char *xml = "";
    ASSERT_GE(sd_bus_call_method(bus, nullptr, "/varn/device",
                                 "org.freedesktop.DBus.Introspectable", "Introspect", nullptr,
                                 &answer, ""),
              0);
    ASSERT_GT(sd_bus_message_read(answer, "s", &xml), 0);
    const std::string text = xml;
    EXPECT_NE(text.find("<method name=\"IsLinkup\">"), std::string::npos);
    EXPECT_NE(text.find("<arg type=\"u\" name=\"iod\" direction=\"in\"/>"), std::string::npos);
    sd_bus_message_unref(answer);
    sd_bus_close_unref(bus);
}

} // namespace
