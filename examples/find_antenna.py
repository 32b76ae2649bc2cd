#!/usr/bin/env python3
"""Finds the antenna of a RINEX file: single-point positions from pseudoranges and broadcast ephemerides.

Takes GPS C1C with LNAV, Galileo C1C or C1B with I/NAV, of RINEX 3 and 4. Clock, orbit and ionosphere as in
IS-GPS-200, 20.3.3, the troposphere after Saastamoinen. Exit code 1 when no position comes out, or their mean lies too
far from the antenna. Metres, seconds of GPS time and radians throughout.
"""
import argparse
import math
import re
import sys
from datetime import datetime

LIGHT, EARTH_RATE = 299792458.0, 7.2921151467e-5
AXIS, ECCENTRICITY2 = 6378137.0, 0.00669437999014   # of the Earth's ellipsoid, WGS 84
CODES = {"G": ["C1C"], "E": ["C1C", "C1B"]}         # pseudoranges; the first that is there
MESSAGES = {"G": "LNAV", "E": "INAV"}
GRAVITY = {"G": 3.986005e14, "E": 3.986004418e14}
GROUP_DELAY = {"G": 25, "E": 26}                    # which number of a record: TGD, BGD E5b/E1
MASK, OLDEST = math.radians(10), 4 * 3600           # least elevation, greatest age of an ephemeris


def seconds(date):
    *minute, second = date.split()
    return (datetime(*map(int, minute)) - datetime(1980, 1, 6)).total_seconds() + float(second)


def number(text):
    return float(text.upper().replace("D", "E")) if text.strip() else math.nan


def read_file(path, kind):
    """Lines of the header as (content, label), and the text behind it."""
    try:
        text = open(path, encoding="ascii", errors="replace").read()
    except OSError as error:
        sys.exit(f"find_antenna: error: {path}: {error.strerror}")
    head, _, body = text.partition("END OF HEADER")
    if text[5:6] not in ("3", "4") or text[20:21] != kind:
        sys.exit(f"find_antenna: error: {path}: no RINEX 3 or 4 file of kind {kind} (column 21)")
    return [(line[:60], line[60:].strip()) for line in head.splitlines()], body.lstrip(" \r\n")


def read_observations(path):
    """The position in the header; of each epoch the time and the pseudoranges by satellite."""
    header, body = read_file(path, "O")
    types, approximate, epochs = {}, [0.0] * 3, []
    for content, label in header:
        if label == "SYS / # / OBS TYPES":
            system = content[0] if content[0] != " " else system   # lines go on
            types.setdefault(system, []).extend(content[7:].split())
        elif label == "APPROX POSITION XYZ":
            approximate = [float(x) for x in content.split()]
    fields = {s: [3 + 16 * types[s].index(c) for c in codes if c in types.get(s, [])] for s, codes in CODES.items()}
    for line in body.splitlines():
        if line[:1] == ">":
            is_event = line[31] not in "01"
            if not is_event:
                epochs.append((seconds(line[2:29]), {}))
        elif not is_event:
            values = [line[at:at + 14] for at in fields.get(line[:1], []) if line[at:at + 14].strip()]
            if values:
                epochs[-1][1][line[:3]] = float(values[0])
    return approximate, epochs


def is_usable(system, v):
    if system == "E":
        return int(v[20]) & 5 and not int(v[24]) & 7   # I/NAV, E1-B healthy
    return not int(v[24]) & 63


def read_navigation(path):
    """Healthy ephemerides by satellite: time of clock, time of orbit, all numbers. Klobuchar's eight coefficients."""
    header, body = read_file(path, "N")
    klobuchar = [number(content[at:at + 12]) for content, label in header if label == "IONOSPHERIC CORR"
                 and content[:3] == "GPS" for at in (5, 17, 29, 41)]
    ephemerides, framed = {}, body.startswith(">")   # in RINEX 4
    for record in re.split("\n(?=>)" if framed else "\n(?=[A-Z])", body):
        lines = record.splitlines()
        frame = lines.pop(0) if framed else f"> EPH {lines[0][:3]} {MESSAGES.get(lines[0][0])}"
        kind, name, message = frame.split()[1:4]
        if kind not in ("EPH", "ION") or message != MESSAGES.get(name[0]):
            continue
        v = [number(lines[0][at:at + 19]) for at in (23, 42, 61)]
        v += [number(line[at:at + 19]) for line in lines[1:] for at in (4, 23, 42, 61)]
        if kind == "ION":
            klobuchar = v[:8]
        elif is_usable(name[0], v):
            ephemerides.setdefault(name, []).append((seconds(lines[0][3:23]), v[21] * 604800 + v[11], v))
    return ephemerides, klobuchar


