# SPDX-License-Identifier: Apache-2.0
"""What a large device costs, worked out from the measured figures of a run."""
import tables

CLIENTS = 100
INTERFACES = 32768
QUESTIONS_A_SECOND = 10000  # of one client


class Costs:
    """The figures that everything else follows from, in seconds and bytes."""

    def __init__(self, results):
        run = tables.Run(results)
        service = results["service"]
        memory = results["memory"][str(run.sizes[-1])]
        self.request = service["service/direct_request"]["ns"] / 1e9
        self.creation = service["service/new_entry"]["ns"] / 1e9
        self.share = results["service_share"]
        self.hit = run.hit(run.sizes[-1]) / 1e9
        self.notice = service["service/link_notice"]["ns"] / 1e9
        self.record = memory["own_records_kib"] * 1024 / memory["entries"]
        self.beside = tables.per_entry(memory, tables.LIBRARY)
        self.process = results["client"]["anonymous_kib"] * 1024


def seconds(value):
    if value >= 60:
        return f"{value / 60:.1f} min"
    return f"{value:.1f} s" if value >= 1 else f"{value * 1e3:.1f} ms" if value >= 1e-3 else f"{value * 1e6:.1f} µs"


def size(value):
    return f"{value / 1e9:.2f} GB" if value >= 1e9 else f"{value / 1e6:.1f} MB" if value >= 1e6 else f"{value / 1e3:.0f} kB"


def measured(c):
    return tables.table(["measured", ""], [
        ["a request, both processes on one core", seconds(c.request)],
        ["the service's part of its processor time", f"{c.share * 100:.0f} %"],
        ["a new entry over the service", seconds(c.creation)],
        ["which is, in requests", f"{c.creation / c.request:.0f}"],
        ["a hit at 32768 interfaces", f"{c.hit * 1e9:.1f} ns"],
        ["a link notice in its handler, with the requests that its trace asks for", seconds(c.notice)],
        ["a record as the allocator of the reference device gives it", f"{c.record:.0f} B"],
        ["tables and directory, an entry", f"{c.beside:.0f} B"],
        ["a client process before its entries (anonymous memory)", size(c.process)],
    ])


def start(c):
    one = INTERFACES * c.creation
    every = CLIENTS * one
    served = every * c.share
    return tables.table(["start: every client touches every interface", "one client", f"{CLIENTS} clients"], [
        ["requests", f"{INTERFACES * c.creation / c.request / 1e6:.1f} M", f"{every / c.request / 1e6:.0f} M"],
        ["processor time in all", seconds(one), seconds(every)],
        ["of it in the service, which is one thread", seconds(one * c.share), seconds(served)],
    ])


def storm(c):
    flap = c.creation + 2 * c.notice
    served = flap * c.share
    return tables.table(["a link goes down and comes up", "one client", f"{CLIENTS} clients"], [
        ["the entry is removed and made again: processor time", seconds(flap), seconds(CLIENTS * flap)],
        ["of it in the service", seconds(served), seconds(CLIENTS * served)],
        ["flaps a second that saturate the service", f"{1 / served:.0f}", f"{1 / (CLIENTS * served):.1f}"],
        ["all 32768 links flap once: until the service has answered", seconds(INTERFACES * served),
         seconds(INTERFACES * CLIENTS * served)],
    ])


def rest(c):
    direct = QUESTIONS_A_SECOND * c.request
    cached = QUESTIONS_A_SECOND * c.hit
    return tables.table([f"at rest: each client asks {QUESTIONS_A_SECOND} questions a second", "from the cache", "without the library"], [
        ["requests a second, 100 clients", "0", f"{CLIENTS * QUESTIONS_A_SECOND / 1e6:.0f} M"],
        ["processors kept busy, 100 clients", f"{CLIENTS * cached:.4f}", f"{CLIENTS * direct:.1f}"],
    ])


def memory(c):
    entries = INTERFACES * (c.record + c.beside)
    return tables.table(["memory with every interface cached", "one client", f"{CLIENTS} clients"], [
        ["entries, tables and directory", size(entries), size(CLIENTS * entries)],
        ["with the process itself", size(entries + c.process), size(CLIENTS * (entries + c.process))],
    ])


def scale_tables(results):
    costs = Costs(results)
    return {
        "scale-measured": measured(costs),
        "scale-start": start(costs),
        "scale-storm": storm(costs),
        "scale-rest": rest(costs),
        "scale-memory": memory(costs),
    }
