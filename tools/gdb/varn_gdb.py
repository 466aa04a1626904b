# SPDX-License-Identifier: Apache-2.0
"""What a client's cache holds, told by gdb: of a live process or of a core file.

Nothing is called in the process, which a core does not have: all is read from its memory. The records
and the names are those of varn.h, from the object that varn_types.c became, so that neither the library
nor the client needs debug information. Needed is the symbol `varn`, which the library exports.

The entries are found through their tables. Those of the reference device are known here; of another
device's the number of records alone can be told.

gdb loads this by itself with the library where it is installed under /usr, else:
    (gdb) source /usr/local/lib/varn/varn_gdb.py
"""
import os

import gdb

HERE = os.path.dirname(os.path.abspath(__file__)) if "__file__" in globals() else ""
TYPES = "varn_types.o"
LIBRARY = "libvarn_platform.so"

# ---- What varn.h says


def find_types():
    """The object beside this script, or in the folder `varn` beside the library of the process."""
    folders = [HERE]
    for objfile in gdb.objfiles():
        if objfile.filename and LIBRARY in os.path.basename(objfile.filename):
            folders.append(os.path.join(os.path.dirname(os.path.realpath(objfile.filename)), "varn"))
    for folder in folders:
        path = os.path.join(folder, TYPES)
        if os.path.exists(path):
            return path
    raise gdb.GdbError("varn: no %s in %s: give it with add-symbol-file" % (TYPES, " or ".join(folders)))


def load_types():
    try:
        gdb.lookup_type("struct varn_reference_table")
    except gdb.error:
        gdb.execute('add-symbol-file "%s"' % find_types(), to_string=True)
    pointer = gdb.lookup_type("uintptr_t").sizeof
    if pointer != gdb.lookup_type("void").pointer().sizeof:
        raise gdb.GdbError("varn: %s is of another processor than this process" % TYPES)


def numbers(prefix, first):
    """{number: name} of the enumeration that `first` is in: VARN_BIT_MTU is mtu."""
    symbol = gdb.lookup_static_symbol(first) or gdb.lookup_global_symbol(first)
    return {int(field.enumval): field.name[len(prefix):].lower()
            for field in symbol.type.fields() if field.name.startswith(prefix)}


def bits():
    return numbers("VARN_BIT_", "VARN_BIT_IOD")


def slots():
    return numbers("VARN_SLOT_", "VARN_SLOT_IOD")


# ---- What stands in the process


def exported(name, type_name):
    """An exported object. By its symbol alone: a client that is linked for it may hold the copy in use."""
    try:
        address = int(gdb.parse_and_eval("(unsigned long)&%s" % name))
    except gdb.error:
        raise gdb.GdbError("varn: no symbol %s here: is the library loaded?" % name)
    return at(address, type_name)


def at(address, type_name):
    value = gdb.Value(address).cast(gdb.lookup_type(type_name).pointer()).dereference()
    try:
        value.fetch_lazy()
    except gdb.MemoryError as error:
        raise gdb.GdbError("varn: %s" % error)
    return value


def cache():
    load_types()
    return exported("varn", "varn_global_t")


def words(address, count, size):
    memory = bytes(gdb.selected_inferior().read_memory(address, count * size))
    order = "big" if "big endian" in gdb.execute("show endian", to_string=True) else "little"
    return [int.from_bytes(memory[i:i + size], order) for i in range(0, len(memory), size)]


