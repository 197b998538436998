"""The stubs: what a checker of types knows of the package is what the definitions say."""

import ast
import enum
import inspect
import os
import pathlib
import re
import subprocess
import sys

import pytest

import zrdmtree

pytest.importorskip("mypy")

EXAMPLES = pathlib.Path(os.environ["ZR_EXAMPLES"])


def mypy(*paths, cwd):
    environment = dict(os.environ, MYPYPATH=str(pathlib.Path(zrdmtree.__file__).parents[1]))
    done = subprocess.run([sys.executable, "-m", "mypy", "--strict", "--no-incremental", "--cache-dir", os.devnull,
                           *map(str, paths)], cwd=cwd, env=environment, capture_output=True, text=True)
    return done.returncode, done.stdout + done.stderr


def test_every_class_and_property_is_typed(tmp_path):
    """A program that makes each class, and reads and sets each of its properties, passes; and runs."""
    lines = ["import zrdmtree", ""]
    for name in dir(zrdmtree):
        cls = getattr(zrdmtree, name)
        if not (isinstance(cls, type) and issubclass(cls, zrdmtree.DmPropertySet)):
            continue
        definitions = zrdmtree._zrdmtree._definitions(cls)
        if "abstract" in (cls.__doc__ or "") or cls is zrdmtree.DmPropertySet:
            lines.append(f"def f_{name}(it: zrdmtree.{name}) -> object: return it")
            continue
        lines += ["", f"o_{name} = zrdmtree.{name}()"]
        for each in definitions:
            attribute = f"o_{name}.{each['name']}"
            lines.append(f"{attribute} = {attribute}" if not each["constant"] else f"print({attribute})")
    program = tmp_path / "every_class.py"
    program.write_text("\n".join(lines) + "\n")
    assert mypy(program, cwd=tmp_path) == (0, "Success: no issues found in 1 source file\n")
    subprocess.run([sys.executable, program], check=True, stdout=subprocess.DEVNULL)


def test_examples_pass():
    programs = sorted(EXAMPLES.rglob("*.py"))
    code, output = mypy(*programs, cwd=EXAMPLES)
    assert programs and code == 0, output


def public(names):
    return {name for name in names if not name.startswith("_")}


def test_the_stubs_name_what_there_is():
    """Names of the module, of its classes, and of what its functions take: in the stubs and nowhere else."""
    stub = ast.parse((pathlib.Path(zrdmtree.__file__).parent / "__init__.pyi").read_text())
    typed = {}
    for node in stub.body:
        for name in ([each.id for each in node.targets] if isinstance(node, ast.Assign) else
                     [node.target.id] if isinstance(node, ast.AnnAssign) else [getattr(node, "name", None)]):
            typed[name] = node
    aliases = {"T", "P", "Mode", "TimeLike", "Source", "Target", "Element", "Layer"}
    assert public(filter(None, typed)) - aliases == public(dir(zrdmtree)) - {"ListView", "MapView"}
    for name, node in typed.items():
        real = getattr(zrdmtree, name or "", None)
        if isinstance(node, ast.ClassDef) and not issubclass(real, (enum.Enum, Exception)):
            bases = [getattr(zrdmtree, base.id) for base in node.bases]
            inherited = {each for base in bases for each in public(dir(base))}
            names = {each.name if isinstance(each, ast.FunctionDef) else each.target.id
                     for each in node.body if isinstance(each, (ast.FunctionDef, ast.AnnAssign))}
            assert public(names) - inherited == public(dir(real)) - inherited, name
        elif isinstance(node, ast.FunctionDef):
            taken = [each.arg for each in node.args.args + node.args.kwonlyargs]
            if inspect.isbuiltin(real):
                head = real.__doc__.split(") ->")[0].split("(", 1)[1]
                given = [each.split(":")[0].split("=")[0].strip() for each in re.split(r", (?=\*|\w+[:=])", head)]
                given = [each for each in given if each and not each.startswith("*")]
                assert given == taken[:len(given)] and (len(given) == len(taken) or "**" in head), name
            else:
                assert list(inspect.signature(real).parameters) == taken, name


def test_mistakes_are_found(tmp_path):
    program = tmp_path / "mistakes.py"
    program.write_text("import zrdmtree\n"
                       "clip = zrdmtree.DmSourceNode()\n"
                       "clip.recIn = 'x'\n"
                       "clip.recInn\n"
                       "clip.effects.append(zrdmtree.DmCueMark())\n"
                       "zrdmtree.DmGapNode(nmae='x')\n"
                       "zrdmtree.Time(0)\n")
    code, output = mypy(program, cwd=tmp_path)
    assert code == 1 and [f"mistakes.py:{line}:" in output for line in range(3, 8)] == [True] * 5


def test_help_reads_like_documentation():
    import pydoc

    text = pydoc.plain(pydoc.render_doc(zrdmtree.DmSourceNode))
    for words in ("srcInput", "Property-Set of Input", "recLength", "segments(self", "own(name)"):
        assert words in text
