"""Times of single operations: ours by Google Benchmark, those of other tools by their own means."""
import json
import subprocess

NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6}


def own(program, seconds, repetitions):
    """What bench_timed says: {name: {"ns": [one per repetition], "blocks": n, "bytes": n}}."""
    done = subprocess.run(
        [program, f"--benchmark_min_time={seconds}", f"--benchmark_repetitions={repetitions}"]
        + ["--benchmark_format=json", "--benchmark_enable_random_interleaving=true"],
        check=True,
        stdout=subprocess.PIPE,
        stderr=subprocess.DEVNULL,
    )
    runs = [run for run in json.loads(done.stdout)["benchmarks"] if run["run_type"] == "iteration"]
    operations = {}
    for run in sorted(runs, key=lambda run: run["family_index"]):  # in the order of the program
        entry = operations.setdefault(run["run_name"], {"ns": []})
        entry["ns"].append(run["cpu_time"] * NANOSECONDS[run["time_unit"]])
        entry["blocks"], entry["bytes"] = int(run["blocks"]), int(run["bytes"])
    return operations
