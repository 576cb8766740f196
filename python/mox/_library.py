"""Finds and loads the shared library."""

import ctypes
import ctypes.util
import os
import sys
from pathlib import Path

from . import _records as records

if sys.platform == "win32":
    _NAMES = ("moxw7.dll", "libmoxw7.dll")
elif sys.platform == "darwin":
    _NAMES = ("libmoxw7.2.dylib", "libmoxw7.dylib")
else:
    _NAMES = ("libmoxw7.so.2", "libmoxw7.so")


class LibraryNotFound(ImportError):
    """No library was found; the text says where it was looked for."""


def _places():
    """Files that are tried, in this order, after MOX_LIBRARY and before the system."""
    package = Path(__file__).resolve().parent
    folders = [package, package.parent, package.parent / "lib",
               package.parent.parent / "build" / "release" / "lib"]
    return [folder / name for folder in folders for name in _NAMES]


def _open(name):
    if hasattr(ctypes, "WinDLL") and ctypes.sizeof(ctypes.c_void_p) == 4:
        return ctypes.WinDLL(name)
    return ctypes.CDLL(name)


def load():
    """Loads the library: from MOX_LIBRARY, beside the package, or from the system.

    MOX_LIBRARY names the file, or a folder that has it. Where it is set nothing else is tried.
    """
    told = os.environ.get("MOX_LIBRARY")
    if told:
        path = Path(told)
        candidates = [path / name for name in _NAMES] if path.is_dir() else [path]
        found = [file for file in candidates if file.exists()]
        if not found:
            raise LibraryNotFound("MOX_LIBRARY leads to no library. Looked for:\n  "
                                  + "\n  ".join(map(str, candidates)))
        return _check(_load_file(found[0]), found[0])
    places = _places()
    for file in places:
        if file.exists():
            return _check(_load_file(file), file)
    system = [name for name in (ctypes.util.find_library("moxw7"), *_NAMES) if name]
    for name in system:
        try:
            return _check(_open(name), name)
        except OSError:
            pass
    raise LibraryNotFound(
        "the library of mox was not found. MOX_LIBRARY, which may name its file or folder, is not "
        "set. Looked for:\n  " + "\n  ".join(map(str, places))
        + "\n  and on the system for: " + ", ".join(system))


def _load_file(file):
    try:
        return _open(str(file))
    except OSError as error:
        raise LibraryNotFound(f"{file} cannot be loaded: {error}") from error


def _check(library, file):
    """A library of another interface is refused before anything is called."""
    try:
        version = library.moxGetLibVersion
    except AttributeError:
        raise LibraryNotFound(f"{file} is not the library of mox: moxGetLibVersion is missing")
    version.restype = ctypes.POINTER(records.MoxLibVersion)
    major = version().contents.major
    if major != 2:
        raise LibraryNotFound(f"{file} is version {major} of the library; this package needs 2")
    return library


#: The loaded library. Functions are called without argument types, which would cost a third of a
#: call's time: images go in as references, numbers as what ctypes makes of an int, or as c_float
#: and c_double, and every integer has passed through checks.whole() before.
lib = load()

for _name in ("moxNorm", "moxGetSpatialMoment", "moxGetNormalizedSpatialMoment",
              "moxGetCentralMoment", "moxGetNormalizedCentralMoment", "moxSpatialMoment",
              "moxNormalizedSpatialMoment", "moxCentralMoment", "moxNormalizedCentralMoment"):
    getattr(lib, _name).restype = ctypes.c_double
lib.moxErrorStr.restype = ctypes.c_char_p
lib.moxGetCycleCounter.restype = ctypes.c_longlong
lib.moxRedirectError.restype = ctypes.c_void_p
for _name in ("moxCreateConvKernel", "moxCreateConvKernelFP", "moxCreateColorTwist"):
    getattr(lib, _name).restype = ctypes.c_void_p
for _name in ("moxTranslateDIB", "moxCreateImageJaehne"):
    getattr(lib, _name).restype = ctypes.POINTER(records.MoxImage)
