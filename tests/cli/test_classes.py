"""classes: the schema in every format."""
import pytest


def test_tree(run):
    done = run("classes")
    assert (done.status, done.stderr) == (0, b"")
    lines = done.text.splitlines()
    assert lines[1].startswith("CIM_ManagedElement") and lines[1].endswith("abstract")
    (drive,) = [line for line in lines if "─VEXSG_DiskDrive " in line]
    assert drive.endswith("yes") and sum(line.endswith("yes") for line in lines) == 17
    (dependency,) = [line for line in lines if line.startswith("CIM_Dependency")]
    assert dependency.endswith("abstract association")


@pytest.mark.parametrize("asked", [[], ["VEXSG_DiskPartition"]])
def test_no_line_ends_in_blanks(run, asked):
    assert all(line == line.rstrip() for line in run("classes", *asked).text.splitlines())


def test_class_is_below_its_superclass(run):
    lines = run("classes").text.splitlines()
    parent = next(i for i, line in enumerate(lines) if "─CIM_MediaPresent" in line)
    assert {"VEXSG_MediaPresent", "VEXSG_PartitionPresent"} == {
        lines[parent + 1].split("─")[1].split()[0], lines[parent + 2].split("─")[1].split()[0]}


def test_tree_without_line_characters(run):
    done = run("classes", LC_ALL="C")
    assert done.stdout.isascii()
    assert "`-" in done.text


def test_list_as_json(run):
    document = run("classes", "--format", "json").json
    classes = {entry["name"]: entry for entry in document["classes"]}
    assert document["namespace"] == "root/cimv2"
    assert classes["CIM_ManagedElement"]["superclass"] is None
    assert classes["CIM_Dependency"]["abstract"] and classes["CIM_Dependency"]["association"]
    assert classes["VEXSG_DiskDrive"]["superclass"] == "VEXSG_MediaAccessDevice"
    assert not classes["VEXSG_DiskDrive"]["abstract"]
    assert [classes[name]["served"] for name in ("VEXSG_DiskDrive", "VEXSG_MediaAccessDevice")] == [True, False]


def test_one_class_as_json(run):
    properties = {entry["name"]: entry
                  for entry in run("classes", "VEXSG_DiskPartition", "--format", "json").json["properties"]}
    assert properties["Size"]["type"] == "uint64"
    assert properties["Size"]["unit"] == "byte"
    assert properties["StartingOffset"]["unit"] is None
    assert properties["OtherIdentifyingInfo"]["array"] is True
    assert properties["DeviceID"]["key"] is True
    assert properties["DeviceID"]["declaredIn"] == "VEXSG_DiskPartition"
    assert properties["PartitionType"]["values"]["19"] == "VMFS"
    assert properties["PartitionSubType"]["values"]["131"] == "Linux"
    assert "number of the last block" in properties["StartingOffset"]["description"]
    assert all(entry["description"] for entry in properties.values())


def test_references_name_their_class(run):
    antecedent, dependent = run("classes", "VEXSG_PartitionPresent", "--format", "json").json["properties"][:2]
    assert (antecedent["type"], antecedent["referenceClass"]) == ("reference", "VEXSG_MediaAccessDevice")
    assert (dependent["type"], dependent["referenceClass"]) == ("reference", "VEXSG_DiskPartition")


def test_one_class_as_table(run):
    lines = run("classes", "VEXSG_DiskPartition").text.splitlines()
    assert lines[0] == "VEXSG_DiskPartition : CIM_GenericDiskPartition"
    rows = {line.split()[0]: line for line in lines if line}
    assert rows["OtherIdentifyingInfo"].split()[1] == "string[]"
    assert rows["DeviceID"].split()[1:3] == ["string", "Key"]
    assert rows["Size"].split()[1:4] == ["uint64", "byte", "VEXSG_DiskPartition"]
    assert rows["19"].split() == ["19", "VMFS"]


def test_a_table_has_no_column_of_blanks(run):
    heading = next(line for line in run("classes", "CIM_Dependency").text.splitlines() if line.startswith("Property"))
    assert heading.split()[:3] == ["Property", "Type", "Key"] and "Unit" not in heading


def test_descriptions_follow_the_table_and_fit_a_terminal(run):
    lines = run("classes", "VEXSG_DiskPartition").text.splitlines()
    start = lines.index("Bootable:")
    assert lines[start + 1].startswith("    MBR: whether")
    assert [line for line in lines if len(line) > 80] == []


def test_association_as_table(run):
    text = run("classes", "VEXSG_MediaPresent").text
    assert text.startswith("VEXSG_MediaPresent (association) : CIM_MediaPresent\n")
    assert "VEXSG_LogicalDisk REF" in text


def test_mof_is_the_whole_schema_base_classes_first(run):
    text = run("classes", "--format", "mof").text
    assert text.index("class CIM_ManagedElement") < text.index("class VEXSG_DiskDrive")
    assert text.index("Qualifier Key") < text.index("class CIM_ManagedElement")


@pytest.mark.parametrize("name", ["CIM_ManagedElement", "CIM_LogicalDisk", "VEXSG_TapeDrive", "CIM_Dependency"])
def test_any_declared_class_can_be_shown(run, name):
    assert run("classes", name).status == 0
    assert run("classes", name, "--format", "json").json["name"] == name


def test_needs_no_plugin(run):
    assert run("classes", DISKMGT_PLUGIN="/does/not/exist").status == 0
