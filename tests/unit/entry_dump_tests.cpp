// SPDX-License-Identifier: Apache-2.0
//
// The printer of one interface entry. Its text is written down here once with a mark for each dirty
// bit: {9,} is "*," when bit 9 is dirty and "," when it is clean, {3} is "*" or nothing.
#include "dump_ground.h"

#include <algorithm>

namespace
{

// An entry of port(33) that stands in no table, with a different value in each field.
varn_if_entry_t distinct()
{
    varn_if_entry_t made{};
    made.if_index = 0x1a000021;
    made.iod = 33;
    made.pi = 0x121;
    made.lif = 0x2021;
    const std::uint8_t mac[6] = {0x02, 0xAB, 0, 0, 0, 0x21};
    std::copy(std::begin(mac), std::end(mac), made.mac);
    made.encap = 65535;
    for (u32 slot = 0; slot < 4; ++slot) {
        made.extn[slot] = 0xF0 + slot;
        made.extn_size[slot] = 10 + slot;
    }
    made.context_id = 51;
    made.base_tid = 52;
    made.vlan = 53;
    made.mtu = 9216;
    made.port_mode = 0x54;
    made.linkup = made.ethernet = made.ips = 1;
    made.valid = 0x8000000000000001;
    made.aggsvc_if = 0x16000003;
    made.if_type = 26;
    made.ref_count = 4;
    return made;
}

constexpr const char *told =
    "Entry (@) eth33 - if_index: 0x1a000021(26){0,} iod: 33{1}\n"
    "PI 0x121{2,} LIF 0x2021{3}\n"
    "MAC: 02ab.0000.0021{9,} encap 65535{4,} Ctx 51{11,} Extn:0xf0(s10){5,} Tid 52{12,} "
    "Vlan 53{10,} Port-mode 0x54{10,}\n"
    "Extn1:0xf1(s11){6,} Extn2:0xf2(s12){7,} Extn3:0xf3(s13){8,}\n"
    "mtu:9216{13,} sw-port 0{15,} sw:0{16,} linkup:1{17,} protoup:0{18,} eth:1{19,} "
    "isvlan:0{20,} ips:1{21,} null:0{22,} lo:0{24,} p2p:0{23,} ismvpn:0{26,}\n"
    "valid: 0x8000000000000001, dirty: 0x#\n"
    "aggsvc_if: 0x16000003{27,} gre_hdr: 0x16000003{28,} ref_count: 4\n"
    "IOD Bitmap:- Array Index: 1, Bit Position: 2 Value: 1\n";

std::string in_16_digits(u64 mask)
{
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(mask));
    return text;
}

// The text `told` for this entry: address, dirty mask and marks filled in.
std::string filled_in(const varn_if_entry_t &entry, std::string text = told)
{
    const u64 mask = entry.dirty;
    text.replace(text.find('@'), 1, told_address(&entry));
    text.replace(text.find('#'), 1, in_16_digits(mask));
    for (std::size_t at; (at = text.find('{')) != std::string::npos;) {
        const std::size_t end = text.find('}', at);
        const bool comma = text[end - 1] == ',';
        const bool is_dirty = (mask >> std::stoul(text.substr(at + 1)) & 1) != 0;
        const std::string mark = spell(is_dirty ? "*" : "", comma ? "," : "");
        text.replace(at, end - at + 1, mark);
    }
    return text;
}

// `told` with one part put in place of another.
std::string told_with(const std::string &part, const std::string &instead)
{
    std::string text = told;
    text.replace(text.find(part), part.size(), instead);
    return text;
}

class EntryDump : public dump_test
{
protected:
    EntryDump() { given(port(33)); }

    std::string print(const varn_if_entry_t &entry)
    {
        varn_if_entry_print(terminal, &entry);
        return printed();
    }
};