def satellite(system, ephemeris, sent):
    """Place (ECEF) of a satellite that sent at `sent` of its own clock, and that clock's offset for L1."""
    clock_time, orbit_time, v = ephemeris
    af0, af1, af2, _, crs, delta_n, m0, cuc, e, cus, root, toe, cic, node0, cis, i0, crc, perigee, drift, idot = v[:20]
    dt = sent - clock_time
    clock = af0 + af1 * dt + af2 * dt * dt
    t = sent - clock - orbit_time
    mean = anomaly = m0 + (math.sqrt(GRAVITY[system]) / root ** 3 + delta_n) * t
    for _ in range(10):
        anomaly = mean + e * math.sin(anomaly)
    u = perigee + math.atan2(math.sqrt(1 - e * e) * math.sin(anomaly), math.cos(anomaly) - e)
    sin2, cos2 = math.sin(2 * u), math.cos(2 * u)
    u += cus * sin2 + cuc * cos2
    r = root ** 2 * (1 - e * math.cos(anomaly)) + crs * sin2 + crc * cos2
    tilt = i0 + idot * t + cis * sin2 + cic * cos2
    node = node0 + drift * t - EARTH_RATE * (t + toe)
    x, y = r * math.cos(u), r * math.sin(u)
    place = (x * math.cos(node) - y * math.cos(tilt) * math.sin(node),
             x * math.sin(node) + y * math.cos(tilt) * math.cos(node), y * math.sin(tilt))
    relativity = -2 * math.sqrt(GRAVITY[system]) * e * root * math.sin(anomaly) / LIGHT ** 2
    return place, clock + relativity - v[GROUP_DELAY[system]]


def ionosphere(k, lat, lon, elevation, azimuth, time):
    """Klobuchar's delay on L1; angles of the model are half turns."""
    angle = 0.0137 / (elevation / math.pi + 0.11) - 0.022
    phi = max(-0.416, min(0.416, lat / math.pi + angle * math.cos(azimuth)))
    lam = lon / math.pi + angle * math.sin(azimuth) / math.cos(phi * math.pi)
    magnetic = phi + 0.064 * math.cos((lam - 1.617) * math.pi)
    amplitude = max(0.0, sum(k[i] * magnetic ** i for i in range(4)))
    period = max(72000.0, sum(k[4 + i] * magnetic ** i for i in range(4)))
    x = 2 * math.pi * ((43200 * lam + time) % 86400 - 50400) / period
    wave = amplitude * (1 - x ** 2 / 2 + x ** 4 / 24) if abs(x) < 1.57 else 0.0
    return LIGHT * (1 + 16 * (0.53 - elevation / math.pi) ** 3) * (5e-9 + wave)


def troposphere(lat, height, elevation):
    """Saastamoinen's delay in the standard atmosphere with 70 % humidity."""
    height = max(-500.0, min(10000.0, height))
    pressure, kelvin = 1013.25 * (1 - 2.2557e-5 * height) ** 5.2568, 288.15 - 0.0065 * height   # hPa, K
    vapour = 0.7 * 6.108 * math.exp((17.15 * kelvin - 4684) / (kelvin - 38.45))                 # hPa
    gravity = 1 - 0.00266 * math.cos(2 * lat) - 0.28e-6 * height
    zenith = 0.002277 * (pressure / gravity + (1255 / kelvin + 0.05) * vapour)
    return zenith * 1.001 / math.sqrt(0.002001 + math.sin(elevation) ** 2)


def to_ecef(lat, lon, height):
    normal = AXIS / math.sqrt(1 - ECCENTRICITY2 * math.sin(lat) ** 2)
    across = (normal + height) * math.cos(lat)
    return [across * math.cos(lon), across * math.sin(lon), (normal * (1 - ECCENTRICITY2) + height) * math.sin(lat)]


def to_geodetic(place):
    across, lat = math.hypot(*place[:2]), 0.0
    for _ in range(12):
        normal = AXIS / math.sqrt(1 - ECCENTRICITY2 * math.sin(lat) ** 2)
        lat = math.atan2(place[2] + ECCENTRICITY2 * normal * math.sin(lat), across)
    return lat, math.atan2(place[1], place[0]), across * math.cos(lat) + place[2] * math.sin(lat) - AXIS ** 2 / normal


def to_local(vector, lat, lon):
    """East, north, up."""
    x, y, z = vector
    out = x * math.cos(lon) + y * math.sin(lon)
    return (y * math.cos(lon) - x * math.sin(lon), z * math.cos(lat) - out * math.sin(lat),
            out * math.cos(lat) + z * math.sin(lat))


