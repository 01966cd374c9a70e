"""The JavaScript library: vectors and hostile servers."""
import os
import unittest

import agents


class JavaScript(agents.Language):
    name = "js"

    @classmethod
    def start(cls):
        module = os.path.join(agents.ROOT, "clients", "js", "kelmora.js")
        return agents.Agent(["node", os.path.join(agents.HERE, "agents", "agent.mjs")], {"KELMORA_JS": module})


if __name__ == "__main__":
    unittest.main()