def records(table, type_name, link):
    """Every record of a table, or null where the table is not one of the reference device."""
    kind = gdb.lookup_type(type_name)
    known = table["state"].address.cast(gdb.lookup_type("struct varn_reference_table").pointer()).dereference()
    pointer = gdb.lookup_type("uintptr_t").sizeof
    if int(table["num_buckets"]) == 0:
        return []
    position = next(field.bitpos // 8 for field in kind.fields() if field.name == link)
    used = int(known["slots_used"])
    if int(known["link_position"]) != position or used < int(table["num_entries"]) or used > 1 << 20:
        return None
    try:
        addresses = [word for word in words(int(known["slots"]), used, pointer) if word and not word & 1]
    except gdb.MemoryError:
        return None
    if len(addresses) != int(table["num_entries"]):
        return None
    return [at(address, type_name) for address in addresses]


def sorted_records(table, type_name, link, key):
    found = records(table, type_name, link)
    if found is None:
        raise gdb.GdbError("varn: %d records stand in a table that is not of the reference device"
                           % int(table["num_entries"]))
    return sorted(found, key=lambda record: int(record[key]))


def entries(varn):
    return sorted_records(varn["if_table"], "varn_if_entry_t", "if_link", "iod")


# ---- How it is shown

IN_HEX = {"if_index", "pi", "lif", "extn", "context_id", "base_tid", "port_mode", "aggsvc_if"}
HIDDEN = {"valid", "dirty", "unused_flags"}
# A field that bears another name than its attribute.
ATTRIBUTE = {"context_id": "context", "port_mode": "vlan"}
# What an interface entry keeps dirty for good: no refresh and no query asks for it.
NEVER_CLEAN = {"name", "gre_hdr", "subif", "pc"}


def names_in(mask):
    names = bits()
    return [names.get(bit, "bit %d" % bit) for bit in range(64) if mask >> bit & 1]


def mask_text(mask):
    return " ".join(names_in(mask)) or "nothing"


def print_table(rows):
    """The first column to the left, numbers to the right, and a last one of texts."""
    widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]) - 1)]
    for row in rows:
        cells = [row[0].ljust(widths[0])]
        cells += [cell.rjust(width) for cell, width in zip(row[1:-1], widths[1:])]
        print("  ".join(cells + [row[-1]]).rstrip())


def field_text(name, value):
    if name == "mac":
        six = [int(value[i]) for i in range(6)]
        return "%02x%02x.%02x%02x.%02x%02x" % tuple(six)
    form = "0x%x" if name in IN_HEX else "%d"
    if value.type.strip_typedefs().code == gdb.TYPE_CODE_ARRAY:
        return " ".join(form % int(value[i]) for i in range(value.type.range()[1] + 1))
    return form % int(value)


def mark_text(name, entry, sync):
    """Dirty, or not cached at all. The four extensions stand in one line."""
    wanted = ATTRIBUTE.get(name, name)
    dirty = int(entry["dirty"])
    marks = []
    for bit, attribute in bits().items():
        if attribute != wanted and not (wanted == "extn" and attribute in ("extn1", "extn2", "extn3")):
            continue
        if not sync >> bit & 1:
            marks.append("%s not cached" % attribute)
        elif dirty >> bit & 1:
            marks.append("%s dirty" % attribute)
    return ", ".join(marks)


def print_entry(entry, varn):
    print("entry at 0x%x, in %d tables" % (int(entry.address), int(entry["ref_count"])))
    rows = []
    for field in entry.type.strip_typedefs().fields():
        if field.name not in HIDDEN and not field.name.endswith("link"):
            mark = mark_text(field.name, entry, int(varn["config"]["sync"]))
            rows.append(("  " + field.name, field_text(field.name, entry[field.name]), mark))
    for name, value, mark in rows:
        print(("%-14s %s" % (name, value)).ljust(34 if mark else 0) + mark)
    print("  dirty: " + mask_text(int(entry["dirty"])))


# ---- The commands


class Varn(gdb.Command):
    """The interface cache of this process: varn config, tables, counters, entry, entries, vlan, pc."""

    def __init__(self):
        super().__init__("varn", gdb.COMMAND_DATA, gdb.COMPLETE_NONE, True)


