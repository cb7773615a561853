#!/usr/bin/env python3

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

"""Mutation check: plants one fault at a time into the C++ sources and runs the native suite.

A fault the suite notices is killed; one it lets through survived and points at a missing test
(or at a defect the tests hold in place). The tree is copied to a temporary directory with one
configured native build (Ninja), so the checkout and its build stay untouched while it runs. The
copies live in build-mutation/ of the checkout (not under /tmp), and each suite runs through
scripts/with-sandbox.sh, where only its copy is writable: a planted fault in code that deletes files
(a path cut short to /tmp/ or /) cannot reach anything outside it.

Faults are identified by file, trimmed source line, operator and occurrence on the line, never by
line number, so the list of equivalent faults (scripts/mutation-equivalents.txt) survives edits
elsewhere in a file. Survivors are written in the same tab-separated form, ready to be moved there
with a reason once judged equivalent.
"""
import argparse
import fnmatch
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
from dataclasses import dataclass
from pathlib import Path

REPO = Path(__file__).resolve().parent.parent
AREAS = ("src", "platform/linux", "tools/common", "tools/fritzbox-xsi", "conformance/src", "conformance/checks",
         "conformance/adapters", "abi")
EQUIVALENTS = REPO / "scripts" / "mutation-equivalents.txt"
LANES = REPO / "build-mutation" / "lanes"

# (name, pattern, replacement). clang-format puts blanks around binary operators, which keeps
# template brackets, `->`, `<<`, `>>` and `<=>` out of the comparison patterns.
OPERATORS = [
    ("== -> !=", r"(?<= )==(?= )", "!="),
    ("!= -> ==", r"(?<= )!=(?= )", "=="),
    ("< -> <=", r"(?<= )<(?= )", "<="),
    ("<= -> <", r"(?<= )<=(?= )", "<"),
    ("> -> >=", r"(?<= )>(?= )", ">="),
    (">= -> >", r"(?<= )>=(?= )", ">"),
    ("&& -> ||", r"(?<= )&&(?= )", "||"),
    ("|| -> &&", r"(?<= )\|\|(?= )", "&&"),
    ("true -> false", r"\btrue\b", "false"),
    ("false -> true", r"\bfalse\b", "true"),
    ("+ 1 -> - 1", r"(?<= )\+ 1(?![\w.'])", "- 1"),
    ("- 1 -> + 1", r"(?<= )- 1(?![\w.'])", "+ 1"),
    ("drop !", r"!(?!=)", ""),
    ("++ -> --", r"\+\+", "--"),
    ("-- -> ++", r"--", "++"),
]


@dataclass(frozen=True)
class Fault:
    path: str  # relative to the repository
    line_number: int  # 1-based, for the reader only
    line: str  # the trimmed source line
    operator: str
    occurrence: int  # 1-based among this operator's matches on the line
    copy: int  # 1-based among the lines of the file with the same trimmed text
    start: int  # column of the match in the untrimmed line
    end: int
    replacement: str

    def key(self):
        return (self.path, self.line, self.operator, self.occurrence, self.copy)

    def row(self):
        return f"{self.path}\t{self.line}\t{self.operator}\t{occurrence_text(self.occurrence, self.copy)}"

    def where(self):
        return (f"{self.path}:{self.line_number} '{self.operator}' #{occurrence_text(self.occurrence, self.copy)}: "
                f"{self.line}")


def occurrence_text(occurrence, copy):
    """"N" for the Nth match on a line whose text the file holds once (or on its first copy),
    "N/C" on the Cth line of that text, so that `return false;` in two places are two faults."""
    return str(occurrence) if copy == 1 else f"{occurrence}/{copy}"


