"""Every reading operation of wbemcli over described machines: it prints what the command publishes, letter for letter."""

import pytest

from published import ASSOCIATIONS, DEVICES, Published

MACHINES = ["hostile-names", "whole-server", "management-controller", "nvme-without-nodes", "ambiguous-names", "mount-table"]


@pytest.fixture(scope="module")
def published(diskmgt):
    """published(name) is what the command publishes on that machine."""
    known = {}

    def of(name):
        if name not in known:
            known[name] = Published(diskmgt, name)
        return known[name]

    return of


@pytest.fixture(params=MACHINES)
def both(request, wbemcli, published):
    """The client, and what is published on the machine that it asks."""
    return wbemcli(request.param), published(request.param)


@pytest.fixture
def host(machine, request):
    """The name of the machine, which paths begin with."""
    return machine(request.node.callspec.params["both"]).machine.hostname


def names(place, instances):
    return "".join(f"{place}:{one.name}\n" for one in instances)


def wholes(place, instances, wanted=None):
    return "".join(f"{place}:{one.name} {','.join(one.values(wanted))}\n" for one in instances)


def test_ein_prints_the_names_of_all_instances(both):
    client, expected = both
    for cls in DEVICES + ASSOCIATIONS:
        assert client.run("ein", path=f":{cls}") == names(client.place, expected.of(cls))
    assert client.run("ein", path=":CIM_LogicalDevice") == names(client.place, expected.devices())


def test_the_system_that_all_belong_to_is_an_instance_too(both):
    client, _ = both
    printed = client.run("ein", path=":VEXSG_ComputerSystem")
    assert printed.count("\n") == 1 and printed.startswith(f"{client.place}:VEXSG_ComputerSystem.")
    assert client.run("ein", path=":CIM_ComputerSystem") == printed


def test_ei_prints_all_instances(both):
    client, expected = both
    for cls in DEVICES + ASSOCIATIONS:
        assert client.run("ei", path=f":{cls}") == wholes(client.place, expected.of(cls))
    every = expected.devices()
    assert client.run("ei", path=":cim_logicaldevice", lists=["elementname,DEVICEID"]) == \
        wholes(client.place, every, ["DeviceID", "ElementName"])


def test_gi_finds_every_instance_by_its_name(both):
    client, expected = both
    for one in expected.devices() + [pair for cls in ASSOCIATIONS for pair in expected.of(cls)]:
        printed = client.run("gi", path=f":{one.typed}")  # the name as it was given, then the instance
        assert printed.startswith(f"{client.place}:{one.class_name}.")
        assert printed.endswith(f" {','.join(one.values())}\n")


def test_ain_and_ai_print_what_an_instance_is_associated_with(both, host):
    client, expected = both
    for one in expected.devices():
        far = expected.associators(one.name)
        assert client.run("ain", path=f":{one.typed}") == names(f"{host}/root/cimv2", far)
        assert client.run("ai", path=f":{one.typed}") == wholes(f"{host}/root/cimv2", far)


def test_ain_takes_every_filter(both, host):
    client, expected = both
    for one in expected.of("VEXSG_DiskPartition"):
        for options, filters in [
                (["-ac", "VEXSG_PartitionPresent"], {"association": "VEXSG_PartitionPresent"}),
                (["-arc", "VEXSG_LogicalDisk"], {"result": "VEXSG_LogicalDisk"}),
                (["-ar", "dependent"], {"role": "Dependent"}),
                (["-arr", "Dependent"], {"role": "Antecedent"}),
                (["-ac", "CIM_MediaPresent", "-arr", "Antecedent"], {"association": "VEXSG_PartitionPresent"})]:
            far = expected.associators(one.name, **filters)
            assert client.run("ain", *options, path=f":{one.typed}") == names(f"{host}/root/cimv2", far)


