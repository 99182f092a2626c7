"""A guest that does not come to its end: the tests end it, and say what its console showed last."""

import sys

import pytest

from guest import emulator

STUCK = "import sys, time; open(sys.argv[1], 'w').write('first line\\nlast words\\n'); time.sleep(3600)"


# The limits are only as long as an interpreter may need to start.
@pytest.mark.parametrize(("limit", "silence", "why"), [(10, 3600, "longer than 10 seconds"),
                                                       (3600, 10, "nothing new for 10 seconds")])
def test_a_stuck_guest_is_ended_and_its_last_lines_are_shown(tmp_path, limit, silence, why):
    words = [sys.executable, "-c", STUCK, str(tmp_path / "console")]
    with pytest.raises(emulator.GuestFailed, match=f"(?s){why}.*first line\nlast words"):
        emulator.run(words, tmp_path, limit, silence)


def test_an_emulator_that_fails_is_quoted(tmp_path):
    words = [sys.executable, "-c", "import sys; sys.exit('no such device')"]
    with pytest.raises(emulator.GuestFailed, match="ended with 1: no such device"):
        emulator.run(words, tmp_path, 3600, 3600)


def test_a_guest_without_results_is_a_failure_with_its_last_lines(tmp_path):
    (tmp_path / "console").write_text("Kernel panic\n", encoding="utf-8")
    with pytest.raises(emulator.GuestFailed, match="(?s)no results.*Kernel panic"):
        emulator.results(tmp_path)
