"""Small wrong changes that take more than one place: statements and arguments exchanged, loops that end elsewhere, guards
and bounds left out."""

import re

import source_tree

JUMP = re.compile(r"(?:return|continue|break|throw)\b")
COMPOUND = re.compile(r"(if|for|while)\b[^(;{}]*\(")
WORDS = re.compile(r"(?:if|for|while|switch|catch|return|sizeof|decltype|alignof|static_assert|defined)$")
PARAMETER = re.compile(r"^(?:const\s+)?[\w:]+(?:<.*>)?(?:\s+const)?[\s*&]+\w*(?:\s*=.*)?$", re.DOTALL)
NAME_TYPE = re.compile(r"(?:const|constexpr|static|auto|unsigned|struct|std::\w+|[A-Z]\w+(?:<.*>)?|int|bool|char|\w+_t|mntent)\b"
                       r"[\s\w:<>,*&]*[\s*&]\w+\s*(?:[;={(\[]|$)")
RELATION = re.compile(r" (<|<=) ")


def add_all(content, code, add):
    """Passes every change to `add` as kind, begin, end and replacement text. `code` is the content with
    blanks for comments and texts."""
    code = re.sub(r"^[ \t]*#.*$", lambda match: " " * len(match.group(0)), code, flags=re.MULTILINE)
    code = _with_filled_texts(content, code)
    for opening in (place for place, character in enumerate(code) if character == "{"):
        _add_swaps(content, code, list(_statements(code, opening + 1)), add)
    for begin, end in _calls(code):
        _add_arguments(content, code, begin, end, add)
    for match in COMPOUND.finditer(code):
        end = closing(code, match.end() - 1)
        if match.group(1) == "if":
            _add_guard(code, match.start(), end, add)
        else:
            _add_bounds(content, code, match, end, add)


def _with_filled_texts(content, code):
    """Quotation marks in place of texts: a text argument is seen, but its content is not taken for code."""
    kept = source_tree.blank(content, keep_strings=True)
    return "".join('"' if shown == " " != text else shown for shown, text in zip(code, kept))


def _add_swaps(content, code, statements, add):
    """Two neighbours in a block. One of them does something: declarations alone may be in any order that compiles."""
    for (begin, middle), (next_begin, end) in zip(statements, statements[1:]):
        first, second = code[begin:middle], code[next_begin:end]
        if any(JUMP.match(one) or one.startswith("static_assert") for one in (first, second)) or \
                 _declares(first) and _declares(second):
            continue
        if re.sub(r"\s", "", content[begin:middle]) != re.sub(r"\s", "", content[next_begin:end]):
            add("swapped", begin, end, content[next_begin:end] + content[middle:next_begin] + content[begin:middle])


def _add_arguments(content, code, begin, end, add):
    """Two neighbours between the parentheses of a call change places; of std::min and std::max one is left out."""
    arguments = split(code, begin, end, ",")
    if len(arguments) < 2:
        return
    name = re.search(r"std::(?:min|max)(?:<[^()]*>)?$", code[:begin - 1])
    if name and len(arguments) == 2:
        for first, last in arguments:
            add("bound", name.start(), end + 1, f"({content[first:last]})")
        return  # the order makes no difference
    for (first, first_end), (second, second_end) in zip(arguments, arguments[1:]):
        texts = content[first:first_end], content[second:second_end]
        if texts[0] != texts[1]:
            add("argument", first, second_end, texts[1] + content[first_end:second] + texts[0])


def _add_bounds(content, code, match, end, add):
    """A loop loses one of its end conditions, or ends one step early."""
    begin = match.end()
    if match.group(1) == "for":
        parts = split(code, begin, end, ";", keep_empty=True)
        if len(parts) != 3 or parts[1][0] == parts[1][1]:
            return
        begin, end = parts[1]
    condition = code[begin:end]
    if NAME_TYPE.match(condition) and " = " in condition:
        return  # a condition that declares
    parts = split(code, begin, end, "&&")
    for number in range(len(parts)):
        left = [content[first:last] for place, (first, last) in enumerate(parts) if place != number]
        add("loop", begin, end, " && ".join(left) or "true")
    for first, last in parts:
        relation = RELATION.search(code, first, last)
        if relation:
            add("loop", relation.end(), last, f"({content[relation.end():last]}) - 1")


