# SPDX-License-Identifier: Apache-2.0
"""How a ZelStatus other than zelStsNoErr surfaces in Python."""
import warnings


class Error(RuntimeError):
    """A zelsr function returned a negative status; nothing was written.

    Attributes: ``name`` (for example ``"zelStsSizeErr"``), ``code`` (the
    negative ZelStatus) and ``function`` (the C function that returned it).
    """

    def __init__(self, code: int, name: str, function: str = "") -> None:
        super().__init__(f"{function}: {name} ({code})" if function else f"{name} ({code})")
        self.code = code
        self.name = name
        self.function = function


class StatusWarning(UserWarning):
    """A zelsr function returned a positive status: the result is written but
    deserves a look (a logarithm of zero, a singular matrix, ...)."""

    def __init__(self, code: int, name: str, function: str = "") -> None:
        super().__init__(f"{function}: {name} ({code})")
        self.code = code
        self.name = name
        self.function = function


def report(code: int, name: str, function: str) -> None:
    if code < 0:
        raise Error(code, name, function)
    if code > 0:
        warnings.warn(StatusWarning(code, name, function), stacklevel=3)
