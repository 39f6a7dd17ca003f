#!/usr/bin/env python3
"""Runs what the library's reliability stands on, and writes docs/reliability.md from what it measured:

    proof.py [--only STEP...] [--without STEP...] [--budget MINUTES] [--list] [--page]

Unattended, in under two hours on two processor cores. Each step has its log in build/proof and its
result in build/proof/results, with date, commit and machine: what is not run now stays on the page as
it was measured, and says where. --page writes the page again from these and runs nothing; Ctrl-C ends
the run and writes it from what was measured until then. The exit code is 1 when a step failed.
"""

import argparse
import concurrent.futures
import fcntl
import os
import pathlib
import signal
import subprocess
import sys
import time

sys.dont_write_bytecode = True
from proof import numbers, page, readers, results, running, steps  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parent.parent
FEWEST_MINUTES = 2  # that a step which may be cut short is worth


def arguments(names):
    parser = argparse.ArgumentParser(prog="./run proof", description=__doc__.split("\n\n")[0])
    how = dict(nargs="+", default=[], metavar="STEP", choices=names)
    parser.add_argument("--only", help="run these steps", **how)
    parser.add_argument("--without", help="run all but these", **how)
    budget = f"what it may take altogether ({steps.BUDGET})"
    parser.add_argument("--budget", type=float, default=steps.BUDGET, metavar="MINUTES", help=budget)
    parser.add_argument("--list", action="store_true", help="print the steps and run none")
    parser.add_argument("--page", action="store_true", help="write the page from what is stored")
    return parser.parse_args()


def missing(root, needed):
    """Why a step cannot run, or None."""
    if needed is None:
        return None
    if needed.startswith("./run "):
        is_there = f"\nverb_{needed.split()[1]}()" in (root / "run").read_text()
    else:
        is_there = (root / needed).exists()
    if is_there and needed.startswith(steps.CLONE):
        heads = {results.output_of(folder, "git", "rev-parse", "HEAD")
                 for folder in (root, root / steps.CLONE)}  # fmt: skip
        return None if len(heads) == 1 else f"{steps.CLONE} is of another commit"
    return None if is_there else f"there is no {needed}"


