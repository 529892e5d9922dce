"""The project's bash scripts, checked for what breaks them on a Mac.

    check_scripts.py SCRIPT...

A Mac's own bash is 3.2, which none of these machines has, so two checks stand in for running them
there. shellcheck --shell=bash finds the mistakes of any bash (quoting, unset variables, unused
results). It takes bash to be a recent one, so a check of our own then looks for what bash 3.2
lacks or does differently:

- "${a[@]}" of an empty array under set -u is an unbound variable there: every array expansion
  must be written ${a[@]+"${a[@]}"}, which expands to nothing when the array is empty;
- associative arrays (declare -A), case changes (${x,,} ${x^^}), mapfile and readarray, name
  references (declare -n), coproc, |& and &>>, ;& and ;;& in case, negative subscripts, wait -n,
  ${x@Q} and [[ -v ]] came with bash 4 and later.

Exits 1 and names each place when anything is found.
"""

import re
import subprocess
import sys

BASH4 = [
    (re.compile(r"\b(declare|local|typeset)\s+-[a-zA-Z]*A"), "associative arrays (bash 4)"),
    (re.compile(r"\b(declare|local|typeset)\s+-[a-zA-Z]*n\b"), "name references (bash 4.3)"),
    (re.compile(r"\$\{([A-Za-z_][A-Za-z_0-9]*|[0-9@*])(\[[^]]*\])?(,,?|\^\^?)[^}]*\}"), "case changes (bash 4)"),
    (re.compile(r"\$\{[A-Za-z_][A-Za-z_0-9]*(\[[^]]*\])?@[QEPAaKkUuL]\}"), "${x@…} operators (bash 4.4)"),
    (re.compile(r"^\s*(mapfile|readarray)\b|[;&|]\s*(mapfile|readarray)\b"), "mapfile and readarray (bash 4)"),
    (re.compile(r"^\s*coproc\b"), "coproc (bash 4)"),
    (re.compile(r"\|&|&>>"), "|& and &>> (bash 4)"),
    (re.compile(r";;&|;&"), ";& and ;;& in case (bash 4)"),
    (re.compile(r"\[\s*-\d+\s*\]"), "negative subscripts (bash 4.3)"),
    (re.compile(r"\bwait\s+-n\b"), "wait -n (bash 4.3)"),
    (re.compile(r"\[\[\s+-v\b"), "[[ -v ]] (bash 4.2)"),
]
ARRAY_EXPANSION = re.compile(r'"\$\{([A-Za-z_][A-Za-z_0-9]*)\[@\]\}"')


def code_of(line):
    """The line without a trailing comment (a '#' that starts a word, outside quotes)."""
    quote = None
    for i, c in enumerate(line):
        if quote:
            if c == quote:
                quote = None
        elif c in "'\"":
            quote = c
        elif c == "#" and (i == 0 or line[i - 1].isspace()):
            return line[:i]
    return line


def bash32_problems(path):
    problems = []
    with open(path) as script:
        for number, line in enumerate(script, 1):
            code = code_of(line.rstrip("\n"))
            for pattern, what in BASH4:
                if pattern.search(code):
                    problems.append("%s:%d: %s: %s" % (path, number, what, line.strip()))
            for match in ARRAY_EXPANSION.finditer(code):
                guard = "${%s[@]+" % match.group(1)
                if not code[:match.start()].endswith(guard):
                    problems.append('%s:%d: "${%s[@]}" fails for an empty array under set -u in bash 3.2; '
                                    'write ${%s[@]+"${%s[@]}"}: %s'
                                    % (path, number, match.group(1), match.group(1), match.group(1), line.strip()))
    return problems


def main():
    scripts = sys.argv[1:]
    problems = []
    for path in scripts:
        problems += bash32_problems(path)
    checked = subprocess.run(["shellcheck", "--shell=bash", "--severity=warning"] + scripts,
                             capture_output=True, text=True)
    if checked.returncode != 0:
        problems.append(checked.stdout + checked.stderr)
    for problem in problems:
        print(problem)
    print("%d scripts checked, %d problems" % (len(scripts), len(problems)))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
