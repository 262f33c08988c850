"""One line for each measured figure, and the table that scripts/bench ends with.

As a program: reads the output of the benchmarks and prints the table of the figures in it.
"""
import sys

HEADINGS = ("figure", "measured", "limit in the same run", "ratio", "aim", "met")


def report(name, measured, limit, ratio, aim, at_least=False):
    """Prints one figure. `aim` bounds `ratio` from above, with `at_least` from below."""
    met = ratio >= aim if at_least else ratio <= aim
    bound = ("at least " if at_least else "at most ") + f"{aim:g}"
    print("figure", name, measured, limit, f"{ratio:.3g}", bound, "yes" if met else "NO", sep="\t", flush=True)


def table(lines):
    rows = [HEADINGS]
    for line in lines:
        fields = line.rstrip("\n").split("\t")
        if fields[0] == "figure" and len(fields) == len(HEADINGS) + 1:
            rows.append(tuple(fields[1:]))
    widths = [max(len(row[column]) for row in rows) for column in range(len(HEADINGS))]
    return ["  ".join(field.ljust(width) for field, width in zip(row, widths)).rstrip() for row in rows]


if __name__ == "__main__":
    print(*table(sys.stdin), sep="\n")
