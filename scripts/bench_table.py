#!/usr/bin/env python3
"""Prints the benchmark table from the results scripts/bench.sh leaves in DIR."""
import json
import sys
from pathlib import Path

RATE = 48000.0


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

    def find(*parts):
        for n, b in ours.items():
            if all(p in n for p in parts) and "plain" not in n:
                return b["ns/frame"]
        return None

    ref_all = find("Zkmorva20Unit", "48000", "all")
    ref_flat = find("Zkmorva20Unit", "48000", "flat")
    print(f"\nPeers at 48 kHz, 256-frame blocks (ratio = peer time / Zkmorva 20 unit time, "
          f"all sections {ref_all:.1f} ns, flat {ref_flat:.1f} ns)")
    print(f"{'plug-in':28} {'ns/frame':>9} {'CPU %':>7} {'vs ours all':>12} {'vs ours flat':>13}")
    rows = [("Zkmorva20 unit (all, in-process)", ref_all), ("Zkmorva20 unit (flat, in-process)", ref_flat),
            ("Zkmorva10 unit stereo (all)", find("Zkmorva10Unit", "48000", "all"))]
    notes = []
    for line in (d / "peers.txt").read_text().splitlines():
        w = line.split()
        if w and w[0] == "RESULT":
            rows.append((w[1] + (" (2x mono)" if "mono" in line else ""), float(w[2])))
        elif w and w[0] == "SKIP":
            notes.append(line)
    for name, ns in rows:
        if ns is None:
            continue
        print(f"{name:28} {ns:9.1f} {ns * RATE * 1e-7:7.3f} {ns / ref_all:12.2f} {ns / ref_flat:13.2f}")
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
