#!/usr/bin/env python3
"""Tests the benchmarks' table on a report such as Google Benchmark writes. Nothing is measured here."""

import contextlib
import io
import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "bench"))

import figures  # noqa: E402
import measure  # noqa: E402


def rounds(name, times, unit="ns"):
    """A benchmark's rounds, and the aggregate that follows them in a report."""
    runs = [{"name": name, "run_name": name, "run_type": "iteration", "repetition_index": index, "real_time": 99.0,
             "cpu_time": time, "time_unit": unit} for index, time in enumerate(times)]
    return runs + [{"name": f"{name}_mean", "run_name": name, "run_type": "aggregate", "aggregate_name": "mean",
                    "real_time": 77.0, "cpu_time": 77.0, "time_unit": unit}]


def failure(name, message):
    return [{"name": name, "run_name": name, "run_type": "iteration", "error_occurred": True, "error_message": message,
             "real_time": 0.0, "cpu_time": 0.0, "time_unit": "ns"}]


def report(*benchmarks):
    return [run for runs in benchmarks for run in runs]


SQUARE = report(
    rounds("square, 512 bits/ours", [50, 40, 1000]),
    rounds("square, 512 bits/ours, plain", [100, 100, 100]),
    rounds("square, 512 bits/limit: GMP (mpn)", [25, 25, 25]),
    rounds("square, 512 bits/OpenSSL", [0.075, 0.0625, 0.08], unit="us"),
    rounds("square, 512 bits/nettle, unblinded", [150, 150, 150]),
    rounds("square, 512 bits/Botan", [200, 200, 200]))


# Stands for a program of benchmarks, of which one ends it.
CRASHING = """#!/bin/sh
case "$*" in *NSS*) exit 3 ;; esac
echo '{"benchmarks": [{"run_name": "MD2/ours", "run_type": "iteration", "cpu_time": 7, "time_unit": "ns"}]}'
"""


