#!/usr/bin/env python3
"""Puts small faults into a copy of the project, one at a time, and tells which tests see them: ./test --mutants.

    ./test --mutants [--list] [WORD ...]    of the faults in mutants.txt those whose head line has one of the words:
                                            a number, a kind, a part of a file's name

The copy lies in build/mutants, with a build of its own that keeps up from fault to fault. The suites run from the
quickest to the slowest until one fails.
"""
import os
import re
import shutil
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
COPY = ROOT / 'build' / 'mutants'
SLOW = 'Hostile*:Threads*:Program*:Services/Decision*:Journal*:WhatIfMachine*'
SUITES = ['-Image.IsSmall*:FaultRuns*:' + SLOW, 'FaultRuns*', SLOW]  # the library is larger than the one that is shipped
LONGEST = 400  # seconds that a suite may take; one that takes longer hangs


class Mutant:
    def __init__(self, number, paragraph):
        head, *lines = paragraph.split('\n')
        self.number = number
        self.kind, self.file = head.split(' ')
        part = lambda mark: '\n'.join(line[2:] for line in lines if line[:1] == mark)
        self.old, self.new, self.equivalent = part('-'), part('+'), part('~')
        self.head = f'{number} {self.kind} {self.file}'

    def applied(self):
        """The file's text with the fault in it."""
        text = (ROOT / self.file).read_text()
        if not self.old or text.count(self.old) != 1 or self.old == self.new:
            sys.exit(f'{self.head}: what it replaces is there {text.count(self.old)} times')
        return text.replace(self.old, self.new)


def read_mutants():
    text = (Path(__file__).parent / 'mutants.txt').read_text()
    paragraphs = [p.strip('\n') for p in text.split('\n\n')]
    return [Mutant(i + 1, p) for i, p in enumerate(p for p in paragraphs if p and p[0] != '#')]


def shell(command, seconds=None):
    """The command with the functions of the workshop, in the copy: status (None: it took too long) and output."""
    process = subprocess.Popen(['bash', '-c', 'set -o pipefail; . cmake/workshop.sh; ' + command], cwd=COPY, text=True, errors='replace',
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True)
    try:
        output, _ = process.communicate(timeout=seconds)
        return process.returncode, output
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, 9)
        return None, process.communicate()[0]


def copy_project():
    """Only what has changed, so that the build keeps up."""
    names = subprocess.run(['git', 'ls-files', '-z', '--cached', '--others', '--exclude-standard'], cwd=ROOT,
                           capture_output=True, text=True, check=True).stdout.split('\0')
    for name in filter(None, names):
        source, copy = ROOT / name, COPY / name
        if source.is_file() and not (copy.exists() and copy.read_bytes() == source.read_bytes()):
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, copy)
    for folder in 'src', 'whatif', 'journal', 'cli', 'tests':
        for copy in (COPY / folder).rglob('*'):
            if copy.is_file() and not (ROOT / copy.relative_to(COPY)).exists():
                copy.unlink()


def judge():
    """What becomes of the copy as it is: a word, and the test that says so."""
    status, output = shell('workshop_build -DKESWSEC_TESTS=ON -DKESWSEC_QUICK_LINK=ON keswsec_tests')
    error = next((line for line in output.split('\n') if 'error:' in line), '')
    if status != 0:
        return 'caught' if 'static assertion failed' in error else 'does not build', error
    for suite in SUITES:
        command = f"workshop_tests --gtest_brief=1 --gtest_fail_fast '--gtest_filter={suite}'"
        status, output = shell(command, LONGEST)
        failed = re.findall(r'^(?:\[  FAILED  \]|exception \w+ at \w+ in) (\w\S*\.\S+)', output, re.M)
        if failed:
            return 'caught', failed[0]
        if status is None:
            return 'hangs', suite
        if status != 0:
            return 'crashed', output.strip().split('\n')[-1]
    return 'missed', ''


def main(words):
    mutants = read_mutants()
    wanted = [w for w in words if w != '--list']
    chosen = [m for m in mutants if not wanted or any(w in m.head.split(' ')[:2] or w in m.file for w in wanted)]
    for mutant in mutants:
        mutant.applied()
    if '--list' in words:
        for mutant in chosen:
            print(mutant.head, '(equivalent)' if mutant.equivalent else '')
        return
    os.environ.setdefault('KESWSEC_WINEPREFIX', str(ROOT / 'build' / 'wine'))
    copy_project()
    if judge() != ('missed', ''):
        sys.exit('the tests fail without a fault')
    counts = {}
    for mutant in chosen:
        verdict, what, began = 'equivalent', mutant.equivalent, time.time()
        if not mutant.equivalent:
            (COPY / mutant.file).write_text(mutant.applied())
            verdict, what = judge()
            shutil.copy(ROOT / mutant.file, COPY / mutant.file)
        counts[verdict] = counts.get(verdict, 0) + 1
        print(f'{verdict:15}{mutant.head}  {what}  {time.time() - began:.0f} s', flush=True)
    print(', '.join(f'{count} {verdict}' for verdict, count in sorted(counts.items())))


if __name__ == '__main__':
    main(sys.argv[1:])
