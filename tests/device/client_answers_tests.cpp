// SPDX-License-Identifier: Apache-2.0
//
// client_answers_tests.cpp: a service whose answers are not what was asked for. A function that has
// a code gives that of a bad answer, one that gives its value gives 0, and what it would have
// written stays as it was.
#include <functional>
#include <vector>

#include "aggsvc.h"
#include "fake_service.h"
#include "idxsvc.h"
#include "ifsvc.h"
#include "lifsvc.h"
#include "running_device.h"
#include "varn_device.h"
#include "vlansvc.h"
#include "vrfsvc.h"

namespace
{

constexpr uint32_t bad = VARN_DEVICE_E_BAD_ANSWER;
constexpr uint32_t untouched = 4711;

class ClientAnswers : public testing::Test
{
protected:
    void SetUp() override
    {
        char name[] = "/tmp/varn-answers-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        folder = name;
        socket = folder + "/deviced.sock";
    }

    void TearDown() override
    {
        varn_device_disconnect();
        sh("rm -r " + folder);
    }

    void connect_to(fake_service &)
    {
        ASSERT_EQ(varn_device_connect(socket.c_str()), VARN_DEVICE_OK);
        varn_device_clear_error();
    }

    // What the last request said, which is forgotten.
    static std::string said()
    {
        std::string text = varn_device_last_error_text();
        varn_device_clear_error();
        return text;
    }

