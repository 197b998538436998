"""What earlier versions have left in users' documents and folders, as they left it, must still read. The files in kept/ are
named by their form and its version; they are never written anew: a form that changes gets a new version and a new file."""
import json
import os
import subprocess
import sys
import tempfile
import unittest

KEPT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "kept")
EDITED = os.path.join(KEPT, "..", "..", "..", "examples", "documents", "commercial-with-mistakes.json")
DMTREE = sys.argv.pop()


def dmtree(*arguments):
    process = subprocess.run([DMTREE, *arguments], capture_output=True, check=False)
    return process.returncode, process.stdout + process.stderr


def kept(name):
    return os.path.join(KEPT, name)


def read(path):
    with open(path, "rb") as file:
        return json.load(file) if path.endswith(".otio") else file.read() # members of an object have no order


class Kept(unittest.TestCase):
    def test_what_a_list_said_beyond_its_document_is_in_the_list_again(self):
        for document, written in (("ale-1.json", "ale-1.ale"), ("edl-2.json", "edl-2.edl"), ("fcp7xml-1.json", "fcp7xml-1.xml"),
                                  ("fcp7xml-2.json", "fcp7xml-2.xml"), ("otio-1.json", "otio-1.otio"), ("otio-2.json", "otio-2.otio")):
            with self.subTest(document), tempfile.TemporaryDirectory() as folder:
                out = os.path.join(folder, written)
                self.assertEqual(dmtree("convert", kept(document), out), (0, b""))
                self.assertEqual(read(out), read(kept(written)))

    def test_a_patch_goes_onto_its_document(self):
        code, patched = dmtree("patch", EDITED, kept("patch-1.json"))
        self.assertEqual((code, patched.count(b"crate falls")), (0, read(EDITED).count(b"crate drop")))

    def test_what_was_accepted_stays_so(self):
        self.assertEqual(dmtree("check", "--baseline", kept("baseline-1.json"), EDITED)[0], 0)


if __name__ == "__main__":
    unittest.main()
