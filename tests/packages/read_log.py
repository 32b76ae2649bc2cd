"""read_log.py LOG: reads a log of two simulated minutes with the installed module."""

import sys

import numpy
import rtk_utils

data = rtk_utils.read(sys.argv[1])
obs = data.observations
epochs = [epoch.time for epoch in rtk_utils.Log(sys.argv[1]).epochs()]
assert len(epochs) == 120 and numpy.array_equal(numpy.unique(obs.time), epochs), len(epochs)
assert set(numpy.unique([name[0] for name in obs.satellite])) == set("GRECJS"), set(obs.satellite)
assert numpy.nanmin(obs.pseudorange) > 1.9e7 and not data.losses and len(data.ephemerides) > 40
assert rtk_utils.FrameParser().feed(rtk_utils.pack_frame(7, b"123")) == [(7, b"123")]
print(len(obs), "observations")
