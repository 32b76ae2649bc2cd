"""The device's framed messages."""

from __future__ import annotations

from typing import TYPE_CHECKING, SupportsIndex

from . import _core

if TYPE_CHECKING:
    from ._wanted import Bytes


def pack_frame(id: SupportsIndex, payload: Bytes, extra: SupportsIndex = 0) -> bytes:
    """A framed message: id and extra word from 0 to 65535, payload of at most 65535 bytes.

    Raises ValueError for what no field holds.
    """
    return _core.pack_frame(id, payload, extra)


class FrameParser:
    """Finds the framed messages in a stream that comes in pieces.

    Bytes leave its memory with a message behind them: a stream without any is kept whole.
    """

    def __init__(self) -> None:
        self._core = _core.FrameParser()

    def feed(self, data: Bytes) -> list[tuple[int, bytes]]:
        """Takes the stream's next bytes; gives (id, payload) of every message that is whole by now."""
        return self._core.feed(data)

    @property
    def unframed_bytes(self) -> int:
        """Bytes fed that belong to no message found so far."""
        return self._core.unframed_bytes
