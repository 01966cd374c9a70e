"""The JavaScript library: vectors, hostile servers, its own features, types, package, cost."""
import json
import os
import random
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
                          timeout=1200, check=False)


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

    def test_practice_answers_as_the_one_in_python(self):
        """The same packets on both practice fields, with what chance decides left out."""
        sys.path.insert(0, os.path.join(agents.ROOT, "clients", "python", "src"))
        import kelmora
        chance = random.Random(11)
        choices = ["f %d" % k for k in (-300, -5, 0, 1, 2, 40)] + [
            "b 3", "c", "c h", "c f", "c a", "c 10", "g 5 -7", "j 200 100", "j x 1e1", "t l 30", "t r 2.5", "t n", "t", "t q", "p d", "p u", "p",
            "l", "l s", "l p", "l b", "w 3", "w -2", "k 1 0 2", "h 0 1 0", "s 414243", "n 4", "u hello there", "u", "i 3", "i 9", "e 500", "o", "o s",
            "o b", "x", "y - 32", "y + 511", "y", "z 7 10 20", "z -7", "z 0", "z 60 1 1", "!", "! -", ".", "", "?", "q p", "q d", "q m", "q f", "q w",
            "q a", "q s", "q t", "q n", "q c", "q o", "q b", "q z s 7", "q z p 7", "q z s 53", "q z x 7", "q z", "q", "q r 9", "  f 1", "f 1;q p",
            "F 1e400", "f\t2", "f nan"]
        packets = ["".join(chance.choice(choices) + "\n" for _ in range(chance.randrange(1, 5))) for _ in range(3000)]
        script = ("const { practice } = await import(process.env.KELMORA_JS);"
                  "const field = practice(); field.transport();"
                  "let text = ''; for await (const piece of process.stdin) text += piece;"
                  "console.log(JSON.stringify(JSON.parse(text).map((packet) => field.packet(field.beings[0], packet))))")
        made = subprocess.run(["node", "--input-type=module", "-e", script], env=dict(os.environ, **ENVIRONMENT), input=json.dumps(packets),
                              capture_output=True, text=True, timeout=1200, check=True)
        field = kelmora.PracticeField()
        field.transport()
        self.assertEqual(len(field.beings), 1)
        for packet, answers in zip(packets, json.loads(made.stdout)):
            ours = [re.sub(r"-(0\.000000)", r"\1", answer) for answer in field.packet(field.beings[0], packet)]
            self.assertEqual([re.sub(r"-(0\.000000)", r"\1", answer) for answer in answers], ours, packet)

    def test_practice(self):
        ended = node("--input-type=module", "-e", """
            const { connect, practice, use, BadValue, Lost, NotAdmitted } = await import(process.env.KELMORA_JS);
            import assert from "node:assert/strict";
            const field = practice({ seed: 5 });
            const turtle = await connect();
            await turtle.name('<b>"');
            for (let side = 0; side < 4; side++) assert(await turtle.forward(100) && await turtle.left(90));
            await turtle.write("a<b&");
            const { x, y } = await turtle.position();
            assert(Math.hypot(x, y) < 1e-5);
            const svg = field.svg();
            assert(svg.includes('points="256,256 356,256 356,156 256,156 256,256"'), svg);
            assert(!svg.includes("<b"), svg);
            const other = await connect();
            await other.setheading(await other.towards(0, 0));
            assert.equal(await other.forward(await other.distance(0, 0)), false);
            assert.equal(other.blockedBy(), "turtle");
            for (let k = 0; k < 4; k++) {
              assert(await other.fire());
              for (let frame = 0; frame < 400; frame++) await other.penup();
            }
            await assert.rejects(turtle.ping(), Lost);
            for (let k = 0; k < 9; k++) await connect();
            await assert.rejects(connect(), NotAdmitted);
            for (const name of ["x.png", "x", ""]) await assert.rejects(field.save(name), BadValue);
            const places = [practice({ seed: 3 }), practice({ seed: 3 })].map((one) => (one.add("robot"), one.beings[0].x));
            assert.equal(places[0], places[1]);
            assert.throws(() => practice({ seed: "x" }), BadValue);
            const painted = [];
            practice({ painter: { line: (...line) => painted.push(line), frame: () => painted.push("frame") } });
            await (await connect()).forward(10);
            assert.deepEqual(painted.at(-2), [0, 0, 10, 0, 1, [1, 0, 0], [1, 0, 0]]);
            use(null);
            await assert.rejects(connect({ port: 1, host: "127.0.0.1" }));
            assert.throws(() => use(5), BadValue);
            console.log("done");""")
        self.assertEqual(ended.stdout, "done\n", ended.stderr)

    def test_the_package_installs_offline_and_has_no_dependencies(self):
        with tempfile.TemporaryDirectory(prefix="kelmora-js-") as folder:
            environment = dict(os.environ, npm_config_cache=os.path.join(folder, "cache"), npm_config_update_notifier="false",
                               npm_config_offline="true")
            packed = subprocess.run(["npm", "pack", "--json", "--pack-destination", folder], cwd=PACKAGE, env=environment,
                                    capture_output=True, text=True, check=True, timeout=1200)
            contents = json.loads(packed.stdout)[0]
            self.assertEqual({file["path"] for file in contents["files"]},
                             {"LICENSE", "README.md", "colors.js", "kelmora.d.ts", "kelmora.js", "package.json", "picture.js",
                              "practice.js", "shapes.js", "transport.js"})
            empty = os.path.join(folder, "empty")
            os.mkdir(empty)
            subprocess.run(["npm", "install", "--silent", "--no-audit", "--no-fund", os.path.join(folder, contents["filename"])],
                           cwd=empty, env=environment, check=True, timeout=1200)
            self.assertEqual(set(os.listdir(os.path.join(empty, "node_modules"))), {".package-lock.json", "kelmora"})
            ended = subprocess.run(["node", "--input-type=module", "-e",
                                    "import { connect, NoField } from 'kelmora';"
                                    "connect({ host: '127.0.0.1', port: 1 }).catch((e) => console.log(e instanceof NoField))"],
                                   cwd=empty, capture_output=True, text=True, check=True, timeout=300)
            self.assertEqual(ended.stdout, "true\n")

    def test_cost(self):
        printed = node(os.path.join(agents.HERE, "agents", "cost.mjs")).stdout
        measured = re.search(r"^measured: .*?([\d.]+) us user.*$", printed, re.MULTILINE)
        print(measured[0], file=sys.stderr)
        self.assertLess(float(measured[1]), 500)    # about 10 on a quiet machine


if __name__ == "__main__":
    unittest.main()
