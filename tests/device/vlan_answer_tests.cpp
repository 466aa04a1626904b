// SPDX-License-Identifier: Apache-2.0
//
// vlan_answer_tests.cpp: the answer about a port's VLAN as a client gets it, over a model in which
// a bridge filters VLANs. Client and service share this process and one event loop.
#include <sys/socket.h>
#include <systemd/sd-bus.h>

#include <gtest/gtest.h>

#include "connections.h"
#include "device/runtime/if_index_types.h"
#include "wire.h"

namespace
{

struct vlan_answer {
    bool came = false;
    std::string error;
    uint16_t vinst = 0;
    uint32_t vlan = 0;
    uint32_t mode = 0;
};

int take(sd_bus_message *reply, void *userdata, sd_bus_error *)
{
    auto *to = static_cast<vlan_answer *>(userdata);
    to->came = true;
    const sd_bus_error *error = sd_bus_message_get_error(reply);
    if (error != nullptr)
        to->error = error->name;
    else
        EXPECT_GT(sd_bus_message_read(reply, "quu", &to->vinst, &to->vlan, &to->mode), 0);
    return 0;
}

class VlanAnswer : public testing::Test
{
protected:
    void SetUp() override
    {
        int ends[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends), 0);
        ASSERT_GE(sd_event_new(&loop), 0);
        service = std::make_unique<device::connections>(model, loop);
        service->add(ends[0]);
        ASSERT_GE(sd_bus_new(&client), 0);
        ASSERT_GE(sd_bus_set_fd(client, ends[1], ends[1]), 0);
        ASSERT_GE(sd_bus_start(client), 0);
        ASSERT_GE(sd_bus_attach_event(client, loop, SD_EVENT_PRIORITY_NORMAL), 0);
    }

    void TearDown() override
    {
        sd_bus_close_unref(client);
        service.reset();
        sd_event_unref(loop);
    }

    void put(uint32_t key, uint32_t master, bool filtering_bridge = false)
    {
        device::link_facts facts;
        facts.key = key;
        facts.name = "if" + std::to_string(key);
        facts.type = filtering_bridge ? IF_INDEX_TYPE_VIRTUAL : IF_INDEX_TYPE_PHYSICAL;
        facts.masters = filtering_bridge ? device::mastery::bridge : device::mastery::none;
        facts.filters_vlans = filtering_bridge;
        facts.master_key = master;
        ASSERT_TRUE(model.put(facts));
    }

    vlan_answer ask(uint32_t key)
    {
        vlan_answer answer;
        model.settle();
        EXPECT_GE(sd_bus_call_method_async(client, nullptr, nullptr, wire::object_path,
                                           wire::interface_name, "GetVlanInfo", take, &answer, "u",
                                           model.find_key(key)->iod),
                  0);
        while (!answer.came && sd_event_run(loop, 5000000) > 0)
            ;
        EXPECT_TRUE(answer.came);
        return answer;
    }

    device::device_model model;
    sd_event *loop = nullptr;
    std::unique_ptr<device::connections> service;
    sd_bus *client = nullptr;
};

TEST_F(VlanAnswer, GivesTheAccessVlanAndTheModeOfAPort)
{
    put(1, 0, true);
    put(2, 1);
    put(3, 1);
    model.set_bridge_vlans({{2, {10, false}}, {3, {4094, true}}});
    const vlan_answer access = ask(2);
    EXPECT_EQ(access.vinst, wire::vinst);
    EXPECT_EQ(access.vlan, 10u);
    EXPECT_EQ(access.mode, 1u);
    const vlan_answer trunk = ask(3);
    EXPECT_EQ(trunk.vlan, 4094u);
    EXPECT_EQ(trunk.mode, 2u);
}

TEST_F(VlanAnswer, IsNoValueForAPortThatIsInNone)
{
    put(1, 0, true);
    put(2, 1);
    put(3, 0);
    model.set_bridge_vlans({{2, {0, true}}, {3, {10, false}}});
    EXPECT_EQ(ask(2).error, wire::no_such_value) << "tagged VLANs only";
    EXPECT_EQ(ask(3).error, wire::no_such_value) << "no switchport";
    EXPECT_EQ(ask(1).error, wire::no_such_value) << "the bridge itself";
}

TEST_F(VlanAnswer, IsItsOwnVlanForAVlanInterface)
{
    device::link_facts sub;
    sub.key = 5;
    sub.type = IF_INDEX_TYPE_VLAN_SUBIF;
    sub.vlan = 100;
    ASSERT_TRUE(model.put(sub));
    const vlan_answer own = ask(5);
    EXPECT_EQ(own.vlan, 100u);
    EXPECT_EQ(own.mode, 0x200u);
}

} // namespace
