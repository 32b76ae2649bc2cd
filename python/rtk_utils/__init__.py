"""Logs of the receiver, frames of its devices and dump files as NumPy arrays.

    data = rtk_utils.read("survey.log")               # all at once
    for epoch in rtk_utils.Log("survey.log").epochs():  # one after the other, in little memory
        ...

Times are GPS time as datetime64[ns], without leap seconds. Metres, cycles, hertz, dB-Hz, seconds and degrees are the units.
"""

from ._dump import Dump, DumpItem, read_dump
from ._log import Ephemerides, Epoch, Epochs, Events, Log, LogData, Losses, Observations, Positions, read
from ._core import FrameParser, pack_frame

__all__ = ["Dump", "DumpItem", "Ephemerides", "Epoch", "Epochs", "Events", "FrameParser", "Log", "LogData", "Losses",
           "Observations", "Positions", "pack_frame", "read", "read_dump"]
