"""Compares two files of results of the benchmark.
    bench_compare.py EARLIER NOW
scripts/bench --help tells what is marked."""

import sys

from bench_results import BadResults, join_origins, read_results

NOISE = 2  # in spreads of both results together

LINE = "{:<24} {:>18} {:>18} {:>9}  {:<6} {}"


def format_value(result):
    return f"{result.value:.3f}" if result.spread is None else f"{result.value:.3f} ±{result.spread:.3f}"


def format_change(earlier, now):
    return f"{(now.value - earlier.value) / abs(earlier.value):+.1%}" if earlier.value != 0 else "-"


def judge(earlier, now):
    """BETTER or WORSE where the results differ by more than their noise, nothing where they do not."""
    if now.value == earlier.value:
        return ""
    if earlier.spread is None or now.spread is None:
        return "noise unknown"
    if abs(now.value - earlier.value) <= NOISE * (earlier.spread + now.spread):
        return ""
    return "BETTER" if (now.value > earlier.value) == (now.better == "higher") else "WORSE"


def format_both(earlier, now):
    values = format_value(earlier), format_value(now)
    if (earlier.unit, earlier.better) != (now.unit, now.better):
        return LINE.format(now.name, *values, "-", now.unit, f"was {earlier.unit}, {earlier.better} was better")
    return LINE.format(now.name, *values, format_change(earlier, now), now.unit, judge(earlier, now))


def compare(earlier, now):
    """The lines of a table, and of what only one of the two has."""
    yield f"earlier: {join_origins(earlier)}"
    yield f"now: {join_origins(now)}"
    yield LINE.format("name", "earlier", "now", "change", "unit", "").rstrip()
    for name in now:
        if name in earlier:
            yield format_both(earlier[name], now[name]).rstrip()
    for title, names in (("only earlier", earlier.keys() - now.keys()), ("only now", now.keys() - earlier.keys())):
        if names:
            yield f"{title}: {', '.join(sorted(names))}"


def main():
    try:
        earlier, now = (read_results(path) for path in sys.argv[1:])
    except BadResults as error:
        sys.exit(str(error))
    print("\n".join(compare(earlier, now)))


if __name__ == "__main__":
    main()
