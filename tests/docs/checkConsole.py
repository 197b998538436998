"""Runs the commands that a page shows and compares what they print with what the page says they print.

    checkConsole.py PAGE              the first difference fails
    checkConsole.py --write PAGE      puts the real output into the page

A fenced block of the kind "console" holds commands, each a line "$ COMMAND" followed by all its output. They run from the
top of the repository, in a shell whose environment has none of the system's own variables.
"""

import os
import pathlib
import re
import subprocess
import sys

TOP = pathlib.Path(__file__).resolve().parents[2]
BLOCK = re.compile(r"(?<=^```console\n).*?(?=^```$)", re.DOTALL | re.MULTILINE)
STEP = re.compile(r"^\$ (?P<command>.*)\n(?P<output>(?:(?!\$ ).*\n)*)", re.MULTILINE)


def output_of(command):
    environment = {name: value for name, value in os.environ.items() if not name.startswith("ZR_")}
    run = subprocess.run(["bash", "-c", command], cwd=TOP, env=environment, stdin=subprocess.DEVNULL,
                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60)
    return run.stdout.decode("utf-8", "replace")


def main(arguments):
    write = arguments[:1] == ["--write"]
    page = pathlib.Path(arguments[-1])
    text = page.read_text(encoding="utf-8")
    differences = commands = 0

    def step(match):
        nonlocal differences, commands
        commands += 1
        shown, real = match["output"], output_of(match["command"])
        if shown != real:
            differences += 1
            print(f"{page.name}: $ {match['command']}\n--- the page says\n{shown}--- it printed\n{real}---")
        return f"$ {match['command']}\n{real}"

    mended = BLOCK.sub(lambda block: STEP.sub(step, block[0]), text)
    if write:
        page.write_text(mended, encoding="utf-8")
    print(f"{page.name}: {commands} commands, {differences} differences")
    return 1 if commands == 0 or (differences and not write) else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
