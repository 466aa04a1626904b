// SPDX-License-Identifier: Apache-2.0
//
// client_failures_tests.cpp: what a client is told when the service is gone, silent or new.
#include <csignal>

#include "ifsvc.h"
#include "running_device.h"
#include "varn_device.h"

namespace
{

// A request that waits for an answer in vain takes the time-out at least: what takes less did not.
constexpr long below_default_time_out = 1900;

class ClientFailures : public RunningDevice
{
protected:
    uint32_t ask()
    {
        uint32_t if_index = 0;
        return ifsvc_get_ifindex_frm_iod(1, &if_index);
    }

    void kill_service()
    {
        service->send(SIGKILL);
        service->wait();
    }
};

TEST_F(ClientFailures, AServiceThatDiesBetweenTwoRequestsIsACodeAtOnce)
{
    EXPECT_EQ(ask(), VARN_DEVICE_OK);
    kill_service();
    uint32_t code = 0;
    EXPECT_LT(milliseconds([&] { code = ask(); }), below_default_time_out);
    EXPECT_EQ(code, VARN_DEVICE_E_NO_SERVICE);
    EXPECT_EQ(varn_device_last_error(), VARN_DEVICE_E_NO_SERVICE);
    EXPECT_EQ(varn_device_last_error_text(), "no service at " + socket + ": Connection refused");
    EXPECT_EQ(ifsvc_is_linkup(1), 0u);
}

TEST_F(ClientFailures, ASilentServiceIsACodeWithinTheTimeOut)
{
    EXPECT_EQ(ask(), VARN_DEVICE_OK);
    varn_device_set_timeout(300);
    service->send(SIGSTOP);
    uint32_t code = 0;
    const long took = milliseconds([&] { code = ask(); });
    EXPECT_EQ(code, VARN_DEVICE_E_TIMEOUT);
    EXPECT_GE(took, 290);
    EXPECT_LT(took, below_default_time_out);
    EXPECT_EQ(varn_device_last_error_text(), "the service at " + socket + " does not answer");
    service->send(SIGCONT);
}

TEST_F(ClientFailures, AServiceThatIsSilentFromTheGreetingOnIsACodeToo)
{
    varn_device_disconnect();
    varn_device_set_timeout(300);
    service->send(SIGSTOP);
    uint32_t code = 0;
    EXPECT_LT(milliseconds([&] { code = ask(); }), below_default_time_out);
    EXPECT_EQ(code, VARN_DEVICE_E_TIMEOUT);
    service->send(SIGCONT);
}

TEST_F(ClientFailures, TheDefaultTimeOutIsTwoSeconds)
{
    service->send(SIGSTOP);
    uint32_t code = 0;
    const long took = milliseconds([&] { code = ask(); });
    EXPECT_EQ(code, VARN_DEVICE_E_TIMEOUT);
    EXPECT_GE(took, 1900);
    EXPECT_LT(took, 2 * below_default_time_out);
    service->send(SIGCONT);
}

TEST_F(ClientFailures, AfterAFailureRequestsFailAtOnceUntilThePauseIsOver)
{
    varn_device_set_timeout(300);
    service->send(SIGSTOP);
    EXPECT_EQ(ask(), VARN_DEVICE_E_TIMEOUT);
    const uint64_t sent = varn_device_requests();
    // The first pause may be over before a slow machine gets to ask again; a later one is longer.
    EXPECT_TRUE(eventually(
        [&] { return milliseconds([&] { EXPECT_EQ(ask(), VARN_DEVICE_E_TIMEOUT); }) < 200; }));
    EXPECT_EQ(varn_device_requests(), sent);
    EXPECT_EQ(varn_device_last_error_text(), "the service at " + socket + " does not answer");
    service->send(SIGCONT);
    EXPECT_TRUE(eventually([&] { return ask() == VARN_DEVICE_OK; }));
}

TEST_F(ClientFailures, ALateAnswerIsNotTakenForThatOfTheNextRequest)
{
    const uint32_t lo = iod_of("lo"), port = iod_of("port0");
    varn_device_set_timeout(100);
    service->send(SIGSTOP);
    EXPECT_EQ(ifsvc_get_if_mtu(lo), 0u);
    service->send(SIGCONT);
    varn_device_set_timeout(0);
    uint32_t mtu = 0;
    EXPECT_TRUE(eventually([&] { return (mtu = ifsvc_get_if_mtu(port)) != 0; }));
    EXPECT_EQ(mtu, 1500u);
}

TEST_F(ClientFailures, ARestartBetweenTwoRequestsCostsNone)
{
    EXPECT_EQ(ask(), VARN_DEVICE_OK);
    kill_service();
    service =
        std::make_unique<running_process>(std::vector<std::string>{DEVICED, "--socket", socket});
    // Another client waits for it: this one makes no attempt of its own.
    EXPECT_TRUE(eventually([&] {
        return run({VARNSH, "--socket", socket, "-c", "show interfaces"}).exit_code == 0;
    }));
    EXPECT_EQ(ask(), VARN_DEVICE_OK);
}

TEST_F(ClientFailures, AServiceThatComesBackIsFoundAgain)
{
    kill_service();
    EXPECT_EQ(ask(), VARN_DEVICE_E_NO_SERVICE);
    service =
        std::make_unique<running_process>(std::vector<std::string>{DEVICED, "--socket", socket});
    EXPECT_TRUE(eventually([&] { return ask() == VARN_DEVICE_OK; }));
}

TEST_F(ClientFailures, APathThatCannotBeASocketIsRefused)
{
    EXPECT_EQ(varn_device_connect(("/" + std::string(200, 'x')).c_str()), VARN_DEVICE_E_ARGUMENT);
    EXPECT_EQ(varn_device_connect((folder + "/none.sock").c_str()), VARN_DEVICE_E_NO_SERVICE);
}

TEST_F(ClientFailures, TheEnvironmentNamesTheSocketWhereTheClientDoesNot)
{
    EXPECT_EQ(varn_device_connect(nullptr), VARN_DEVICE_OK);
    setenv("VARN_DEVICE_SOCKET", (folder + "/none.sock").c_str(), 1);
    EXPECT_EQ(varn_device_connect(nullptr), VARN_DEVICE_E_NO_SERVICE);
}

TEST_F(ClientFailures, ASuccessKeepsTheLastErrorUntilItIsCleared)
{
    ifsvc_is_linkup(4711);
    EXPECT_EQ(ask(), VARN_DEVICE_OK);
    EXPECT_EQ(varn_device_last_error(), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_STREQ(varn_device_last_error_text(), "no interface has iod 0x1267");
    varn_device_clear_error();
    EXPECT_EQ(varn_device_last_error(), VARN_DEVICE_OK);
    EXPECT_STREQ(varn_device_last_error_text(), "");
}

} // namespace
