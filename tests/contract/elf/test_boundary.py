"""What the plug-in imports and exports, and the order of its load-time constructors."""
import re

import library

# What a C++ program gets from its compiler, sanitizers and coverage included.
RUN_TIME = re.compile(r"(libstdc\+\+|libgcc_s|libc|libm|libasan|libubsan|libtsan|ld-linux-[\w-]+)\.so\.\d+")
# What the compilers call the functions that make constants at load time: of a source file, or of one inline constant.
STATIC_CONSTANTS = re.compile(r"_GLOBAL__sub_I_|__cxx_global_var_init")


def test_asks_for_the_hosts_two_libraries():
    assert {"libtalcore.so", "libtalbase.so"} <= set(library.needed())


def test_carries_the_system_and_thread_libraries_of_boost():
    stems = {name.partition(".so")[0] for name in library.needed()}
    assert {"libboost_system", "libboost_thread"} <= stems


def test_asks_for_nothing_else():
    expected = ("libtalcore.so", "libtalbase.so", "libboost_system.so.", "libboost_thread.so.",
                "libboost_atomic.so.")  # the last for the thread library
    others = [name for name in library.needed() if not RUN_TIME.fullmatch(name) and not name.startswith(expected)]
    assert others == []


def test_shows_nothing_of_its_own_namespace():
    assert [name for _, name in library.exports() if "diskmgt_col" in name] == []


def test_shows_only_the_host_types_that_are_cast_and_caught():
    """A library that stays loaded could bind any other symbol, which would keep the plug-in loaded for good."""
    host_type = re.compile(r"(typeinfo|typeinfo name|vtable) for NVEXTAL20::\w+")
    assert [name for _, name in library.exports() if not host_type.fullmatch(name)] == []


def test_imports_no_thread_and_no_shell():
    assert library.imports() & {"pthread_create", "thrd_create", "system", "popen", "fork", "execve"} == set()


def test_registers_before_any_static_constant_exists():
    constructors = library.load_time_constructors()
    registration = [place for place, names in enumerate(constructors)
                    if any(re.search(r"registerPlugin\w*$", name) for name in names)]
    constants = [place for place, names in enumerate(constructors) if any(STATIC_CONSTANTS.search(name) for name in names)]
    assert len(registration) == 1
    assert constants, "no unit with static constants: nothing is shown"
    assert registration[0] < min(constants)


def test_has_no_run_path():
    """It uses the host libraries of the process and never loads others."""
    assert library.run_path() == []


def test_only_the_command_has_a_run_path_to_the_host_libraries():
    assert library.run_path(library.COMMAND) == ["$ORIGIN/../lib/diskmgt"]
    assert [library.run_path(path) for path in library.HOST_LIBRARIES] == [[], []]