class Shown(gdb.Command):
    """A command `varn NAME` that shows something of the global record."""

    def __init__(self, name):
        super().__init__("varn " + name, gdb.COMMAND_DATA)

    def invoke(self, text, _from_tty):
        self.dont_repeat()
        self.show(cache(), gdb.string_to_argv(text))


class Config(Shown):
    """The configuration: what is cached, what a flush marks, callbacks, forbidden iods, last report."""

    def show(self, varn, _words):
        config = varn["config"]
        print("cache: " + ("on" if int(exported("varn_enabled", "uint32_t")) else "off"))
        for field in config.type.strip_typedefs().fields():
            value = config[field.name]
            if value.type.name == "varn_mask_t":
                print("%s: 0x%016x: %s" % (field.name, int(value), mask_text(int(value))))
            elif field.name == "extn_decode":
                for k in range(value.type.range()[1] + 1):
                    self.show_callback("extn_decode[%d]" % k, value[k])
            elif value.type.strip_typedefs().code == gdb.TYPE_CODE_PTR:
                self.show_callback(field.name, value)
            else:
                print("%s: %s" % (field.name, field_text(field.name, value)))
        print("varn_error_cb: %d" % int(exported("varn_error_cb", "uint32_t")))
        print("forbidden iods: " + (" ".join(self.forbidden()) or "none"))
        print("last report: " + (exported("varn_print_str", "varn_report_text").string().strip() or "none"))

    @staticmethod
    def forbidden():
        bitmap = exported("varn_iodbmp", "varn_iod_bitmap")
        count = bitmap.type.strip_typedefs().range()[1] + 1
        for index, word in enumerate(words(int(bitmap.address), count, 4)):
            if word != 0xFFFFFFFF:
                yield from (str(index * 32 + bit) for bit in range(32) if not word >> bit & 1)

    @staticmethod
    def show_callback(name, value):
        if int(value):
            symbol = gdb.execute("info symbol 0x%x" % int(value), to_string=True).split(" in section")[0]
            print("%s: %s" % (name, "0x%x" % int(value) if symbol.startswith("No symbol") else symbol))


class Tables(Shown):
    """Each table: records in it, the most that it held, buckets."""

    def show(self, varn, _words):
        rows = [("TABLE", "RECORDS", "BUCKETS", "")]
        kinds = {"vlan": "varn_vlan_entry_t", "pc": "varn_pc_entry_t"}
        for field in varn.type.strip_typedefs().fields():
            if field.name.endswith("_table"):
                name = field.name[:-len("_table")]
                link = "link" if name in kinds else name + "_link"
                table = varn[field.name]
                known = records(table, kinds.get(name, "varn_if_entry_t"), link) is not None
                note = "" if known else "not the reference device's"
                if not int(table["num_buckets"]):
                    note = "not there"
                rows.append((name, str(int(table["num_entries"])), str(int(table["num_buckets"])), note))
        print_table(rows)


class Entry(Shown):
    """Whole entries: varn entry IOD or IF-INDEX (from 32768 on), several of them."""

    def show(self, varn, words_given):
        if not words_given:
            raise gdb.GdbError("usage: varn entry IOD|IFINDEX...")
        found = entries(varn)
        for word in words_given:
            wanted = int(gdb.parse_and_eval(word))
            key = "iod" if wanted < 32768 else "if_index"
            those = [entry for entry in found if int(entry[key]) == wanted]
            if not those:
                print("no entry has %s %s" % (key, word))
            for entry in those:
                print_entry(entry, varn)


