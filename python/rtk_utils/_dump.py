"""Dump files of the vision library's inputs."""

from __future__ import annotations

from collections.abc import Iterator
from typing import TYPE_CHECKING, NamedTuple

from . import _core

if TYPE_CHECKING:
    from ._wanted import Source


class DumpItem(NamedTuple):
    """A record of a dump, or a stretch of bytes that is none.

    offset   of its first byte in the file
    size     bytes, those of the header included
    damage   None for a record, else why the bytes are none
    type     its name ("gnss"); None where that is not known
    payload  bytes; None for what is no record
    """

    offset: int
    size: int
    damage: str | None
    type: str | None
    payload: bytes | None


class Dump(Iterator[DumpItem]):
    """Iterator over the items of a dump file, with the memory of one. Every byte of the file is in exactly one item."""

    def __init__(self, source: Source) -> None:
        self._core = _core.Dump(source)

    def __iter__(self) -> Dump:
        return self

    def __next__(self) -> DumpItem:
        return DumpItem(*next(self._core))

    def close(self) -> None:
        """Lets go of the file before its end."""
        self._core.close()

    def __enter__(self) -> Dump:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    @property
    def cut_off(self) -> str:
        """Why the file could not be read to its end; empty when it could. Known at the end."""
        return self._core.cut_off


def read_dump(source: Source) -> Dump:
    """Dump(source): the items of a dump file, a path (plain, gzip, Zstandard) or bytes, one after the other."""
    return Dump(source)
