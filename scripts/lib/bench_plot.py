"""Prints a file of results of the benchmark as the data of bench_plot.gnuplot, which follows it in gnuplot's input.
    bench_plot.py RESULTS
Every figure becomes the share of its goal that is used. What should be low uses value/goal of it. What should be high,
a rate over that of a baseline, uses goal/value: the time that is taken, of the time that the goal allows. So less is
better everywhere, at 100 % a goal is just met, and a figure of 0 has its place.
"""

import sys

from bench_results import BadResults, join_origins, read_results

LIMIT = 150  # percent; the picture ends there


def compute_share(result, value):
    """Percent of the goal that the value uses, within the picture."""
    if result.better == "lower":
        used = value / result.goal
    else:
        used = result.goal / value if value > 0 else LIMIT
    return min(max(100 * used, 0), LIMIT)


def describe(result):
    digits = 0 if abs(result.value) >= 100 else 1 if abs(result.value) >= 10 else 3
    spread = "" if result.spread is None else f" ± {result.spread:.{digits}f}"
    unit = "" if result.unit == "ratio" else f" {result.unit}"
    sign = "≤" if result.better == "lower" else "≥"
    return f"{result.value:.{digits}f}{spread}{unit}  ({sign} {result.goal:.3g})"


def make_row(number, result):
    missed = result.value > result.goal if result.better == "lower" else result.value < result.goal
    if result.spread is None:
        bar = "NaN NaN"  # gnuplot draws none
    else:
        ends = (result.value - result.spread, result.value + result.spread)
        bar = " ".join(f"{compute_share(result, end):.3f}" for end in ends)
    used = f"{compute_share(result, result.value):.3f}"
    return f'{number} {used} {bar} {int(missed)} "{result.name}" "{describe(result)}"'


def make_data(results):
    """The lines of gnuplot's input. Figures without a goal are left out."""
    drawn = [result for result in results.values() if result.goal]
    if not drawn:
        raise BadResults("no result has a goal")
    origin = join_origins(results).replace("'", "''")
    yield f"origin = '{origin}'"
    yield f"limit = {LIMIT}"
    yield f"count = {len(drawn)}"
    yield "$figures << END"
    for number, result in enumerate(drawn, start=1):
        yield make_row(number, result)
    yield "END"


def main():
    try:
        (path,) = sys.argv[1:]
        print("\n".join(make_data(read_results(path))))
    except BadResults as error:
        sys.exit(str(error))


if __name__ == "__main__":
    main()
