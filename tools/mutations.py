"""Small wrong changes of C++ text: comparisons, numbers, conditions, statements, texts. Knows nothing of builds."""

import re
from collections import Counter
from dataclasses import dataclass, replace

import mutation_shapes
import source_tree


@dataclass(frozen=True)
class Mutant:
    """One change: the characters from `begin` to `end` of the file become `text`."""
    path: str
    begin: int
    end: int
    text: str
    kind: str
    line: int
    before: str  # the text that is replaced
    context: str  # the line that it begins in
    rank: str = ""  # "2 of 3": of the places in the file where the same change of the same line can be made

    def applied_to(self, content):
        return content[:self.begin] + self.text + content[self.end:]

    @property
    def change(self):
        return f"{self.kind}: `{_short(self.before)}` becomes `{_short(self.text)}`"

    @property
    def key(self):
        """Names exactly this change, even after lines were added above it."""
        return " | ".join(part for part in (self.path, self.context, self.change, self.rank) if part)

    def __str__(self):
        return f"{self.path}:{self.line}: {self.change}"


def _short(text):
    text = " ".join(text.split())
    return text if len(text) <= 90 else text[:60] + " ... " + text[-25:]


# clang-format puts blanks around binary operators and none inside template brackets.
SWAPS = [
    ("comparison", re.compile(r"(?<= )(==|!=|<=|>=|<|>)(?=\s)"),
     {"==": ["!="], "!=": ["=="], "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"]}),
    ("logic", re.compile(r"(?<= )(&&|\|\|)(?=\s)"), {"&&": ["||"], "||": ["&&"]}),
    ("arithmetic", re.compile(r"(?<= )(\+|-|\*|/)(?= )"), {"+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"]}),
    ("assignment", re.compile(r"(?<= )(\+=|-=)(?= )"), {"+=": ["-="], "-=": ["+="]}),
    ("step", re.compile(r"(\+\+|--)(?=\w)"), {"++": ["--"], "--": ["++"]}),
    ("truth", re.compile(r"\b(true|false)\b"), {"true": ["false"], "false": ["true"]}),
]
NUMBER = re.compile(r"(?<![\w.])(0x[0-9a-fA-F]+|\d+)([uUlL]*)\b(?!\.)")
STRING = re.compile(r'"((?:\\.|[^"\\\n])*)"')
CONDITION = re.compile(r"\b(if|while) (?:constexpr )?\(")
CHOICE = re.compile(r" \? ")
# A declaration cannot be dropped without its users: it begins with one of these, or with a type and a name.
DECLARATION = re.compile(r"(?:const|constexpr|static|auto|using|namespace|struct|class|template|typedef|public|private|"
                         r"unsigned|char|int|bool|else|case|default|enum|catch|for|if|while|do|try|friend|static_assert)\b|"
                         r"[\w:]+(?:<.*>)?[\s*&]+(?:const\s+)?\w+\s*(?:[;={(\[]|$)")
SKIPPED_LINE = re.compile(r"\s*#|.*\bstatic_assert\b|\s*(?:using|namespace)\b")


def find(path, content):
    """Every mutant of a file, in the order of their places."""
    code = source_tree.blank(content)
    found = []

    def add(kind, begin, end, text):
        line = content.count("\n", 0, begin) + 1
        context = content.split("\n")[line - 1]
        if not SKIPPED_LINE.match(context):
            found.append(Mutant(path, begin, end, text, kind, line, content[begin:end], context.strip()))

    for kind, pattern, others in SWAPS:
        for match in pattern.finditer(code):
            for other in others[match.group(1)]:
                add(kind, match.start(1), match.end(1), other)
    for match in NUMBER.finditer(code):
        value = int(match.group(1), 0)
        as_before = hex if match.group(1).startswith("0x") else str
        add("number", match.start(1), match.end(1), as_before(value + 1))
        if value > 0:
            add("number", match.start(1), match.end(1), as_before(value - 1))
    for match in CONDITION.finditer(code):
        end = _closing(code, match.end() - 1)
        inside = content[match.end():end]
        if not re.match(r"const\b|auto\b", inside):  # a condition that declares cannot be negated in place
            add("condition", match.end(), end, f"!({inside})")
    for match in CHOICE.finditer(code):
        add("choice", match.start(), match.end(), " && false ? ")
        add("choice", match.start(), match.end(), " || true ? ")
    for begin, end in _statements(code):
        dropped = ";" if content[end - 1] == ";" else ""
        add("dropped", begin, end, dropped)
    _add_texts(content, code, add)
    mutation_shapes.add_all(content, code, add)
    return _ranked(sorted(found, key=lambda mutant: (mutant.begin, mutant.end, mutant.text)))


