// SPDX-License-Identifier: Apache-2.0
//
// What was answered is kept whole and compared whole.
#include "model_watch.h"

#include "input.h"

#include <fmt/format.h>

namespace fuzz
{

using device::interface;

model_watch::model_watch(device::device_model &model, device::device_model::listener next)
    : model_(model)
{
    model_.tell([this, next](const wire::notice &told) {
        hear(told);
        if (next)
            next(told);
    });
}

void model_watch::hear(const wire::notice &told)
{
    using wire::notice_kind;
    the_steps().push_back(fmt::format("told: {} of if-index 0x{:08x}, iod {}, VLAN {}",
                                      wire::notice_names[static_cast<std::size_t>(told.kind)],
                                      told.if_index, told.iod, told.vlan));
    if (told.kind == notice_kind::vlan_deleted || told.kind == notice_kind::vlan_changed)
        told_vlans_.insert(told.vlan);
    else if (told.kind == notice_kind::members)
        told_channels_.insert(told.if_index);
    else
        told_iods_.insert(told.iod);
}

void model_watch::check()
{
    for (const auto &[iod, entry] : model_.interfaces()) {
        expect(iod == entry.iod && iod >= 1 && iod <= device::max_iod, "an iod is in its range");
        check_identity(entry);
        check_change(entry);
    }
    for (const auto &[iod, before] : interfaces_)
        if (model_.find_iod(iod) == nullptr && !told_iods_.contains(iod))
            broken(fmt::format("{} with iod {} has gone untold", before.now.name, iod));
    check_vlans();
    remember();
}

void model_watch::check_identity(const interface &entry) const
{
    const auto leads_here = [&](const interface *found, const char *what) {
        if (found != &entry)
            broken(fmt::format("the {} of {} leads elsewhere", what, entry.name));
    };
    leads_here(model_.find_key(entry.key), "key");
    leads_here(model_.find_if_index(entry.if_index), "if-index");
    if (entry.lif != device::no_index)
        leads_here(model_.find_lif(entry.lif), "lif");
    if (entry.port_index != device::no_index)
        leads_here(model_.find_port_index(entry.port_index), "port index");
    expect(entry.now.rbh.empty() || entry.now.rbh.size() == device::num_rbh,
           "there is a member for every hash bucket or for none");
}

void model_watch::check_change(const interface &entry) const
{
    const auto before = interfaces_.find(entry.iod);
    const bool is_told = told_iods_.contains(entry.iod);
    if (before == interfaces_.end()) {
        expect(is_told, fmt::format("{} is new, and nobody was told", entry.name));
        return;
    }
    const known &was = before->second;
    const bool is_same = was.if_index == entry.if_index && was.lif == entry.lif &&
                         was.port_index == entry.port_index && was.attachments == entry.attachments;
    device::attribute_set changed = difference(was.now, entry.now);
    // Told of under the if-index of a port-channel: its own, or that of the one it was or is in.
    if (told_channels_.contains(entry.if_index))
        changed.reset(bit_of(device::attribute::rbh));
    if (told_channels_.contains(entry.if_index) || told_channels_.contains(was.now.port_channel) ||
        told_channels_.contains(entry.now.port_channel))
        changed.reset(bit_of(device::attribute::port_channel));
    if ((!is_same || changed.any()) && !is_told)
        broken(fmt::format("{} changed untold: {}", entry.name, changed.to_string()));
}

void model_watch::check_vlans()
{
    for (const auto &[vlan, facts] : model_.vlans()) {
        const auto before = vlans_.find(vlan);
        const bool is_same = before != vlans_.end() && before->second == facts;
        if (!is_same && !told_vlans_.contains(vlan))
            broken(fmt::format("VLAN {} changed untold", vlan));
        expect(model_.flood_index_of(facts.bd) == facts.flood_index,
               fmt::format("the bridge domain of VLAN {} has its flood index", vlan));
    }
    for (const auto &[vlan, facts] : vlans_)
        if (model_.find_vlan(vlan) == nullptr && !told_vlans_.contains(vlan))
            broken(fmt::format("VLAN {} has gone untold", vlan));
}

void model_watch::remember()
{
    interfaces_.clear();
    for (const auto &[iod, entry] : model_.interfaces())
        interfaces_[iod] = {entry.if_index, entry.lif, entry.port_index, entry.now,
                            entry.attachments};
    vlans_ = model_.vlans();
    told_iods_.clear();
    told_vlans_.clear();
    told_channels_.clear();
}

} // namespace fuzz
