# SPDX-License-Identifier: Apache-2.0
"""The tables of a run, as Markdown that is also read as plain text.

What is said of 32768 interfaces was measured with 32767, the number of iods that there are.
"""

LIBRARY = "libvarn_platform"
SUBJECTS = {
    LIBRARY: "the library",
    "bare_array": "array of pointers, unchecked",
    "record_array": "array of records, unchecked",
    "boost_intrusive": "boost::intrusive::unordered_set",
    "absl_flat_hash_map": "absl::flat_hash_map",
    "std_unordered_map": "std::unordered_map",
    "glib_hash_table": "GLib GHashTable",
    "urcu_lfht": "liburcu cds_lfht (QSBR)",
    "callback_table": "the Iod table without the directory",
    "libnl_hash": "libnl link cache, hashed search",
    "libnl_list": "libnl link cache, rtnl_link_get",
}
# They keep the records within themselves, so that no block of its own is beside them.
WITH_RECORDS_INSIDE = {"record_array", "absl_flat_hash_map", "std_unordered_map", "libnl_hash", "libnl_list"}
PATTERNS = {
    "random": "random iods",
    "dependent": "each iod depends on the last answer",
    "sequential": "iods in order",
    "five": "five attributes of one interface, random",
}
SCALARS = (
    "is_linkup is_protoup is_switchport is_switching_enabled_on_iod is_ethernet is_vlan is_null0 "
    "is_native_p2p is_loopback is_mvpn_tunnel get_if_mtu get_if_encaptype is_gre_tunnel "
    "is_super_802_3ad is_cbus is_mgmtether get_if_vlanid"
).split()


def number(value):
    """Three significant digits, without an exponent."""
    if value >= 1000:
        return f"{value:,.0f}".replace(",", " ")
    return f"{value:.0f}" if value >= 100 else f"{value:.1f}" if value >= 10 else f"{value:.2f}"


def time_of(nanoseconds):
    if nanoseconds >= 1e6:
        return number(nanoseconds / 1e6) + " ms"
    return number(nanoseconds / 1e3) + " µs" if nanoseconds >= 1e3 else number(nanoseconds) + " ns"


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + "---|" * len(head)]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows])


class Run:
    """The medians of a run by size and name."""

    def __init__(self, results):
        self.results = results
        self.sizes = sorted(int(size) for size in results["sizes"])

    def ns(self, size, name):
        found = self.results["sizes"][str(size)].get(name)
        return found["ns"] if found else None

    def hit(self, size, pattern="random"):
        return self.ns(size, f"{pattern}/{LIBRARY}")

    def ratio(self, size, over, under):
        one, other = self.ns(size, over), self.ns(size, under)
        return one / other if one and other else None

    def names(self, prefix):
        of_any = self.results["sizes"][str(self.sizes[-1])]
        return [name for name in of_any if name.startswith(prefix)]

    def subjects(self):
        return [key for key in SUBJECTS if self.ns(self.sizes[-1], f"random/{key}")]


def per_entry(memory, subject):
    """Bytes an entry beside its record."""
    grown = memory["kib"].get(subject)
    if grown is None:
        return None
    if subject in WITH_RECORDS_INSIDE:
        return grown * 1024 / memory["entries"] - memory["record_bytes"]
    records = "own_records_kib" if subject == LIBRARY else "rivals_records_kib"
    return (grown - memory[records]) * 1024 / memory["entries"]


def goal_rows(run):
    """(what, goal at 1024, at 32768, measured at 1024, at 32768, at most or at least)"""
    small, large = 1024, run.sizes[-1]
    both = (small, large)

    def against(pattern, rival):
        return [run.ratio(n, f"{pattern}/{LIBRARY}", f"{pattern}/{rival}") for n in both]

    def times_cheaper(name, pattern="random"):
        return [run.ratio(n, name, f"{pattern}/{LIBRARY}") for n in both]

    def worst(names):
        return [max(run.ns(n, name) for name in names) / run.ns(n, "query/varn_ifsvc_is_linkup") for n in both]

    rows = [
        ("random, against absl::flat_hash_map", (0.45, 0.40), against("random", "absl_flat_hash_map"), "<="),
        ("random, against boost::intrusive::unordered_set", (0.95, 0.95), against("random", "boost_intrusive"), "<="),
        ("dependent, against an array of pointers", (1.06, 1.04), against("dependent", "bare_array"), "<="),
        ("five attributes, against absl::flat_hash_map", (0.46, 0.43), against("five", "absl_flat_hash_map"), "<="),
        ("times cheaper than a SEQPACKET socket, same core", (4000, 2500), times_cheaper("request/seqpacket"), ">="),
        ("times cheaper than rtnl_link_get + field + put", (500, 10000), times_cheaper("random/libnl_list"), ">="),
        ("the dearest scalar query, against is_linkup", (1.15, 1.15), worst([f"query/varn_ifsvc_{s}" for s in SCALARS]), "<="),
        ("the dearest notice, in hits", (60, 60), worst(run.names("notice/")), "<="),
        ("removal and insert in a table, against absl", (0.5, 0.75),
         [run.ratio(n, "churn/callback_table", "churn/absl_flat_hash_map") for n in both], "<="),
    ]
    if 64 in run.sizes:
        growth = run.hit(large) / run.hit(small)
        array = run.ratio(large, "random/bare_array", "random/bare_array")
        array = array and run.ns(large, "random/bare_array") / run.ns(small, "random/bare_array")
        rows.append(("a hit at 1024, against one at 64", (1.10, None), [run.hit(small) / run.hit(64), None], "<="))
        rows.append(("growth from 1024 to 32768, against the array's", (None, 1.05), [None, array and growth / array], "<="))
    return rows