TEST_F(EntryDump, OfACleanEntry)
{
    start_printing(config().sync(bits(1, 2, 3)));
    const varn_if_entry_t entry = distinct();
    EXPECT_EQ(print(entry),
              "Entry (" + told_address(&entry) +
                  ") eth33 - if_index: 0x1a000021(26), iod: 33\n"
                  "PI 0x121, LIF 0x2021\n"
                  "MAC: 02ab.0000.0021, encap 65535, Ctx 51, Extn:0xf0(s10), Tid 52, Vlan 53, "
                  "Port-mode 0x54,\n"
                  "Extn1:0xf1(s11), Extn2:0xf2(s12), Extn3:0xf3(s13),\n"
                  "mtu:9216, sw-port 0, sw:0, linkup:1, protoup:0, eth:1, isvlan:0, ips:1, "
                  "null:0, lo:0, p2p:0, ismvpn:0,\n"
                  "valid: 0x8000000000000001, dirty: 0x0000000000000000\n"
                  "aggsvc_if: 0x16000003, gre_hdr: 0x16000003, ref_count: 4\n"
                  "IOD Bitmap:- Array Index: 1, Bit Position: 2 Value: 1\n");
    EXPECT_EQ(calls(), "ifsvc_get_if_name(33) = \"eth33\"");
    EXPECT_EQ(history_text(), "");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(EntryDump, OfADirtyEntry)
{
    start_printing(config().sync(bits(1, 2, 3)));
    varn_if_entry_t entry = distinct();
    entry.dirty = ~u64{0};
    EXPECT_EQ(print(entry),
              "Entry (" + told_address(&entry) +
                  ") eth33 - if_index: 0x1a000021(26)*, iod: 33*\n"
                  "PI 0x121*, LIF 0x2021*\n"
                  "MAC: 02ab.0000.0021*, encap 65535*, Ctx 51*, Extn:0xf0(s10)*, Tid 52*, "
                  "Vlan 53*, Port-mode 0x54*,\n"
                  "Extn1:0xf1(s11)*, Extn2:0xf2(s12)*, Extn3:0xf3(s13)*,\n"
                  "mtu:9216*, sw-port 0*, sw:0*, linkup:1*, protoup:0*, eth:1*, isvlan:0*, "
                  "ips:1*, null:0*, lo:0*, p2p:0*, ismvpn:0*,\n"
                  "valid: 0x8000000000000001, dirty: 0xffffffffffffffff\n"
                  "aggsvc_if: 0x16000003*, gre_hdr: 0x16000003*, ref_count: 4\n"
                  "IOD Bitmap:- Array Index: 1, Bit Position: 2 Value: 1\n");
}

TEST_F(EntryDump, MarksWithEachDirtyBitItsOwnValuesAndNoOther)
{
    start_printing(config().sync(bits(1, 2, 3)));
    varn_if_entry_t entry = distinct();
    for (unsigned bit = 0; bit < 64; ++bit) {
        SCOPED_TRACE(bit);
        entry.dirty = bits(bit);
        EXPECT_EQ(print(entry), filled_in(entry));
        entry.dirty = ~bits(bit);
        EXPECT_EQ(print(entry), filled_in(entry));
    }
}

TEST_F(EntryDump, ComesALineAPiece)
{
    start_printing(config().sync(bits(1, 2, 3)));
    const varn_if_entry_t entry = distinct();
    varn_if_entry_print(terminal, &entry);
    EXPECT_EQ(printout().pieces.size(), 8u);
    for (const std::string &each : printout().pieces)
        EXPECT_EQ(each.find('\n'), each.size() - 1);
}

TEST_F(EntryDump, ShowsEachFlagInItsOwnPlace)
{
    start_printing(config().sync(bits(1, 2)));
    varn_if_entry_t plain = distinct();
    plain.linkup = plain.ethernet = plain.ips = 0;
    const std::string dark = print(plain);
    const struct {
        const char *label;
        void (*set)(varn_if_entry_t &);
    } rows[] = {{"sw-port ", [](varn_if_entry_t &e) { e.switchport = 1; }},
                {" sw:", [](varn_if_entry_t &e) { e.switching = 1; }},
                {"linkup:", [](varn_if_entry_t &e) { e.linkup = 1; }},
                {"protoup:", [](varn_if_entry_t &e) { e.protoup = 1; }},
                {"eth:", [](varn_if_entry_t &e) { e.ethernet = 1; }},
                {"isvlan:", [](varn_if_entry_t &e) { e.is_vlan = 1; }},
                {"ips:", [](varn_if_entry_t &e) { e.ips = 1; }},
                {"null:", [](varn_if_entry_t &e) { e.null = 1; }},
                {"lo:", [](varn_if_entry_t &e) { e.loopback = 1; }},
                {"p2p:", [](varn_if_entry_t &e) { e.p2p = 1; }},
                {"ismvpn:", [](varn_if_entry_t &e) { e.mvpn = 1; }}};
    const varn_if_entry_t kept = plain;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.label);
        plain = kept;
        row.set(plain);
        const std::string off = spell(row.label, "0,"), on = spell(row.label, "1,");
        std::string expected = dark;
        expected.replace(expected.find(off), off.size(), on);
        EXPECT_EQ(print(plain), expected);
    }
}