    std::string folder, socket;
    uint32_t number = untouched, other = untouched;
    uint16_t narrow = 47;
};

TEST_F(ClientAnswers, OfAnotherTypeThanANumberAreABadAnswer)
{
    fake_service wrong(socket, 0, 0);
    ASSERT_NO_FATAL_FAILURE(connect_to(wrong));
    aggsvc_pc_info_t info{};
    aggsvc_pc_for_port_t membership{};
    info.first_operational_mbr = membership.pc_ifindex = untouched;
    const std::vector<std::function<uint32_t()>> questions = {
        [&] { return ifsvc_get_ifindex_frm_iod(1, &number); },
        [&] { return ifsvc_get_iod_frm_ifindex(1, &number); },
        [&] { return lifsvc_query_ifindex_to_lif(1, &number); },
        [&] { return lifsvc_query_lif_to_ifindex(1, &number); },
        [&] { return idxsvc_lib_ifidx_to_di(1, &number); },
        [&] { return idxsvc_lib_si_to_ifidx(1, &number); },
        [&] { return idxsvc_lib_bd_to_di(1, &number); },
        [&] { return aggsvc_get_pc_info(&info); },
        [&] { return aggsvc_get_pc_for_port(1, &membership); },
        [&] { return aggsvc_get_pc_mbr_ifidx_from_rbh(1, 0, &number); },
    };
    for (std::size_t n = 0; n < questions.size(); ++n) {
        EXPECT_EQ(questions[n](), bad) << n;
        EXPECT_EQ(said(), "the service's answer is no number") << n;
    }
    EXPECT_EQ(number, untouched);
    EXPECT_EQ(uint32_t{info.first_operational_mbr}, untouched);
    EXPECT_EQ(uint32_t{membership.pc_ifindex}, untouched);
}

TEST_F(ClientAnswers, OfAnotherTypeAreZeroFromAFunctionThatGivesItsValue)
{
    fake_service wrong(socket, 0, 0);
    ASSERT_NO_FATAL_FAILURE(connect_to(wrong));
    const uint8_t mac[6] = {2, 0, 0, 0, 0, 1};
    const std::vector<std::function<uint32_t()>> questions = {
        [] { return ifsvc_is_linkup(1); },
        [] { return ifsvc_get_if_mtu(1); },
        [] { return ifsvc_get_extension(1, 2); },
        [] { return ifsvc_is_extension_set(1, 2); },
        [] { return ifsvc_get_svi_iod_for_vlan(1, 2); },
        [] { return vrfsvc_if_get_context_id(1); },
        [] { return vrfsvc_if_get_table_id(1, 1, "base"); },
        [&] { return ifsvc_is_if_mac_addr(1, mac); },
        [&] { return static_cast<uint32_t>(ifsvc_get_private_data(1, 2, &number)); },
    };
    for (std::size_t n = 0; n < questions.size(); ++n) {
        EXPECT_EQ(questions[n](), 0u) << n;
        EXPECT_EQ(varn_device_last_error(), bad) << n;
        varn_device_clear_error();
    }
    EXPECT_EQ(number, 0u) << "the size of no block";
}

TEST_F(ClientAnswers, OfAnotherTypeAreNamedForWhatTheyAreNot)
{
    fake_service wrong(socket, 0, 0);
    ASSERT_NO_FATAL_FAILURE(connect_to(wrong));
    uint8_t mac[6] = {2, 0, 0, 0, 0, 1};
    vlan_key_t key = {1, 2};
    char name[16] = "before";
    ifsvc_port_mode_t mode{};
    mode.port_mode = untouched;
    uint64_t all = untouched, mine = untouched;
    const char *word = "save", *answer = "before";
    EXPECT_EQ(ifsvc_get_if_src_mac_addr(1, mac), bad);
    EXPECT_EQ(said(), "the service's answer is no block of bytes");
    EXPECT_EQ(ifsvc_get_vlan_info(1, &key, &number), bad);
    EXPECT_EQ(said(), "the service's answer is no VLAN");
    EXPECT_STREQ(ifsvc_get_if_name(7), "(unknown interface 7)");
    EXPECT_EQ(said(), "the service's answer is no text");
    EXPECT_EQ(ifsvc_get_ifindex_name(7, name, sizeof name), bad);
    EXPECT_EQ(said(), "the service's answer is no text");
    EXPECT_EQ(ifsvc_get_ifindex_port_mode_list(&mode, 1), bad);
    EXPECT_EQ(said(), "the service's answer is no list of port modes");
    EXPECT_EQ(vlan_get_bd(key, &narrow), bad);
    EXPECT_EQ(said(), "the service's answer is no bridge domain");
    EXPECT_EQ(vlan_get_bd_and_primary_vlan(key, &narrow, &number), bad);
    EXPECT_EQ(said(), "the service's answer is no bridge domain");
    EXPECT_EQ(varn_device_list_iods(&number, 1, &other), bad);
    EXPECT_EQ(said(), "the service's answer is no list");
    EXPECT_EQ(varn_device_stats(&all, &mine), bad);
    EXPECT_EQ(said(), "the service's answer is no count");
    EXPECT_EQ(varn_device_change(&word, 1, &answer), bad);
    EXPECT_EQ(said(), "the service's answer is no text");

    EXPECT_EQ(mac[5], 1);
    EXPECT_EQ(uint32_t{key.vlan}, 2u);
    EXPECT_EQ(mode.port_mode, untouched);
    EXPECT_STREQ(answer, "before");
    EXPECT_EQ(number, untouched);
    EXPECT_EQ(other, untouched);
    EXPECT_EQ(narrow, 47);
    EXPECT_EQ(all + mine, 2 * untouched);
}

TEST_F(ClientAnswers, OfTheWrongLengthAreABadAnswer)
{
    uint8_t mac[6] = {2, 0, 0, 0, 0, 1};
    {
        fake_service wrong(socket, 'y', 5);
        ASSERT_NO_FATAL_FAILURE(connect_to(wrong));
        EXPECT_EQ(ifsvc_get_if_src_mac_addr(1, mac), bad);
        EXPECT_EQ(said(), "the service's answer is no MAC address");
        EXPECT_EQ(mac[5], 1);
    }
    fake_service wrong(socket, 'u', 3);
    ASSERT_NO_FATAL_FAILURE(connect_to(wrong));
    ifsvc_port_mode_t modes[2] = {};
    modes[0].port_mode = untouched;
    EXPECT_EQ(ifsvc_get_ifindex_port_mode_list(modes, 2), bad);
    EXPECT_EQ(said(), "the service's answer is no list of port modes");
    EXPECT_EQ(modes[0].port_mode, untouched);
}

TEST_F(ClientAnswers, WithoutABlockAreNoPrivateData)
{
    fake_service empty(socket, 'y', 0);
    ASSERT_NO_FATAL_FAILURE(connect_to(empty));
    EXPECT_EQ(ifsvc_get_private_data(1, 2, &number), 0u);
    EXPECT_EQ(number, 0u);
    EXPECT_EQ(varn_device_last_error(), VARN_DEVICE_OK);
}

TEST_F(ClientAnswers, ThatRefuseASubscriptionAreToldAndLeaveNoneInForce)
{
    fake_service wrong(socket, 0, 0);
    ASSERT_NO_FATAL_FAILURE(connect_to(wrong));
    const varn_device_notices_t callbacks{};
    EXPECT_EQ(varn_device_subscribe(&callbacks), VARN_DEVICE_E_REFUSED);
    EXPECT_EQ(said(), "the service gives no notices");
    EXPECT_EQ(varn_device_dispatch(0), 0u);
}

// No request is sent for what cannot be asked.
TEST_F(ClientAnswers, AreNotWaitedForWhereAnArgumentIsMissing)
{
    const uint64_t before = varn_device_requests();
    const char *const words[] = {"set", nullptr};
    EXPECT_EQ(varn_device_change(words, 2, nullptr), VARN_DEVICE_E_ARGUMENT);
    EXPECT_EQ(said(), "a word of the change is missing");
    EXPECT_EQ(varn_device_change(nullptr, 1, nullptr), VARN_DEVICE_E_ARGUMENT);
    EXPECT_EQ(said(), "a word of the change is missing");
    EXPECT_EQ(ifsvc_get_ifindex_port_mode_list(nullptr, 1), VARN_DEVICE_E_ARGUMENT);
    EXPECT_EQ(said(), "no list of port modes");
    EXPECT_EQ(ifsvc_get_ifindex_name(1, nullptr, 4), VARN_DEVICE_E_ARGUMENT);
    EXPECT_EQ(said(), "no room for a name");
    EXPECT_EQ(varn_device_requests(), before);
}

} // namespace
