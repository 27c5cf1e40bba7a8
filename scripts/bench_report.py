#!/usr/bin/env python3
"""Prints Google Benchmark JSON results as a table of ns per iteration, with ratios.
With repetitions, the median of each benchmark is shown.

A benchmark names its peers in its label: "ratio-to:NAME[,NAME...]"; each ratio is its
time divided by the peer's time from the same run (below 1.0: faster than the peer). Peers
that do the same number of operations per iteration compare per operation too.
"""
import json
import sys


def main(paths):
    for path in paths:
        with open(path) as f:
            data = json.load(f)
        # With repetitions, the medians stand for each benchmark.
        medians = [b for b in data["benchmarks"] if b.get("aggregate_name") == "median"]
        if medians:
            rows = [dict(b, name=b["run_name"]) for b in medians]
        else:
            rows = [b for b in data["benchmarks"] if b.get("run_type", "iteration") == "iteration"]
        by_name = {b["name"]: b for b in rows}
        print(f"== {data['context'].get('executable', path)}")
        print(f"{'benchmark':<40} {'ns/iter':>12}  ratios")
        for b in rows:
            ns = b["real_time"] * {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[b["time_unit"]]
            ratios = []
            label = b.get("label", "")
            if label.startswith("ratio-to:"):
                for peer in label[len("ratio-to:"):].split(","):
                    # A peer is named as registered; its run name may add "/iterations:N".
                    p = by_name.get(peer) or next(
                        (r for n, r in by_name.items() if n.startswith(peer + "/")), None)
                    if p:
                        pns = p["real_time"] * {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[p["time_unit"]]
                        ratios.append(f"{ns / pns:.2f}x {peer}")
            extra = "  ".join(
                f"{k}={v:.4g}" for k, v in b.items()
                if k not in ("name", "run_name", "run_type", "repetitions", "repetition_index",
                             "threads", "iterations", "real_time", "cpu_time", "time_unit",
                             "label", "family_index", "per_family_instance_index", "aggregate_name",
                             "aggregate_unit")
                and isinstance(v, (int, float)))
            print(f"{b['name']:<40} {ns:>12.2f}  {'; '.join(ratios)}{'  ' + extra if extra else ''}")
        print()


if __name__ == "__main__":
    main(sys.argv[1:])
