#!/usr/bin/env python3
"""How many planted faults does the test suite catch?

Puts each mutant of scripts/mutants.txt (a sign flipped, a constant changed ...) into
its file, rebuilds incrementally and runs the test programs: caught when a test fails
or hangs, survived when all pass, apart when it does not build. The file is restored.

  python3 scripts/mutate.py [--only NAME] [--build-dir DIR (build-mutate)] [--jobs N]
                            [--score LABEL: append the score to mutation-score.txt]
  python3 scripts/mutate.py --list     lists the mutants, checks that each text is found
Results: <build dir>/mutation-results.txt. Uses ninja and ccache when installed. The
real-host tests (ctest's plugins_*) run for the mutants in plugins/ only.
"""
import argparse, datetime, json, os, re, shutil, signal, subprocess, sys, time
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent


def load_mutants(path):
    mutants = []
    for number, line in enumerate(path.read_text().splitlines(), 1):
        if line.strip() and not line.lstrip().startswith("#"):
            fields = [f.strip() for f in line.split("@@")]
            if len(fields) != 4 or not all(fields[i] for i in (0, 1, 3)):
                sys.exit(f"{path}:{number}: expected 'file @@ find @@ replacement @@ name'")
            mutants.append(dict(zip(("file", "find", "replace", "name"), fields)))
    return mutants


def problem(m):  # why the mutant cannot be applied, or None
    path = TOP / m["file"]
    count = path.read_text().count(m["find"]) if path.is_file() else 0
    return None if count == 1 else f"text found {count} times in {m['file']}"


def run(cmd, **kw):
    return subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **kw)


def build(args, targets=None):
    """Configures the build dir once, then builds; returns the output of a failure."""
    if not (args.build_dir / "CMakeCache.txt").exists():
        cmd = ["cmake", "-S", TOP, "-B", args.build_dir, "-DZK_BUILD_BENCH=OFF",
               *(["-G", "Ninja"] if shutil.which("ninja") else [])]
        if shutil.which("ccache"):
            cmd += ["-DCMAKE_C_COMPILER_LAUNCHER=ccache", "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"]
        if (configured := run(cmd)).returncode:
            return configured.stdout
    made = run(["cmake", "--build", args.build_dir, "-j", str(args.jobs),
                *(["--target", *sorted(targets)] if targets else [])])
    return made.stdout if made.returncode else None


def test_programs(build_dir):
    """Each GoogleTest program once (not once per test), and the other ctest tests."""
    listing = run(["ctest", "--show-only=json-v1"], cwd=build_dir)
    programs = {}
    for t in json.loads(listing.stdout)["tests"]:
        props = {p["name"]: p["value"] for p in t.get("properties", [])}
        cmd, exe = t["command"], Path(t["command"][0])
        gtest = any(a.startswith("--gtest_filter=") for a in cmd)
        env = dict(os.environ, **dict(e.split("=", 1) for e in props.get("ENVIRONMENT", [])))
        programs.setdefault(exe if gtest else t["name"], dict(
            name=exe.name if gtest else t["name"], env=env,
            cmd=[cmd[0], "--gtest_fail_fast"] if gtest else cmd,
            cwd=props.get("WORKING_DIRECTORY", build_dir), serial=bool(props.get("RUN_SERIAL")),
            host=t["name"].startswith("plugins_"), limit=props.get("TIMEOUT") or 900,
            target=exe.name if exe.is_relative_to(build_dir) else None, seconds=0.0))
    return list(programs.values())


def failures(programs, jobs, logs, keep_going=False):
    """The programs, run `jobs` at a time, that fail or hang (the first only unless keep_going)."""
    logs.mkdir(exist_ok=True)
    queue, running, failed, retried = list(programs), [], [], set()
    try:
        while queue or running:
            while (queue and len(running) < jobs and not any(r[0]["serial"] for r in running)
                   and not (running and queue[0]["serial"])):
                p = queue.pop(0)
                log = open(logs / (p["name"] + ".log"), "w")
                running.append((p, log, time.monotonic(), subprocess.Popen(
                    p["cmd"], env=p["env"], cwd=p["cwd"], stdout=log, stderr=subprocess.STDOUT,
                    start_new_session=True)))
            time.sleep(0.02)
            for item in list(running):
                p, log, start, proc = item
                elapsed = time.monotonic() - start
                hung = elapsed > p["limit"]
                if not hung and proc.poll() is None:
                    continue
                stop(item)
                running.remove(item)
                p["seconds"] = elapsed
                if (hung or proc.returncode) and p["host"] and p["name"] not in retried:
                    retried.add(p["name"])  # a real host shared with others: once more
                    queue.insert(0, p)
                elif hung or proc.returncode:
                    tests = [line.split()[3] for line in open(log.name, errors="replace")
                             if line.startswith("[  FAILED  ]") and line.endswith(" ms)\n")]
                    why = "hung" if hung else tests[0] if tests else f"exit {proc.returncode}"
                    failed.append((p, f"{p['name']} ({why})"))
                    if not keep_going:
                        return failed
    finally:
        for item in running:  # the others, after a failure
            stop(item)
    return failed