def _ranked(found):
    total = Counter(mutant.key for mutant in found)
    seen = Counter()
    ranked = []
    for mutant in found:
        seen[mutant.key] += 1
        rank = f"{seen[mutant.key]} of {total[mutant.key]}" if total[mutant.key] > 1 else ""
        ranked.append(replace(mutant, rank=rank))
    return ranked


def _add_texts(content, code, add):
    """A text becomes another one of the same file, and a text with one character more."""
    kept = source_tree.blank(content, keep_strings=True)
    texts = [match for match in STRING.finditer(kept) if code[match.start()] == " " and
             not kept[kept.rfind("\n", 0, match.start()) + 1:].lstrip().startswith("#")]
    different = sorted({match.group(0) for match in texts})
    for match in texts:
        if len(different) > 1:
            other = different[(different.index(match.group(0)) + 1) % len(different)]
            add("text", match.start(), match.end(), other)
        add("text", match.start(), match.end(), match.group(0)[:-1] + 'x"')


def _closing(code, opening):
    depth = 0
    for place in range(opening, len(code)):
        depth += {"(": 1, ")": -1}.get(code[place], 0)
        if depth == 0:
            return place
    raise ValueError("a parenthesis that nothing closes")


def _statements(code):
    """(begin, end) of the statements that can be left out: calls, assignments, jumps. Declarations cannot, nor the
    return that ends a function with a value."""
    code = re.sub(r"^[ \t]*#.*$", lambda match: " " * len(match.group(0)), code, flags=re.MULTILINE)
    opened_at = _innermost(code)
    for match in re.finditer(r"(?:(?<=[;{})])|(?<=\belse))(\s*)(?=[\w(*+-])", code):
        begin = match.end()
        opening = opened_at[begin]
        if opening is None or code[opening] != "{":
            continue  # between parentheses
        end = _end_of_statement(code, begin)
        if end is None or not _can_be_dropped(code[begin:end]):
            continue
        if code[begin:end].startswith("return ") and code[end:].lstrip().startswith("}") and \
                not _is_block(code[:opening]) and not _is_guarded(code, begin):
            continue
        if code[:begin].rstrip().endswith(")") and not _is_guarded(code, begin):
            continue
        yield begin, end


def _can_be_dropped(statement):
    if re.match(r"(?:return|continue|break|throw)\b", statement):
        return True
    return not DECLARATION.match(statement) and re.search(r"[(=]|\+\+|--", statement) is not None


def _innermost(code):
    """For every place, the opening of the innermost bracket around it; None outside."""
    opened, places = [], []
    for place, character in enumerate(code):
        places.append(opened[-1] if opened else None)
        if character in "([{":
            opened.append(place)
        elif character in ")]}" and opened:
            opened.pop()
    return places


def _is_block(in_front):
    """Whether a brace opened behind this text holds a statement's block, not a function."""
    in_front = in_front.rstrip()
    return re.search(r"\b(?:else|do|try)$", in_front) is not None or \
        in_front.endswith(")") and _is_guarded(in_front, len(in_front))


def _is_guarded(code, begin):
    """Whether the statement here belongs to an if, for, while or catch."""
    place, depth = len(code[:begin].rstrip()) - 1, 0
    if place < 0 or code[place] != ")":
        return re.search(r"\belse$", code[:begin].rstrip()) is not None
    while place >= 0:
        depth += {")": 1, "(": -1}.get(code[place], 0)
        if depth == 0:
            return re.search(r"\b(?:if|for|while|catch)\s*$", code[:place]) is not None
        place -= 1
    return False


def _end_of_statement(code, begin):
    """The end after the semicolon; None when it is not a plain statement."""
    depth = 0
    for place in range(begin, len(code)):
        if code[place] in "([{":
            depth += 1
        elif code[place] in ")]}":
            depth -= 1
            if depth < 0:
                return None
        elif code[place] == ";" and depth == 0:
            return place + 1
    return None