class BenchTest(unittest.TestCase):
    def cells(self, line):
        return [cell.strip() for cell in line.strip("|").split("|")]

    def lines(self, table):
        return [self.cells(line) for line in table.splitlines()[2:]]

    def test_a_row_holds_the_median_of_each_ones_rounds_in_nanoseconds(self):
        row = measure.row_of("crypto", "square, 512 bits", SQUARE)
        self.assertEqual({"ours": 50, "ours, plain": 100, "limit: GMP (mpn)": 25, "OpenSSL": 75,
                          "nettle, unblinded": 150, "Botan": 200}, row.times)

    def test_the_ratio_is_the_best_peers_time_over_ours_and_forms_and_limits_are_no_peers(self):
        row = measure.row_of("crypto", "square, 512 bits", SQUARE)
        self.assertEqual([(75, "OpenSSL"), (150, "nettle, unblinded"), (200, "Botan")], row.peers())
        self.assertEqual(1.5, row.ratio())
        self.assertEqual(3.0, row.median_ratio())

    def test_a_ratio_below_one_says_that_ours_is_behind(self):
        row = measure.Row("crypto", "RC4, 16 KB", {"ours": 200, "OpenSSL": 150, "NSS": 250})
        self.assertEqual((0.75, 1.0), (row.ratio(), row.median_ratio()))

    def test_a_row_may_take_the_fastest_round_instead(self):
        row = measure.row_of("token", "square, 512 bits", SQUARE, choose=min)
        self.assertEqual((40, 62.5), (row.times["ours"], row.times["OpenSSL"]))

    def test_a_name_is_divided_into_row_and_who_whatever_stands_in_them(self):
        self.assertEqual(("RSA public, 512 bits", "nettle, unblinded"),
                         measure.row_and_who("RSA public, 512 bits/nettle, unblinded/process_time"))
        self.assertEqual(("base64 decode, lines of 64", "3 KB"),
                         measure.split_size("base64 decode, lines of 64, 3 KB"))
        self.assertEqual(("Sign, RSA-512", ""), measure.split_size("Sign, RSA-512"))

    def test_a_line_of_the_table_names_everybody(self):
        line, = self.lines(figures.time_table([measure.row_of("crypto", "square, 512 bits", SQUARE)]))
        self.assertEqual(["crypto", "square", "512 bits", "50.0 ns", "OpenSSL", "75.0 ns", "1.50", "3.00",
                          "limit: GMP (mpn) 0.50, ours, plain 2.00, nettle, unblinded 3.00, Botan 4.00", ""], line)

    def test_a_peer_of_the_room_without_a_figure_is_named(self):
        rc4 = measure.Row("crypto", "RC4, 64 B", {"ours": 2000, "OpenSSL": 5000})
        asn = measure.Row("asn", "X.509 decode", {"ours": 1, "libtasn1": 2})
        lines = self.lines(figures.time_table([measure.row_of("crypto", "square, 512 bits", SQUARE), rc4, asn]))
        self.assertEqual(["", "Botan, nettle", ""], [line[-1] for line in lines])
        self.assertEqual(["2.00 us", "OpenSSL", "5.00 us", "2.50"], lines[1][3:7])

    def test_a_peer_that_fails_is_named_with_its_reason(self):
        broken = report(rounds("MD2, 64 B/ours", [10]), failure("MD2, 64 B/NSS", "not our result"))
        row = measure.row_of("crypto", "MD2, 64 B", broken)
        self.assertEqual({"NSS": "not our result"}, row.failed)
        self.assertIsNone(row.ratio())
        line, = self.lines(figures.time_table([row]))
        self.assertEqual(["10.0 ns", "-", "-", "-", "-", "NSS failed (not our result)", ""], line[3:])

    def test_ours_may_fail_too(self):
        broken = report(failure("MD2, 64 B/ours", "crash"), rounds("MD2, 64 B/nettle", [10]))
        line, = self.lines(figures.time_table([measure.row_of("crypto", "MD2, 64 B", broken)]))
        self.assertEqual(["-", "nettle", "10.0 ns", "-", "-", "ours failed (crash)", ""], line[3:])

    def test_the_token_layers_cost_is_what_is_beyond_the_engine(self):
        rows = [measure.Row("token", measure.YARDSTICK, {"engine": 10000}),
                measure.Row("token", "Verify, RSA-2048", {"VT_P11_OP": 10700, "engine": 10500, "engine, kept": 10100})]
        line, = self.lines(figures.token_table(rows))
        self.assertEqual(["Verify, RSA-2048", "", "10.70 us", "10.50 us", "200.0 ns", "2.0%", "10.10 us"], line)

    def test_memory_is_told_with_the_most_frugal_peer_first(self):
        text = "sign, 1 MB\tours\t43\t3145728\nsign, 1 MB\tNSS\t1526\t4194304\nsign, 1 MB\tOpenSSL\t143\t2097152\n"
        line, = self.lines(figures.memory_table(measure.read_memory(text)))
        self.assertEqual(["sign", "1 MB", "3.00 MB", "43", "OpenSSL 2.00 MB in 143, NSS 4.00 MB in 1526"], line)

    def test_times_and_sizes_are_written_for_people(self):
        self.assertEqual(["999.9 ns", "1.00 us", "2.50 ms", "3.00 s"],
                         [figures.time_text(time) for time in (999.9, 1000, 2.5e6, 3e9)])
        self.assertEqual(["0.0 KB", "16.5 KB", "0.50 MB"],
                         [figures.bytes_text(count) for count in (0, 16896, 524288)])

    def test_the_document_has_a_section_only_for_what_was_measured(self):
        row = measure.row_of("crypto", "square, 512 bits", SQUARE)
        text = figures.document([row], {}, "- here and now\n")
        self.assertIn("- here and now\n", text)
        self.assertIn("| crypto | square | 512 bits |", text)
        self.assertNotIn("token layer", text)
        self.assertNotIn("## Memory", text)

    def test_the_published_page_has_a_table_for_each_room_and_only_what_can_be_compared(self):
        rows = [measure.row_of("crypto", "square, 512 bits", SQUARE), measure.Row("crypto", "RC5", {"ours": 10}),
                measure.Row("asn", "X.509 decode", {"ours": 1000, "NSS": 2000, "OpenSSL": 4000})]
        text = figures.page(rows, {}, "- here and now\n")
        self.assertIn("\n## crypto\n\n| work |", text)
        self.assertIn("\n| square | 512 bits | 50.0 ns | OpenSSL | 1.50 | 3.00 |\n", text)
        self.assertIn("\n## asn\n\n| work |", text)
        self.assertIn("\n| X.509 decode |  | 1.00 us | NSS | 2.00 | 3.00 |\n", text)
        self.assertNotIn("RC5", text)

    def test_parts_keep_their_order_and_unknown_ones_are_refused(self):
        self.assertEqual(["crypto", "asn"], figures.parse(["build", "asn", "--rounds=5", "crypto"]).parts)
        self.assertEqual(list(measure.PARTS), figures.parse(["build"]).parts)
        self.assertEqual(3, figures.parse(["build", "--quick"]).rounds)
        with self.assertRaises(SystemExit), contextlib.redirect_stderr(io.StringIO()) as said:
            figures.parse(["build", "cryptography"])
        self.assertIn("no such part: cryptography", said.getvalue())
        with self.assertRaises(SystemExit), contextlib.redirect_stderr(io.StringIO()) as said:
            figures.parse(["build", "--publish", "asn"])
        self.assertIn("a run of everything", said.getvalue())

    def test_a_benchmark_that_ends_its_program_is_named_and_the_others_are_measured(self):
        with tempfile.TemporaryDirectory() as folder:
            program = pathlib.Path(folder) / "bench"
            program.write_text(CRASHING)
            program.chmod(0o755)
            runs = measure.run_in_turn(program, ["MD2/ours", "MD2/NSS"], 1)
        row = measure.row_of("crypto", "MD2", runs)
        self.assertEqual(({"ours": 7}, {"NSS": "ended with 3"}), (row.times, row.failed))

    def test_no_picture_is_needed_for_the_table(self):
        self.assertNotIn("matplotlib", sys.modules)


if __name__ == "__main__":
    unittest.main()
