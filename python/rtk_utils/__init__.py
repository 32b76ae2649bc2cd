"""Logs of the receiver, frames of its devices and dump files as NumPy arrays.

    data = rtk_utils.read("survey.log")               # all at once
    for epoch in rtk_utils.Log("survey.log").epochs():  # one after the other, in little memory
        ...

Times are GPS time as datetime64[ns], without leap seconds. Metres, cycles, hertz, dB-Hz, seconds and degrees are the units.
"""

from ._dump import Dump, DumpItem, read_dump
from ._core import version as __version__
from ._frames import FrameParser, pack_frame
from ._log import Epochs, Log, LogData, Losses, read
from ._observations import Epoch, Observations
from ._rows import concatenate
from ._told import Ephemerides, Events, Positions

__all__ = ["Dump", "DumpItem", "Ephemerides", "Epoch", "Epochs", "Events", "FrameParser", "Log", "LogData", "Losses",
           "Observations", "Positions", "__version__", "concatenate", "pack_frame", "read", "read_dump"]
