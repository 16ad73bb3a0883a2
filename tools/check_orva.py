#!/usr/bin/env python3
"""Checks what orva says about itself: docs/orva.md is the manual that it prints, and the completion scripts that it
prints complete.

usage: check_orva.py manual|completion PROGRAM…

PROGRAM is orva, with what it takes to run it in front.
"""
import difflib
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
MANUAL = ROOT / "docs" / "orva.md"


def orva(program, *arguments):
    # Through a file: processes that Wine leaves in the background must not hold a pipe of ours.
    with tempfile.TemporaryFile() as output:
        subprocess.run([*program, *arguments], stdin=subprocess.DEVNULL, stdout=output, check=True)
        output.seek(0)
        return output.read().decode("utf-8").replace("\r\n", "\n")


def check_manual(program):
    printed = orva(program, "help", "--markdown").splitlines()
    written = MANUAL.read_text(encoding="utf-8").splitlines()
    if printed == written:
        return
    yield from difflib.unified_diff(written, printed, "docs/orva.md", "orva help --markdown", lineterm="", n=1)
    yield "docs/orva.md is stale; renew it with: ./run exec orva help --markdown >docs/orva.md"


# What is typed, and what bash is to offer for the last word, in a folder that holds `docs/`, `d.txt` and `my jobs/`.
TYPED = [
    (["tr"], {"tree"}),
    (["path", ""], {"split", "join", "relative", "normalise", "absolute"}),
    (["path", "split", "--s"], {"--slashes"}),
    (["tree", "--"], {"--files", "--pattern", "--attributes", "--help"}),
    (["tree", ""], {"docs", "my jobs"}),
    (["tree", "--pattern", ""], set()),
    (["tree", "-a", "hidden,re"], {"hidden,readonly"}),
    (["zip", "d"], {"docs", "d.txt"}),
    (["zip", "a.zip", "my"], {"my jobs"}),
    (["copy", "docs", "copy", "--policy", ""], {"fail", "skip", "overwrite", "newer"}),
    (["landxml", "--units", "us"], {"us-survey-foot"}),
    (["points", "tree", "-c"], {"-c"}),
    (["completion", ""], {"bash", "powershell"}),
    (["help", "un"], {"unzip"}),
    (["frob", "--h"], {"--help"}),
]


def check_bash(script):
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        file = folder / "orva.bash"
        file.write_text(script, encoding="utf-8")
        parsed = subprocess.run(["bash", "-n", file], capture_output=True, text=True)
        if parsed.returncode != 0 or parsed.stderr:
            yield f"bash does not accept its script: {parsed.stderr}"
            return
        here = folder / "here"
        for name in ("docs", "my jobs"):
            (here / name).mkdir(parents=True)
        (here / "d.txt").touch()
        for words, wanted in TYPED:
            call = ('source "$1"; shift; [[ $(complete -p orva) == *"-F _orva"* ]] || exit 1; '
                    'COMP_WORDS=(orva "$@") COMP_CWORD=$#; _orva; printf "%s\\n" "${COMPREPLY[@]}"')
            run = subprocess.run(["bash", "--norc", "-c", call, "bash", file, *words], cwd=here, capture_output=True,
                                 text=True)
            offered = {line for line in run.stdout.splitlines() if line}
            if run.returncode != 0 or run.stderr or offered != wanted:
                yield f"bash: behind 'orva {' '.join(words)}' come {sorted(offered)}, not {sorted(wanted)} {run.stderr}"


def check_powershell(script, help_text):
    """PowerShell itself is not at hand: the script must be balanced and name every command."""
    code = re.sub(r"(?m)^\s*#.*$", "", script)
    bare = re.sub(r"'[^'\n]*'|\"[^\"\n]*\"", "", code)
    for opening, closing in ("{}", "()", "[]"):
        if bare.count(opening) != bare.count(closing):
            yield f"PowerShell: {opening} and {closing} are not balanced"
    if "'" in bare or '"' in bare:
        yield "PowerShell: a text does not end"
    if not script.isascii():
        yield "PowerShell: the script is not ASCII, and PowerShell reads it in the console's code page"
    for command in re.findall(r"(?m)^  (\w+)  ", help_text.split("Options:")[0]):
        if f"'/{command}' = @{{" not in script:
            yield f"PowerShell: the command {command} is missing"


def main():
    if len(sys.argv) < 3 or sys.argv[1] not in ("manual", "completion"):
        sys.exit(__doc__)
    program = sys.argv[2:]
    if sys.argv[1] == "manual":
        errors = [*check_manual(program)]
    else:
        errors = [*check_bash(orva(program, "completion", "bash")),
                  *check_powershell(orva(program, "completion", "powershell"), orva(program, "--help"))]
    for error in errors:
        print(error)
    print(f"orva: {sys.argv[1]} checked, {'different' if errors else 'right'}")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
