"""The built plug-in as an ELF file, read with readelf and nm. Its path is in DISKMGT_PLUGIN_FILE, those of the host's two
libraries in DISKMGT_HOST_LIBRARIES, that of the command in DISKMGT_COMMAND_FILE."""
import os
import re
import subprocess

PLUGIN = os.environ["DISKMGT_PLUGIN_FILE"]
HOST_LIBRARIES = os.environ["DISKMGT_HOST_LIBRARIES"].split(":")
COMMAND = os.environ["DISKMGT_COMMAND_FILE"]


def output_of(*command):
    environment = {**os.environ, "LC_ALL": "C"}
    return subprocess.run(command, env=environment, check=True, capture_output=True, text=True).stdout


def needed(path=PLUGIN):
    """The names of the libraries that the file needs, in its order."""
    return re.findall(r"\(NEEDED\).*\[(.*)\]", output_of("readelf", "-dW", path))


def dynamic_tags(path=PLUGIN):
    """(tag, value) of every entry of the dynamic section."""
    return re.findall(r"^ 0x[0-9a-f]+ \((\w+)\) +(.*)$", output_of("readelf", "-dW", path), re.MULTILINE)


def segments(path=PLUGIN):
    """(type, flags) of every program header."""
    return re.findall(r"^  ([A-Z_]+) +(?:0x[0-9a-f]+ +){5}([RWE ]{3}) ", output_of("readelf", "-lW", path), re.MULTILINE)


def imports(path=PLUGIN):
    """Mangled names of the imported symbols, without versions."""
    listing = output_of("nm", "-D", "--undefined-only", path)
    return {re.sub(r"@.*", "", line.split()[-1]) for line in listing.splitlines()}


def defined(path):
    """Mangled names of the exported symbols."""
    listing = output_of("nm", "-D", "--defined-only", path)
    return {re.sub(r"@.*", "", line.split()[-1]) for line in listing.splitlines()}


def readable(names):
    """The mangled names as C++ writes them."""
    listing = subprocess.run(["c++filt"], input="\n".join(names), check=True, capture_output=True, text=True).stdout
    return set(listing.splitlines())


def run_path(path=PLUGIN):
    """The folders in which the loader searches for the libraries, from both kinds of entry."""
    found = [value for tag, value in dynamic_tags(path) if tag in ("RUNPATH", "RPATH")]
    return [folder for value in found for folder in re.search(r"\[(.*)\]", value)[1].split(":")]


def exports(path=PLUGIN):
    """(kind, readable name) of the exported symbols, as nm shows them."""
    listing = output_of("nm", "-DC", "--defined-only", path)
    return [(kind, name) for kind, name in re.findall(r"^[0-9a-f]* +(\w) (.*)$", listing, re.MULTILINE)]


def functions(path=PLUGIN):
    """Address to mangled names, of all functions that the file has, hidden ones too."""
    found = {}
    for address, name in re.findall(r"^([0-9a-f]+) [tTwW] (\S+)$", output_of("nm", path), re.MULTILINE):
        found.setdefault(int(address, 16), []).append(name)
    return found


def load_time_constructors(path=PLUGIN):
    """The names of each load-time constructor, in the order in which the loader runs them."""
    section = re.search(r"\.init_array +INIT_ARRAY +([0-9a-f]+) [0-9a-f]+ ([0-9a-f]+)",
                        output_of("readelf", "-SW", path))
    begin, size = int(section[1], 16), int(section[2], 16)
    # The addresses are not in the file: the loader writes them from these relocations.
    relocations = re.findall(r"^([0-9a-f]+) +[0-9a-f]+ R_\w+_RELATIVE +([0-9a-f]+)$",
                             output_of("readelf", "-rW", path), re.MULTILINE)
    targets = {int(place, 16): int(target, 16) for place, target in relocations}
    named = functions(path)
    return [named.get(targets[place], []) for place in range(begin, begin + size, 8)]
