#!/usr/bin/env python3
"""Turns one benchmark run into one table and one chart.

    bench/report.py RESULTS_DIR DOCS_DIR [README]

RESULTS_DIR holds the JSON files written by the bench_* programs (--benchmark_format=json) and
callgrind.txt from the instruction count. The table goes to stdout and to DOCS_DIR/results.md;
the chart (latency distributions and commands/s against host threads) to DOCS_DIR/bench.png;
with README given, the table also replaces what stands between its bench:begin and bench:end marks.
Every figure in a row comes from the same run; ratios compare rows of that run only.
"""
import json
import os
import re
import subprocess
import sys


def load(results):
    """Benchmark name (without the min_time/real_time/repeats decorations) -> entry, taking the
    median aggregate when the run was repeated."""
    runs = {}
    for name in sorted(os.listdir(results)):
        if not name.endswith('.json'):
            continue
        with open(os.path.join(results, name)) as f:
            data = json.load(f)
        for b in data.get('benchmarks', []):
            if b.get('error_occurred'):
                continue
            key = re.sub(r'/(min_time|iterations|repeats):[^/]*', '', b['run_name']).replace('/real_time', '')
            if b.get('run_type') == 'aggregate':
                if b.get('aggregate_name') == 'median':
                    runs[key] = b
            elif key not in runs or runs[key].get('run_type') != 'aggregate':
                runs.setdefault(key, b)
    return runs


def fmt(v, digits=3):
    if v is None:
        return '–'
    if abs(v) >= 1e6:
        return f'{v / 1e6:.{digits}g} M'
    if abs(v) >= 1e4:
        return f'{v / 1e3:.{digits}g} k'
    if abs(v) >= 100:
        return f'{v:.0f}'
    return f'{v:.{digits}g}'


def ratio(a, b):
    return f'{a / b:.2f}' if a and b else '–'


def machine():
    model = '?'
    with open('/proc/cpuinfo') as f:
        for line in f:
            if line.startswith('model name'):
                model = line.split(':', 1)[1].strip()
                break
    with open('/proc/loadavg') as f:
        load_avg = ' '.join(f.read().split()[:3])
    return os.cpu_count(), model, load_avg


