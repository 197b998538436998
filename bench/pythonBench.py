#!/usr/bin/env python3
"""What the package of Python costs beside the library in C++: ratios inside one run, over a document of 100 000 clips.

    PYTHONPATH=build/release/python pythonBench.py build/release/bench/pythonLoad
"""

import concurrent.futures
import gc
import os
import subprocess
import sys
import tempfile
import time

import zrdmtree

CLIPS = 100_000
ROUNDS = 5


def quickest(function, rounds=ROUNDS):
    """The least seconds of some rounds; what each round made is dropped between them."""
    times = []
    for _ in range(rounds):
        gc.collect()
        begin = time.perf_counter()
        made = function()
        times.append(time.perf_counter() - begin)
        del made
    return min(times)


def document(clips=CLIPS):
    media = [zrdmtree.MediaInput(name=f"clip {i}", srcLength=5000.0, srcInfo=zrdmtree.DmSourceInfo(reelName=f"A{i:03}"))
             for i in range(500)]
    layer = zrdmtree.DmLayerNode(mediaType=1, layerLength=50.0 * clips)
    children = []
    for i in range(clips):
        if i:
            children.append(zrdmtree.DmCutNode(mediaType=1, recIn=50.0 * i))
        children.append(zrdmtree.DmSourceNode(name=f"shot {i}", recIn=50.0 * i, recLength=50.0, relIn=10.0, mediaType=1,
                                              segmentId=f"s{i}", srcInput=media[i % 500]))
    layer.children.extend(children)
    track = zrdmtree.DmTrackNode(name="V1", trackNum=1, mediaType=1)
    track.children.append(layer)
    composition = zrdmtree.DmCompositionNode(name="long", fcm="25 fps")
    composition.children.append(track)
    root = zrdmtree.DmRoot(name="bench")
    root.children.append(composition)
    return root


def walk(clips):
    for clip in clips():
        clip.name
        clip.recIn
        clip.recLength


def set_all(clips):
    for clip in clips:
        clip.recLength = 48.0


def examine(path):
    return zrdmtree.check(zrdmtree.load(path).publish())


def current():
    with open("/proc/self/statm") as file:
        return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE") // 1024


def main(program):
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "long.json")
        zrdmtree.save(document(), path)
        small = os.path.join(folder, "small.json")
        zrdmtree.save(document(100), small)
        cpp, python = [], []
        for _ in range(ROUNDS):  # side by side: what else the machine does is in both
            cpp.append(float(subprocess.run([program, path, "1"], capture_output=True, text=True).stdout.split()[0]))
            python.append(quickest(lambda: zrdmtree.load(path), 1))
        print(f"load: {min(python) / min(cpp):.2f} of C++ ({min(python):.3f} s, {min(cpp):.3f} s)")

        ours = "import sys, zrdmtree, resource; root = zrdmtree.load(sys.argv[1]); " \
               "print(resource.getrusage(resource.RUSAGE_SELF).ru_maxrss)"
        mine = int(subprocess.run([sys.executable, "-c", ours, path], capture_output=True, text=True).stdout)
        theirs = int(subprocess.run([program, path, "1"], capture_output=True, text=True).stdout.split()[1])
        print(f"peak of a load: {mine / theirs:.2f} of C++ ({mine / 1024:.0f} MiB, {theirs / 1024:.0f} MiB)")

        root = zrdmtree.load(path)
        walked = quickest(lambda: walk(root.segments)) / (3 * CLIPS)
        print(f"walk: {walked * 1e6:.3f} us a property (bound 0.4)")
        clips = root.segments()
        stored = quickest(lambda: set_all(clips)) / CLIPS
        print(f"set: {stored * 1e6:.3f} us (bound 0.5)")
        del clips
        cells = len(zrdmtree.table(root)[0]) * CLIPS
        print(f"table: {quickest(lambda: zrdmtree.table(root)) / cells * 1e6:.3f} us a cell (bound 0.15)")
        three = ["name", "recIn", "recLength"]
        print(f"table of three: {quickest(lambda: zrdmtree.table(root, three)) / (3 * CLIPS) * 1e6:.3f} us a cell")

        middle = os.path.join(folder, "middle.json")
        zrdmtree.save(document(CLIPS // 10), middle)
        with concurrent.futures.ThreadPoolExecutor(8) as threads:
            side = quickest(lambda: list(threads.map(examine, [middle] * 8)))
        behind = quickest(lambda: [examine(middle) for _ in range(8)])
        print(f"eight documents loaded and checked by eight threads: {side / behind:.2f} of one thread's time, "
              f"on {os.cpu_count()} processors")

        for _ in range(50):
            zrdmtree.load(small)
        before = current()
        for _ in range(1000):
            walk(zrdmtree.load(small).segments)
        print(f"memory after 1000 more loads: {current() - before:+d} KiB")


if __name__ == "__main__":
    main(sys.argv[1])
