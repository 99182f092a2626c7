"""Whether the project's compiler flags turn copies into checked ones. The plug-in hands every buffer with its own length
to the kernel; the copies whose size only run time knows are in its containers. A probe with such a copy shows the flags at
work, at their highest level.
"""
import os

import library

PROBE = os.environ["FORTIFY_PROBE_FILE"]


def test_a_copy_into_memory_of_a_size_known_at_run_time_is_checked():
    assert "__memcpy_chk" in library.imports(PROBE)


def test_the_plugin_imports_checked_copies():
    assert {"__memcpy_chk", "__memset_chk"} & library.imports() != set()


def test_the_plugin_imports_no_copy_that_is_never_checked():
    unchecked = {"strcpy", "strcat", "sprintf", "vsprintf", "gets", "stpcpy", "strncat"}
    assert library.imports() & unchecked == set()
