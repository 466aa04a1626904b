// SPDX-License-Identifier: Apache-2.0
//
// Every allocation of every operation that allocates fails: once, and from then on for ever. A sweep
// goes from allocation to allocation and ends at the first run in which none was left to fail.
#include "operations.h"
#include "platform_faults.h"

#include "varn_fixture.h"

#include <cerrno>
#include <cstdio>
#include <map>

namespace
{

unsigned long failed_allocations;
unsigned long allocating_operations;

// What an operation gives when its memory is wanting: the entry itself, or what depends on it.
std::string stated_without_memory(const operation &which, const std::string &clean)
{
    if (!which.hangs_on.contains("memacct_alloc"))
        return clean;
    static const std::map<std::string, std::string> stated{
        {"create_by_if", "null"},
        {"create_by_iod", "null"},
        {"create_by_pi", "null"},
        {"create_by_lif", "null"},
        {"find_by_iod", "null"},
        {"pc_create", "null"},
        {"vlan_create", "null"},
        {"update_private_data", "0"},
        {"first_member_moved", "0"},
        {"pc_mbr_from_rbh", "0x1 -> 0x0"},
        // The service's own answer, where that of the cache differs.
        {"get_extension", "0x5a"},
        {"ifindex_to_lif", "0x0 -> 0x2007"},
        {"port_mode", "0x0 -> 0x200"},
    };
    return stated.at(which.name);
}

class AllocationSweep : public testing::TestWithParam<operation>
{
protected:
    ~AllocationSweep() override { disarm_all(); }

    enum class failing { once, for_ever };

    // True when there was an nth allocation to fail.
    bool fails_at(unsigned long nth, failing how, const std::string &clean)
    {
        SCOPED_TRACE(spell("allocation ", dec(nth), how == failing::once ? " once" : " for ever"));
        prepare(situation::missing);
        if (how == failing::once)
            on(memacct_alloc).fails_call(nth);
        else
            on(memacct_alloc).fails_after(nth - 1);
        errno = 0;
        const std::string output = captured_stdout([&] { result_ = GetParam().run(); });
        const bool failed = on(memacct_alloc).asked() >= nth;
        on(memacct_alloc).as_usual();
        if (failed)
            check_failed(output, clean);
        check_aftermath(clean);
        return failed;
    }

private:
    void check_failed(const std::string &output, const std::string &clean)
    {
        ++failed_allocations;
        EXPECT_EQ(result_, stated_without_memory(GetParam(), clean));
        EXPECT_EQ(errno, ENOMEM);
        EXPECT_EQ(output.substr(0, 24), "Warning! Malloc Failure ");
    }

    // Nothing is leaked, the invariants hold, and the next call works.
    void check_aftermath(const std::string &clean)
    {
        EXPECT_EQ(broken_after_faults(false), "");
        empty_the_cache();
        EXPECT_EQ(live_blocks().size(), 0u);
        EXPECT_EQ(GetParam().run(), clean);
        EXPECT_EQ(broken_after_faults(false), "");
    }

    std::string result_;
};

TEST_P(AllocationSweep, FailsAsStatedLeaksNothingAndTheNextCallWorks)
{
    prepare(situation::missing);
    const std::string clean = GetParam().run();
    unsigned long nth = 1;
    while (fails_at(nth, failing::once, clean) && !HasFailure())
        fails_at(nth++, failing::for_ever, clean);
    if (nth > 1)
        ++allocating_operations;
}

INSTANTIATE_TEST_SUITE_P(OfEveryOperation, AllocationSweep, testing::ValuesIn(operations()),
                         [](const auto &each) { return std::string(each.param.name); });

class tell_of_allocations : public testing::Environment
{
    void TearDown() override
    {
        std::printf("failed allocations: %lu in %lu operations\n", failed_allocations,
                    allocating_operations);
    }
};
testing::Environment *const allocations_told =
    testing::AddGlobalTestEnvironment(new tell_of_allocations);

} // namespace
