"""How the package stands in an interpreter: its end, other interpreters of the process, forks, and imports."""

import os
import subprocess
import sys

import pytest


def run(program, examples):
    path = examples / "documents" / "commercial-25.json"
    done = subprocess.run([sys.executable, "-X", "dev", "-c", f"import os, threading\npath = {str(path)!r}\n{program}"],
                          capture_output=True, text=True, timeout=120)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


def test_it_ends_while_objects_live_and_threads_work(examples):
    assert run("""
import zrdmtree
root = zrdmtree.load(path)
timeline = root.publish()
kept = [zrdmtree.History(timeline), timeline.edit(), timeline.edit().segments(), root.segments()[0].effects]
subscription = root.segments()[0].listen(print)
def work():
    while True:
        zrdmtree.check(zrdmtree.load(path).publish())
for _ in range(4):
    threading.Thread(target=work, daemon=True).start()
print(kept[2][0].name)
""", examples) == "orchard dawn\n"


def test_a_fork_goes_on_with_what_it_has(examples):
    assert run("""
import zrdmtree
root = zrdmtree.load(path)
child = os.fork()
if child == 0:
    root.segments()[0].name = "in the child"
    os._exit(7 if zrdmtree.check(root.publish()) == [] and root != zrdmtree.load(path) else 1)
print(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]), root.segments()[0].name)
""", examples) == "7 orchard dawn\n"


def test_other_interpreters_of_the_process_are_told(examples):
    pytest.importorskip("_xxsubinterpreters")
    assert "not for sub-interpreters" in run("""
import _xxsubinterpreters as interpreters
for first in (True, False):
    other = interpreters.create()
    try:
        interpreters.run_string(other, "import zrdmtree")
    except Exception as error:
        print(error)
    interpreters.destroy(other)
    import zrdmtree
    assert zrdmtree.load(path).segments()
""", examples)


def test_all_is_imported_by_a_star(examples):
    assert run("""
from zrdmtree import *
print(DmCueMark().cueMarkName == "", MediaType.DM_MEDIA_AUDIO, Time)
""", examples).startswith("True")
