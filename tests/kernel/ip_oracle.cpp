// SPDX-License-Identifier: Apache-2.0
//
// ip_oracle.cpp: `ip -d -j link` and `bridge -j vlan`, and one function for each answer.
#include "ip_oracle.h"

#include <algorithm>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "process.h"

namespace
{

using nlohmann::json;
using std::string;

json parsed_output(const std::vector<string> &command)
{
    const finished done = run(command);
    EXPECT_EQ(done.exit_code, 0) << fmt::format("{}", fmt::join(command, " ")) << "\n" << done.err;
    // A list without anything in it is printed as nothing at all by some of them.
    return done.out.empty() ? json::array() : json::parse(done.out);
}

struct vlans_of_port {
    unsigned pvid = 0;
    unsigned carried = 0; // how many
    bool tagged = false;
};

class oracle
{
public:
    oracle(const iods &order, const std::set<string> &not_served);
    picture paint() const;

private:
    const json *find(const json &link, const char *reference) const;
    string master_of_kind(const json &link, const std::vector<string> &kinds) const;
    const json *filtering_bridge(const json &link) const;
    unsigned type(const json &link) const;
    unsigned vlan(const json &link) const;
    unsigned port_mode(const json &link) const;
    string routing_context(const json &link) const;
    unsigned table(const json &link) const;
    string members(const json &link) const;
    string flags(const json &link) const;
    void paint(const json &link, picture &to) const;

