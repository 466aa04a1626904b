// SPDX-License-Identifier: Apache-2.0
//
// service_door_tests.cpp: the path that the service listens on, and the way in for clients. Over an
// inventory; needs no privilege.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "ifsvc.h"
#include "inventory_device.h"
#include "running_device.h"
#include "varn_device.h"

namespace
{

constexpr char three_ports[] = EXAMPLES "/three-ports.json";

class ServiceDoor : public InventoryDevice
{
protected:
    // What the service says to a path that it cannot serve.
    std::string refusal_of(const std::string &path, int exit_code)
    {
        const finished refused = run({DEVICED, "--source", three_ports, "--socket", path});
        EXPECT_EQ(refused.exit_code, exit_code) << path;
        return refused.err;
    }

    // By the words of a shell, with what it says in the file `log`.
    void start_by(const std::string &before, const std::string &path)
    {
        service = std::make_unique<running_process>(
            std::vector<std::string>{"sh", "-c",
                                     before + "; exec " DEVICED " --source " + three_ports +
                                         " --socket " + path + " 2>" + folder + "/log"});
        ASSERT_TRUE(eventually([this] { return varn_device_connect(socket.c_str()) == 0; }));
    }

    std::string log() const
    {
        std::stringstream text;
        text << std::ifstream(folder + "/log").rdbuf();
        return text.str();
    }

    // A connection that says nothing.
    int knock() const
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        socket.copy(address.sun_path, sizeof address.sun_path - 1);
        const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
        return fd;
    }

    // Processor time that the service has used, in milliseconds.
    long time_used() const
    {
        std::ifstream stat("/proc/" + std::to_string(service->pid()) + "/stat");
        std::string word;
        long user = 0, system = 0;
        for (int field = 1; field <= 13; ++field)
            stat >> word;
        stat >> user >> system;
        return (user + system) * 1000 / sysconf(_SC_CLK_TCK);
    }
};

TEST_F(ServiceDoor, IsNotOpenedWhereItCannotBe)
{
    EXPECT_EQ(refusal_of("", 1), "varn-deviced: the socket's path is empty or too long: \n");
    const std::string long_path = folder + "/" + std::string(120, 'x');
    EXPECT_EQ(refusal_of(long_path, 1),
              "varn-deviced: the socket's path is empty or too long: " + long_path + "\n");
    EXPECT_EQ(refusal_of(folder + "/a/b/sock", 1), "varn-deviced: cannot open " + folder +
                                                       "/a/b/sock.lock: No such file or "
                                                       "directory\n");
    std::filesystem::create_directory(folder + "/taken");
    EXPECT_EQ(refusal_of(folder + "/taken", 1),
              "varn-deviced: " + folder + "/taken is there already and is no socket\n");
}

TEST_F(ServiceDoor, LeavesNothingBehindForAPathThatNoSocketCanHave)
{
    const std::string long_path = folder + "/" + std::string(120, 'x');
    run({"sh", "-c", "cd " + folder + "; " DEVICED " --source " + three_ports + " --socket ''"});
    refusal_of(long_path, 1);
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(ServiceDoor, IsInAFolderThatIsMadeOrInTheOneOfTheProcess)
{
    socket = folder + "/made/sock";
    start_by("true", socket);
    EXPECT_NE(iod_of("port1"), 0u);
    service.reset();
    socket = folder + "/sock";
    start_by("cd " + folder, "sock");
    EXPECT_NE(iod_of("port1"), 0u);
}

// Whoever waits is let in as soon as somebody leaves.
TEST_F(ServiceDoor, StaysQuietWhileThereIsNoDescriptorForAClient)
{
    start_by("ulimit -n 24", socket);
    varn_device_disconnect();
    std::vector<int> visitors;
    for (int n = 0; n < 40; ++n)
        visitors.push_back(knock());
    const std::string said = "cannot accept a client: Too many open files\n";
    ASSERT_TRUE(eventually([&] { return log().find(said) != std::string::npos; })) << log();
    const long before = time_used();
    usleep(500'000);
    EXPECT_LT(time_used() - before, 100) << "milliseconds of half a second";
    EXPECT_EQ(log().find(said), log().rfind(said)) << "said once";
    for (const int fd : visitors)
        close(fd);
    EXPECT_TRUE(eventually([this] { return varn_device_connect(socket.c_str()) == 0; }));
    EXPECT_NE(iod_of("port1"), 0u);
}

TEST_F(ServiceDoor, TurnsAwayWhoIsOneTooMany)
{
    start_by("true", socket);
    varn_device_disconnect();
    std::vector<int> visitors;
    for (int n = 0; n < 520; ++n)
        visitors.push_back(knock());
    const std::string said = "varn-deviced: too many clients; one was turned away\n";
    EXPECT_TRUE(eventually([&] { return log().find(said) != std::string::npos; })) << log();
    char byte = 0;
    EXPECT_EQ(read(visitors.back(), &byte, 1), 0) << "the last one";
    for (const int fd : visitors)
        close(fd);
    EXPECT_TRUE(eventually([this] { return varn_device_connect(socket.c_str()) == 0; }));
}

TEST_F(ServiceDoor, IsLeftWithAnErrorWhereTheSchemaCannotBeWritten)
{
    const finished full = run({"sh", "-c", DEVICED " --schema >/dev/full"});
    EXPECT_EQ(full.err, "varn-deviced: the schema could not be written\n");
    EXPECT_EQ(full.exit_code, 1);
}

TEST_F(ServiceDoor, LetsNothingInThatIsNoAttachment)
{
    start_by("true", socket);
    const std::vector<uint8_t> block(4097);
    const uint32_t iod = iod_of("port1");
    EXPECT_EQ(varn_device_attach(4711, 1, 0, nullptr, 0), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_STREQ(varn_device_last_error_text(), "no interface has iod 0x1267");
    EXPECT_EQ(varn_device_attach(iod, 1, 0, block.data(), 4097), VARN_DEVICE_E_REFUSED);
    EXPECT_STREQ(varn_device_last_error_text(), "a block has at most 4096 bytes");
    EXPECT_EQ(varn_device_attach(iod, 1, 0, block.data(), 4096), VARN_DEVICE_OK);
    uint32_t size = 0;
    EXPECT_NE(ifsvc_get_private_data(iod, 1, &size), 0u);
    EXPECT_EQ(size, 4096u);
}

} // namespace
