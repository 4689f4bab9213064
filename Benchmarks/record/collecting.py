"""What the benchmarks of recordings have in common: contents measured one after the other, and their figures kept."""
import json
import pathlib
import sys
import tempfile
import traceback

from stage import Missing


def add_options(parser, contents):
    parser.add_argument("--build", type=lambda path: pathlib.Path(path).resolve(), default="build")
    parser.add_argument("--seconds", type=int, default=20)
    parser.add_argument("--contents", default=",".join(contents))
    parser.add_argument("--json", type=pathlib.Path, help="also write the figures to this file")


def names_of(options, parser, contents):
    names = options.contents.split(",")
    if unknown := set(names) - set(contents):
        parser.error(f"no such content: {', '.join(sorted(unknown))}")
    return names


def collect(names, file, measure):
    """The figures of each content, written to the file, if any, as soon as they are there; and what failed."""
    figures, failed = {}, []
    for name in names:
        print(name, file=sys.stderr, flush=True)
        try:
            with tempfile.TemporaryDirectory() as folder:
                figures[name] = measure(name, pathlib.Path(folder))
        except Exception as error:
            if not isinstance(error, Missing):
                traceback.print_exc()
            print(f"{name}: {error}", file=sys.stderr)
            failed.append(name)
        if file:
            file.write_text(json.dumps(figures, indent=1) + "\n")
    return figures, failed


def report(tables, failed):
    """Prints what is not empty; gives the exit status."""
    print("\n\n".join(filter(None, tables)))
    if failed:
        print(f"error: not recorded: {', '.join(failed)}", file=sys.stderr)
    return 1 if failed else 0
