// SPDX-License-Identifier: Apache-2.0
//
// One row a platform function. A row's kind says what a failure is: a code, a zero, or (for a
// question with a value for its answer) nothing but odd values. Functions without a result cannot
// go wrong and have no row.
#include "platform_faults.h"

#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <utility>

using namespace scripted;

namespace
{

using u32 = std::uint32_t;

// A platform function with the calls of it that are armed, each with the number of its way.
class armed_function
{
public:
    explicit armed_function(function_address function) : function_(function) {}
    armed_function(const armed_function &) = delete;
    armed_function &operator=(const armed_function &) = delete;
    virtual ~armed_function() = default;

    unsigned long asked() const { return find_service(function_).asked; }
    void arm(unsigned long nth, std::size_t way)
    {
        if (armed_.empty())
            install();
        armed_[nth] = way;
    }
    void disarm()
    {
        armed_.clear();
        find_service(function_).drop_rules();
    }

protected:
    // From now on each call of the function comes to way_of.
    virtual void install() = 0;
    // Null of a call that is not armed.
    const std::size_t *way_of(unsigned long nth) const
    {
        const auto found = armed_.find(nth);
        return found == armed_.end() ? nullptr : &found->second;
    }

private:
    function_address function_;
    std::map<unsigned long, std::size_t> armed_;
};

std::vector<std::unique_ptr<armed_function>> &all_functions()
{
    static std::vector<std::unique_ptr<armed_function>> all;
    return all;
}

misbehaviour misbehaviour_of(armed_function &function, std::size_t way, const char *what)
{
    return {what, [&function, way](unsigned long nth) { function.arm(nth, way); }};
}

platform_function described(armed_function &function, const char *name)
{
    return {name, [&function] { return function.asked(); }, {}};
}

// ---- Filling the outputs of a call that succeeds

template <typename Argument>
void fill(Argument, u32)
{
}
void fill(u32 *output, u32 value) { *output = value; }
void fill(std::uint16_t *output, u32 value) { *output = static_cast<std::uint16_t>(value); }
void fill(vlan_key_t *output, u32 value) { *output = {static_cast<std::uint16_t>(value), value}; }
void fill(aggsvc_pc_info_t *output, u32 value) { output->first_operational_mbr = value; }
void fill(aggsvc_pc_for_port_t *output, u32 value) { output->pc_ifindex = value; }
void fill(ifsvc_port_mode_t *output, u32 value) { output->port_mode = value; }

// ---- Making a row

// What a call that goes wrong does.
template <typename Result, typename... Args>
struct deed {
    Result result{};
    bool fills = false; // the outputs with the value
    u32 value = 0;
    Result (*act)(Args...) = nullptr; // instead of all this
};

template <typename Result, typename... Args>
class misbehaving final : public armed_function
{
public:
    explicit misbehaving(Result (*function)(Args...))
        : armed_function(reinterpret_cast<function_address>(function)), function_(function)
    {
    }

    std::array<deed<Result, Args...>, 5> ways{};

private:
    void install() override
    {
        on(function_).does([this, seen = 0ul](Args... args) mutable -> Result {
            const std::size_t *way = way_of(++seen);
            return way == nullptr ? on(function_).by_default(args...) : done(ways[*way], args...);
        });
    }
    static Result done(const deed<Result, Args...> &what, Args... args)
    {
        if (what.act != nullptr)
            return what.act(args...);
        if (what.fills)
            (fill(args, what.value), ...);
        return what.result;
    }

    Result (*function_)(Args...);
};

template <typename Result, typename... Args>
class row
{
public:
    row(const char *name, Result (*function)(Args...))
    {
        auto made = std::make_unique<misbehaving<Result, Args...>>(function);
        function_ = made.get();
        described_ = described(*made, name);
        all_functions().push_back(std::move(made));
    }

    row &way(const char *what, Result (*act)(Args...)) { return add(what, {{}, false, 0, act}); }
    row &answers(const char *what, Result result) { return add(what, {result}); }
    row &answers_filled(const char *what, Result result, u32 value)
    {
        return add(what, {result, true, value});
    }
    // Said of the way named last.
    row &breaking_the_contract()
    {
        described_.ways.back().breaks_the_contract = true;
        return *this;
    }