def equations(time, sent, place, clocks, klobuchar):
    """Of each satellite in sight: name, weight, direction, measured less computed range."""
    lat, lon, height = to_geodetic(place)
    for name, measured, (x, y, z), clock in sent:
        angle = EARTH_RATE * math.dist((x, y, z), place) / LIGHT   # the Earth turns under the signal
        line = (x + angle * y - place[0], y - angle * x - place[1], z - place[2])
        distance = math.hypot(*line)
        east, north, up = to_local(line, lat, lon)
        elevation, azimuth = math.asin(up / distance), math.atan2(east, north)
        if elevation < MASK:
            continue
        delay = troposphere(lat, height, elevation)
        if klobuchar:
            delay += ionosphere(klobuchar, lat, lon, elevation, azimuth, time % 86400)
        computed = distance + delay + clocks.get(name[0], 0.0) - LIGHT * clock
        yield name, math.sin(elevation) ** 2, [-d / distance for d in line], measured - computed


def solved(rows):
    """Solution of equations [matrix | right side]; a positive definite matrix needs no pivoting."""
    for i in range(len(rows)):
        rows[i] = [value / rows[i][i] for value in rows[i]]
        for r in set(range(len(rows))) - {i}:
            rows[r] = [value - rows[r][i] * own for value, own in zip(rows[r], rows[i])]
    return [row[-1] for row in rows]


def position(time, ranges, ephemerides, klobuchar):
    """Place (ECEF) and names of the satellites used, by weighted least squares with a clock for each system."""
    sent, clocks = [], {}
    for name, measured in ranges.items():
        ephemeris = min(ephemerides.get(name, []), key=lambda entry: abs(time - entry[1]), default=None)
        if ephemeris and abs(time - ephemeris[1]) <= OLDEST:
            sent.append((name, measured, *satellite(name[0], ephemeris, time - measured / LIGHT)))
    middle = [sum(axis) for axis in zip(*(place for _, _, place, _ in sent))]
    place = [AXIS * x / math.hypot(*middle) for x in middle]   # below all of them
    for _ in range(20):
        seen = list(equations(time, sent, place, clocks, klobuchar)) if sent else []
        systems = sorted({name[0] for name, *_ in seen})
        if len(seen) < 4 + len(systems):   # one more than unknowns, that there is something to adjust
            return None
        rows = [(w, direction + [name[0] == s for s in systems] + [rest]) for name, w, direction, rest in seen]
        n = 3 + len(systems)
        step = solved([[sum(w * row[i] * row[j] for w, row in rows) for j in range(n + 1)] for i in range(n)])
        place = [p + d for p, d in zip(place, step)]
        clocks = {s: clocks.get(s, 0.0) + d for s, d in zip(systems, step[3:])}
        if math.hypot(*step) < 1e-3:
            return place, {name for name, *_ in seen}
    return None


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("observations")
    parser.add_argument("navigation")
    parser.add_argument("--antenna", metavar="LAT,LON,H", help="degrees, metres above the ellipsoid; "
                        "--antenna=-34,18,5 in the south (default: the position in the header)")
    parser.add_argument("--within", metavar="M", type=float, default=5.0, help="how far off the mean may be (5 m)")
    options = parser.parse_args()
    antenna, epochs = read_observations(options.observations)
    ephemerides, klobuchar = read_navigation(options.navigation)
    if options.antenna:
        lat, lon, height = map(float, options.antenna.split(","))
        antenna = to_ecef(math.radians(lat), math.radians(lon), height)
    found = list(filter(None, (position(*epoch, ephemerides, klobuchar) for epoch in epochs)))
    if not found:
        sys.exit(f"find_antenna: no position: {len(epochs)} epochs, ephemerides of {len(ephemerides)} satellites")

    mean = [sum(axis) / len(found) for axis in zip(*(place for place, _ in found))]
    lat, lon, height = to_geodetic(mean)
    offsets = zip(*(to_local([p - m for p, m in zip(place, mean)], lat, lon) for place, _ in found))
    scatter = [math.sqrt(sum(x * x for x in axis) / len(found)) for axis in offsets]
    east, north, up = to_local([m - a for m, a in zip(mean, antenna)], lat, lon)
    distance = math.hypot(east, north, up)
    names = sorted(set.union(*(used for _, used in found)))
    print(f"{len(found)} positions from {len(epochs)} epochs, {len(names)} satellites: {' '.join(names)}")
    print("mean     {:.3f} {:.3f} {:.3f} m".format(*mean))
    print(f"         {math.degrees(lat):.8f} {math.degrees(lon):.8f} degrees, {height:.2f} m above the ellipsoid")
    print("scatter  east {:.2f}, north {:.2f}, up {:.2f} m".format(*scatter))
    print(f"antenna  {distance:.2f} m away; the mean is east {east:.2f}, north {north:.2f}, up {up:.2f} m of it")
    if distance > options.within:
        sys.exit(f"find_antenna: {distance:.2f} m are more than {options.within:g} m")


if __name__ == "__main__":
    main()