TEST_F(EntryDump, WithoutAPiTableLeavesOutPortIndexAndLif)
{
    start_printing(config().sync(bits(1, 3)));
    const varn_if_entry_t entry = distinct();
    EXPECT_EQ(print(entry), filled_in(entry, told_with("PI 0x121{2,} LIF 0x2021{3}\n", "")));
}

TEST_F(EntryDump, LeavesOutTheLineOfFurtherExtensionsOnlyWhenAllThreeAreZero)
{
    start_printing(config().sync(bits(1, 2, 3)));
    const std::string line = "Extn1:0xf1(s11){6,} Extn2:0xf2(s12){7,} Extn3:0xf3(s13){8,}\n";
    varn_if_entry_t entry = distinct();
    entry.extn[1] = entry.extn[2] = entry.extn[3] = 0;
    entry.dirty = bits(6, 7, 8);
    EXPECT_EQ(print(entry), filled_in(entry, told_with(line, "")));

    const char *const lines_with_one[] = {
        "Extn1:0x1(s11){6,} Extn2:0x0(s12){7,} Extn3:0x0(s13){8,}\n",
        "Extn1:0x0(s11){6,} Extn2:0x1(s12){7,} Extn3:0x0(s13){8,}\n",
        "Extn1:0x0(s11){6,} Extn2:0x0(s12){7,} Extn3:0x1(s13){8,}\n"};
    for (unsigned slot = 1; slot <= 3; ++slot) {
        SCOPED_TRACE(slot);
        entry.extn[1] = entry.extn[2] = entry.extn[3] = 0;
        entry.extn[slot] = 1;
        EXPECT_EQ(print(entry), filled_in(entry, told_with(line, lines_with_one[slot - 1])));
    }
}

TEST_F(EntryDump, ShowsAbsentAndLargeValuesAsTheirFormatsGiveThem)
{
    start_printing(config().sync(bits(1, 2, 3)));
    varn_if_entry_t entry{};
    entry.pi = entry.lif = none;
    entry.context_id = none;
    entry.extn_size[0] = 0x80000000;
    entry.if_type = 255;
    EXPECT_EQ(print(entry),
              "Entry (" + told_address(&entry) +
                  ") (unknown iod 0) - if_index: 0x0(255), iod: 0\n"
                  "PI 0xffffffff, LIF 0xffffffff\n"
                  "MAC: 0000.0000.0000, encap 0, Ctx -1, Extn:0x0(s-2147483648), Tid 0, Vlan 0, "
                  "Port-mode 0x0,\n"
                  "mtu:0, sw-port 0, sw:0, linkup:0, protoup:0, eth:0, isvlan:0, ips:0, null:0, "
                  "lo:0, p2p:0, ismvpn:0,\n"
                  "valid: 0x0000000000000000, dirty: 0x0000000000000000\n"
                  "aggsvc_if: 0x0, gre_hdr: 0x0, ref_count: 0\n"
                  "IOD Bitmap:- Array Index: 0, Bit Position: 1 Value: 1\n");
}

// ---- the bitmap line ----

class BitmapLine : public EntryDump
{
protected:
    std::string of_iod(u32 iod)
    {
        varn_if_entry_t entry = distinct();
        entry.iod = iod;
        const std::string text = print(entry);
        return text.substr(text.find("IOD Bitmap:-"));
    }
};

TEST_F(BitmapLine, DeliberatelyCountsThePositionFrom1AndReadsTheBitFrom0)
{
    start_printing(config().sync(bits(1)));
    varn_iodbmp[1] = 0xFFFFFFFD; // all but bit 1
    EXPECT_EQ(of_iod(32), "IOD Bitmap:- Array Index: 1, Bit Position: 1 Value: 1\n");
    EXPECT_EQ(of_iod(33), "IOD Bitmap:- Array Index: 1, Bit Position: 2 Value: 0\n");
    EXPECT_EQ(of_iod(34), "IOD Bitmap:- Array Index: 1, Bit Position: 3 Value: 1\n");
    varn_iodbmp[1] = 0x00000002; // bit 1 alone
    EXPECT_EQ(of_iod(32), "IOD Bitmap:- Array Index: 1, Bit Position: 1 Value: 0\n");
    EXPECT_EQ(of_iod(33), "IOD Bitmap:- Array Index: 1, Bit Position: 2 Value: 1\n");
}