    operator platform_function() const { return described_; }

private:
    row &add(const char *what, const deed<Result, Args...> &done)
    {
        const std::size_t number = described_.ways.size();
        function_->ways.at(number) = done;
        described_.ways.push_back(misbehaviour_of(*function_, number, what));
        return *this;
    }

    misbehaving<Result, Args...> *function_;
    platform_function described_;
};

// 0 is success; a failure leaves the outputs alone.
template <typename... Args>
row<u32, Args...> code(const char *name, u32 (*function)(Args...))
{
    return row<u32, Args...>(name, function)
        .answers("fails with 0x41", 0x41)
        .answers("fails with 0xffffffff", 0xFFFFFFFF)
        .answers_filled("gives zeros", 0, 0)
        .answers_filled("gives ones", 0, 0xFFFFFFFF);
}

template <typename Result, typename... Args>
row<Result, Args...> value(const char *name, Result (*function)(Args...))
{
    return row<Result, Args...>(name, function)
        .answers("says 0", 0)
        .answers("says 2", 2)
        .answers("says ones", static_cast<Result>(-1));
}

// 0 or null is failure.
template <typename Result, typename... Args>
row<Result, Args...> zero(const char *name, Result (*function)(Args...))
{
    return row<Result, Args...>(name, function).answers("fails", Result{});
}

u32 write_type(std::uint8_t *type, std::uint8_t value) { return *type = value, 0; }

u32 write_mac(std::uint8_t *mac, std::uint8_t value)
{
    std::memset(mac, value, 6);
    return 0;
}

// As long as the buffer allows.
u32 write_long_name(char *buffer, u32 size)
{
    std::memset(buffer, 'n', size);
    buffer[size - 1] = '\0';
    return 0;
}

const char *long_name()
{
    static const std::string name(4000, 'n');
    return name.c_str();
}

row<u32, u32, std::uint8_t *> type_row()
{
    return row<u32, u32, std::uint8_t *>("if_index_get_type", if_index_get_type)
        .answers("fails with 0x41", 0x41)
        .answers("fails with 0xffffffff", 0xFFFFFFFF)
        .way("gives 0", [](u32, std::uint8_t *type) { return write_type(type, 0); })
        .way("gives 255", [](u32, std::uint8_t *type) { return write_type(type, 255); });
}

row<u32, u32, std::uint8_t *> mac_row()
{
    return row<u32, u32, std::uint8_t *>("ifsvc_get_if_src_mac_addr", ifsvc_get_if_src_mac_addr)
        .answers("fails with 0x41", 0x41)
        .way("gives zeros", [](u32, std::uint8_t *mac) { return write_mac(mac, 0); })
        .way("gives ones", [](u32, std::uint8_t *mac) { return write_mac(mac, 0xFF); });
}

row<u32, u32, u32 *> iod_row()
{
    return row<u32, u32, u32 *>("ifsvc_get_iod_frm_ifindex", ifsvc_get_iod_frm_ifindex)
        .answers("fails with 0x41", 0x41)
        .answers("fails with 0xffffffff", 0xFFFFFFFF)
        .answers_filled("gives ones", 0, 0xFFFFFFFF)
        .answers_filled("gives iod 0", 0, 0)
        .breaking_the_contract();
}

row<u32, u32, char *, u32> name_row()
{
    return row<u32, u32, char *, u32>("ifsvc_get_ifindex_name", ifsvc_get_ifindex_name)
        .way("fails with 0x41", [](u32, char *buffer, u32) { return *buffer = '\0', 0x41u; })
        .way("fills the buffer",
             [](u32, char *buffer, u32 size) { return write_long_name(buffer, size); });
}

row<u32, u32, vlan_key_t *, u32 *> vlan_info_row()
{
    return row<u32, u32, vlan_key_t *, u32 *>("ifsvc_get_vlan_info", ifsvc_get_vlan_info)
        .answers("fails", 0)
        .answers("fails with 0xffffffff", 0xFFFFFFFF)
        .answers_filled("gives zeros", 1, 0)
        .answers_filled("gives ones", 1, 0xFFFFFFFF);
}

#define ROW(kind, function) kind(#function, function)

std::vector<platform_function> make_rows()
{
    return {
        ROW(zero, ht_init),
        ROW(zero, ht_cleanup),
        ROW(zero, ht_insert),
        ROW(zero, ht_lookup).breaking_the_contract(),
        ROW(zero, ht_remove_entry).breaking_the_contract(),
        ROW(zero, ht_iterator_init),
        ROW(zero, ht_iterator_next),
        ROW(zero, ht_get_stats),
        ROW(zero, memacct_alloc),
        ROW(code, memacct_init),
        ROW(code, histlog_his_log_event_for_uuid_inst),
        ROW(value, thrsvc_get_thread_pid),
        type_row(),
        ROW(code, if_index_vlan_port_init),
        ROW(value, bitset_is_bit_set),
        ROW(value, ifsvc_is_linkup),
        ROW(value, ifsvc_is_protoup),
        ROW(value, ifsvc_is_switchport),
        ROW(value, ifsvc_is_switching_enabled_on_iod),
        ROW(value, ifsvc_is_ethernet),
        ROW(value, ifsvc_is_vlan),
        ROW(value, ifsvc_is_null0),
        ROW(value, ifsvc_is_native_p2p),
        ROW(value, ifsvc_is_loopback),
        ROW(value, ifsvc_is_mvpn_tunnel),
        ROW(value, ifsvc_is_gre_tunnel),
        ROW(value, ifsvc_is_super_802_3ad),
        ROW(value, ifsvc_is_cbus),
        ROW(value, ifsvc_is_mgmtether),
        ROW(value, ifsvc_is_dci_tunnel),
        ROW(value, ifsvc_is_dci_overlay),
        ROW(value, ifsvc_is_6to4_tunnel),
        ROW(value, ifsvc_is_mpls_tunnel),
        ROW(value, ifsvc_is_ifindex_svi),
        ROW(value, ifsvc_get_if_mtu),
        ROW(value, ifsvc_get_if_encaptype),
        ROW(value, ifsvc_get_if_vlanid),
        ROW(value, ifsvc_get_sub_interface_parent),
        mac_row(),
        ROW(value, ifsvc_is_if_mac_addr),
        vlan_info_row(),
        ROW(code, ifsvc_get_ifindex_frm_iod),
        iod_row(),
        ROW(value, ifsvc_get_svi_iod_for_vlan),
        row("ifsvc_get_if_name", ifsvc_get_if_name)
            .answers("says nothing", "")
            .answers("says 4000 letters", long_name()),
        name_row(),
        ROW(value, ifsvc_get_extension),
        ROW(value, ifsvc_is_extension_set),
        ROW(value, ifsvc_get_private_data),
        ROW(code, ifsvc_get_ifindex_port_mode_list),
        ROW(code, lifsvc_query_ifindex_to_lif),
        ROW(code, lifsvc_query_lif_to_ifindex),
        ROW(code, idxsvc_lib_ifidx_to_di),
        ROW(code, idxsvc_lib_si_to_ifidx),
        ROW(code, idxsvc_lib_bd_to_di),
        ROW(code, aggsvc_get_pc_info),
        ROW(code, aggsvc_get_pc_for_port),
        ROW(code, aggsvc_get_pc_mbr_ifidx_from_rbh),
        ROW(code, vlan_get_bd),
        ROW(code, vlan_get_bd_and_primary_vlan),
        ROW(value, vrfsvc_if_get_context_id),
        ROW(value, vrfsvc_if_get_table_id),
        ROW(value, supvr_vinst_get),
    };
}

} // namespace

const std::vector<platform_function> &platform_functions()
{
    static const std::vector<platform_function> rows = make_rows();
    return rows;
}

void disarm_all()
{
    platform_functions();
    for (const auto &each : all_functions())
        each->disarm();
}