class Entries(Shown):
    """A line for each entry: varn entries. With the word `dirty` only those of which something must be asked
again, with attributes behind it only those of which one of these must: varn entries dirty linkup mtu."""

    def show(self, varn, words_given):
        wanted = set(words_given[1:])
        if words_given[:1] not in ([], ["dirty"]) or wanted - set(bits().values()):
            raise gdb.GdbError("usage: varn entries [dirty [ATTRIBUTE...]], attributes as in varn config")
        sync = int(varn["config"]["sync"])
        rows = [("IOD", "IF-INDEX", "PI", "LIF", "LINK", "PROTO", "MTU", "DIRTY")]
        for entry in entries(varn):
            dirty = [name for name in names_in(int(entry["dirty"]) & sync) if name not in NEVER_CLEAN]
            if not words_given or wanted & set(dirty) or (dirty and not wanted):
                rows.append((str(int(entry["iod"])), "0x%08x" % int(entry["if_index"]),
                             self.key(entry["pi"]), self.key(entry["lif"]), str(int(entry["linkup"])),
                             str(int(entry["protoup"])), str(int(entry["mtu"])), " ".join(dirty)))
        print_table(rows)

    @staticmethod
    def key(value):
        return "none" if int(value) == 0xFFFFFFFF else "0x%x" % int(value)


class Counters(Shown):
    """Hits, misses and updates by attribute, then all other counters; what is 0 is left out."""

    ROWS = ("hits", "misses", "updates")

    def show(self, varn, _words):
        rows = [(name, *(varn[row][slot] for row in self.ROWS)) for slot, name in slots().items()]
        rows += [(field.name, *(varn["vlan_" + row][field.name] for row in self.ROWS))
                 for field in varn["vlan_hits"].type.strip_typedefs().fields()]
        rows.append(("pc", *(varn["pc_" + row] for row in self.ROWS)))
        told = [(row[0], *map(str, map(int, row[1:])), "") for row in rows if any(map(int, row[1:]))]
        print_table([("ATTRIBUTE", "HITS", "MISSES", "UPDATES", "")] + told)
        for field in varn.type.strip_typedefs().fields():
            if field.name not in {kind + row for kind in ("", "vlan_", "pc_") for row in self.ROWS}:
                self.show_rest(field.name, varn[field.name])

    @staticmethod
    def show_rest(name, value):
        kind = value.type.strip_typedefs()
        if value.type.name == "varn_index_counters_t":
            print("%s: %s" % (name, ", ".join("%s %d" % (field.name, int(value[field.name]))
                                              for field in kind.fields())))
        elif kind.code == gdb.TYPE_CODE_INT and int(value):
            print("%s: %d" % (name, int(value)))


class Vlan(Shown):
    """The VLAN cache: every entry, or those of the VLANs given."""

    def show(self, varn, words_given):
        wanted = [int(gdb.parse_and_eval(word)) for word in words_given]
        rows = [("VLAN", "BD", "FLOOD-INDEX", "PVLAN", "DIRTY")]
        for entry in sorted_records(varn["vlan_table"], "varn_vlan_entry_t", "link", "vlan"):
            if not wanted or int(entry["vlan"]) in wanted:
                rows.append((str(int(entry["vlan"])), "0x%x" % int(entry["bd"]), "0x%x" % int(entry["flood_di"]),
                             str(int(entry["pvlan"])), mask_text(int(entry["dirty"]))))
        print_table(rows)


class Pc(Shown):
    """The port-channel cache: the member that serves each hash bucket, of all or of the if-indexes given."""

    def show(self, varn, words_given):
        wanted = [int(gdb.parse_and_eval(word)) for word in words_given]
        for entry in sorted_records(varn["pc_table"], "varn_pc_entry_t", "link", "pc_ifindex"):
            if wanted and int(entry["pc_ifindex"]) not in wanted:
                continue
            buckets = range(entry["rbh_dirty"].type.range()[1] + 1)
            told = ["%d:0x%x" % (k, int(entry["rbh_mbr_ifindex"][k])) for k in buckets
                    if not int(entry["rbh_dirty"][k])]
            print("0x%x: %s" % (int(entry["pc_ifindex"]), " ".join(told) or "every bucket dirty"))


Varn()
for shown in (Config, Tables, Entry, Entries, Counters, Vlan, Pc):
    shown(shown.__name__.lower())