    const iods &order_;
    std::map<string, json> links_;
    std::map<string, vlans_of_port> vlans_;
};

bool has_flag(const json &link, const char *flag)
{
    return std::ranges::find(link["flags"], json(flag)) != link["flags"].end();
}

string text_at(const json &link, const char *pointer)
{
    return link.value(json::json_pointer(pointer), string());
}

string kind(const json &link) { return text_at(link, "/linkinfo/info_kind"); }

bool is_one_of(const string &what, const std::vector<string> &list)
{
    return std::ranges::find(list, what) != list.end();
}

bool has_link(const json &link) { return has_flag(link, "LOWER_UP"); }

bool is_operational(const json &link)
{
    const string state = link["operstate"];
    return has_link(link) && has_flag(link, "UP") && (state == "UP" || state == "UNKNOWN");
}

// The device's numbers for what ip calls a link type.
unsigned encap(const json &link)
{
    const std::map<string, unsigned> numbers = {
        {"ether", 1}, {"loopback", 2}, {"ppp", 3},     {"gre", 4},        {"gre6", 4},
        {"sit", 5},   {"ipip", 6},     {"tunnel6", 6}, {"infiniband", 7}, {"none", 8}};
    const auto at = numbers.find(link["link_type"]);
    return at == numbers.end() ? 0 : at->second;
}

// Tunnels have addresses of other lengths, which are no MAC addresses.
string mac(const json &link)
{
    const string address = link.value("address", string());
    return address.size() == 17 ? address : "00:00:00:00:00:00";
}

std::map<string, vlans_of_port> read_vlans()
{
    std::map<string, vlans_of_port> ports;
    for (const json &port : parsed_output({"/sbin/bridge", "-j", "vlan", "show"})) {
        vlans_of_port &found = ports[port["ifname"]];
        for (const json &vlan : port["vlans"]) {
            const json shown_flags = vlan.value("flags", json::array());
            const auto is = [&](const char *flag) {
                return std::ranges::find(shown_flags, json(flag)) != shown_flags.end();
            };
            const unsigned first = vlan["vlan"];
            found.carried += vlan.value("vlanEnd", first) - first + 1;
            found.tagged = found.tagged || !is("Egress Untagged");
            if (is("PVID"))
                found.pvid = first;
        }
    }
    return ports;
}

oracle::oracle(const iods &order, const std::set<string> &not_served)
    : order_(order), vlans_(read_vlans())
{
    for (const json &link : parsed_output({"/sbin/ip", "-d", "-j", "link"}))
        if (!not_served.contains(link["ifname"]))
            links_[link["ifname"]] = link;
}

const json *oracle::find(const json &link, const char *reference) const
{
    const auto at = links_.find(link.value(reference, string()));
    return at == links_.end() ? nullptr : &at->second;
}

// Its name, or "".
string oracle::master_of_kind(const json &link, const std::vector<string> &kinds) const
{
    const json *master = find(link, "master");
    if (master == nullptr || !is_one_of(kind(*master), kinds))
        return "";
    return (*master)["ifname"];
}

const json *oracle::filtering_bridge(const json &link) const
{
    const json *master = find(link, "master");
    const bool filters = master != nullptr && kind(*master) == "bridge" &&
                         (*master)["linkinfo"]["info_data"]["vlan_filtering"] != 0;
    return filters ? master : nullptr;
}

unsigned oracle::type(const json &link) const
{
    const string is = kind(link);
    if (has_flag(link, "LOOPBACK"))
        return 20;
    if (is.empty() || is == "veth" || is == "dummy")
        return 26;
    if (is == "bond" || is == "team")
        return 22;
    if (is_one_of(is, {"gre", "gretap", "ip6gre", "ip6gretap"}))
        return 24;
    if (is == "sit")
        return 28;
    if (is != "vlan")
        return 30;
    const json *parent = find(link, "link");
    return parent != nullptr && kind(*parent) == "bridge" ? 9 : 27;
}

unsigned oracle::vlan(const json &link) const
{
    if (kind(link) == "vlan")
        return link["linkinfo"]["info_data"]["id"];
    const auto at = vlans_.find(link["ifname"]);
    return filtering_bridge(link) == nullptr || at == vlans_.end() ? 0 : at->second.pvid;
}

unsigned oracle::port_mode(const json &link) const
{
    if (master_of_kind(link, {"bridge"}).empty())
        return 0x200;
    const auto at = vlans_.find(link["ifname"]);
    if (filtering_bridge(link) == nullptr || at == vlans_.end())
        return 1;
    return at->second.carried > 1 || at->second.tagged ? 2 : 1;
}

// The name of its VRF, its own if it is one.
string oracle::routing_context(const json &link) const
{
    return kind(link) == "vrf" ? string(link["ifname"]) : master_of_kind(link, {"vrf"});
}

unsigned oracle::table(const json &link) const
{
    const string vrf = routing_context(link);
    return vrf.empty() ? 254 : unsigned{links_.at(vrf)["linkinfo"]["info_data"]["table"]};
}

// The operational members by their iods, then which of them the sixteen buckets go to.
string oracle::members(const json &link) const
{
    std::map<std::uint32_t, string> found;
    for (const auto &[name, other] : links_)
        if (other.value("master", string()) == link["ifname"] && is_operational(other))
            found[order_.contains(name) ? order_.at(name) : 0] = name;
    std::vector<string> operational, buckets;
    for (const auto &[iod, name] : found)
        operational.push_back(name);
    for (std::size_t n = 0; n < 16 && !operational.empty(); ++n)
        buckets.push_back(operational[n % operational.size()]);
    return fmt::format("first {} buckets {}", operational.empty() ? "none" : operational[0],
                       buckets.empty() ? "none" : fmt::format("{}", fmt::join(buckets, ",")));
}

string oracle::flags(const json &link) const
{
    const unsigned is = type(link);
    const bool switchport = !master_of_kind(link, {"bridge"}).empty();
    return words({{"link", has_link(link)},
                  {"protocol", is_operational(link)},
                  {"switchport", switchport},
                  {"switching",
                   switchport && text_at(link, "/linkinfo/info_slave_data/state") == "forwarding"},
                  {"ethernet", link["link_type"] == "ether"},
                  {"vlan", kind(link) == "vlan"},
                  {"p2p", has_flag(link, "POINTOPOINT")},
                  {"loopback", has_flag(link, "LOOPBACK")},
                  {"gre", is == 24},
                  {"port-channel", is == 22},
                  {"6to4", is == 28},
                  {"svi", is == 9}});
}

void oracle::paint(const json &link, picture &to) const
{
    const string name = link["ifname"];
    const auto put = [&](const char *what, const string &value) { to[name + " " + what] = value; };
    const unsigned is = type(link);
    put("name", name);
    put("type", std::to_string(is));
    put("identity", "there and back");
    put("flags", flags(link));
    put("mtu", std::to_string(std::min(unsigned{link["mtu"]}, 65535U)));
    put("encap", std::to_string(encap(link)));
    put("mac", mac(link));
    put("vlan", std::to_string(vlan(link)));
    put("port mode", fmt::format("{:#x}", port_mode(link)));
    put("table", std::to_string(table(link)));
    const json *parent = kind(link) == "vlan" ? find(link, "link") : nullptr;
    if (parent != nullptr)
        put("parent", (*parent)["ifname"]);
    if (is == 26) // asked of ports only
        put("port-channel", master_of_kind(link, {"bond", "team"}));
    if (is == 22)
        put("members", members(link));
}

picture oracle::paint() const
{
    picture painted;
    std::map<string, string> contexts;
    for (const auto &[name, link] : links_) {
        paint(link, painted);
        contexts[name] = routing_context(link);
    }
    for (const auto &[name, context] : groups(contexts))
        painted[name + " context"] = context;
    return painted;
}

} // namespace

picture told_by_ip(const iods &order, const std::set<string> &not_served)
{
    return oracle(order, not_served).paint();
}
