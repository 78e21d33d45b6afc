"""Runs benchmarks beside their peers, and gives rows of times.

A benchmark is named "row/who", as in "product, 1024 bits/OpenSSL". The benchmarks of a row take turns in random
order, so that a busy moment of the machine falls on all of them; times are medians over the rounds of the processor's
time, where a name ends in "/process_time" that of all threads. "ours" is compared with the others; "ours, ..." names
another form of ours, and "limit: ..." what no peer offers but the machine allows: neither counts as a peer.
"""
import dataclasses
import json
import os
import re
import statistics
import subprocess

UNITS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
SIZE = re.compile(r"(.*), (\d+ (?:bits|bytes|B|KB|MB))")
TOKEN_LAYER = "VT_P11_OP"
YARDSTICK = "RSA-2048 public operation"

# Part and room; the order of the table.
PARTS = {
    "foundation": "foundation",
    "crypto": "crypto",
    "token": "token",
    "asn": "asn, schema",
    "ber": "ber",
    "base64": "enrol, pki",
    "request": "enrol, pki",
    "message": "pki/flat",
    "pfx": "pki/flat",
    "start": "plugin",
}
WITH_MEMORY = ("asn", "message")

# Each peer with the package that has it, and the library that a program loads.
PEERS = {
    "Botan": ("libbotan-2-dev", "libbotan-2.so"),
    "Crypto++": ("libcrypto++-dev", "libcryptopp.so"),
    "GMP": ("libgmp-dev", None),
    "GnuTLS": ("libgnutls28-dev", "libgnutls.so"),
    "libgcrypt": ("libgcrypt20-dev", "libgcrypt.so"),
    "libksba": ("libksba-dev", "libksba.so"),
    "libtasn1": ("libtasn1-6-dev", "libtasn1.so"),
    "libtomcrypt": ("libtomcrypt-dev", "libtomcrypt.so"),
    "libtommath": ("libtommath-dev", None),
    "mbedTLS": ("libmbedtls-dev", "libmbedcrypto.so"),
    "nettle": ("nettle-dev", "libhogweed.so"),
    "NSS": ("libnss3-dev", "libnss3.so"),
    "OpenSSL": ("libssl-dev", "libcrypto.so"),
    "wolfSSL": ("libwolfssl-dev", "libwolfssl.so"),
}


@dataclasses.dataclass
class Row:
    """One piece of work: times in ns by who, and of those who failed, why."""
    room: str
    name: str
    times: dict
    failed: dict = dataclasses.field(default_factory=dict)

    @property
    def work(self):
        return split_size(self.name)[0]

    @property
    def size(self):
        return split_size(self.name)[1]

    @property
    def ours(self):
        return self.times["ours"]

    def peers(self):
        """Time and name, the fastest first."""
        return sorted((time, who) for who, time in self.times.items() if is_peer(who))

    def others(self):
        """All but ours and the fastest peer, as ratios, the fastest first."""
        best = [who for _, who in self.peers()[:1]]
        return sorted((time / self.ours, who) for who, time in self.times.items() if who not in ["ours", *best])

    def ratio(self):
        """The best peer's time over ours; None without one."""
        return self.peers()[0][0] / self.ours if self.comparable() else None

    def median_ratio(self):
        return statistics.median(time for time, _ in self.peers()) / self.ours if self.comparable() else None

    def comparable(self):
        return "ours" in self.times and bool(self.peers())


def split_size(name):
    found = SIZE.fullmatch(name)
    return found.groups() if found else (name, "")


def is_peer(who):
    return who != "ours" and not who.startswith(("ours,", "limit: "))


def library_of(who):
    """The peer's name without how it was used: "nettle" of "nettle, unblinded", "GMP" of "limit: GMP (mpn)"."""
    return re.split(r",| \(", who.removeprefix("limit: "))[0]


def row_and_who(name):
    row, _, who = name.removesuffix("/process_time").rpartition("/")
    return row, who


