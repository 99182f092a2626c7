"""Lists that follow a rule, for machine.json and expected.json: an element {"for": ..., "each": ...} becomes many."""

import ast
import itertools
import operator
import re

OPERATIONS = {ast.Add: operator.add, ast.Sub: operator.sub, ast.Mult: operator.mul}
PLACE = re.compile(r"\{([^{}]*)\}")


class RepetitionError(ValueError):
    """The rule cannot be understood."""


def _values(text):
    """The numbers of "1..128", the letters of "a..z"."""
    numbers = re.fullmatch(r"(\d+)\.\.(\d+)", text) if isinstance(text, str) else None
    letters = re.fullmatch(r"([a-z])\.\.([a-z])", text) if isinstance(text, str) else None
    if numbers:
        found = range(int(numbers.group(1)), int(numbers.group(2)) + 1)
    elif letters:
        found = [chr(code) for code in range(ord(letters.group(1)), ord(letters.group(2)) + 1)]
    else:
        found = ()
    if not found:
        raise RepetitionError(f'a range is written like "1..128" or "a..z", not {text!r}')
    return found


def _calculate(node, names):
    if isinstance(node, ast.Name) and node.id in names:
        return names[node.id]
    if isinstance(node, ast.Constant) and type(node.value) is int:
        return node.value
    if isinstance(node, ast.BinOp) and type(node.op) in OPERATIONS:
        sides = _calculate(node.left, names), _calculate(node.right, names)
        if all(isinstance(side, int) for side in sides):
            return OPERATIONS[type(node.op)](*sides)
    raise RepetitionError(f"braces hold a name of the rule or a sum, difference or product of numbers, not {ast.unparse(node)!r}")


def _result(text, names):
    try:
        return _calculate(ast.parse(text.strip(), mode="eval").body, names)
    except SyntaxError:
        raise RepetitionError(f"braces hold an expression, not {text!r}") from None


def _filled(value, names):
    """The value with each {expression} replaced; a text that is nothing but one becomes its number."""
    if isinstance(value, dict):
        return {key: _filled(item, names) for key, item in value.items()}
    if isinstance(value, list):
        return [_filled(item, names) for item in value]
    if not isinstance(value, str):
        return value
    whole = PLACE.fullmatch(value)
    if whole:
        return _result(whole.group(1), names)
    return PLACE.sub(lambda place: str(_result(place.group(1), names)), value)


def _repeated(rule):
    if set(rule) != {"for", "each"} or not isinstance(rule["for"], dict) or not isinstance(rule["each"], list):
        raise RepetitionError('a rule has just "for", an object of ranges, and "each", a list')
    for values in itertools.product(*map(_values, rule["for"].values())):  # the last name changes fastest
        yield from _filled(rule["each"], dict(zip(rule["for"], values)))


def expand(value):
    """The value with the rules in its lists carried out. Outside rules braces are plain text."""
    if isinstance(value, dict):
        return {key: expand(item) for key, item in value.items()}
    if not isinstance(value, list):
        return value
    found = []
    for item in value:
        if isinstance(item, dict) and "for" in item:
            found.extend(_repeated(item))
        else:
            found.append(expand(item))
    return found
