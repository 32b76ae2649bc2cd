"""Columns of the same length under their names."""

from __future__ import annotations

from collections.abc import Iterable
from typing import TYPE_CHECKING, Any, ClassVar, TypeVar

import numpy

if TYPE_CHECKING:
    from numpy.typing import NDArray

_R = TypeVar("_R", bound="Rows")


class Rows:
    """Columns of the same length under their names."""

    columns: ClassVar[tuple[str, ...]] = ()
    __iter__ = None   # by row that would take hours

    def __init__(self, **columns: Any) -> None:
        self.__dict__.update(columns)

    def __len__(self) -> int:
        return len(getattr(self, self.columns[-1]))

    def __repr__(self) -> str:
        return f"<rtk_utils.{type(self).__name__}: {len(self)} rows of {', '.join(self.columns)}>"

    def __getitem__(self: _R, rows: Any) -> _R:
        """The same columns of some rows: a slice, a mask or indices."""
        if not isinstance(rows, slice):
            rows = numpy.asarray(rows)
            if rows.ndim != 1:
                raise TypeError("rows are chosen by a slice, a mask or indices; a single one by [i:i + 1]")
            rows = rows if rows.size else rows.astype(int)
        return self._of(rows)

    def _of(self: _R, rows: Any) -> _R:
        return type(self)(**{name: getattr(self, name)[rows] for name in self.columns})

    @classmethod
    def _joined(cls: type[_R], parts: list[_R]) -> Any:
        return cls(**{name: numpy.concatenate([getattr(part, name) for part in parts]) for name in cls.columns})

    def to_structured(self) -> NDArray[numpy.void]:
        """One structured array with the columns as its fields: a copy."""
        columns = [(name, getattr(self, name)) for name in self.columns]
        rows = numpy.empty(len(self), [(name, column.dtype, column.shape[1:]) for name, column in columns])
        for name, column in columns:
            rows[name] = column
        return rows


def concatenate(parts: Iterable[Any]) -> Any:
    """The rows of several logs, one behind the other: Observations, Ephemerides, Positions or Events, all of one kind.

    Epochs become Observations.
    """
    parts = list(parts)
    if not parts or not all(isinstance(part, Rows) and type(part) is type(parts[0]) for part in parts):
        raise TypeError("rows of one kind are concatenated, of at least one log")
    return type(parts[0])._joined(parts)