TEST_F(BitmapLine, ReachesTheLastBit)
{
    start_printing(config().sync(bits(1)));
    EXPECT_EQ(of_iod(32767), "IOD Bitmap:- Array Index: 1023, Bit Position: 32 Value: 1\n");
    varn_iodbmp[1023] = 0x7FFFFFFF;
    EXPECT_EQ(of_iod(32767), "IOD Bitmap:- Array Index: 1023, Bit Position: 32 Value: 0\n");
}

TEST_F(BitmapLine, OfAnIodBeyondTheBitmapShowsValue0)
{
    start_printing(config().sync(bits(1)));
    EXPECT_EQ(of_iod(32768), "IOD Bitmap:- Array Index: 1024, Bit Position: 1 Value: 0\n");
    EXPECT_EQ(of_iod(0xFFFFFFFF),
              "IOD Bitmap:- Array Index: 134217727, Bit Position: 32 Value: 0\n");
}

// ---- what is not printed is not asked for ----

using SilentEntryDump = EntryDump;

TEST_F(SilentEntryDump, OfNullDoesNothing)
{
    start_printing(config().sync(bits(1, 2, 3)));
    varn_if_entry_print(terminal, nullptr);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), "");
}

TEST_F(SilentEntryDump, WithAnArgumentOf0AsksForNoName)
{
    start_printing(config().sync(bits(1, 2, 3)));
    const varn_if_entry_t entry = distinct();
    varn_if_entry_print(0, &entry);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(history_text(), "");
}

TEST_F(SilentEntryDump, WithoutACallbackAsksForNoName)
{
    start(config().sync(bits(1, 2, 3)));
    const varn_if_entry_t entry = distinct();
    varn_if_entry_print(terminal, &entry);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), "");
}

TEST_F(SilentEntryDump, TakesNoMacTextFromTheRing)
{
    start_printing(config().sync(bits(1, 2, 3)));
    const varn_if_entry_t entry = distinct();
    const char *first = varn_format_mac(entry.mac);
    for (unsigned at = 0; at < 7; ++at)
        varn_format_mac(entry.mac);
    varn_if_entry_print(0, &entry);
    EXPECT_EQ(varn_format_mac(entry.mac), first);
}

TEST_F(SilentEntryDump, StopsAtTheLineAtWhichTheCallbackGoesAway)
{
    start_printing(config().sync(bits(1, 2, 3)));
    const varn_if_entry_t entry = distinct();
    for (std::size_t lines_printed = 1; lines_printed <= 8; ++lines_printed) {
        varn.config.print = keep_piece;
        printout().stop_after = lines_printed;
        varn_if_entry_print(terminal, &entry);
        EXPECT_EQ(printout().pieces.size(), lines_printed);
        printed();
    }
}

TEST_F(SilentEntryDump, DoesNotNeedARunningCache)
{
    start_printing(config().sync(bits(1, 2, 3)));
    const varn_if_entry_t entry = distinct();
    varn_disable_cache();
    EXPECT_EQ(print(entry), filled_in(entry, told_with("PI 0x121{2,} LIF 0x2021{3}\n", "")));
}

// ---- a port-channel is followed by its members ----

class PortChannelDump : public dump_test
{
protected:
    static constexpr u32 channel = 0x16000003;

    PortChannelDump()
    {
        given(port(1), port(2), port_channel(3).members({0x1a000001, 0x1a000002}));
    }

    void start_with_buckets(std::initializer_list<std::uint8_t> asked)
    {
        start_printing(config().sync(bits(1, 33)));
        ASSERT_NE(varn_if_create_entry_by_iod(16003), nullptr);
        u32 member = 0;
        for (const std::uint8_t bucket : asked)
            varn_aggsvc_get_pc_mbr_ifidx_from_rbh(channel, bucket, &member);
        forget_all();
    }

    static std::string members(const std::string &text)
    {
        const std::size_t at = text.find("Member");
        return at == std::string::npos ? "" : text.substr(at);
    }
};

