// SPDX-License-Identifier: Apache-2.0
//
// inventory_service_tests.cpp: varn-deviced on an inventory, as a process: what it serves, what it
// refuses to start with, and how fast it starts. The schema is checked by a validator that is not
// ours.
#include <csignal>
#include <filesystem>
#include <fstream>

#include <unistd.h>

#include "aggsvc.h"
#include "idxsvc.h"
#include "ifsvc.h"
#include "inventory_device.h"
#include "running_device.h"
#include "slowness.h"
#include "varn_device.h"

namespace
{

using InventoryService = InventoryDevice;

std::string example(const std::string &name)
{
    return std::string(EXAMPLES) + "/" + name + ".json";
}

TEST_F(InventoryService, ServesWhatTheFileSays)
{
    start(R"({"interfaces": [{"name": "port1", "type": "physical", "mtu": 9000},
                             {"name": "port2", "type": "physical", "link": "down"}]})");
    EXPECT_EQ(ifsvc_get_if_mtu(iod_of("port1")), 9000u);
    EXPECT_EQ(ifsvc_is_linkup(iod_of("port1")), 1u);
    EXPECT_EQ(ifsvc_is_linkup(iod_of("port2")), 0u);
}

TEST_F(InventoryService, IsAnotherDeviceAfterItIsStartedAnew)
{
    start(R"({"interfaces": [{"name": "port1", "type": "physical"}]})");
    kill();
    restart(R"({"interfaces": [{"name": "port2", "type": "physical"}]})");
    EXPECT_EQ(iod_of("port1"), 0u);
    EXPECT_NE(iod_of("port2"), 0u);
}

TEST_F(InventoryService, DoesNotStartOnAFileThatIsWrong)
{
    std::ofstream(file) << "{\"interfaces\": [\n{\"name\": \"a\", \"type\": \"svi\"}]}";
    const finished wrong = run({DEVICED, "--source", file, "--socket", socket});
    EXPECT_EQ(wrong.exit_code, 2);
    EXPECT_EQ(wrong.err,
              "varn-deviced: " + file + ":2: vlan: an interface of type svi must have one\n");
    EXPECT_NE(access(socket.c_str(), F_OK), 0) << "nothing is served";
}

TEST_F(InventoryService, DoesNotStartOnWhatIsNoFile)
{
    const finished missing = run({DEVICED, "--source", "kernl", "--socket", socket});
    EXPECT_EQ(missing.exit_code, 2);
    EXPECT_EQ(missing.err, "varn-deviced: kernl: cannot be read: No such file or directory\n");
    const finished directory = run({DEVICED, "--source", folder, "--socket", socket});
    EXPECT_EQ(directory.exit_code, 2);
    EXPECT_EQ(directory.err, "varn-deviced: " + folder + ": is a directory\n");
}

TEST_F(InventoryService, DoesNotStartOnAFileThatItMayNotRead)
{
    std::ofstream(file) << "{}";
    std::filesystem::permissions(file, std::filesystem::perms::none);
    std::filesystem::permissions(folder, std::filesystem::perms::all);
    std::vector<std::string> words = {DEVICED, "--source", file, "--socket", socket};
    if (geteuid() == 0) // whom no permission stops
        words.insert(words.begin(), {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                                     "--bounding-set=-all", "--inh-caps=-all"});
    const finished refused = run(words);
    EXPECT_EQ(refused.exit_code, 2);
    EXPECT_EQ(refused.err, "varn-deviced: " + file + ": cannot be read: Permission denied\n");
}

TEST_F(InventoryService, ServesThousandsOfPortsInUnderASecond)
{
    std::filesystem::copy(example("large"), file);
    const long took = milliseconds([this] {
        service = std::make_unique<running_process>(
            std::vector<std::string>{DEVICED, "--source", file, "--socket", socket});
        ASSERT_TRUE(eventually([this] { return varn_device_connect(socket.c_str()) == 0; }));
        uint32_t count = 0;
        ASSERT_EQ(varn_device_list_iods(nullptr, 0, &count), 0u);
        EXPECT_EQ(count, 4096u);
    });
    EXPECT_LT(took, 1000 * slowness);
    const long one_change = milliseconds([this] { change({"set", "port4096", "mtu", "1400"}); });
    EXPECT_LT(one_change, 200 * slowness);
}

TEST_F(InventoryService, ChangesNothingOfAMachine)
{
    service = std::make_unique<running_process>(
        std::vector<std::string>{DEVICED, "--source", "kernel", "--socket", socket});
    ASSERT_TRUE(eventually([this] { return varn_device_connect(socket.c_str()) == 0; }));
    const char *words[] = {"delete", "lo"};
    EXPECT_EQ(varn_device_change(words, 2, nullptr), VARN_DEVICE_E_NOT_ALLOWED);
    EXPECT_STREQ(varn_device_last_error_text(),
                 "this device is the machine itself, and is not changed by commands");
}

