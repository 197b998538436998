"""Runs the commands that README and docs/ show and compares what they print with what the pages say they print.

    checkConsole.py             any difference fails
    checkConsole.py --write     puts the real output into the pages
    checkConsole.py PAGE ...    of other pages

A block of the kind "cpp" in README is to stand in one of the examples, word for word. A fenced block of the kind "console"
holds commands, each a line "$ COMMAND" and lines "> " that it goes on in, followed by all its output. They run from the top of
the repository, in a shell whose environment has none of the system's own variables.

The commands of a "console folder" run one behind the other in a fresh folder instead, in which "documents" and "lists" are
the examples; "[2]" at the end of an output is the exit code.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

TOP = pathlib.Path(__file__).resolve().parents[2]
BLOCK = re.compile(r"(?P<kind>^```console( folder)?\n)(?P<steps>.*?)(?=^```$)", re.DOTALL | re.MULTILINE)
CODE = re.compile(r"(?<=^```cpp\n).*?(?=^```$)", re.DOTALL | re.MULTILINE)
STEP = re.compile(r"^\$ (?P<command>.*\n(?:> .*\n)*)(?P<output>(?:(?!\$ ).*\n)*)", re.MULTILINE)


def output_of(command, folder):
    environment = {name: value for name, value in os.environ.items() if not name.startswith("ZR_")}
    if folder != TOP:
        environment.update(TOP=str(TOP), PYTHON=sys.executable, LC_ALL="C.UTF-8")
    run = subprocess.run(["bash", "-c", command.replace("\n> ", "\n")], cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=600)
    output = run.stdout.decode("utf-8", "replace")
    if folder == TOP:
        return output
    output = output.replace(str(folder), ".")
    return output + "\n" * (output[-1:] not in ("", "\n")) + (f"[{run.returncode}]\n" if run.returncode else "")


def mended(page, text):
    """The text with the real output of its commands; how many commands it shows, how many printed something else."""
    commands = differences = 0

    def step(match, folder):
        nonlocal commands, differences
        shown, real = match["output"], output_of(match["command"], folder)
        commands += 1
        if shown != real:
            differences += 1
            print(f"{page.name}: $ {match['command']}--- the page says\n{shown}--- it printed\n{real}---")
        return f"$ {match['command']}{real}"

    def block(match):
        with tempfile.TemporaryDirectory() as own:
            for name in "documents", "lists":
                os.symlink(TOP / "examples" / name, pathlib.Path(own) / name)
            folder = own if match[2] else TOP
            return match["kind"] + STEP.sub(lambda each: step(each, folder), match["steps"])

    return BLOCK.sub(block, text), commands, differences


def main(arguments):
    total = wrong = 0
    examples = [file.read_text(encoding="utf-8") for file in (TOP / "examples").glob("*/*.cpp")]
    pages = [pathlib.Path(each) for each in arguments if each != "--write"]
    for page in pages or [TOP / "README.md", *sorted((TOP / "docs").glob("*.md"))]:
        text = page.read_text(encoding="utf-8")
        result, commands, differences = mended(page, text)
        total += commands
        wrong += differences
        for code in CODE.findall(text) if page.name == "README.md" else ():
            if not any(code in example for example in examples):
                wrong += 1
                print(f"{page.name}: no example has this\n{code}---")
        if "--write" in arguments and result != text:
            page.write_text(result, encoding="utf-8")
    print(f"{total} commands, {wrong} with another output than shown")
    return 1 if total == 0 or (wrong and "--write" not in arguments) else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
