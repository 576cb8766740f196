"""Failures of the library as exceptions.

Status, error mode and report function belong to a thread, so each thread that calls is set up once:
reports come to a function here, which notes them, and the call that was made raises what it finds.
"""

import signal
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
        #: Whether the next call has callbacks in Python.
        self.serves = False
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
        try:
            raise exception
        finally:
            # Its traceback leads here, and from here to it: what it holds would stay for long.
            del exception
    cause = next((report for report in reports if report[0] != records.MOX_StatusBacktrace),
                 reports[0])
    raise Error(*cause, reports)


def invoke(function, *arguments):
    """Calls a function of the library on a thread that is set up, and raises what it leaves."""
    state = thread
    if state.serves:
        state.serves = False
        if threading.current_thread() is threading.main_thread():
            with _HeldSignals():
                return invoke(function, *arguments)
    value = function(*arguments)
    if state.reports:
        fail()
    return value


def check_status(function):
    """Raises if the last call has failed without a report, which a few do when memory runs out."""
    status = lib.moxGetErrStatus()
    if status < 0:
        lib.moxSetErrStatus(0)
        raise Error(status, function, "")


class _HeldSignals:
    """A call whose callbacks are Python, on the main thread, where Python runs signal handlers.

    What a handler raises must reach the call. As a callback begins it would be lost: ctypes prints
    it and goes on, without a result. So signals wait until a callback can take their exceptions, or
    the call is over.
    """

    #: The one of the innermost call.
    current = None

    def __enter__(self):
        self.handlers = {}
        self.waiting = []
        self.open = False
        self.outer, _HeldSignals.current = _HeldSignals.current, self
        try:
            for number in signal.valid_signals():
                handler = signal.getsignal(number)
                if callable(handler):
                    self.handlers[number] = handler
                    signal.signal(number, self.take)
        except ValueError:
            pass  # An interpreter beside the main one has no signals.
        return self

    def take(self, number, frame):
        if self.open:
            self.handlers[number](number, frame)
        else:
            self.waiting.append((number, frame))

    def deliver(self):
        while self.waiting:
            number, frame = self.waiting.pop(0)
            self.handlers[number](number, frame)

    def __exit__(self, *_):
        _HeldSignals.current = self.outer
        for number, handler in self.handlers.items():
            if signal.getsignal(number) == self.take:
                signal.signal(number, handler)
        self.deliver()


def call_back(function, *arguments):
    """Runs Python within a running call.

    Calls of the library that are made meanwhile have reports and a status of their own. An
    exception ends up with the call, and the result is None.
    """
    state = thread
    held = _HeldSignals.current
    if threading.current_thread() is not threading.main_thread():
        held = None
    reports, earlier, status = state.reports, state.exception, lib.moxGetErrStatus()
    state.reports, state.exception = [], None
    lib.moxSetErrStatus(0)
    result = raised = None
    try:
        try:
            if held:
                held.open = True
                held.deliver()
            result = function(*arguments)
        finally:
            if held:
                held.open = False
    except BaseException as exception:
        if held:
            held.open = False
        raised = exception
    state.reports, state.exception = reports, earlier
    lib.moxSetErrStatus(status)
    if raised is None:
        return result
    if earlier is None:
        state.exception = raised
    del raised
    reports.append((records.MOX_StatusGeneral, "", "exception in a callback"))
    return None