def _add_guard(code, begin, end, add):
    """An if without else that ends in a jump is removed, with the effects of its condition."""
    if re.search(r"\belse\s*$", code[:begin]):
        return
    inner = _skip_blanks(code, end + 1)
    last = statement_end(code, inner)
    if last is None or re.match(r"\s*else\b", code[last:]):
        return
    statements = list(_statements(code, inner + 1)) if code[inner] == "{" else [(inner, last)]
    # Without a call in it the condition does nothing: dropping the jump alone is the same.
    does_more = len(statements) > 1 or re.search(r"\w\s*\(|\+\+|--|[^=!<>]=[^=]", code[begin + 2:end].lstrip(" ("))
    if statements and JUMP.match(code[statements[-1][0]:]) and does_more:
        add("guard", begin, last, ";" if re.search(r"\)\s*$", code[:begin]) else "")


def _declares(statement):
    return NAME_TYPE.match(statement) is not None


def _calls(code):
    """(begin, end) of the argument lists of calls; parameter lists do not count."""
    for match in re.finditer(r"([\w>])\(", code):
        name = re.search(r"[\w:]*$", code[:match.start(1) + 1]).group(0)
        end = closing(code, match.end() - 1)
        if WORDS.match(name) or end is None:
            continue
        arguments = [code[first:last] for first, last in split(code, match.end(), end, ",")]
        if re.match(r"\s*(?:const|noexcept|override)?\s*[{:](?!:)", code[end + 1:]) or \
                all(PARAMETER.match(argument) for argument in arguments):
            continue
        yield match.end(), end


def _statements(code, place):
    """(begin, end) of the statements from here to the end of the block; or to the first construct that is not a statement."""
    while True:
        place = _skip_blanks(code, place)
        end = statement_end(code, place)
        if end is None:
            return
        yield place, end
        place = end


def statement_end(code, begin):
    """The end of the statement that begins here; None without one."""
    if begin >= len(code) or code[begin] == "}":
        return None
    if code[begin] == "{":
        last = closing(code, begin)
        return None if last is None else last + 1
    match = COMPOUND.match(code, begin)
    if match:
        last = closing(code, match.end() - 1)
        end = None if last is None else statement_end(code, _skip_blanks(code, last + 1))
        other = re.compile(r"\s*else\b\s*").match(code, end) if end else None
        return statement_end(code, other.end()) if other else end
    if re.match(r"(?:do|try|switch|case|default|else|struct|class|enum|public|private|protected|namespace|template)\b",
                code[begin:]):
        return None
    depth = 0
    for place in range(begin, len(code)):
        depth += 1 if code[place] in "([{" else -1 if code[place] in ")]}" else 0
        if depth < 0:
            return None
        if code[place] == ";" and depth == 0:
            return place + 1
    return None


def split(code, begin, end, separator, keep_empty=False):
    """(begin, end) of the parts without the blanks around them; separators within brackets do not count."""
    parts, depth, first, place = [], 0, begin, begin
    while place < end:
        depth += 1 if code[place] in "([{" else -1 if code[place] in ")]}" else 0
        if separator == "," and code[place] in "<>" and code[place - 1:place] not in ("-", " ", "<"):
            depth += 1 if code[place] == "<" else -1  # template brackets have no blank in front
        if depth == 0 and code.startswith(separator, place):
            parts.append((first, place))
            first = place = place + len(separator)
            continue
        place += 1
    parts.append((first, end))
    trimmed = []
    for first, last in parts:
        inside = code[first:last]
        first, last = first + len(inside) - len(inside.lstrip()), first + len(inside.rstrip())
        if first < last or keep_empty:
            trimmed.append((min(first, last), last))
    return trimmed


def closing(code, opening):
    """Where the bracket that opens here is closed; None when it is never closed."""
    depth = 0
    for place in range(opening, len(code)):
        depth += 1 if code[place] in "([{" else -1 if code[place] in ")]}" else 0
        if depth == 0:
            return place
    return None


def _skip_blanks(code, place):
    while place < len(code) and code[place].isspace():
        place += 1
    return place
