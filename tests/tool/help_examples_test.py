"""The examples in the help of every command: each of them runs."""

import re
import shlex

import pictures
from program_case import long_round
from tool_case import ToolCase

PHOTO, LOGO = pictures.noise(80, 60), pictures.noise(12, 10)


class HelpExamples(ToolCase):
    @long_round
    def test_each_runs(self):
        for name in ("photo.png", "shots/shot-0001.png", "shots/shot-0002.png"):
            self.write(name, pictures.png(PHOTO))
        self.write("logo.png", pictures.png(LOGO))
        self.write("picture.bmp", pictures.bmp(PHOTO))
        self.succeed("convert", "photo.png", "photo.jpg")
        self.make_folder("swap")
        self.make_folder("scaled")
        commands = [line.split()[0].split("|")[0] for line in self.succeed("help", "--names").splitlines()]
        self.assertGreater(len(commands), 20)
        for command in commands:
            page = self.succeed("help", command)
            _, _, listed = page.partition("\nExamples:\n")
            examples = listed.splitlines()
            self.assertTrue(examples, f"{command} has no examples")
            for example in examples:
                with self.subTest(example=example):
                    self.assertRegex(example, rf"\A  q32tool {command}( |$)")
                    self.run_example(shlex.split(example)[1:])

    def run_example(self, words):
        if words[0] == "leftovers":  # removes what is others': only its help is asked for
            words = [*words, "--help"]
        result = self.run_tool(*words)
        self.assertEqual(result.code, 0, result.err)
        self.assertNotRegex(result.err, r"(?m)^q32tool: (?!note: )")
        written = re.findall(r"(?m)^(\S+\.(?:png|jpg|tif|bmp)): ", result.out)
        for name in written:
            self.assertGreater((self.folder / name).stat().st_size, 0)
        if words[0] not in ("info", "rows", "stream", "leftovers", "explain", "help"):
            self.assertTrue(written, result.out)
