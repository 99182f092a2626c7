"""Reads MOF as a CIM broker's compiler does: the exact published grammar, then a broker's checks of classes and
instances. It shares no code with the product."""

import re

_TOKEN = re.compile(r"""
    (?P<blank>[ \t\r\n]+|//[^\r\n]*|/\*.*?\*/)
  | (?P<string>"(?:[^"\\\x00-\x1f]|\\[btnfr"'\\]|\\[xX][0-9a-fA-F]{1,4})*")
  | (?P<char>'(?:[^'\\\x00-\x1f]|\\[btnfr"'\\]|\\[xX][0-9a-fA-F]{1,4})')
  | (?P<real>[+-]?[0-9]*\.[0-9]+(?:[eE][+-]?[0-9]+)?)
  | (?P<integer>[+-]?(?:[1-9][0-9]*|0)(?![0-9A-Za-z_]))
  | (?P<name>[A-Za-z_][A-Za-z0-9_]*)
  | (?P<mark>[][(){}:;,=])
""", re.VERBOSE | re.DOTALL)
_ESCAPE = re.compile(r"\\(?:[xX]([0-9a-fA-F]{1,4})|(.))")
_LETTERS = {"b": "\b", "t": "\t", "n": "\n", "f": "\f", "r": "\r"}
_RANGES = {f"{sign}int{bits}": (0, 2**bits - 1) if sign == "u" else (-2**(bits - 1), 2**(bits - 1) - 1)
           for sign in "us" for bits in (8, 16, 32, 64)}
_TYPES = {*_RANGES, "string", "boolean", "char16", "real32", "real64", "datetime"}
_SCOPES = {"class", "association", "indication", "qualifier", "property", "reference", "method", "parameter", "any"}
_FLAVORS = {"enableoverride", "disableoverride", "restricted", "tosubclass", "translatable"}
_NAMESPACE = "root/cimv2:"
_KEY = re.compile(r'([A-Za-z_][A-Za-z0-9_]*)="((?:[^"\\]|\\["\\])*)"')


class MofError(Exception):
    """The text is not MOF, or a broker would refuse it; says where."""


class Class:
    """A declared class; names in the dictionaries are lower-case, as names ignore case."""

    def __init__(self, name, parent, qualifiers):
        self.name, self.parent, self.qualifiers = name, parent, qualifiers
        self.own = {}

    def properties(self):
        return {**(self.parent.properties() if self.parent else {}), **self.own}

    def is_a(self, name):
        return self.name.lower() == name.lower() or bool(self.parent and self.parent.is_a(name))


