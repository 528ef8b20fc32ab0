"""Spans of virtual time, as tests write them."""

from __future__ import annotations


def nanoseconds(s: float = 0, ms: float = 0, us: float = 0, ns: float = 0) -> int:
    """The sum of the parts in whole nanoseconds. Raises ValueError unless it is above 0."""
    total = round(s * 1e9) + round(ms * 1e6) + round(us * 1e3) + round(ns)
    if total <= 0:
        raise ValueError("a span of virtual time must be longer than 0")
    return total