def test_rin_and_ri_print_the_pairs_of_an_instance(both, host):
    client, expected = both
    for one in expected.devices():
        pairs = expected.references(one.name)
        assert client.run("rin", path=f":{one.typed}") == names(f"{host}/root/cimv2", pairs)
        assert client.run("ri", path=f":{one.typed}") == wholes(f"{host}/root/cimv2", pairs)
        assert client.run("rin", "-ar", "Antecedent", path=f":{one.typed}") == \
            names(f"{host}/root/cimv2", expected.references(one.name, role="Antecedent"))


@pytest.mark.parametrize("both", ["whole-server"], indirect=True)
class TestClasses:
    def test_ecn_prints_every_class(self, both, diskmgt):
        client, _ = both
        declared = [cls["name"] for cls in diskmgt("whole-server", "classes")["classes"]]
        assert client.run("ecn") == "".join(f"{client.place}:{name}\n" for name in declared)

    def test_ec_and_gc_print_classes_with_their_properties(self, both, diskmgt):
        client, _ = both
        for cls in DEVICES + ASSOCIATIONS:
            declared = diskmgt("whole-server", "classes", cls)
            printed = f"{client.place}:{cls} " + ",".join(one["name"] + "=" for one in declared["properties"]) + "\n"
            assert client.run("gc", path=f":{cls}") == printed
            assert client.run("ec", path=f":{declared['superclass']}").count(printed) == 1

    def test_gcd_prints_the_class_as_it_was_sent(self, both):
        client, _ = both
        printed = client.run("gcd", path=":vexsg_diskdrive")
        assert printed.startswith('<CLASS NAME="VEXSG_DiskDrive" SUPERCLASS="VEXSG_MediaAccessDevice"><PROPERTY ')

    def test_ain_and_rin_of_a_class_print_classes(self, both, host):
        client, _ = both
        assert client.run("rin", "-arc", "CIM_MediaPresent", path=":VEXSG_DiskPartition") == \
            "".join(f"{host}/root/cimv2:{name}.\n" for name in ("CIM_MediaPresent", "VEXSG_PartitionPresent"))
        assert client.run("ain", "-ac", "VEXSG_PartitionPresent", path=":VEXSG_DiskPartition") == \
            f"{host}/root/cimv2:VEXSG_MediaAccessDevice.\n"
        assert client.run("ai", "-ac", "VEXSG_PartitionPresent", path=":VEXSG_DiskPartition").startswith(
            f"{host}/root/cimv2:VEXSG_MediaAccessDevice. SystemCreationClassName=,")
        assert client.run("ri", "-arc", "VEXSG_PartitionPresent", path=":VEXSG_DiskPartition") == \
            f"{host}/root/cimv2:VEXSG_PartitionPresent. Antecedent=,Dependent=\n"

    def test_errors_have_their_number_and_a_sentence(self, both):
        client, expected = both
        one = expected.of("VEXSG_DiskDrive")[0]
        for options, path, lists, said in [
                (["ei"], ":VEXSG_Nothing", [], "(5) CIM_ERR_INVALID_CLASS: There is no class \"VEXSG_Nothing\"."),
                (["gi"], ':VEXSG_DiskDrive.DeviceID="/dev/sda"', [], "(6) CIM_ERR_NOT_FOUND: There is no such instance."),
                (["gi"], ":VEXSG_DiskDrive.Colour=5", [],
                 "(4) CIM_ERR_INVALID_PARAMETER: \"Colour\" is not a key of VEXSG_DiskDrive."),
                (["gp"], f":{one.typed}", ["Size"], "(7) CIM_ERR_NOT_SUPPORTED: \"GetProperty\" is not offered here."),
                (["di"], f":{one.typed}", [], "(7) CIM_ERR_NOT_SUPPORTED: \"DeleteInstance\" is not offered here.")]:
            assert said in client.run(*options, path=path, lists=lists, status=16)

    def test_another_namespace_is_an_error(self, both):
        client, _ = both
        client.place = client.place.replace("cimv2", "interop")
        assert "(3) CIM_ERR_INVALID_NAMESPACE" in client.run("ecn", status=16)

    def test_a_request_that_is_not_cim_is_refused(self, both):
        client, _ = both
        assert "HTTP" in client.run("gi", path=':VEXSG_DiskDrive.DeviceID="<b>"', status=16)