def names_by_row(program):
    """The benchmarks of each row, in the order of the program."""
    names = subprocess.run([program, "--benchmark_list_tests"], capture_output=True, text=True, check=True).stdout
    found = {}
    for name in names.splitlines():
        found.setdefault(row_and_who(name)[0], []).append(name)
    return found


def run_in_turn(program, names, rounds):
    """The runs that Google Benchmark reports of these benchmarks."""
    # Its regular expressions know no escaped blanks and hyphens.
    pattern = "^(" + "|".join(re.escape(name).replace(r"\ ", " ").replace(r"\-", "-") for name in names) + ")$"
    done = subprocess.run([program, f"--benchmark_filter={pattern}", "--benchmark_min_time=0.008",
                           f"--benchmark_repetitions={rounds}", "--benchmark_enable_random_interleaving=true",
                           "--benchmark_format=json"], capture_output=True, text=True, check=False)
    if done.returncode == 0:
        return json.loads(done.stdout)["benchmarks"]
    if len(names) == 1:
        return [{"run_name": names[0], "run_type": "iteration", "error_occurred": True,
                 "error_message": f"ended with {done.returncode}"}]
    # One of them ended the program: alone, each shows whether it was that one.
    return [run for name in names for run in run_in_turn(program, [name], rounds)]


def row_of(room, name, runs, choose=statistics.median):
    """The row from runs that Google Benchmark reported; choose makes one time of the rounds' times."""
    rounds, failed = {}, {}
    for run in runs:
        if run["run_type"] != "iteration":
            continue
        who = row_and_who(run["run_name"])[1]
        if run.get("error_occurred"):
            failed[who] = run["error_message"]
        else:
            rounds.setdefault(who, []).append(run["cpu_time"] * UNITS[run["time_unit"]])
    return Row(room, name, {who: choose(times) for who, times in rounds.items()}, failed)


def start_row(program, plugin, name, preload, rounds):
    """Loading in turn, a fresh process each time, by the clock: ours makes an instance too, as a browser does."""
    environment = dict(os.environ, LD_PRELOAD=preload)
    libraries = {who: [library] for who, (_, library) in PEERS.items() if library}
    libraries["ours"] = [plugin, "instance"]
    times, failed = {}, {}
    for _ in range(rounds):
        for who, arguments in libraries.items():
            done = subprocess.run([program, *arguments], capture_output=True, text=True, check=False, env=environment)
            if done.returncode == 0:
                times.setdefault(who, []).append(int(done.stdout.split()[-1]))
            else:
                failed[who] = done.stderr.strip()
    return Row(PARTS["start"], name, {who: statistics.median(each) for who, each in times.items()}, failed)


def start_rows(build, rounds):
    program, plugin = build / "bin" / "bench_start", build / "npvemtrel_certenroll.so"
    yield start_row(program, plugin, "loaded in a fresh process, with an instance", "", rounds)
    yield start_row(program, plugin, "the same in a C++ program", "libstdc++.so.6", rounds)


def rows_of(build, part, rounds, wanted):
    """The part's rows as they are ready."""
    if part == "start":
        yield from (row for row in start_rows(build, 3 * rounds) if re.search(wanted, row.name))
        return
    program = build / "bin" / f"bench_{part}"
    # Small differences of two times are wanted of the token layer, so the fastest round counts there.
    choose = min if part == "token" else statistics.median
    for name, benchmarks in names_by_row(program).items():
        if re.search(wanted, name) or name == YARDSTICK:
            yield row_of(PARTS[part], name, run_in_turn(program, benchmarks, rounds), choose)


def memory_of(build, part):
    """Allocator calls and bytes held at most, by row and who."""
    done = subprocess.run([build / "bin" / f"bench_{part}", "--memory"], capture_output=True, text=True, check=True)
    return read_memory(done.stdout)


def read_memory(text):
    rows = {}
    for line in text.splitlines():
        name, who, calls, size = line.split("\t")
        rows.setdefault(name, {})[who] = (int(calls), int(size))
    return rows
