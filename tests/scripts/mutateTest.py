"""scripts/mutate: which mistakes it makes, how it builds them in, and what it counts."""
import importlib.machinery
import importlib.util
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

SCRIPT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "scripts", "mutate")
sys.dont_write_bytecode = True
loader = importlib.machinery.SourceFileLoader("mutate", SCRIPT)
mutate = importlib.util.module_from_spec(importlib.util.spec_from_loader("mutate", loader))
loader.exec_module(mutate)

# A line of code, the lines in front of it and behind it, and the lines with a mistake and without, chosen by M.
MISTAKES = [
    ("if (a < b && !c)", "", "",
     ["if ((M ? (a <= b) : (a < b)) && !c)", "if ((M ? (a >= b) : (a < b)) && !c)",
      "if ((M ? (a < b || !c) : (a < b && !c)))", "if (a < b && (M ? (!!c) : (!c)))",
      "if ((M ? (!(a < b && !c)) : (a < b && !c)))"]),
    ("while (const int n = next(); n != 10)", "", "",
     ["while (const int n = next(); (M ? (n == 10) : (n != 10)))", "while (const int n = next(); (M ? (n != 11) : (n != 10)))"]),
    ("if (auto* const found = find(key))", "", "", []),
    ("return x * 0.5;", "", "", ["return (M ? (x / 0.5) : (x * 0.5));", "return (M ? (x * 1.5) : (x * 0.5));"]),
    ("for (int i = f(0); i < n; ++i)", "", "",
     ["for (int i = f((M ? (1) : (0))); i < n; ++i)", "for (int i = f(0); (M ? (i <= n) : (i < n)); ++i)",
      "for (int i = f(0); (M ? (i >= n) : (i < n)); ++i)", "for (int i = f(0); i < n; (M ? (--i) : (++i)))"]),
    ("++count; // all", "", "", ["(M ? (--count) : (++count)); // all", "{ if (M) {  } else { ++count; } }"]),
    ("sum += 2 - b;", "", "",
     ["{ if (M) { sum -= 2 - b; } else { sum += 2 - b; } }", "sum += (M ? (2 + b) : (2 - b));",
      "sum += (M ? (3 - b) : (2 - b));", "{ if (M) {  } else { sum += 2 - b; } }"]),
    ("text = name + \": \" + other;", "", "", ["{ if (M) {  } else { text = name + \": \" + other; } }"]),
    ("break;", "", "", ["{ if (M) { continue; } else { break; } }", "{ if (M) {  } else { break; } }"]),
    ("int value = other;", "", "", []),
    ("template <class T, int n = 0>", "", "", []),
    ("ZR_POST_ERROR(count + 1);", "", "", []),
    ("texts.reserve(n + 1);", "", "", []),
    ("static_cast<void>(call(\"a < b\", '+')); // a < b", "", "",
     ["{ if (M) {  } else { static_cast<void>(call(\"a < b\", '+')); } }"]),
    ("#if A < 1", "", "", []),
    # Of what several lines say, the part that this one says whole.
    ("a < b &&", "return x ||", "c;", ["(M ? (a <= b) : (a < b)) &&", "(M ? (a >= b) : (a < b)) &&"]),
    ("a + b", "return x *", "* c;", []),
    ("        more(b));", "call(a,", "}", []),
    ("        .b();", "x = a", "}", []),
]


class Table(unittest.TestCase):
    def test_mistakes_stand_beside_what_is_right(self):
        for line, before, behind, expected in MISTAKES:
            with self.subTest(line):
                text = "{\n" + before + "\n" + line + "\n" + behind
                made = [switch("M").strip() for _, _, _, _, switch in mutate.mistakes_of(text, [3])]
                self.assertEqual(sorted(made), sorted(expected))


class Run(unittest.TestCase):
    """A tree of one file, with a test that holds its function against what it should give."""
    CODE = """int less(int a)
{
    if (a == 77)
        return 5;
    return a < 2;
}
"""
    BUILD = """g++ -c common/old.cpp -o old.o && g++ test.cpp old.o -o {}/less 2>&1 &&
        printf 'add_test(Old.Less "{}/less")\\nadd_test(Old.Fails "/bin/false")\\n' >{}/CTestTestfile.cmake"""

    def setUp(self):
        self.dir = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.dir)
        for folder in "scripts", "common":
            os.makedirs(self.path(folder))
        shutil.copy(SCRIPT, self.path("scripts/mutate"))
        self.write("common/old.cpp", "int old = 1;\n")
        self.write("test.cpp", "int less(int); int main() { return less(1) == 1 && less(2) == 0 ? 0 : 1; }\n")
        self.write("common/notes.md", "a < b\n")
        self.git("init", "-q")
        self.git("add", "-A")
        self.git("-c", "user.name=a", "-c", "user.email=a@b", "commit", "-qm", "old")
        self.write("common/old.cpp", "int old = 1;\n" + self.CODE)

    def path(self, name):
        return os.path.join(self.dir, name)

    def write(self, name, text):
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text)

    def git(self, *arguments):
        subprocess.run(["git", *arguments], cwd=self.dir, check=True)

    def run_script(self, *arguments):
        process = subprocess.run([sys.executable, self.path("scripts/mutate"), "--configure", "", *arguments], timeout=60,
                                 stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        return process.returncode, process.stdout

    def test_survivors_are_told_from_what_is_caught(self):
        build = "mkdir -p {0} && cd {0}/../.. && " + self.BUILD.replace("{}", "{0}")
        command = ("--build", build, "--jobs", "1", "--log", self.path("log"), "9", "HEAD")
        seen = set()
        for seed in "12":
            code, output = self.run_script("--seed", seed, *command)
            self.assertIn("left out, as it fails without a mistake: Old.Fails", output)
            self.assertIn("mistakes can be made in 3 lines", output)
            for line in output.split("\n"):
                if found := re.match(r"\d+: (caught by Old.Less|SURVIVED.*?): common/old.cpp:(\d): ", line):
                    seen.add((int(found.group(2)), found.group(1)))
            self.assertEqual(code, 1, output) # 5 is returned by nothing that is tested
        self.assertIn((6, "caught by Old.Less"), seen)
        self.assertIn((5, "SURVIVED, reached by no test"), seen)
        with open(self.path("common/old.cpp"), encoding="utf-8") as file:
            self.assertEqual(file.read(), "int old = 1;\n" + self.CODE)

    def test_what_does_not_build_and_a_base_that_there_is_not_are_errors(self):
        for arguments, told in ((("--build", "false", "1", "HEAD"), "does not build"), (("1", "nonesuch"), "nonesuch")):
            code, output = self.run_script(*arguments)
            self.assertNotEqual(code, 0)
            self.assertIn(told, output)

    def test_a_dry_run_makes_none_and_a_seed_makes_the_same_ones(self):
        first, again = (self.run_script("--dry-run", "--seed", "5", "2", "HEAD") for _ in range(2))
        self.assertEqual(first, again)
        self.assertEqual(first[1].count("\n  + "), 2)
        self.assertFalse(os.path.exists(self.path("build")))


if __name__ == "__main__":
    unittest.main()
