"""The operations that the plug-in imports from the host's two libraries. All are bound when it is loaded, so a host that
lacks one of them cannot load it; and a host exports only these.
"""
import re

import library

STRING = "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >"
STRINGS = f"std::vector<{STRING}, std::allocator<{STRING} > >"
NAMESPACE = "boost::shared_ptr<NVEXTAL20::ICIMNamespace>"
TYPE = "NVEXTAL20::TCIMValue::TCIMType"
VALUE = "NVEXTAL20::TCIMValue"

OPERATIONS = {
    "NVEXTAL20::TRootObject::GetPluginManager()",
    "NVEXTAL20::TRootObject::GetCoreLogger()",
    "NVEXTAL20::TPluginManagerNamespace::RegisterPlugin(NVEXTAL20::IPluginCallbacks*)",
    f"NVEXTAL20::TCIMSchemaHelper::GetSystemName[abi:cxx11]({NAMESPACE})",
    f"NVEXTAL20::TCIMSchemaHelper::GetSystemCreationClassName[abi:cxx11]({NAMESPACE})",
    f"NVEXTAL20::TOSSpecific::SpawnProcess({STRING}, {STRINGS}, int)",
    f"NVEXTAL20::TOSSpecific::CaptureFile({STRING})",
    f"NVEXTAL20::TOSSpecific::FileExists({STRING})",
    f"NVEXTAL20::TOSSpecific::getBmcVirtualDevices(int, {STRINGS}&, bool)",
    f"{VALUE}::TCIMValue()",
    f"{VALUE}::TCIMValue({STRING})",
    f"{VALUE}::TCIMValue(NVEXTAL20::TCIMReference&)",
    f"{VALUE}::TCIMValue({TYPE}, {STRING}&, {NAMESPACE})",
    f"{VALUE}::TCIMValue({VALUE} const&)",
    f"{VALUE}::operator=({VALUE} const&)",
    f"{VALUE}::~TCIMValue()",
    f"{VALUE}::Set({TYPE}, unsigned int, std::vector<{VALUE}, std::allocator<{VALUE}> > const&)",
    f"{VALUE}::IsNull() const",
    f"{VALUE}::operator {STRING}() const",
    f"{TYPE}::TCIMType({STRING})",
    f"{TYPE}::TCIMType({TYPE} const&)",
    f"{TYPE}::ToString[abi:cxx11]() const",
    "NVEXTAL20::TCIMReference::~TCIMReference()",
}
TYPE_INFORMATION = re.compile(r"(typeinfo|typeinfo name|vtable) for ")


def taken_from_the_host():
    """A symbol of the host's namespace, or any symbol that only the host's libraries define."""
    of_the_host = set().union(*(library.defined(path) for path in library.HOST_LIBRARIES))
    names = library.readable(library.imports() & of_the_host)
    names |= {name for name in library.readable(library.imports()) if "NVEXTAL20::" in name}
    return {name for name in names if not TYPE_INFORMATION.match(name)}


def test_no_operation_is_imported_but_these():
    assert taken_from_the_host() - OPERATIONS == set()


def test_each_of_these_operations_is_imported():
    assert OPERATIONS - taken_from_the_host() == set()
