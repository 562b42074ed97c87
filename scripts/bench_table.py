#!/usr/bin/env python3
"""Prints the benchmark table from the results scripts/bench.sh leaves in DIR."""
import json
import sys
from pathlib import Path


def medians(path):
    """name -> counters of the median aggregate."""
    out = {}
    for b in json.loads(Path(path).read_text())["benchmarks"]:
        if b.get("aggregate_name") == "median" and not b.get("error_occurred"):
            out[b["run_name"]] = b
    return out


def main(d):
    d = Path(d)
    limit = medians(d / "limit.json")
    widths = {k: limit[f"BM_Limit_{k}"]["ops/ns"]
              for k in ("Scalar", "Sse2", "Avx2", "Avx512") if f"BM_Limit_{k}" in limit}
    ours = {**medians(d / "processors.json"), **medians(d / "units.json")}

    print("\nMachine limit (multiplies and adds per ns, one core):",
          ", ".join(f"{k} {v:.2f}" for k, v in widths.items()))
    print("\nOurs (stereo frames; Zkmorva10ProcessorMono per mono frame)")
    head = f"{'benchmark':44} {'ns/frame':>9} {'CPU %':>7} {'ops/frame':>9} " \
           f"{'limit ns':>9} {'of limit':>9}"
    for k in ("Avx2", "Avx512"):
        if k in widths:
            head += f" {'of ' + k:>10}"
    print(head)
    for name in sorted(ours):
        b = ours[name]
        ns = b["ns/frame"]
        ops = b["ops/frame"]
        rate = 44100.0 if "44" in name else 96000.0 if "96" in name else 48000.0
        lim = ops / widths["Sse2"]
        line = f"{name:44} {ns:9.1f} {ns * rate * 1e-7:7.3f} {ops:9.0f} {lim:9.1f} {lim / ns:9.2f}"
        for k in ("Avx2", "Avx512"):
            if k in widths:
                line += f" {ops / widths[k] / ns:10.2f}"
        print(line)

    paired = d / "paired.jsonl"
    if paired.exists():
        print_paired(paired.read_text().splitlines())

    plugin = d / "plugin.json"
    if plugin.exists():
        print_plugin(medians(plugin))
    print_peers((d / "peers.txt").read_text().splitlines())


BLOCKS = (16, 32, 64, 256, 1024)


def row(name, values, fmt="{:8.1f}", width=8):
    cells = [(fmt.format(v) if v is not None else " " * (width - 1) + "-") for v in values]
    return f"{name:34}" + " ".join(cells)


def header(title):
    return f"{title:34}" + " ".join(f"{b:>8}" for b in BLOCKS)


def print_plugin(runs):
    """The plug-in core as hosts run it: a block's cost by length, a host change
    every block, many instances."""
    def ns(name):
        b = runs.get(name)
        return b["ns/frame"] if b else None

    print("\nThe plug-ins as hosts run them (plug-in core, 48 kHz stereo noise, every meter read "
          "after every block), ns per frame")
    print(header("frames per block:"))
    setups = ("Zkmorva20/all", "Zkmorva20/flat", "Zkmorva10Stereo/all", "Zkmorva10Stereo/flat")
    for setup in setups:
        print(row(setup, [ns(f"PluginBlock/{setup}/{b}") for b in BLOCKS]))
    print("per frame / own per frame at 1024 (goals, every section active: 64 at most 1.15, "
          "16 at most 1.6)")
    for setup in setups:
        base = ns(f"PluginBlock/{setup}/1024")
        print(row(setup, [ns(f"PluginBlock/{setup}/{b}") / base if base and ns(
            f"PluginBlock/{setup}/{b}") else None for b in BLOCKS], "{:8.2f}"))

    print("\nA host change every block (Zkmorva 20 all active, channel 1's LF gain swept, "
          "linked), ns per frame")
    print(header("frames per block:"))
    unchanged = [ns(f"HostChange/Zkmorva20/all/{b}/unchanged") for b in BLOCKS]
    swept = [ns(f"HostChange/Zkmorva20/all/{b}/gain-swept") for b in BLOCKS]
    print(row("unchanged", unchanged))
    print(row("swept every block", swept))
    print(row("swept / unchanged (goal: at most 1.10)",
              [s / u if s and u else None for s, u in zip(swept, unchanged)], "{:8.2f}"))

    many = {int(n.rsplit("/", 1)[1]): b for n, b in runs.items() if n.startswith("ManyInstances/")}
    if 1 in many and 64 in many:
        one, sixty_four = many[1]["ns/frame"], many[64]["ns/frame"]
        print(f"\nMany instances (Zkmorva 10 stereo, all active, 64 frames, one thread): one "
              f"{one:.1f} ns/frame, each of 64 {sixty_four:.1f} ns/frame, ratio "
              f"{sixty_four / one:.2f} (goal: at most 1.2); heap of one instance "
              f"{many[1]['heap bytes'] / 1024:.0f} KiB")