class Reading:
    """A whole text; `classes` by lower-case name, `instances` as (class name, {property name: value}) in order."""

    def __init__(self, text):
        self.tokens, self.place = _tokens(text), 0
        self.qualifiers, self.classes, self.instances = set(), {}, []
        self.paths = set()
        while self._kind() != "end":
            self._production()
        self._check_references()

    # --- tokens

    def _kind(self):
        return self.tokens[self.place][0]

    def _word(self):
        return self.tokens[self.place][1].lower() if self._kind() in ("name", "mark") else ""

    def _fail(self, why):
        raise MofError(f"line {self.tokens[self.place][2]}: {why}, at {self.tokens[self.place][1]!r}")

    def _take(self, kind):
        if self._kind() != kind:
            self._fail(f"a {kind} is expected")
        self.place += 1
        return self.tokens[self.place - 1][1]

    def _given(self, *words):
        """Takes the words when the first of them comes next; the others must follow."""
        if self._word() != words[0]:
            return False
        for word in words:
            if self._word() != word:
                self._fail(f"{word!r} is expected")
            self.place += 1
        return True

    def _need(self, *words):
        if not self._given(*words):
            self._fail(f"{words[0]!r} is expected")

    def _list(self, item, end):
        """One item or more, commas between."""
        found = [item()]
        while self._given(","):
            found.append(item())
        self._need(end)
        return found

    # --- grammar

    def _production(self):
        if self._given("qualifier"):
            return self._qualifier_declaration()
        qualifiers = self._qualifier_list()
        if self._given("instance", "of"):
            return self._instance()
        self._need("class")
        return self._class(qualifiers)

    def _qualifier_declaration(self):
        name = self._take("name").lower()
        self._need(":")
        self._type()
        is_array = self._array()
        if self._given("="):
            self._initializer(is_array)
        self._need(",", "scope", "(")
        if not set(self._list(lambda: self._take("name").lower(), ")")) <= _SCOPES:
            self._fail("unknown scope")
        if self._given(","):
            self._need("flavor", "(")
            if not set(self._list(lambda: self._take("name").lower(), ")")) <= _FLAVORS:
                self._fail("unknown flavor")
        self._need(";")
        self.qualifiers.add(name)

    def _type(self):
        name = self._take("name").lower()
        if name not in _TYPES:
            self._fail(f"{name} is no type")
        return name

    def _array(self):
        return self._given("[", "]")

    def _qualifier_list(self):
        return dict(self._list(self._qualifier, "]")) if self._given("[") else {}

    def _qualifier(self):
        name = self._take("name").lower()
        if name not in self.qualifiers:
            self._fail(f"qualifier {name} is not declared")
        if self._given("("):
            value = self._constant()
            self._need(")")
            return name, value
        return name, self._list_of_constants() if self._word() == "{" else True

    def _class(self, qualifiers):
        name = self._take("name")
        parent = self._known_class() if self._given(":") else None
        if name.lower() in self.classes:
            self._fail(f"class {name} is declared twice")
        if parent and "association" in parent.qualifiers and "association" not in qualifiers:
            self._fail("a class beneath an association is one too")
        if "association" in qualifiers and next(iter(qualifiers)) != "association":
            self._fail("the Association qualifier stands first")
        declared = Class(name, parent, qualifiers)
        self.classes[name.lower()] = declared
        self._need("{")
        while not self._given("}"):
            self._property(declared)
        self._need(";")

    def _known_class(self):
        name = self._take("name")
        if name.lower() not in self.classes:
            self._fail(f"class {name} is not declared")
        return self.classes[name.lower()]

    def _property(self, declared):
        qualifiers = self._qualifier_list()
        kind = self._take("name")
        if self._given("ref"):
            if kind.lower() not in self.classes or "association" not in declared.qualifiers:
                self._fail("a reference names a declared class, in an association")
            kind = ("ref", kind)
        elif kind.lower() not in _TYPES:
            self._fail(f"{kind} is no type")
        name = self._take("name")
        inherited = declared.properties().get(name.lower())
        if name.lower() in declared.own or (inherited and "override" not in qualifiers):
            self._fail(f"{name} is declared twice")
        is_key = "key" in qualifiers or bool(inherited and inherited[2])
        declared.own[name.lower()] = (kind if isinstance(kind, tuple) else kind.lower(), self._array(), is_key)
        self._need(";")

    def _instance(self):
        declared = self._known_class()
        if "abstract" in declared.qualifiers:
            self._fail(f"{declared.name} is abstract")
        known, values, names = declared.properties(), {}, {}
        self._need("{")
        while True:  # at least one
            self._qualifier_list()
            name = self._take("name")
            if name.lower() not in known or name.lower() in values:
                self._fail(f"{name} is unknown or given twice")
            self._need("=")
            values[name.lower()] = self._fitting(*known[name.lower()][:2])
            names[name] = values[name.lower()]
            self._need(";")
            if self._given("}"):
                break
        self._need(";")
        keys = tuple(sorted((key, values.get(key)) for key, row in known.items() if row[2]))
        if any(value is None for _, value in keys):
            self._fail("a key is missing")
        if (declared.name.lower(), keys) in self.paths:
            self._fail("an instance with these keys is there already")
        self.paths.add((declared.name.lower(), keys))
        self.instances.append((declared.name, names))

    # --- values

    def _initializer(self, is_array):
        return self._list_of_constants() if is_array else self._constant()

    def _list_of_constants(self):
        self._need("{")
        return self._list(self._constant, "}")

    def _constant(self):
        kind, text, _ = self.tokens[self.place]
        if kind == "string":
            value = ""
            while self._kind() == "string":  # adjacent ones are one
                value += _unescaped(self._take("string"))
            return value
        self.place += 1
        if kind == "integer":
            return int(text)
        if kind == "real":
            return float(text)
        if kind == "char":
            return _unescaped(text)
        if kind == "name" and text.lower() in ("true", "false", "null"):
            return {"true": True, "false": False, "null": None}[text.lower()]
        self.place -= 1
        return self._fail("a value is expected")

    def _fitting(self, kind, is_array):
        value = self._initializer(is_array)
        for element in value if is_array else [value]:
            if not _fits(element, kind):
                self._fail(f"{element!r} is no {kind}")
        return value

    def _check_references(self):
        for class_name, values in self.instances:
            known = self.classes[class_name.lower()].properties()
            for name, value in values.items():
                kind = known[name.lower()][0]
                if not isinstance(kind, tuple):
                    continue
                if not value.startswith(_NAMESPACE):
                    raise MofError(f"{class_name}.{name} names no namespace: {value}")
                named, _, keys = value[len(_NAMESPACE):].partition(".")
                target = self.classes.get(named.lower())
                pairs = _KEY.findall(keys)
                if not target or not target.is_a(kind[1]) or ",".join(f'{k}="{v}"' for k, v in pairs) != keys:
                    raise MofError(f"{class_name}.{name} does not refer to a {kind[1]}: {value}")
                path = tuple(sorted((key.lower(), re.sub(r"\\(.)", r"\1", text, flags=re.DOTALL)) for key, text in pairs))
                if (named.lower(), path) not in self.paths:
                    raise MofError(f"{class_name}.{name} refers to nothing: {value}")


def _tokens(text):
    found, place, line = [], 0, 1
    while place < len(text):
        match = _TOKEN.match(text, place)
        if not match:
            raise MofError(f"line {line}: {text[place:place + 30]!r} is no MOF")
        if match.lastgroup != "blank":
            found.append((match.lastgroup, match.group(), line))
        line += match.group().count("\n")
        place = match.end()
    return found + [("end", "the end", line)]


def _unescaped(quoted):
    def meaning(match):
        return chr(int(match.group(1), 16)) if match.group(1) else _LETTERS.get(match.group(2), match.group(2))

    return _ESCAPE.sub(meaning, quoted[1:-1])


def _fits(value, kind):
    if value is None:
        return True
    if isinstance(kind, tuple) or kind in ("string", "datetime"):
        return isinstance(value, str)
    if kind == "boolean":
        return isinstance(value, bool)
    if kind in _RANGES:
        low, high = _RANGES[kind]
        return isinstance(value, int) and not isinstance(value, bool) and low <= value <= high
    return isinstance(value, float) if kind.startswith("real") else isinstance(value, str) and len(value) == 1


def read_mof(data):
    """Reads bytes that must be UTF-8."""
    return Reading(data.decode("utf-8"))
