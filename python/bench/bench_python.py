#!/usr/bin/env python3
"""Speed of tsdictionary against plain Python, in the best of several timeit runs.

    PYTHONPATH=build/release/python python3 python/bench/bench_python.py [--quick]

Get and set of an int entry against a dict's, and from_json of a document of about 10 MB against
json.loads (which also builds the dicts and lists) and against json.loads followed by building a
Dictionary from its result, the other way a script gets the same Dictionary.
"""

import json
import sys
import timeit

import tsdictionary as ts

QUICK = "--quick" in sys.argv
REPEAT = 3 if QUICK else 7


def best(statement, number, namespace):
    """Seconds per run of `statement`, the best of REPEAT timings of `number` runs."""
    return min(timeit.repeat(statement, number=number, repeat=REPEAT, globals=namespace)) / number


def compare(title, ours, theirs, number, namespace, unit=1e9, unit_name="ns"):
    mine = best(ours, number, namespace)
    plain = best(theirs, number, namespace)
    print(f"{title:<40} {mine * unit:10.1f} {unit_name}  {plain * unit:10.1f} {unit_name}  {mine / plain:6.2f}x")


def document(target_bytes):
    """Clip records in the shape a media tool keeps: numbers, text, nested objects and lists."""
    clips = []
    size = 0
    while size < target_bytes:
        i = len(clips)
        clip = {
            "name": f"shot_{i:06d}",
            "width": 1920,
            "height": 1080,
            "fps": 29.97,
            "in": i * 24,
            "out": i * 24 + 120,
            "enabled": i % 3 != 0,
            "tags": ["take", f"camera{i % 4}", "graded"],
            "source": {"file": f"/media/reel{i % 17}/clip_{i}.mov", "offset": i * 0.5, "channels": [1, 2]},
        }
        clips.append(clip)
        size += len(json.dumps(clip)) + 1
    return json.dumps({"clips": clips})


def main():
    number = 200_000 if QUICK else 1_000_000
    namespace = {"ts": ts}
    exec("d = ts.Dictionary({'width': 1920}); p = {'width': 1920}", namespace)
    exec("t = ts.Dictionary(); t.set_typed('width', 1920, 'int32')", namespace)
    print(f"{'':<40} {'tsdictionary':>13}  {'plain Python':>13}  {'ratio':>7}")
    compare("get int64 entry: d['width']", "d['width']", "p['width']", number, namespace)
    compare("set int64 entry: d['width'] = 2048", "d['width'] = 2048", "p['width'] = 2048", number, namespace)
    compare("get int32 entry", "t['width']", "p['width']", number, namespace)
    compare("set int32 entry (converts int64)", "t['width'] = 2048", "p['width'] = 2048", number, namespace)

    if hasattr(ts, "from_json"):
        text = document(10_000_000)
        namespace.update(text=text, json=json)
        runs = 1 if QUICK else 3
        label = f"from_json of {len(text) / 1e6:.1f} MB vs json.loads"
        compare(label, "ts.from_json(text)", "json.loads(text)", runs, namespace, unit=1e3, unit_name="ms")
        compare("from_json vs json.loads + Dictionary()", "ts.from_json(text)",
                "ts.Dictionary(json.loads(text))", runs, namespace, unit=1e3, unit_name="ms")
        typed = ts.to_json(ts.from_json(text))
        namespace.update(typed=typed)
        compare(f"from_json of the typed form ({len(typed) / 1e6:.1f} MB)", "ts.from_json(typed)",
                "json.loads(text)", runs, namespace, unit=1e3, unit_name="ms")


if __name__ == "__main__":
    main()
