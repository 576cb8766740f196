"""Failures of the library as exceptions.

Status, error mode and report function belong to a thread, so each thread that calls is set up once:
reports come to a function here, which notes them, and the call that was made raises what it finds.
"""

import threading

from . import _records as records
from ._library import lib


class Error(Exception):
    """A call that the library refused.

    status     the code, such as -5 (MOX_StatusBadArgument)
    function   the exported function that reports; some calls become others before they are tested
    message    the failed test, or a short sentence
    reports    all reports of the call, as (status, function, message)
    """

    def __init__(self, status, function, message, reports=()):
        self.status = status
        self.function = function
        self.message = message
        self.reports = tuple(reports)
        super().__init__(status, function, message, self.reports)

    def __str__(self):
        text = lib.moxErrorStr(self.status).decode("latin-1")
        return f"{self.function}: {self.message or text} (status {self.status}, {text})"


class _Thread(threading.local):
    """What belongs to a thread. Its first use on a thread sets the library up for it."""

    def __init__(self):
        #: Reports of the running call, empty if all is well.
        self.reports = []
        #: The exception that a callback of the running call has left.
        self.exception = None
        lib.moxSetErrMode(records.MOX_ErrModeParent)
        lib.moxRedirectError(_note)
        lib.moxSetErrStatus(0)


@records.MoxErrorCallback
def _note(status, function, message, file, line):
    thread.reports.append((status, (function or b"").decode("latin-1"),
                           (message or b"").decode("latin-1")))
    return status


thread = _Thread()


def fail():
    """Raises what the running call has left: a callback's exception, or else the first report."""
    state = thread
    reports, exception = list(state.reports), state.exception
    state.reports.clear()
    state.exception = None
    lib.moxSetErrStatus(0)
    if exception is not None:
        raise exception
    cause = next((report for report in reports if report[0] != records.MOX_StatusBacktrace),
                 reports[0])
    raise Error(*cause, reports)


def check():
    """Raises if the running call has left anything."""
    if thread.reports:
        fail()


def check_status(function):
    """Raises if the last call has failed without a report, which a few do when memory runs out."""
    check()
    status = lib.moxGetErrStatus()
    if status < 0:
        lib.moxSetErrStatus(0)
        raise Error(status, function, "")


class callback:
    """A stretch of Python within a running call.

    Calls of the library that are made meanwhile have reports and a status of their own. An
    exception ends up with the call.
    """

    __slots__ = ("reports", "exception", "status")

    def __enter__(self):
        state = thread
        self.reports, self.exception = state.reports, state.exception
        self.status = lib.moxGetErrStatus()
        state.reports, state.exception = [], None
        lib.moxSetErrStatus(0)
        return self

    def __exit__(self, kind, exception, trace):
        state = thread
        state.reports, state.exception = self.reports, self.exception
        lib.moxSetErrStatus(self.status)
        if exception is not None:
            if state.exception is None:
                state.exception = exception
            state.reports.append((records.MOX_StatusGeneral, "", "exception in a callback"))
        return True