TEST_F(PortChannelDump, EndsWithTheBucketsThatWereAskedAbout)
{
    start_with_buckets({0, 3, 15});
    varn_if_entry_print(terminal, entry(16003));
    EXPECT_EQ(printed(),
              "Entry (" + told_address(entry(16003)) +
                  ") port-channel3 - if_index: 0x16000003(22), iod: 16003\n"
                  "MAC: 0000.0000.0000, encap 0, Ctx 0, Extn:0x0(s0), Tid 0, Vlan 0, "
                  "Port-mode 0x0,\n"
                  "mtu:1500, sw-port 0, sw:0, linkup:0, protoup:0, eth:0, isvlan:0, ips:0, "
                  "null:0, lo:0, p2p:0, ismvpn:0,\n"
                  "valid: 0x0000000000000000, dirty: 0x0000000200000000\n"
                  "aggsvc_if: 0x0, gre_hdr: 0x0, ref_count: 2\n"
                  "IOD Bitmap:- Array Index: 500, Bit Position: 4 Value: 1\n"
                  "Member Bundle-Port-distribution:\n"
                  "      [0]  eth1\n"
                  "      [3]  eth2\n"
                  "      [15]  eth2\n");
    EXPECT_EQ(calls(), lines("ifsvc_get_if_name(16003) = \"port-channel3\"",
                             "ifsvc_get_ifindex_name(0x1a000001, 100) = 0 -> \"eth1\"",
                             "ifsvc_get_ifindex_name(0x1a000002, 100) = 0 -> \"eth2\"",
                             "ifsvc_get_ifindex_name(0x1a000002, 100) = 0 -> \"eth2\""));
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(PortChannelDump, OfAChannelThatWasNeverAskedAboutHasNoMembersAtAll)
{
    start_with_buckets({});
    varn_if_entry_print(terminal, entry(16003));
    EXPECT_EQ(members(printed()), "");
    EXPECT_TRUE(records_in(&varn.pc_table).empty());
}

TEST_F(PortChannelDump, OfAnInvalidatedChannelListsNoBucket)
{
    start_with_buckets({0, 3});
    varn_pc_invalidate(channel);
    varn_if_entry_print(terminal, entry(16003));
    EXPECT_EQ(members(printed()), "Member Bundle-Port-distribution:\n");
}

TEST_F(PortChannelDump, GoesByTheTypeInTheEntry)
{
    start_with_buckets({0});
    varn_if_entry_t other = *entry(16003);
    other.if_type = 26;
    varn_if_entry_print(terminal, &other);
    EXPECT_EQ(members(printed()), "");
}

// The member's name is asked before it is known that nobody will see it.
TEST_F(PortChannelDump, WithoutASinkDeliberatelyStillAsksTheMembersNames)
{
    start_with_buckets({0});
    varn_if_entry_print(0, entry(16003));
    EXPECT_EQ(calls(), "ifsvc_get_ifindex_name(0x1a000001, 100) = 0 -> \"eth1\"");
    varn.config.print = nullptr;
    varn_if_entry_print(terminal, entry(16003));
    EXPECT_EQ(calls(), "ifsvc_get_ifindex_name(0x1a000001, 100) = 0 -> \"eth1\"");
    EXPECT_EQ(printed(), "");
}

// ---- by iod ----

class PrintIod : public dump_test
{
protected:
    PrintIod()
    {
        given(port(7), port(8));
        start_printing(config().sync(bits(1)));
        varn_if_create_entry_by_iod(7);
        forget_all();
    }
};

TEST_F(PrintIod, PrintsTheEntryOfThatIod)
{
    varn_if_entry_print(terminal, entry(7));
    const std::string expected = printed();
    forget_all();
    varn_if_print_iod(terminal, 7);
    EXPECT_EQ(printed(), expected);
    EXPECT_EQ(calls(), "ifsvc_get_if_name(7) = \"eth7\"");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(PrintIod, OfAnIodWithoutEntryPrintsAndCreatesNothing)
{
    varn_if_print_iod(terminal, 8);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(history_text(), "");
    EXPECT_EQ(entry(8), nullptr);
}

TEST_F(PrintIod, WhileDisabledPrintsNothing)
{
    varn_disable_cache();
    varn_if_print_iod(terminal, 7);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), "");
}

TEST_F(PrintIod, WithAnArgumentOf0PrintsNothing)
{
    varn_if_print_iod(0, 7);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), "");
}

} // namespace
