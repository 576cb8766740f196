"""The records, constants and names are those of the header."""

import ctypes
import re
import subprocess

import pytest
from conftest import ROOT

from mox import _names, _records
from mox._library import lib

HEADER = ROOT / "include" / "mox.h"


def header_without_comments():
    return re.sub(r"/\*.*?\*/", " ", HEADER.read_text(), flags=re.S)


def header_constants():
    text = header_without_comments()
    names = re.findall(r"#define (MOX_\w+) ", text)
    for body in re.findall(r"enum\s*\{([^}]*)\}", text):
        names += re.findall(r"(\w+)\s*=", body)
    return [name for name in names if name not in ("MOX_CALL", "MOX_EXPORT")]


def header_records():
    """The members of each record, by its name."""
    records = {}
    text = header_without_comments()
    for body, name in re.findall(r"typedef struct \w+ \{([^}]*)\} (\w+);", text):
        members = []
        for line in body.split(";"):
            found = re.search(r"(\w+)(\[\d+\])*\s*$", line.strip())
            if found:
                members.append(found.group(1))
        records[name] = members
    return records


def ask_header(compiler, folder, expressions):
    """What integer expressions are to a C program that includes the header."""
    lines = "".join(f'    printf("%lld\\n", (long long)({text}));\n' for text in expressions)
    source = folder / "ask.c"
    source.write_text("#include <mox.h>\n#include <stddef.h>\n#include <stdio.h>\n"
                      "int main(void) {\n" + lines + "    return 0;\n}\n")
    program = folder / "ask"
    subprocess.run([compiler, "-I", str(HEADER.parent), str(source), "-o", str(program)],
                   check=True)
    answer = subprocess.run([str(program)], check=True, capture_output=True, text=True).stdout
    return [int(line) for line in answer.split()]


def test_constants(compiler, tmp_path):
    names = header_constants()
    assert len(names) > 120
    told = [getattr(_records, name) for name in names]
    assert told == ask_header(compiler, tmp_path, names)


def test_no_constant_of_our_own():
    ours = [name for name in vars(_records) if name.startswith(("MOX_", "BI_"))]
    assert sorted(ours) == sorted(header_constants())


def test_records(compiler, tmp_path):
    records = header_records()
    assert {"MoxImage", "MoxROI", "MoxTileInfo", "MoxLUT", "MoxWtKernel"} <= set(records)
    questions, told = [], []
    for name, members in records.items():
        record = getattr(_records, name)
        assert [field[0] for field in record._fields_] == members, name
        questions.append(f"sizeof({name})")
        told.append(ctypes.sizeof(record))
        for member in members:
            field = getattr(record, member)
            questions += [f"offsetof({name}, {member})", f"sizeof((({name} *)0)->{member})"]
            told += [field.offset, field.size]
    questions.append("sizeof(MoxMomentState)")
    told.append(ctypes.sizeof(_records.MoxMomentState))
    assert told == ask_header(compiler, tmp_path, questions)


def exports():
    return (ROOT / "src" / "exports.txt").read_text().split()


def called():
    """The functions of the library that the package calls."""
    names = set()
    for file in (ROOT / "python" / "mox").glob("*.py"):
        text = file.read_text()
        names |= set(re.findall(r"\blib(?:rary)?\.(mox\w+)", text))
        if file.name == "_library.py":
            names |= set(re.findall(r'"(mox[A-Z]\w+)"', text))
    return names


def test_every_called_function_exists():
    names = called()
    assert len(names) > 140
    for name in names:
        assert getattr(lib, name), name
    assert names <= set(exports())


def test_every_export_is_called_or_has_a_reason():
    names, reasons = called(), _names.NOT_WRAPPED
    assert not names & set(reasons), "called, and on the list of those that are not"
    assert sorted(names | set(reasons)) == sorted(exports())
    assert all(len(sentence) > 10 for sentence in reasons.values())


@pytest.mark.parametrize("name", ["blur", "add", "fft", "composite", "histogram"])
def test_docstrings(name):
    import mox
    assert getattr(mox, name).__doc__


def test_all_public_functions_are_documented_and_annotated():
    import mox
    for name in mox.__all__:
        thing = getattr(mox, name)
        if callable(thing):
            assert thing.__doc__, name
            if not isinstance(thing, type):
                assert "return" in thing.__annotations__ or name == "get_pixel", name