def goals_table(run):
    def cell(value):
        return "" if value is None else number(value)

    def verdict(goal, measured, kind):
        pairs = [(g, m) for g, m in zip(goal, measured) if g is not None]
        if any(m is None for _, m in pairs):
            return "not measured"
        met = [m <= g if kind == "<=" else m >= g for g, m in pairs]
        return "met" if all(met) else "missed" if not any(met) else "met at one size"

    rows = []
    for what, goal, measured, kind in goal_rows(run):
        sign = "≤" if kind == "<=" else "≥"
        goals = " / ".join(cell(g) or "–" for g in goal)
        got = " / ".join(cell(m) or "–" for m in measured)
        rows.append([what, f"{sign} {goals}", got, verdict(goal, measured, kind)])
    return table(["a hit, N = 1024 / 32768", "goal", "measured", ""], rows)


def hits_table(run, pattern):
    rows = []
    for subject in run.subjects():
        cells = [number(run.ns(n, f"{pattern}/{subject}")) for n in run.sizes]
        rows.append([SUBJECTS[subject]] + cells)
    return table([f"{PATTERNS[pattern]}: ns"] + [f"N = {n}" for n in run.sizes], rows)


def of_each(run, prefix, unit=time_of):
    rows = []
    for name in sorted(run.names(prefix)):
        rows.append(["`" + name.partition("/")[2] + "`"] + [unit(run.ns(n, name)) for n in run.sizes])
    return rows


def sized(run, what, prefix):
    return table([what] + [f"N = {n}" for n in run.sizes], of_each(run, prefix))


def requests_table(run):
    service = run.results["service"]
    hit = run.hit(1024)
    rows = [["a hit", time_of(hit), "1"]]
    told = {
        "`ioctl(SIOCGIFMTU)`": run.ns(1024, "request/siocgifmtu"),
        "RTM_GETLINK through libnl": run.ns(1024, "request/rtm_getlink"),
        "a bare SEQPACKET socket to a process on the same core": run.ns(1024, "request/seqpacket"),
        "the reference device, asked directly": service["service/direct_request"]["ns"],
        "a stale attribute, asked again of the reference device": service["service/miss"]["ns"],
        "a link notice in its handler, over the service": service["service/link_notice"]["ns"],
        "a full refresh over the service": service["service/full_refresh"]["ns"],
        "a new entry over the service": service["service/new_entry"]["ns"],
    }
    rows += [[what, time_of(ns), number(ns / hit)] for what, ns in told.items() if ns]
    return table(["one question", "time", "in hits"], rows)


def notices_table(run):
    rows = []
    hit = run.ns(1024, "query/varn_ifsvc_is_linkup")
    for name in sorted(run.names("notice/")):
        kind = name.partition("/")[2]
        discarded, logged = run.ns(1024, name), run.ns(1024, "history/" + kind)
        rows.append([f"`{kind}`", time_of(discarded), number(discarded / hit), time_of(logged),
                     time_of(run.ns(run.sizes[-1], name))])
    return table(["notice", "traces discarded, N = 1024", "in hits", "into the event history",
                  "traces discarded, N = 32767"], rows)


def memory_table(run):
    rows = []
    for subject in run.subjects():
        cells = [per_entry(run.results["memory"][str(n)], subject) for n in run.sizes if n >= 1024]
        rows.append([SUBJECTS[subject]] + [number(max(cell, 0)) for cell in cells])
    return table(["bytes an entry beside its record"] + [f"N = {n}" for n in run.sizes if n >= 1024], rows)


def machine_table(run):
    told = run.results["machine"]
    rows = [
        ["processor", f"{told['processor']}, {told['processors']} in this machine, one used"],
        ["kernel", "Linux " + told["kernel"]],
        ["compiler", told["compiler"]],
        ["flags", f"`{told['flags']}`"],
        ["load before and after", f"{told['load_before']:.1f}, {told['load_after']:.1f}"],
        ["repetitions", str(run.results["service"]["service/hit"]["repetitions"])],
    ]
    return table(["", ""], rows)


def spread_line(run):
    """How far the repetitions of the hits lie apart."""
    widths = []
    for size in run.results["sizes"].values():
        widths += [each["high"] / each["low"] - 1 for name, each in size.items() if name.startswith("random/")]
    widths.sort()
    middle = widths[len(widths) // 2]
    return (f"Of the repetitions of one hit in this run the slowest lay {middle * 100:.0f} % above the "
            f"fastest in the middle case and {widths[-1] * 100:.0f} % in the worst.")


def all_tables(results):
    run = Run(results)
    blocks = {"machine": machine_table(run), "spread": spread_line(run), "goals": goals_table(run)}
    for pattern in PATTERNS:
        blocks[pattern] = hits_table(run, pattern)
    blocks["requests"] = requests_table(run)
    blocks["queries"] = sized(run, "a hit of", "query/")
    blocks["notices"] = notices_table(run)
    blocks["upkeep"] = sized(run, "an entry, stub services", "upkeep/")
    blocks["dumps"] = sized(run, "an entry (`varn_dump`, `varn_print_global`, `varn_dump_iod_bmp`: a call)", "dump/")
    blocks["churn"] = sized(run, "removal and insert", "churn/")
    blocks["memory"] = memory_table(run)
    return blocks


def text(blocks):
    return "\n\n".join(f"== {name}\n\n{block}" for name, block in blocks.items()) + "\n"
