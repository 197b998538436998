"""scripts/mutate: which mistakes it makes, what it counts, and that the tree is as it was whatever ends it."""
import importlib.machinery
import importlib.util
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

SCRIPT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "scripts", "mutate")
sys.dont_write_bytecode = True
loader = importlib.machinery.SourceFileLoader("mutate", SCRIPT)
mutate = importlib.util.module_from_spec(importlib.util.spec_from_loader("mutate", loader))
loader.exec_module(mutate)

# A line of code, and what may become of it.
MISTAKES = [
    ("if (a < b && !c)", ["if (a <= b && !c)", "if (a >= b && !c)", "if (a < b || !c)", "if (a < b && c)",
                          "if (!(a < b && !c))"]),
    ("while (const int n = next(); n != 10)", ["while (const int n = next(); n == 10)",
                                               "while (const int n = next(); n != 11)",
                                               "while (const int n = next(); !(n != 10))"]),
    ("if (auto* const found = find(key))", []),
    ("return x * 0.5 + 1;", ["return x / 0.5 + 1;", "return x * 1.5 + 1;", "return x * 0.5 - 1;", "return x * 0.5 + 0;"]),
    ("++count;", ["--count;", "{}"]),
    ("_list.push_back(std::min(a, b));", ["_list.push_back(std::max(a, b));", "{}"]),
    ("value = other;", ["{}"]),
    ("return;", ["{}"]),
    ("int value = other;", []),
    ("template <class T, std::vector<T*>& list>", []),
    ("friend bool operator==(const T& a, const T& b);", []),
    ("bool operator < (const T& b) const;", []),
    ('call("a < b", \'+\'); // a < b', ["{}"]),
    ("#if A < 1", []),
    ("name2 = utf8;", ["{}"]),
]


class Table(unittest.TestCase):
    def test_mistakes_are_made_in_code_only(self):
        for line, expected in MISTAKES:
            with self.subTest(line):
                made = [changed.strip() for _, _, _, changed in mutate.mutations_of("{\n" + line, [2])]
                self.assertEqual(sorted(made), sorted(expected))

    def test_a_part_of_a_statement_is_not_removed(self):
        text = "{\n    call(a,\n         more(b));\n    x = a\n        .b();\n}"
        self.assertEqual([m for m in mutate.mutations_of(text, range(1, 7)) if m[1] == "statement"], [])


class Run(unittest.TestCase):
    CODE = "int less(int a)\n{\n    return a < 2;\n}\n"

    def setUp(self):
        self.dir = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.dir)
        os.makedirs(self.path("scripts"))
        os.makedirs(self.path("common"))
        shutil.copy(SCRIPT, self.path("scripts/mutate"))
        self.write("common/old.cpp", "int old = 1;\n")
        self.git("init", "-q")
        self.git("add", "-A")
        self.git("-c", "user.name=a", "-c", "user.email=a@b", "commit", "-qm", "old")
        self.write("common/old.cpp", "int old = 1;\n" + self.CODE)
        self.write("common/notes.md", "a < b\n")
        self.git("add", "-A")

    def path(self, name):
        return os.path.join(self.dir, name)

    def write(self, name, text):
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text)

    def read(self, name):
        with open(self.path(name), encoding="utf-8") as file:
            return file.read()

    def git(self, *arguments):
        subprocess.run(["git", *arguments], cwd=self.dir, check=True)

    def start(self, *arguments):
        return subprocess.Popen([sys.executable, self.path("scripts/mutate"), *arguments], stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, text=True)

    def run_script(self, *arguments):
        process = self.start(*arguments)
        output, _ = process.communicate(timeout=60)
        return process.returncode, output

    def assert_untouched(self):
        self.assertEqual(self.read("common/old.cpp"), "int old = 1;\n" + self.CODE)

    def test_survivors_are_told_from_what_is_caught_and_what_does_not_compile(self):
        # Three mistakes can be made: "<=" does not compile, ">=" is caught, the other constant survives.
        code, output = self.run_script("--build", "! grep -q '<=' common/old.cpp",
                                       "--test", "! grep -q '>=' common/old.cpp", "9", "HEAD")
        self.assertEqual(code, 1, output)
        self.assertIn("3 mistakes can be made", output)
        self.assertIn("1 caught, 1 survived; 1 others did not compile", output)
        self.assertTrue(output.endswith("common/old.cpp:4: constant\n  - return a < 2;\n  + return a < 3;\n"), output)
        self.assert_untouched()

    def test_a_tree_that_is_broken_already_and_a_base_that_there_is_not_are_errors(self):
        for arguments, told in ((("--build", "true", "--test", "false", "1", "HEAD"), "without a mistake already"),
                                (("1", "nonesuch"), "nonesuch")):
            code, output = self.run_script(*arguments)
            self.assertNotIn(code, (0, 130), output)
            self.assertIn(told, output)
        self.assert_untouched()

    def test_a_dry_run_makes_none_and_a_seed_makes_the_same_ones(self):
        first, again = (self.run_script("--dry-run", "--seed", "5", "2", "HEAD") for _ in range(2))
        self.assertEqual(first, again)
        self.assertEqual(first[1].count("\n  + "), 2)
        self.assert_untouched()

    def started_with_mistake(self):
        process = self.start("--build", "true",
                             "--test", "git diff --quiet || { echo $$ >pid; exec sleep 60; }", "1", "HEAD")
        self.addCleanup(process.stdout.close)
        deadline = time.monotonic() + 30
        while not os.path.exists(self.path("pid")) or not self.read("pid").strip():
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.02)
        self.assertNotEqual(self.read("common/old.cpp"), "int old = 1;\n" + self.CODE)
        return process, int(self.read("pid"))

    def test_an_interruption_leaves_the_tree_as_it_was_and_nothing_running(self):
        for number in signal.SIGINT, signal.SIGTERM:
            process, test = self.started_with_mistake()
            process.send_signal(number)
            self.assertEqual(process.wait(timeout=30), 130)
            self.assert_untouched()
            with self.assertRaises(ProcessLookupError):
                os.kill(test, 0)
            os.remove(self.path("pid"))

    def test_after_a_kill_the_tree_is_put_right(self):
        process, test = self.started_with_mistake()
        process.kill()
        process.wait(timeout=30)
        os.kill(test, signal.SIGKILL)
        self.assertEqual(self.run_script("--restore")[0], 0)
        self.assert_untouched()


if __name__ == "__main__":
    unittest.main()