def print_peers(lines):
    """Ours and the peers as LV2 in the peer host at every block length, with the
    ratios to LSP's x16 stereo equaliser and to each one's own cost at 1024."""
    results = {}
    notes = []
    for line in lines:
        w = line.split()
        if w and w[0] == "RESULT":
            label = w[1] + (" (2x mono)" if "mono" in line else "")
            results.setdefault((label, int(w[2])), []).append(float(w[3]))
        elif w and w[0] == "SKIP" and line not in notes:
            notes.append(line)
    if not results:
        print("\nNo peer results")
    labels = sorted({k[0] for k in results}, key=lambda n: (not n.startswith("zkmorva"), n))

    def median(label, block):
        v = sorted(results.get((label, block), []))
        return v[len(v) // 2] if v else None

    lsp = next((n for n in labels if n.startswith("lsp-para-eq-x16-stereo")), None)
    print("\nSide by side as LV2 in the peer host (48 kHz stereo noise, CPU time), ns per frame")
    print(header("frames per block:"))
    for label in labels:
        print(row(label, [median(label, b) for b in BLOCKS]))
    if lsp:
        print(f"time / {lsp} (goals: zkmorva20-all and zkmorva10-stereo-all at most 0.90)")
        for label in labels:
            print(row(label, [median(label, b) / median(lsp, b)
                              if median(label, b) and median(lsp, b) else None for b in BLOCKS],
                      "{:8.2f}"))
    print("per frame / own per frame at 1024")
    for label in labels:
        base = median(label, 1024)
        print(row(label, [median(label, b) / base if base and median(label, b) else None
                          for b in BLOCKS], "{:8.2f}"))
    flat = median("zkmorva20-flat", 256)
    if flat is not None:
        print(f"zkmorva20-flat at 256 frames: {flat:.1f} ns per frame (goal: at most 15)")
    for n in notes:
        print(n)


def print_paired(lines):
    """Limit ratios of the Zkmorva 20 unit, all active at 48 kHz, each from a limit
    run and a unit run taken one right after the other."""
    ratios = {"Avx2": [], "Avx512": []}
    limit = None
    for line in lines:
        runs = json.loads(line)
        names = {b["name"]: b for b in runs if not b.get("error_occurred")}
        if any(n.startswith("BM_Limit_") for n in names):
            limit = {k: names[f"BM_Limit_{k}"]["ops/ns"] for k in ratios
                     if f"BM_Limit_{k}" in names}
            continue
        unit = next((b for n, b in names.items() if n.startswith("Zkmorva20Unit")), None)
        if unit is None or limit is None:
            continue
        for k, ops_per_ns in limit.items():
            ratios[k].append(unit["ops/frame"] / ops_per_ns / unit["ns/frame"])
        limit = None
    print("\nLimit ratio of the Zkmorva 20 unit, all active at 48 kHz, from paired runs "
          "(limit run, then unit run, seconds apart):")
    for k, r in ratios.items():
        if r:
            r = sorted(r)
            print(f"  of {k:6} median {r[len(r) // 2]:.2f}  (lowest {r[0]:.2f}, highest {r[-1]:.2f},"
                  f" {len(r)} pairs)")


if __name__ == "__main__":
    main(sys.argv[1])