def code_only(lines):
    """The lines with comments, string and character literals blanked out (same columns) and
    preprocessor lines emptied, so that operators are looked for in code only."""
    masked, in_block, in_directive = [], False, False
    for line in lines:
        if in_directive or (not in_block and line.lstrip().startswith("#")):
            in_directive = line.rstrip().endswith("\\")
            masked.append("")
            continue
        out, i = [], 0
        while i < len(line):
            if in_block:
                end = line.find("*/", i)
                stop = len(line) if end < 0 else end + 2
                out.append(" " * (stop - i))
                in_block, i = end < 0, stop
            elif line.startswith("//", i):
                break
            elif line.startswith("/*", i):
                in_block = True
            elif line.startswith('R"', i):
                stop = raw_string_end(line, i)
                out.append(" " * (stop - i))
                i = stop
            elif line[i] in "\"'":
                stop = quoted_end(line, i)
                out.append(" " * (stop - i))
                i = stop
            else:
                out.append(line[i])
                i += 1
        masked.append("".join(out))
    return masked


def quoted_end(line, start):
    quote, i = line[start], start + 1
    while i < len(line) and line[i] != quote:
        i += 2 if line[i] == "\\" else 1
    return min(i + 1, len(line))


def raw_string_end(line, start):
    opening = line.find("(", start)
    delimiter = ")" + line[start + 2:opening] + '"'
    end = line.find(delimiter, opening)
    return len(line) if opening < 0 or end < 0 else end + len(delimiter)


def faults_in(path):
    text = (REPO / path).read_text()
    lines = text.split("\n")
    faults, copies = [], {}
    for number, (line, code) in enumerate(zip(lines, code_only(lines)), start=1):
        copy = copies[line.strip()] = copies.get(line.strip(), 0) + 1
        for name, pattern, replacement in OPERATORS:
            for occurrence, match in enumerate(re.finditer(pattern, code), start=1):
                faults.append(Fault(path, number, line.strip(), name, occurrence, copy, match.start(), match.end(),
                                    replacement))
    return faults


def source_files(patterns):
    files = sorted(str(p.relative_to(REPO)) for area in AREAS for p in (REPO / area).glob("*.cpp"))
    if not patterns:
        return files
    # In the order of the patterns, so that the areas being worked on can come first.
    chosen = list(dict.fromkeys(f for p in patterns for f in files
                                if fnmatch.fnmatch(f, p) or f.startswith(p.rstrip("/") + "/")))
    if not chosen:
        sys.exit(f"mutation: no .cpp file of {', '.join(AREAS)} matches {' '.join(patterns)}")
    return chosen


def read_fault_keys(path, with_reason):
    """The faults a list names: FILE, LINE, OPERATOR, OCCURRENCE (and REASON in the equivalents),
    separated by tabs; `#` starts a comment line."""
    keys, columns = set(), 5 if with_reason else 4
    for number, row in enumerate(Path(path).read_text().split("\n"), start=1):
        if not row.strip() or row.startswith("#"):
            continue
        fields = row.split("\t")
        occurrence = re.fullmatch(r"([0-9]+)(?:/([0-9]+))?", fields[3]) if len(fields) == columns else None
        if not occurrence or (with_reason and not fields[4].strip()):
            sys.exit(f"{path}:{number}: expected FILE, LINE, OPERATOR, OCCURRENCE[/COPY]"
                     f"{', REASON' if with_reason else ''} separated by tabs")
        keys.add((fields[0], fields[1], fields[2], int(occurrence[1]), int(occurrence[2] or 1)))
    return keys


def read_equivalents():
    return read_fault_keys(EQUIVALENTS, with_reason=True)