def main():
    results, docs = sys.argv[1], sys.argv[2]
    os.makedirs(docs, exist_ok=True)
    r = load(results)
    get = lambda name, field: r.get(name, {}).get(field)
    out = []
    nproc, model, load_avg = machine()
    start_load = ''
    if os.path.exists(os.path.join(results, 'loadavg-start.txt')):
        start_load = open(os.path.join(results, 'loadavg-start.txt')).read().split()[:3]
        start_load = ' '.join(start_load)
    out.append(f'Machine: {nproc} cores, {model}; load average {start_load} at the start, {load_avg} at the end '
               f'(the simulated controller shares these cores).')
    out.append('')

    # 1, 2: one command at a time.
    lat_rows = [
        ('vaxo_GetVrValue (library)', 'BM_Library_GetVrValue'),
        ('raw socket, same bytes, one thread', 'BM_RawSocket_PingPong'),
        ('engine-shaped client (lock, reader thread)', 'BM_EngineShaped_Call'),
        ('libmodbus, read 1 holding register', 'BM_Modbus_ReadRegister'),
    ]
    lib50 = get('BM_Library_GetVrValue', 'p50_us')
    out.append('| One command at a time | median µs | p99 µs | library median ÷ this |')
    out.append('|---|---:|---:|---:|')
    for label, name in lat_rows:
        p50, p99 = get(name, 'p50_us'), get(name, 'p99_us')
        out.append(f'| {label} | {fmt(p50)} | {fmt(p99)} | {ratio(lib50, p50)} |')
    out.append('')

    # 3: threads on one connection.
    out.append('| Host threads (or requests in flight) | library cmds/s | engine-shaped cmds/s | raw pipelined cmds/s '
               '| library ÷ engine-shaped | library ÷ raw | library ÷ library 1 thread '
               '| CPU µs/cmd: library | engine-shaped | raw |')
    out.append('|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|')
    threads = []
    lib1 = get('BM_Library_Threads/threads:1', 'items_per_second')
    for n in (1, 2, 4, 8, 16):
        lib = get(f'BM_Library_Threads/threads:{n}', 'items_per_second')
        eng = get(f'BM_EngineShaped_Threads/threads:{n}', 'items_per_second')
        raw = get(f'BM_RawSocket_Pipelined/{n}', 'items_per_second')
        threads.append((n, lib, eng, raw))
        cpu = [get(k, 'cpu_us_per_cmd') for k in (f'BM_Library_Threads/threads:{n}',
                                                  f'BM_EngineShaped_Threads/threads:{n}', f'BM_RawSocket_Pipelined/{n}')]
        out.append(f'| {n} | {fmt(lib)} | {fmt(eng)} | {fmt(raw)} | {ratio(lib, eng)} | {ratio(lib, raw)} '
                   f'| {ratio(lib, lib1)} | ' + ' | '.join(fmt(c) for c in cpu) + ' |')
    out.append('')
    out.append('CPU µs/cmd is the whole process (host threads, reader thread, simulated controller) per command, '
               "including the library's bounded spin while a caller waits; like the rates it moves with the load "
               'that other work puts on the machine during the run.')
    out.append('')

    # Text replies: the reply text is read byte by byte through the port's read-ahead buffer.
    out.append('| Text replies of 210 bytes | replies/s | socket reads per reply (both ends) |')
    out.append('|---|---:|---:|')
    out.append(f"| vaxo_ExecuteWithResponse4a | {fmt(get('BM_Library_TextReply', 'replies_per_s'))} "
               f"| {fmt(get('BM_Library_TextReply', 'reads_per_reply'))} |")
    out.append('')

    # 4: parameter blocks.
    single = get('BM_SingleGetVrValue64', 'vrs_per_s')
    out.append('| 64 VRs | VRs/s | ÷ 64 single reads |')
    out.append('|---|---:|---:|')
    for label, name in [('parameter block, fetch all', 'BM_FetchAll64'),
                        ('parameter block, fetch changed (1 changed)', 'BM_FetchChanged64_OneChanged'),
                        ('parameter block, fetch changed (none changed)', 'BM_FetchChanged64_NoneChanged'),
                        ('64 × vaxo_GetVrValue', 'BM_SingleGetVrValue64')]:
        v = get(name, 'vrs_per_s')
        out.append(f'| {label} | {fmt(v)} | {ratio(v, single)} |')
    out.append('')

    # 5: files. Each upload is compared with raw loopback TCP and, when compressed, with zlib's
    # own raw deflate of the same data at the same level (no network, no CRC, no escaping).
    file_re = re.compile(r'^BM_(RawLoopback|Crc16|Upload|Download|ZlibDeflate)\b')
    file_rows = [(k, v) for k, v in r.items() if v.get('bytes_per_second') and file_re.match(k)]
    if file_rows:
        raw = r.get('BM_RawLoopback', {}).get('bytes_per_second')
        out.append('| File transfer (20 MB) | MB/s | ÷ raw loopback | ÷ zlib deflate, same data and level |')
        out.append('|---|---:|---:|---:|')
        for k, v in sorted(file_rows):
            bps = v['bytes_per_second']
            z = '–'
            m = re.match(r'^BM_Upload/(\w+)/deflate:(\d)$', k)
            if m:
                zv = r.get(f'BM_ZlibDeflate/{m.group(1)}/level:{m.group(2)}', {}).get('bytes_per_second')
                z = ratio(bps, zv)
            out.append(f'| {k[3:]} | {bps / 1e6:.1f} | {ratio(bps, raw)} | {z} |')
        out.append('')

    # 6, 7: cost of a command.
    out.append('| Cost | value |')
    out.append('|---|---:|')
    cg = os.path.join(results, 'callgrind.txt')
    if os.path.exists(cg):
        vals = dict(line.split() for line in open(cg) if line.strip())
        n = int(vals['n'])
        per = (int(vals['ir_2n']) - int(vals['ir_n'])) / n
        out.append(f'| instructions per vaxo_GetVrValue (callgrind, caller + reader thread, user space) | {per:.0f} |')
    for label, name, field in [('allocations per vaxo_GetVrValue (after warm-up)', 'BM_Alloc_GetVrValue', 'allocs_per_cmd'),
                               ('allocations per vaxo_SetVrValue (after warm-up)', 'BM_Alloc_SetVrValue', 'allocs_per_cmd'),
                               ('allocations per request in the simulated controller (decode and answer)', 'BM_Alloc_SimRequest', 'allocs_per_request'),
                               ('heap per open connection, bytes', 'BM_Memory_PerConnection', 'heap_bytes_per_conn'),
                               ('resident memory per open connection, bytes', 'BM_Memory_PerConnection', 'rss_bytes_per_conn')]:
        v = get(name, field)
        out.append(f'| {label} | {fmt(v, 4) if v is not None else "–"} |')
    sim = get('BM_Sim_VrRequest', 'cpu_time')
    if sim is not None:
        share = f' ({100 * sim / 1000 / lib50:.1f} % of the library median)' if lib50 else ''
        out.append(f'| simulated controller: decode and answer one VR read, ns{share} | {sim:.0f} |')
    out.append('')

    table = '\n'.join(out)
    print(table)
    with open(os.path.join(docs, 'results.md'), 'w') as f:
        f.write('# Last benchmark run\n\nWritten by `bash scripts/bench.sh`; the chart is [bench.png](bench.png).\n\n')
        f.write(table)

    if len(sys.argv) > 3:
        readme = open(sys.argv[3]).read()
        begin, end = '<!-- bench:begin -->', '<!-- bench:end -->'
        if begin in readme and end in readme:
            head, rest = readme.split(begin, 1)
            tail = rest.split(end, 1)[1]
            with open(sys.argv[3], 'w') as f:
                f.write(f'{head}{begin}\nThe last run:\n\n{table}\n{end}{tail}')

    # The chart: latency percentiles on one axis, commands/s against threads on the other.
    pct = (1, 5, 10, 25, 50, 75, 90, 95, 99)
    with open(os.path.join(results, 'latency.dat'), 'w') as f:
        for label, name in lat_rows:
            f.write(f'# {label}\n')
            for p in pct:
                v = get(name, f'p{p}_us')
                if v:
                    f.write(f'{v} {p}\n')
            f.write('\n\n')
    with open(os.path.join(results, 'threads.dat'), 'w') as f:
        for n, lib, eng, raw in threads:
            f.write(f'{n} {lib or "NaN"} {eng or "NaN"} {raw or "NaN"}\n')
    latency_plots = ', '.join(f"'{os.path.join(results, 'latency.dat')}' index {i} using 1:2 with linespoints title '{label}'"
                              for i, (label, _) in enumerate(lat_rows))
    plot = f"""
set terminal pngcairo size 1400,560 font ',10' noenhanced
set output '{os.path.join(docs, 'bench.png')}'
set multiplot layout 1,2
set title 'One command at a time: round-trip distribution'
set xlabel 'round trip, µs (log)'
set ylabel 'percentile'
set logscale x
set key bottom right
set grid
plot {latency_plots}
unset logscale x
set logscale x 2
set logscale y
set title 'One connection: commands/s against host threads'
set xlabel 'host threads (raw client: requests in flight)'
set ylabel 'commands/s'
set key top left
plot '{os.path.join(results, 'threads.dat')}' using 1:2 with linespoints title 'library', \
     '' using 1:3 with linespoints title 'engine-shaped client', \
     '' using 1:4 with linespoints title 'raw pipelined client'
unset multiplot
"""
    subprocess.run(['gnuplot'], input=plot, text=True, check=True)


if __name__ == '__main__':
    main()
