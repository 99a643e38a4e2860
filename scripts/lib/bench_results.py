"""Results of the benchmark, as scripts/bench --json writes them: lines of JSON, one for each figure."""

import json
import math
from dataclasses import dataclass


class BadResults(Exception):
    """A file without usable results. The text names the file, the line and what is wrong."""


@dataclass(frozen=True)
class Result:
    name: str
    value: float  # the median of the rounds
    spread: float | None  # half of the rounds lie within it; None where it is not known
    unit: str
    goal: float | None
    better: str  # "lower" or "higher"
    origin: str  # when and where it was measured; "" where the file does not tell


def _number(line, key, *, required=False):
    value = line.get(key)
    if value is None and not required:
        return None
    if isinstance(value, bool) or not isinstance(value, (int, float)) or not math.isfinite(value):
        raise ValueError(f'"{key}" is no number')
    return float(value)


def _text(line, key, default=None):
    value = line.get(key, default)
    if not isinstance(value, str):
        raise ValueError(f'"{key}" is no text')
    return value


def _parse(text):
    line = json.loads(text)
    if not isinstance(line, dict):
        raise ValueError("no result")
    result = Result(
        name=_text(line, "name"),
        value=_number(line, "value", required=True),
        spread=_number(line, "spread"),
        unit=_text(line, "unit"),
        goal=_number(line, "goal"),
        better=_text(line, "better"),
        origin=_text(line, "origin", ""),
    )
    if result.better not in ("lower", "higher"):
        raise ValueError('"better" is neither "lower" nor "higher"')
    if result.spread is not None and result.spread < 0:
        raise ValueError('"spread" is below 0')
    return result


def read_results(path):
    """The results of a file by their names, in its order. Raises BadResults."""
    results = {}
    try:
        with open(path, encoding="utf-8") as file:
            lines = file.read().splitlines()
    except (OSError, UnicodeDecodeError) as error:
        raise BadResults(f"{path} can't be read: {error}") from error
    for number, text in enumerate(lines, start=1):
        try:
            result = _parse(text)
            if result.name in results:
                raise ValueError(f"{result.name} is there twice")
        except (ValueError, OverflowError, RecursionError) as error:
            raise BadResults(f"{path}, line {number}: {error}") from error
        results[result.name] = result
    if not results:
        raise BadResults(f"{path} holds no results")
    return results


def join_origins(results):
    """When and where the results of a file were measured, as one text."""
    origins = dict.fromkeys(result.origin for result in results.values() if result.origin)
    return "; ".join(origins) or "date and machine unknown"