def copy_tree(destination):
    files = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=REPO,
                           check=True, capture_output=True).stdout.decode().split("\0")
    for name in filter(None, files):
        source = REPO / name
        if source.is_file() or source.is_symlink():
            (destination / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(source, destination / name, follow_symlinks=False)


def run(command, cwd, limit):
    """Exit status of `command`, or None when it ran past `limit` seconds (its whole process group
    is ended then, so a hanging test program goes too)."""
    process = subprocess.Popen(command, cwd=cwd, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               start_new_session=True)
    try:
        return process.wait(timeout=limit)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        process.wait()
        return None


class Workspace:
    """The copied tree with its build directory."""

    def __init__(self, root, args):
        self.root, self.args = root, args
        self.build = root / "build-mutation"
        self.jobs = max(1, args.jobs // args.lanes)

    def configure_and_build(self):
        if run(["cmake", "-S", ".", "-B", str(self.build), "-G", "Ninja"], self.root, None) != 0:
            sys.exit("mutation: configuring the copy failed")
        return self.build_incrementally(self.args.jobs)

    def build_incrementally(self, jobs=None):
        command = ["ninja", "-C", str(self.build), f"-j{jobs or self.jobs}"]
        return run(command, self.root, self.args.build_limit) == 0

    def suite_passes(self):
        # The sandbox also gives the suite a private /data/images and /tmp, so test runs of the
        # checkout beside this one are not disturbed either.
        command = [str(self.root / "scripts/with-sandbox.sh"), str(self.root), "ctest", "--test-dir", str(self.build),
                   "-j", str(self.jobs), "--timeout", str(self.args.timeout), "--stop-on-failure"]
        if self.args.exclude_tests:
            command += ["-E", self.args.exclude_tests]
        return run(command, self.root, self.args.suite_limit) == 0

    def write(self, path, text):
        # Ninja rebuilds by modification time: the new content must look newer than the object
        # built from the last one, even where the clock is coarser than two writes apart.
        target = self.root / path
        stamp = max(time.time_ns(), target.stat().st_mtime_ns + 1)
        target.write_text(text)
        os.utime(target, ns=(stamp, stamp))

    def outcome(self, fault, original):
        lines = original.split("\n")
        line = lines[fault.line_number - 1]
        lines[fault.line_number - 1] = line[:fault.start] + fault.replacement + line[fault.end:]
        self.write(fault.path, "\n".join(lines))
        try:
            if not self.build_incrementally():
                return "does not compile"
            return "survived" if self.suite_passes() else "killed"
        finally:
            self.write(fault.path, original)


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--files", nargs="+", metavar="PATTERN",
                        help="only these files, in this order (paths, directories or shell patterns relative to the "
                        "repository)")
    parser.add_argument("--sample", type=int, metavar="N", help="a random sample of N faults instead of all")
    parser.add_argument("--seed", type=int, default=1, help="seed of the sample (default 1)")
    parser.add_argument("--faults", metavar="FILE",
                        help="only the faults a survivors file lists (to check again after new tests)")
    parser.add_argument("--exclude-tests", metavar="REGEX",
                        help="leave out the ctest entries matching REGEX, e.g. those that build the module alone "
                        "when only platform/linux is mutated")
    parser.add_argument("--list", action="store_true", help="print the candidate faults and stop")
    parser.add_argument("--min-score", type=float, metavar="PERCENT", help="exit 1 when the score is below PERCENT")
    parser.add_argument("--timeout", type=int, default=30,
                        help="seconds one test may take; over it the fault is killed (default 30)")
    parser.add_argument("--suite-limit", type=int, default=60,
                        help="seconds the whole suite may take (a test's own ctest TIMEOUT can be longer than "
                        "--timeout); over it the fault is killed (default 60, ten times the unloaded suite)")
    parser.add_argument("--build-limit", type=int, default=600, help="seconds one rebuild may take (default 600)")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 2,
                        help="compile and test jobs in all, shared by the lanes (default: the processors)")
    parser.add_argument("--lanes", type=int, default=2,
                        help="copies of the tree that test faults side by side (default 2)")
    parser.add_argument("--survivors", default=str(REPO / "build-mutation" / "survivors.txt"),
                        help="file for the surviving faults (default build-mutation/survivors.txt)")
    parser.add_argument("--keep", action="store_true", help="keep the copied tree and its build")
    return parser.parse_args()


