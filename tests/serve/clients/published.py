"""What the command publishes of a machine, written as wbemcli writes it."""

import re

ASSOCIATIONS = ["VEXSG_MediaPresent", "VEXSG_PartitionPresent", "VEXSG_LogicalDiskBasedOnPartition"]  # as declared
DEVICES = ["VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"]
FORBIDDEN = re.compile("[\x00-\x08\x0b\x0c\x0e-\x1f\ufffe\uffff]")
KEY = re.compile(r'([A-Za-z_]\w*)="((?:[^"\\]|\\.)*)"', re.DOTALL)


def read_path(text):
    """Class and keys of an object path."""
    name, _, keys = text.partition(".")
    return name, [(key, re.sub(r"\\(.)", r"\1", value, flags=re.DOTALL)) for key, value in KEY.findall(keys)]


def carried(text):
    """The text as XML can carry it."""
    return FORBIDDEN.sub("\ufffd", text)


def quoted(text):
    return '"' + carried(text).replace("\\", "\\\\").replace('"', '\\"') + '"'


def typed(text):
    """A key's value on the command line. The client puts it into its XML as it is, and takes all before an @ for a user."""
    for letter, form in (("&", "&amp;"), ("<", "&lt;"), ('"', "&quot;"), ("@", "&#64;")):
        text = text.replace(letter, form)
    return f'"{text}"'


def name_of(path, form):
    """Class and keys with the values in that form."""
    name, keys = read_path(path)
    return f"{name}." + ",".join(f"{key}={form(carried(value))}" for key, value in keys)


def reference(text):
    """The value of a reference."""
    return "root/cimv2:" + name_of(text, quoted)


class Instance:
    """A published instance; its path as clients see it tells it from others."""

    def __init__(self, class_name, path, properties, declared):
        self.class_name, self.properties, self.declared = class_name, properties, declared
        is_association = class_name in ASSOCIATIONS
        self.name = name_of(path, reference if is_association else quoted)
        self.typed = name_of(path, (lambda end: name_of(end, typed)) if is_association else typed)

    def end(self, role):
        """The name of the instance that a reference points at."""
        return reference(self.properties[role]).removeprefix("root/cimv2:")

    def values(self, wanted=None):
        """Each property as the client writes it, in the order of the declaration; null ones without a value."""
        return [f"{declared['name']}={self._value(declared)}" for declared in self.declared
                if wanted is None or declared["name"] in wanted]

    def _value(self, declared):
        value = self.properties.get(declared["name"])
        if value is None:
            return ""
        if declared["type"] == "reference":
            return reference(value)
        elements = value if declared["array"] else [value]
        return ",".join(quoted(element) if isinstance(element, str) else str(element).upper() for element in elements)


class Published:
    """All instances of a machine that a client can tell apart, in the order published."""

    def __init__(self, diskmgt, machine):
        answer = diskmgt(machine, "get")
        declared = {}
        self.instances = {}
        for found in answer["classes"]:
            kept = self.instances.setdefault(found["name"], {})
            for instance in found["instances"]:
                name = instance["path"].partition(".")[0]
                if name not in declared:
                    declared[name] = diskmgt(machine, "classes", name)["properties"]
                one = Instance(name, instance["path"], instance["properties"], declared[name])
                kept.setdefault(one.name, one)

    def of(self, class_name):
        return list(self.instances[class_name].values())

    def devices(self):
        return [one for name in DEVICES for one in self.of(name)]

    def by_name(self):
        return {one.name: one for one in self.devices()}

    def references(self, name, association=None, role=None):
        """The association instances with that end, as the declaration orders them."""
        return [one for cls in ASSOCIATIONS for one in self.of(cls) if association in (None, cls)
                if any(one.end(end) == name for end in ("Antecedent", "Dependent") if role in (None, end))]

    def associators(self, name, association=None, role=None, result=None):
        known = self.by_name()
        ends = [one.end("Antecedent" if one.end("Dependent") == name else "Dependent")
                for one in self.references(name, association, role)]
        return [known[end] for end in dict.fromkeys(ends) if end in known and result in (None, known[end].class_name)]
