"""Real shells with the completions loaded, asked what they would offer."""
import os
import shlex
import subprocess

import pytest

import conftest
import help_text

COMPLETIONS = os.path.join(help_text.share(), "completions")
BASH_FRAMEWORK = "/usr/share/bash-completion/bash_completion"

# Calls the function as the shell does when the key is pressed; prints what it would offer, one a line.
BASH_SCRIPT = r"""
. "$1"; . "$2"; shift 2
complete -p diskmgt >/dev/null || exit 3
COMP_LINE=$*; COMP_POINT=${#COMP_LINE}; COMP_KEY=9; COMP_TYPE=9
# As readline splits it: = is a word of its own.
COMP_WORDS=(); for word; do
    while [[ $word == *=* && $word != = ]]; do COMP_WORDS+=("${word%%=*}" =); word=${word#*=}; done
    COMP_WORDS+=("$word")
done
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
compopt() { :; }
_diskmgt "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD-1]}"
((${#COMPREPLY[@]} == 0)) || printf '%s\n' "${COMPREPLY[@]}"
"""

# Read by an interactive shell behind a pseudo-terminal: every match is printed when it is offered, and the shell ends
# when all are.
ZSH_START = r"""
PS1= PS2=
unset zle_bracketed_paste
fpath=($COMPLETION_DIRECTORY $fpath)
autoload -Uz compinit && compinit -u -d $COMPLETION_DIRECTORY/dump
bindkey '^I' complete-word
zstyle ':completion:*' insert-tab false
compadd() {
    if [[ ${@[1,(i)(-|--)]} == *-(O|A|D)\ * ]]; then builtin compadd "$@"; return; fi
    local -a hits
    builtin compadd -A hits "$@"
    (( $#hits )) && print -rl -- "match:"${^hits}
    builtin compadd "$@"
}
finish() { print -r -- end-of-matches; exit }
comppostfuncs=(finish)
print -r -- ready-to-complete
"""

ZSH_SCRIPT = r"""
zmodload zsh/zpty || exit 3
zpty shell zsh -f -i
zpty -w shell "stty -echo; source ${(q)1}"
zpty -r shell output $'*ready-to-complete*' || exit 4
zpty -n -w shell "$2"$'\t'
zpty -r shell output '*end-of-matches*' || exit 5
print -r -- "$output"
"""


def _outcome(command, directory, **changes):
    extra = {"PATH": os.path.dirname(conftest.COMMAND) + ":/usr/bin:/bin", "HOME": str(directory), "TERM": "dumb",
             **changes}
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60,
                          cwd=directory, env=conftest.environment(**extra), check=False)
    assert (done.returncode, done.stderr) == (0, "")
    return done.stdout.splitlines()


def bash(directory, *words):
    if not os.path.exists(BASH_FRAMEWORK):
        pytest.skip("bash-completion is not installed")
    script = os.path.join(COMPLETIONS, "diskmgt.bash")
    return _outcome(["bash", "--norc", "-c", BASH_SCRIPT, "bash", BASH_FRAMEWORK, script, *words], directory)


def zsh(directory, *words):
    if not os.path.exists("/usr/bin/zsh"):
        pytest.skip("zsh is not installed")
    functions = directory.parent / "zsh-functions"  # shared by the tests of a run: listing all functions takes long
    functions.mkdir(exist_ok=True)
    if not (functions / "_diskmgt").exists():
        (functions / "_diskmgt").symlink_to(os.path.realpath(os.path.join(COMPLETIONS, "diskmgt.zsh")))
    (functions / "start").write_text(ZSH_START)
    line = " ".join(shlex.quote(word) if word else "" for word in words)
    printed = _outcome(["/usr/bin/zsh", "-f", "-c", ZSH_SCRIPT, "zsh", str(functions / "start"), line], directory,
                       COMPLETION_DIRECTORY=str(functions))
    return [text.split("match:", 1)[1].rstrip("\r") for text in printed if "match:" in text]
