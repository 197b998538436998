"""Material that is made from other material, in another mode, and material that is to be looked for, on two tracks of one
number: what of inputs.json stands in lists, in a dump and in the overview."""
import json
import os
import subprocess
import sys
import tempfile
import unittest

INPUTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "inputs.json")
DMTREE = sys.argv.pop()


def dmtree(*arguments):
    return subprocess.run([DMTREE, *arguments], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True).stdout.decode()


def written(extension):
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "out." + extension)
        dmtree("convert", INPUTS, path)
        with open(path, encoding="utf-8") as file:
            return file.read()


class Inputs(unittest.TestCase):
    def test_a_list_has_their_reels_channels_of_their_own_and_times_of_the_same_wall_clock(self):
        self.assertEqual([line for line in written("edl").split("\n") if line.startswith("0")], [
            "001  MADE     V     C        00:01:40:00 00:01:42:00 00:00:00:00 00:00:02:00",
            "002  WANTED   V2    C        00:00:00:00 00:00:02:00 00:00:00:00 00:00:02:00"])

    def test_opentimelineio_has_their_reels_begins_and_names(self):
        clips = [track["children"][0] for track in json.loads(written("otio"))["tracks"]["children"]]
        self.assertEqual([clip["metadata"]["cmx_3600"]["reel"] for clip in clips], ["MADE", "WANTED"])
        self.assertEqual([clip["source_range"]["start_time"]["value"] for clip in clips], [2500, 0])
        self.assertEqual([clip["media_references"]["DEFAULT_MEDIA"]["name"] for clip in clips], ["d", "harbour"])

    def test_the_picture_names_their_reels(self):
        picture = dmtree("view", "--svg", "-o", "-", INPUTS)
        self.assertTrue("MADE \u00b7 00:01:40" in picture and "WANTED \u00b7 00:00:00:00" in picture, picture)

    def test_a_dump_counts_in_their_own_mode_and_the_overview_has_their_reels(self):
        self.assertIn("plays 00:01:40:00 of DerivedInput", dmtree("dump", INPUTS))
        overview = dmtree("info", INPUTS)
        self.assertTrue("MADE" in overview and "WANTED" in overview, overview)


if __name__ == "__main__":
    unittest.main()