def stop(item):
    """Ends a program (with whatever it started) if it still runs, and its log."""
    p, log, start, proc = item
    if proc.poll() is None:
        os.killpg(proc.pid, signal.SIGKILL)
    proc.wait()
    log.close()


def try_mutant(m, args, programs):
    path, layer = TOP / m["file"], m["file"].split("/")[0]
    original = path.read_text()
    chosen = [p for p in programs if layer == "plugins" or not p["host"]]
    # The mutant's own layer first, then the quicker programs; the serial ones last.
    chosen.sort(key=lambda p: (p["serial"], layer.rstrip("s") not in p["name"], p["seconds"]))
    targets = None if layer == "plugins" else {p["target"] for p in chosen if p["target"]}
    try:
        path.write_text(original.replace(m["find"], m["replace"], 1))
        if (error := build(args, targets)) is not None:
            # Compiled, but a later step of the build (a generated preset, say) failed.
            if not re.search(r"^FAILED: \S+\.o\b|\.o\] Error", error, re.M):
                return "caught", re.search(r"^(FAILED: |.*\*\*\* ).*", error, re.M)[0][:90]
            return "did not build", ""
        failed = failures(chosen, args.jobs, args.build_dir / "mutate-logs")
        return ("caught", failed[0][1]) if failed else ("survived", "")
    finally:
        path.write_text(original)
        if run(["git", "diff", "--quiet", "--", m["file"]], cwd=TOP).returncode:
            sys.exit(f"mutate: {m['file']} still differs from git after restoring it")


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("--build-dir", default="build-mutate", type=Path)
    ap.add_argument("--only", metavar="NAME")
    ap.add_argument("--list", action="store_true")
    ap.add_argument("--jobs", type=int, default=os.cpu_count() or 2)
    ap.add_argument("--score", metavar="LABEL", help="append a LABEL line to mutation-score.txt")
    args = ap.parse_args()
    args.build_dir = args.build_dir.resolve()
    mutants = [m for m in load_mutants(TOP / "scripts" / "mutants.txt")
               if args.only in (None, m["name"])]
    bad = [f"mutate: {m['name']}: {problem(m)}" for m in mutants if problem(m)]
    bad += [] if mutants else [f"mutate: no mutant named {args.only}"]
    for m in mutants if args.list else []:
        print(f"{m['name']:34} {m['file']:36} {problem(m) or 'ok'}")
    if bad or args.list:
        sys.exit("\n".join(bad) or 0)
    for f in sorted({m["file"] for m in mutants}):
        if run(["git", "diff", "--quiet", "HEAD", "--", f], cwd=TOP).returncode:
            sys.exit(f"mutate: {f} has changes; commit or stash them first")
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("mutate: stopped"))
    os.environ.setdefault("CCACHE_BASEDIR", str(TOP.parent))
    os.environ.setdefault("CCACHE_NOHASHDIR", "true")

    started = time.monotonic()
    if (error := build(args)) is not None:
        sys.exit(error[-4000:] + f"\nmutate: the unmutated tree does not build in {args.build_dir}")
    programs = test_programs(args.build_dir)
    if not any(m["file"].startswith("plugins/") for m in mutants):
        programs = [p for p in programs if not p["host"]]
    # What fails without a mutant (a host missing, say) cannot tell a mutant: left out.
    left = failures(programs, args.jobs, args.build_dir / "mutate-logs", True)
    for p, why in left:
        print(f"mutate: left out, fails without a mutant: {why}", flush=True)
        programs.remove(p)
    for p in programs:  # a mutant that makes a program take this long has hung it
        p["limit"] = 3 * p["seconds"] + 30
    print(f"unmutated build and suite: {time.monotonic() - started:.0f} s", flush=True)

    results = []
    for i, m in enumerate(mutants, 1):
        t0 = time.monotonic()
        results.append((m, *try_mutant(m, args, programs)))
        print(f"[{i}/{len(mutants)}] {m['name']}: {results[-1][1]} {results[-1][2]} "
              f"({time.monotonic() - t0:.0f} s)", flush=True)

    caught, survived, broken = ([m["name"] for m, verdict, _ in results if verdict == v]
                                for v in ("caught", "survived", "did not build"))
    tried = len(caught) + len(survived)
    # The last commit of what is measured: code and tests, not these scripts.
    commit = run(["git", "log", "-1", "--format=%h", "--", ".", ":!scripts"], cwd=TOP).stdout
    commit = commit.strip()
    summary = (f"commit {commit}, {datetime.date.today()}, "
               f"{(time.monotonic() - started) / 60:.1f} min: caught {len(caught)} of {tried} "
               f"({100.0 * len(caught) / max(tried, 1):.1f} %); survivors: "
               f"{', '.join(survived) or 'none'}; did not build: {', '.join(broken) or 'none'}"
               + "".join(f"; left out (failing unmutated): {why}" for _, why in left))
    report = summary + "\n\n" + "".join(
        f"{verdict:14} {m['name']:34} {m['file']} {detail}\n" for m, verdict, detail in results)
    print("\n" + report, end="")
    (args.build_dir / "mutation-results.txt").write_text(report)
    if args.score:
        with open(TOP / "scripts" / "mutation-score.txt", "a") as f:
            f.write(f"{args.score}: {summary}\n")


if __name__ == "__main__":
    main()
