"""Every answer keeps to the declared elements and types, so that clients that check them read it."""

import http.client
import re
import subprocess
import xml.etree.ElementTree as ElementTree
from pathlib import Path

import pytest

from cim_message import message, of_class, parameter

GRAMMAR = Path(__file__).with_name("answers.dtd")
RANGES = {f"{sign}int{bits}": ((0, 2 ** bits) if sign == "u" else (-2 ** (bits - 1), 2 ** (bits - 1)))
          for sign in "us" for bits in (8, 16, 32, 64)}
FORMS = {"boolean": r"TRUE|FALSE", "datetime": r"\d{14}\.[\d*]{6}([+-]\d{3}|:000)", "real32": r"\S+", "real64": r"\S+",
         "string": r"[\s\S]*", "char16": r"[\s\S]"}
DETAILS = {"LocalOnly": "FALSE", "IncludeQualifiers": "TRUE", "IncludeClassOrigin": "TRUE"}


def flags(*names):
    return "".join(parameter(name, f"<VALUE>{DETAILS.get(name, 'TRUE')}</VALUE>") for name in names)


def is_of_type(text, declared):
    if declared in RANGES:
        low, end = RANGES[declared]
        return re.fullmatch(r"-?\d+", text) is not None and low <= int(text) < end
    return re.fullmatch(FORMS[declared], text) is not None


class Reader:
    """Asks an endpoint and reads each answer as a strict client does."""

    def __init__(self, endpoint):
        self.connection = http.client.HTTPConnection("127.0.0.1", endpoint.port, timeout=60)

    def ask(self, operation, *parameters, code=None):
        """The answer, which is an error of that code or none."""
        request = message(operation, *parameters)
        self.connection.request("POST", "/cimom", request.encode("utf-8"), {
            "Content-Type": 'application/xml; charset="utf-8"', "CIMOperation": "MethodCall", "CIMMethod": operation,
            "CIMObject": "root/cimv2", "Accept-Encoding": "identity"})
        answer = self.connection.getresponse()
        body = answer.read()
        assert answer.status == 200, body
        checked = subprocess.run(["xmllint", "--nonet", "--noout", "--huge", "--dtdvalid", str(GRAMMAR), "-"],
                                 input=body, capture_output=True, check=False)
        assert checked.returncode == 0, (operation, parameters, checked.stderr[:2000])
        root = ElementTree.fromstring(body)
        self.look_at_types(root)
        assert root.find(".//IMETHODRESPONSE").get("NAME") == operation and root.find("MESSAGE").get("ID") == "1001"
        assert [error.get("CODE") for error in root.iter("ERROR")] == ([code] if code else []), (operation, parameters)
        return root

    @staticmethod
    def look_at_types(root):
        for element in root.iter():
            declared = element.get("TYPE")
            if element.tag == "KEYVALUE" and declared:
                kind = "numeric" if re.search("int|real", declared) else "boolean" if declared == "boolean" else "string"
                assert element.get("VALUETYPE") == kind, element.attrib
            if not declared:
                continue
            values = element.findall("VALUE") + element.findall("VALUE.ARRAY/VALUE")
            values += [element] if element.tag == "KEYVALUE" else []
            for value in values:
                assert is_of_type(value.text or "", declared), (element.attrib, value.text)


@pytest.mark.parametrize("name", ["hostile-names", "whole-server", "mount-table"])
def test_answers_keep_to_the_declared_elements_and_types(endpoint, name):
    reader = Reader(endpoint(name))
    reader.ask("EnumerateClassNames", flags("DeepInheritance"))
    classes = reader.ask("EnumerateClasses", flags("DeepInheritance", *DETAILS))
    reader.ask("EnumerateClasses")
    assert len(list(classes.iter("CLASS"))) > 17
    for cls in classes.iter("CLASS"):
        of = cls.get("NAME")
        reader.ask("GetClass", of_class(of))
        reader.ask("EnumerateInstanceNames", of_class(of))
        reader.ask("EnumerateInstances", of_class(of), flags("DeepInheritance", *DETAILS))
        reader.ask("AssociatorNames", of_class(of, "ObjectName"))
        reader.ask("References", of_class(of, "ObjectName"), flags("IncludeQualifiers", "IncludeClassOrigin"))
    found = reader.ask("EnumerateInstanceNames", of_class("CIM_ManagedElement"))
    found = list(found.iter("INSTANCENAME")) + list(
        reader.ask("EnumerateInstanceNames", of_class("CIM_Dependency")).find(".//IRETURNVALUE"))
    assert len(found) > 5
    for instance in found:
        named = ElementTree.tostring(instance, encoding="unicode")
        reader.ask("GetInstance", parameter("InstanceName", named), flags(*DETAILS))
        for operation in ("Associators", "AssociatorNames", "References", "ReferenceNames"):
            reader.ask(operation, parameter("ObjectName", named))


def test_errors_keep_to_the_declared_elements(endpoint):
    reader = Reader(endpoint("hostile-names"))
    for operation, parameters, code in [
            ("GetClass", of_class("VEXSG_Nothing"), "5"), ("GetClass", "", "4"),
            ("GetInstance", parameter("InstanceName", '<INSTANCENAME CLASSNAME="VEXSG_DiskDrive"/>'), "6"),
            ("EnumerateQualifiers", "", "7"), ("OpenEnumerateInstances", of_class("VEXSG_DiskDrive"), "7"),
            ("ExecQuery", "", "7"), ("GetClass", of_class('x&quot;&lt;&amp;'), "5")]:
        reader.ask(operation, parameters, code=code)