TEST_F(InventoryService, SaysWhatAPortChannelAndABridgeDomainDoNotHave)
{
    start(R"({"interfaces": [{"name": "bundle1", "type": "port-channel"}]})");
    uint32_t bundle = 0, member = 4711;
    ASSERT_EQ(ifsvc_get_ifindex_frm_iod(iod_of("bundle1"), &bundle), 0u);
    EXPECT_EQ(aggsvc_get_pc_mbr_ifidx_from_rbh(bundle, 16, &member), VARN_DEVICE_E_REFUSED);
    EXPECT_STREQ(varn_device_last_error_text(), "no hash bucket 16");
    EXPECT_EQ(aggsvc_get_pc_mbr_ifidx_from_rbh(bundle, 15, &member), VARN_DEVICE_E_NO_VALUE);
    EXPECT_STREQ(varn_device_last_error_text(), "bundle1 has no operational member");
    EXPECT_EQ(idxsvc_lib_bd_to_di(77, &member), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_STREQ(varn_device_last_error_text(), "no bridge domain 77");
    EXPECT_EQ(member, 4711u);
}

TEST_F(InventoryService, SaysWhatIsWrongWithAChange)
{
    start(R"({"interfaces": [{"name": "port1", "type": "physical"}]})");
    EXPECT_EQ(refusal({"set", "port1", "mtuu", "1"}),
              "there is no field \"mtuu\" (did you mean mtu?)");
    EXPECT_EQ(refusal({}), "there is no command");
    EXPECT_EQ(change({"set", "port1", "mtu", "1400"}), "");
    EXPECT_EQ(ifsvc_get_if_mtu(iod_of("port1")), 1400u);
}

// ---- The schema, by an independent validator

constexpr char validator[] = R"(
import json, sys, jsonschema
schema = json.load(open(sys.argv[1]))
kind = jsonschema.Draft202012Validator
kind.check_schema(schema)
print(len(list(kind(schema).iter_errors(json.load(open(sys.argv[2]))))))
)";

struct InventoryDocument : InventoryDevice {
    bool schema_accepts(const std::string &path)
    {
        const finished done = run({"python3", "-W", "ignore", "-c", validator, SCHEMA, path});
        EXPECT_EQ(done.exit_code, 0) << done.err;
        return done.out == "0\n";
    }

    bool schema_accepts_text(const std::string &text)
    {
        std::ofstream(file) << text;
        return schema_accepts(file);
    }

    bool service_accepts()
    {
        // A good file is served until the time is over.
        const finished done =
            run({"timeout", "-s", "TERM", "0.5", DEVICED, "--source", file, "--socket", socket});
        return done.exit_code != 2;
    }
};

TEST_F(InventoryDocument, IsThatOfTheService)
{
    std::ifstream documented(SCHEMA);
    const std::string text((std::istreambuf_iterator<char>(documented)), {});
    EXPECT_EQ(run({DEVICED, "--schema"}).out, text);
}

TEST_F(InventoryDocument, AcceptsEveryExample)
{
    for (const auto &entry : std::filesystem::directory_iterator(EXAMPLES))
        EXPECT_TRUE(schema_accepts(entry.path())) << entry.path();
}

TEST_F(InventoryDocument, AcceptsWhatTheServiceShows)
{
    std::ifstream router(example("router"));
    start(std::string((std::istreambuf_iterator<char>(router)), {}));
    EXPECT_TRUE(schema_accepts_text(change({"show"})));
}

TEST_F(InventoryDocument, RefusesWithTheServiceWhatIsWrongInOnePlace)
{
    const char *cases[] = {
        R"([])",
        R"({"interface": []})",
        R"({"interfaces": {}})",
        R"({"interfaces": [{"name": "a"}]})",
        R"({"interfaces": [{"name": "a b", "type": "physical"}]})",
        R"({"interfaces": [{"name": "none", "type": "physical"}]})",
        R"({"interfaces": [{"name": "a", "type": "fysical"}]})",
        R"({"interfaces": [{"name": "a", "type": "physical", "mtu": 0}]})",
        R"({"interfaces": [{"name": "a", "type": "physical", "mtu": "9000"}]})",
        R"({"interfaces": [{"name": "a", "type": "physical", "ordinal": 32768}]})",
        R"({"interfaces": [{"name": "a", "type": "physical", "mac": "02:00"}]})",
        R"({"interfaces": [{"name": "a", "type": "physical", "p2p": "yes"}]})",
        R"({"interfaces": [{"name": "a", "type": "physical", "mode": "acess"}]})",
        R"({"interfaces": [{"name": "a", "type": "loopback", "mode": "access"}]})",
        R"({"interfaces": [{"name": "a", "type": "svi", "vlan": 5, "ordinal": 1}]})",
        R"({"interfaces": [{"name": "a", "type": "physical", "vlan": 4095}]})",
        R"({"interfaces": [{"name": "a", "type": "physical", "range": {"first": 1}}]})",
        R"({"interfaces": [{"name": "a", "type": "physical", "private": [{"key": 1, "block": "0"}]}]})",
        R"({"vlans": [{"primary": 10}]})",
        R"({"vlans": [{"id": 10, "range": {"first": 1, "last": 2}}]})",
        R"({"vrfs": [{"name": "red", "context": 1, "table": 1}]})",
    };
    for (const char *text : cases) {
        EXPECT_FALSE(schema_accepts_text(text)) << text;
        EXPECT_FALSE(service_accepts()) << text;
    }
}

} // namespace
