"""Under the leak sanitizer: what is lost is found, wherever it was allocated, and the real plug-in loses nothing."""
import pytest

CLASS = "VEXSG_DynamicExtent"  # asks nothing of the machine


@pytest.mark.parametrize("limit", ["30", "0"])
def test_the_plugin_loses_nothing(run, limit):
    done = run("get", CLASS, "--timeout", limit)
    assert (done.status, done.stderr) == (0, b"")


@pytest.mark.parametrize("limit", ["30", "0"])
def test_what_a_plugin_loses_while_it_loads_or_serves_is_found(run, plugin, limit):
    done = run("get", CLASS, "--plugin", plugin("leaking"), "--timeout", limit)
    assert done.status != 0
    for lost in (b"Direct leak of 37 byte(s)", b"Direct leak of 41 byte(s)"):
        assert lost in done.stderr
