"""The JavaScript library: vectors, hostile servers, its own features, types, package, cost."""
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest

import agents

PACKAGE = os.path.join(agents.ROOT, "clients", "js")
ENVIRONMENT = {"KELMORA_JS": os.path.join(PACKAGE, "kelmora.js")}


def node(*arguments):
    return subprocess.run(["node", *arguments], env=dict(os.environ, **ENVIRONMENT), capture_output=True, text=True,
                          timeout=300, check=False)


def camel(word):
    return re.sub("_(.)", lambda found: found[1].upper(), word)


class JavaScript(agents.Language):
    name = "js"

    @classmethod
    def start(cls):
        return agents.Agent(["node", os.path.join(agents.HERE, "agents", "agent.mjs")], ENVIRONMENT)

    def test_every_word_has_its_type(self):
        with open(os.path.join(PACKAGE, "kelmora.d.ts"), encoding="utf-8") as file:
            text = file.read()
        turtle = text[text.index("export class Turtle"):]
        declared = set(re.findall(r"^  (\w+)\(", turtle, re.MULTILINE)) - {"constructor"}
        self.assertEqual(declared, {camel(word) for word in self.agent.words()})
        exported = node("-e", "import(process.env.KELMORA_JS).then((all) => console.log(Object.keys(all).join(' ')))").stdout.split()
        self.assertEqual(set(re.findall(r"^export (?:class|function) (\w+)", text, re.MULTILINE)), set(exported))


class Package(unittest.TestCase):
    def test_ways(self):
        ended = node("--test", os.path.join(agents.HERE, "agents", "ways.test.mjs"))
        self.assertEqual(ended.returncode, 0, ended.stdout + ended.stderr)
        self.assertGreater(int(re.search(r"^# pass (\d+)$", ended.stdout, re.MULTILINE)[1]), 10)

    def test_the_package_installs_offline_and_has_no_dependencies(self):
        with tempfile.TemporaryDirectory(prefix="kelmora-js-") as folder:
            environment = dict(os.environ, npm_config_cache=os.path.join(folder, "cache"), npm_config_update_notifier="false",
                               npm_config_offline="true")
            packed = subprocess.run(["npm", "pack", "--json", "--pack-destination", folder], cwd=PACKAGE, env=environment,
                                    capture_output=True, text=True, check=True, timeout=300)
            contents = json.loads(packed.stdout)[0]
            self.assertEqual({file["path"] for file in contents["files"]},
                             {"LICENSE", "README.md", "colors.js", "kelmora.d.ts", "kelmora.js", "package.json", "shapes.js",
                              "transport.js"})
            empty = os.path.join(folder, "empty")
            os.mkdir(empty)
            subprocess.run(["npm", "install", "--silent", "--no-audit", "--no-fund", os.path.join(folder, contents["filename"])],
                           cwd=empty, env=environment, check=True, timeout=300)
            self.assertEqual(set(os.listdir(os.path.join(empty, "node_modules"))), {".package-lock.json", "kelmora"})
            ended = subprocess.run(["node", "--input-type=module", "-e",
                                    "import { connect, NoField } from 'kelmora';"
                                    "connect({ host: '127.0.0.1', port: 1 }).catch((e) => console.log(e instanceof NoField))"],
                                   cwd=empty, capture_output=True, text=True, check=True, timeout=60)
            self.assertEqual(ended.stdout, "true\n")

    def test_cost(self):
        printed = node(os.path.join(agents.HERE, "agents", "cost.mjs")).stdout
        measured = re.search(r"^measured: .*?([\d.]+) us user.*$", printed, re.MULTILINE)
        print(measured[0], file=sys.stderr)
        self.assertLess(float(measured[1]), 500)    # about 10 on a quiet machine


if __name__ == "__main__":
    unittest.main()
