// SPDX-License-Identifier: Apache-2.0
//
// rtnetlink: messages of the kernel, with any attributes in them, read into facts and told to a
// model as the kernel source does it. Reading is the same each time, what is refused leaves nothing
// behind, and no answer of the model changes untold.
//
//   each message: its kind, its length (two bytes), then what stands behind the netlink header
#include "device/runtime/if_index_types.h"
#include "if_index.h"
#include "input.h"
#include "link_facts.h"
#include "model_watch.h"
#include "port_vlans.h"

#include <memory>

#include <fmt/format.h>
#include <linux/rtnetlink.h>
#include <netlink/msg.h>

namespace
{

using fuzz::input;
using fuzz::u16;
using fuzz::u32;

constexpr std::size_t most_messages = 24;
constexpr std::size_t most_bytes = 1500; // of one message

struct free_message {
    void operator()(nl_msg *gone) const { nlmsg_free(gone); }
};
using message = std::unique_ptr<nl_msg, free_message>;

// The kernel's own length is always right; what stands in the message need not be.
message read_message(input &given)
{
    const int kind = static_cast<int>(given.one_of({RTM_NEWLINK, RTM_DELLINK, RTM_NEWADDR}));
    const std::size_t size = given.half() % most_bytes;
    std::vector<fuzz::u8> payload = given.bytes(size);
    payload.resize(std::max(payload.size(), sizeof(ifinfomsg)));
    message made(nlmsg_alloc_simple(kind, 0));
    nlmsg_set_proto(made.get(), NETLINK_ROUTE);
    const int result = nlmsg_append(made.get(), payload.data(), payload.size(), 0);
    fuzz::expect(result >= 0, "a message has room for its bytes");
    return made;
}

class source
{
public:
    void take(nl_msg *told)
    {
        const nlmsghdr *header = nlmsg_hdr(told);
        const auto *about = static_cast<const ifinfomsg *>(nlmsg_data(header));
        fuzz::the_steps().push_back(fmt::format("message {} about {}, {} bytes", header->nlmsg_type,
                                                about->ifi_index, header->nlmsg_len));
        if (header->nlmsg_type == RTM_DELLINK && about->ifi_family == AF_UNSPEC)
            model_.remove(static_cast<u32>(about->ifi_index));
        take_link(told);
        take_vlans(told);
        model_.settle();
        watch_.check();
    }

private:
    void take_link(nl_msg *told)
    {
        device::link_facts facts, again;
        const bool is_link = device::read_link_facts(told, facts);
        fuzz::expect(device::read_link_facts(told, again) == is_link && again == facts,
                     "a message is read alike each time");
        if (!is_link)
            return;
        fuzz::expect(facts.key != 0, "a link has an ordinal");
        const device::interface *parent = model_.find_key(facts.parent_key);
        if (facts.type == IF_INDEX_TYPE_VLAN_SUBIF && parent != nullptr &&
            parent->masters == device::mastery::bridge)
            facts.type = IF_INDEX_TYPE_SVI;
        const std::size_t before = model_.interfaces().size();
        if (!model_.put(facts))
            fuzz::expect(model_.interfaces().size() <= before, "a refused link is not there");
    }

    void take_vlans(nl_msg *told)
    {
        u32 key = 0;
        device::carried_vlans vlans;
        if (device::read_port_vlans(told, key, vlans)) {
            fuzz::expect(key != 0, "a port has an ordinal");
            ports_[key] = vlans;
        }
        std::map<u32, device::port_vlans> summaries;
        for (const auto &[port, carried] : ports_)
            summaries[port] = carried.summary;
        model_.set_bridge_vlans(summaries);
        const device::vlan_set there = device::vlans_of_device(model_, ports_);
        for (u16 vlan = 1; vlan <= IF_INDEX_VLAN_MAX; ++vlan)
            if (there[vlan])
                model_.put_vlan(vlan, {});
            else
                model_.remove_vlan(vlan);
    }

    device::device_model model_;
    fuzz::model_watch watch_{model_};
    std::map<u32, device::carried_vlans> ports_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::the_steps().clear();
    input given(data, size);
    source kernel;
    for (std::size_t n = 0; !given.is_over() && n < most_messages; ++n)
        kernel.take(read_message(given).get());
    return 0;
}