class Proof:
    def __init__(self, root, every_step, budget):
        self.root, self.folder = root, root / steps.FOLDER
        self.steps, self.budget = every_step, 60 * budget
        self.results = results.Results(root, self.folder / "results")
        self.runner = running.Runner(root, self.folder)
        self.start = time.monotonic()
        self.failed = []

    def elapsed(self):
        return time.monotonic() - self.start

    def say(self, text):
        print(text, flush=True)

    # A step.

    def conclude(self, step, state, figures=None, reason="", seconds=0.0):
        self.results.keep(step, state, figures, reason, seconds)
        if state == results.FAILED:
            self.failed.append(step.name)
        self.say(f"    {step.name} {state} after {numbers.minutes(seconds)}{reason and ': ' + reason}")

    def run_step(self, step, seconds):
        start = time.monotonic()

        def conclude(*result):
            self.conclude(step, *result, time.monotonic() - start)

        try:
            outputs = self.runner.run(step, seconds)
        except running.Interrupted as stopped:
            conclude(results.NOT_MEASURED, None, str(stopped))
        except running.Stopped as stopped:
            figures = self.read(step, stopped.outputs)[0] if stopped.at_its_end else None
            why = readers.why_failed(stopped.outputs[-1].text) if stopped.at_its_end else None
            conclude(results.FAILED, figures, why or str(stopped))
        else:
            figures, why = self.read(step, outputs)
            conclude(results.FAILED if why else results.PASSED, figures, why)

    def read(self, step, outputs):
        """Figures, and what is wrong with them; None where there are none. Whatever a reader stumbles
        over is no reason to leave out the steps that follow."""
        try:
            figures = step.read(outputs)
            return figures, "; ".join(figures.get("problems", []))
        except Exception as trouble:
            return None, f"what it printed was not understood: {trouble or repr(trouble)}"

    # All of them.

    def may_run(self, step, left):
        """Why not, or None."""
        needed = FEWEST_MINUTES if step.may_be_cut else step.minutes
        if 60 * needed > left:
            asked, whole = (numbers.minutes(seconds) for seconds in (60 * needed, self.budget))
            return f"{asked} would not have fitted into the {whole} of the run"
        if step.after and not self.results.are_of_this_tree(step.after):
            return f"{step.after} has not been run at this commit"
        return missing(self.root, step.needs)

    def build_programs(self, group):
        """The lock is that of everything which builds here (run)."""
        targets = [program for step in group for program in step.programs]
        command = ["flock", "--close", "build/lock", "scripts/compile.sh", "win32", *targets]
        if targets:
            subprocess.run(command, cwd=self.root, stdout=subprocess.DEVNULL, check=True)

    def run_group(self, group):
        left = self.budget - self.elapsed()
        able = []
        for step in group:
            self.say(f"step {self.steps.index(step) + 1} of {len(self.steps)}, {step.name}: {step.what}, "
                     f"{numbers.minutes(self.elapsed())} so far")  # fmt: skip
            if why := self.may_run(step, left):
                self.conclude(step, results.NOT_MEASURED, reason=why)
            else:
                able.append(step)
        try:
            self.build_programs(able)
        except subprocess.CalledProcessError as trouble:
            for step in able:
                self.conclude(step, results.FAILED, reason=f"not built: {trouble}")
            return
        with concurrent.futures.ThreadPoolExecutor(len(group)) as pool:
            limits = [min(60 * step.minutes, left) for step in able]
            running_steps = [pool.submit(self.run_step, *pair) for pair in zip(able, limits)]
            try:
                for each in running_steps:
                    each.result()
            except KeyboardInterrupt:
                self.runner.stop()  # the pool waits for its steps
                raise

    def run(self):
        for group in steps.groups_of(self.steps):
            self.run_group(group)
            self.write_page()

    # The end.

    def stop_servers(self):
        places = [(self.root, None), (self.root, self.folder / "wine"), (self.root / steps.CLONE, None)]
        for root, wine in places:
            command = root / "scripts/wine-run"
            if command.exists():
                variables = {"Q32BASE_WINE_DIR": str(wine)} if wine else {}
                subprocess.run([command, "--stop"], cwd=root, env=os.environ | variables)

    def write_page(self):
        (self.root / results.PAGE).write_text(page.page(self.results.read()))


def only_run(folder):
    """The lock of the run, which lives as long as the file that this returns."""
    folder.mkdir(parents=True, exist_ok=True)
    lock = open(folder / "lock", "w")
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError:
        sys.exit("proof: another run is at work in build/proof")
    return lock


def interrupted(*_):
    raise KeyboardInterrupt


def print_list(every_step):
    for group in steps.groups_of(every_step):
        for step in group:
            others = [other.name for other in group if other is not step]
            beside = f", beside {' and '.join(others)}" if others else ""
            print(f"{step.name:10} {step.minutes:3} min  {step.what}{beside}")
    print(f"{'all':10} {sum(map(steps.minutes_of, steps.groups_of(every_step))):3} min at most")


def main():
    every_step = steps.all_steps(ROOT)
    options = arguments([step.name for step in every_step])
    chosen = [step for step in every_step
              if step.name not in options.without and (not options.only or step.name in options.only)]  # fmt: skip
    if options.list:
        print_list(chosen)
        return 0
    signal.signal(signal.SIGTERM, interrupted)
    proof = Proof(ROOT, chosen, options.budget)
    if options.page:
        proof.write_page()
        return 0
    lock = only_run(proof.folder)
    try:
        proof.run()
    except KeyboardInterrupt:
        print("proof: interrupted", file=sys.stderr)
        return 130
    finally:
        proof.stop_servers()
        proof.write_page()
        lock.close()
    print(f"{results.PAGE} is written, after {numbers.minutes(proof.elapsed())}")
    if proof.failed:
        print(f"Failed: {', '.join(proof.failed)}; their logs are in {steps.FOLDER}")
    return 1 if proof.failed else 0


if __name__ == "__main__":
    sys.exit(main())
