"""Builds the wheel: what pip asks of a build backend, without anything that would have to be downloaded.

The same files give the same wheel, byte for byte.
"""
import base64
import hashlib
import os
import re
import tarfile
import zipfile

HERE = os.path.dirname(os.path.abspath(__file__))
TOP = os.path.dirname(HERE)
SOURCE = os.path.join(TOP, "src")
SUMMARY = "Drives turtles on a Kelmora field, with the words of Python's own turtle"
EPOCH = (1980, 1, 1, 0, 0, 0)


def version():
    with open(os.path.join(SOURCE, "kelmora", "__init__.py"), encoding="utf-8") as file:
        return re.search(r'^__version__ = "(.*)"', file.read(), re.M)[1]


def read(*path):
    with open(os.path.join(TOP, *path), "rb") as file:
        return file.read()


def modules():
    """Name in the wheel and content of each file of the library."""
    for name in sorted(os.listdir(os.path.join(SOURCE, "kelmora"))):
        if name.endswith(".py") or name == "py.typed":
            yield "kelmora/" + name, read("src", "kelmora", name)
    for name in ("kelmora.pth", "kelmora_guard.py"):
        yield name, read("src", name)


def information():
    """The files that tell pip about the library."""
    folder = "kelmora-%s.dist-info/" % version()
    head = "Metadata-Version: 2.1\nName: kelmora\nVersion: %s\nSummary: %s\nRequires-Python: >=3.9\n" \
           "Classifier: Typing :: Typed\nDescription-Content-Type: text/markdown\n\n" % (version(), SUMMARY)
    yield folder + "METADATA", head.encode() + read("README.md")
    yield folder + "WHEEL", b"Wheel-Version: 1.0\nGenerator: kelmora\nRoot-Is-Purelib: true\nTag: py3-none-any\n"
    yield folder + "entry_points.txt", b"[console_scripts]\nkelmora-repl = kelmora.repl:main\n"
    yield folder + "top_level.txt", b"kelmora\nkelmora_guard\n"
    licence = os.path.join(TOP, "..", "..", "LICENSE")
    if os.path.exists(licence):
        yield folder + "LICENSE", read("..", "..", "LICENSE")


def write_wheel(folder, files):
    name = "kelmora-%s-py3-none-any.whl" % version()
    records = []
    with zipfile.ZipFile(os.path.join(folder, name), "w", zipfile.ZIP_DEFLATED) as wheel:
        def put(path, content):
            entry = zipfile.ZipInfo(path, EPOCH)
            entry.external_attr = 0o100644 << 16
            entry.compress_type = zipfile.ZIP_DEFLATED
            wheel.writestr(entry, content)
        for path, content in files:
            put(path, content)
            digest = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=").decode()
            records.append("%s,sha256=%s,%d\n" % (path, digest, len(content)))
        record = "kelmora-%s.dist-info/RECORD" % version()
        put(record, "".join(records) + record + ",,\n")
    return name


# What pip calls

def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    return write_wheel(wheel_directory, [*modules(), *information()])


def build_editable(wheel_directory, config_settings=None, metadata_directory=None):
    return write_wheel(wheel_directory, [("kelmora_editable.pth", (SOURCE + "\n").encode()), *information()])


def build_sdist(sdist_directory, config_settings=None):
    name = "kelmora-%s" % version()
    with tarfile.open(os.path.join(sdist_directory, name + ".tar.gz"), "w:gz", format=tarfile.PAX_FORMAT) as archive:
        for path in ("pyproject.toml", "README.md", "src", "tools"):
            archive.add(os.path.join(TOP, path), "%s/%s" % (name, path),
                        filter=lambda entry: None if "__pycache__" in entry.name else entry)
    return name + ".tar.gz"