def candidates(args):
    equivalent = read_equivalents()
    faults = [f for path in source_files(args.files) for f in faults_in(path)]
    if args.faults:
        listed = read_fault_keys(args.faults, with_reason=False)
        faults = [fault for fault in faults if fault.key() in listed]
    if args.sample is not None and args.sample < len(faults):
        chosen = set(random.Random(args.seed).sample(range(len(faults)), args.sample))
        faults = [fault for index, fault in enumerate(faults) if index in chosen]
    return faults, equivalent


def report(results, equivalent_count, seconds):
    counts = {name: sum(1 for _, outcome in results if outcome == name)
              for name in ("killed", "survived", "does not compile")}
    judged = len(results) - counts["does not compile"]
    score = 100.0 * counts["killed"] / judged if judged else 100.0
    print(f"\ncandidates {len(results) + equivalent_count}, killed {counts['killed']}, survived {counts['survived']}, "
          f"equivalent {equivalent_count}, does not compile {counts['does not compile']}")
    print(f"score {score:.1f} % (killed / (candidates - equivalent - does not compile)), "
          f"time {seconds / 60:.1f} min")
    return score


def write_survivors(path, results):
    survivors = [fault for fault, outcome in results if outcome == "survived"]
    Path(path).parent.mkdir(parents=True, exist_ok=True)
    with open(path, "w") as out:
        out.write("# FILE\tLINE\tOPERATOR\tOCCURRENCE: surviving faults; an equivalent one goes to "
                  "scripts/mutation-equivalents.txt with a fifth column, its reason\n")
        out.writelines(fault.row() + "\n" for fault in survivors)
    print(f"{len(survivors)} survivor(s) written to {path}")


def prepare_lane(root, args):
    copy_tree(root)
    workspace = Workspace(root, args)
    if not workspace.configure_and_build() or not workspace.suite_passes():
        sys.exit("mutation: the unchanged copy does not build or pass its suite")
    return workspace


def run_lanes(workspaces, to_run):
    """Every fault in one of the lanes, each lane taking the next fault when it is done; the
    results in the order of `to_run`."""
    outcomes = [None] * len(to_run)
    next_index, finished = iter(range(len(to_run))), [0]
    lock = threading.Lock()

    def lane(workspace):
        originals = {}
        while True:
            with lock:
                index = next(next_index, None)
            if index is None:
                return
            fault, begun = to_run[index], time.time()
            if fault.path not in originals:
                originals[fault.path] = (workspace.root / fault.path).read_text()
            outcomes[index] = workspace.outcome(fault, originals[fault.path])
            with lock:
                finished[0] += 1
                print(f"[{finished[0]}/{len(to_run)}] {outcomes[index]:<16} {fault.where()} "
                      f"({time.time() - begun:.0f} s)", flush=True)

    threads = [threading.Thread(target=lane, args=(workspace,)) for workspace in workspaces]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    return list(zip(to_run, outcomes))


def main():
    args = parse_arguments()
    faults, equivalent = candidates(args)
    if args.list:
        for fault in faults:
            print(("equivalent  " if fault.key() in equivalent else "") + fault.where())
        print(f"{len(faults)} candidates")
        return 0
    to_run = [f for f in faults if f.key() not in equivalent]
    started = time.time()
    LANES.mkdir(parents=True, exist_ok=True)
    roots = [Path(tempfile.mkdtemp(prefix="lane-", dir=LANES)) for _ in range(max(1, args.lanes))]
    try:
        print(f"mutation: {len(to_run)} faults ({len(faults) - len(to_run)} equivalent left out), "
              f"{len(roots)} lane(s) in {' '.join(map(str, roots))}", flush=True)
        results = run_lanes([prepare_lane(root, args) for root in roots], to_run)
    finally:
        for root in roots:
            if args.keep:
                print(f"mutation: the copy stays in {root}")
            else:
                shutil.rmtree(root, ignore_errors=True)
    score = report(results, len(faults) - len(to_run), time.time() - started)
    write_survivors(args.survivors, results)
    return 1 if args.min_score is not None and score < args.min_score else 0


if __name__ == "__main__":
    sys.exit(main())
