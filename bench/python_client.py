"""The Python side of the Python client's benchmark (bench/python_client_bench.cpp), the same
work as ostradb_bench_client does in C++:

    python3 python_client.py PORT files|get|get-file RUNS FILE

files: c.files() of the whole database "Западная Сибирь"; get: c.get() of the file "bench.ws" into the
path FILE; get-file: the same into FILE opened as a binary file object. Prints the best run's
milliseconds of wall time and of the process's CPU time, the peak resident size in KiB
(VmHWM), and the files or bytes of the last run.
"""

import sys
import time

import ostradb


def main(port, mode, runs, path):
    best, best_cpu, count = float("inf"), float("inf"), 0
    with ostradb.connect(host="127.0.0.1", port=int(port), user="bench", password="b") as c:
        db = c.find_database("Западная Сибирь")
        for _ in range(int(runs)):
            start, start_cpu = time.perf_counter(), time.process_time()
            if mode == "files":
                files = c.files(db)
                end, end_cpu = time.perf_counter(), time.process_time()
                count = len(files)
                del files
            elif mode == "get":
                count = c.get("bench.ws", path)
                end, end_cpu = time.perf_counter(), time.process_time()
            else:
                with open(path, "wb") as out:
                    count = c.get("bench.ws", out)
                end, end_cpu = time.perf_counter(), time.process_time()
            best = min(best, (end - start) * 1000)
            best_cpu = min(best_cpu, (end_cpu - start_cpu) * 1000)
    with open("/proc/self/status") as status:
        peak = next(line.split()[1] for line in status if line.startswith("VmHWM:"))
    print(f"{best:.3f} {best_cpu:.3f} {peak} {count}")


if __name__ == "__main__":
    main(*sys.argv[1:])
