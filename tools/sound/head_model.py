"""The interpolation of a head's filters in double precision, from the bytes of the head: what
earshot_head_filter approximates with whole numbers, for any number of directions at a time."""

import numpy as np

from subject import LEAD, RATE, WINDOW, spectra_of

HEADER = np.dtype([(name, "<u4") for name in (
    "magic", "version", "size", "checksum", "vertices", "measured", "triangles", "records",
    "channels")] + [("reserved", "<u4", 3), ("name", "S80")])
VERTEX = np.dtype([("direction", "<i4", 3), ("record", "<u4", 2), ("delay", "<u4", 2),
                   ("gain", "<u4")])
TRIANGLE = np.dtype([("normal", "<i4", (3, 3)), ("vertex", "<u4", 3), ("neighbour", "<u4", 3),
                     ("reserved", "<u4")])
CELLS = np.dtype(("<u4", 8192))
CHANNEL = np.dtype([("ear", "<i4", (2, WINDOW)), ("gain", "<u4"), ("reserved", "<u4")])
PHASE_SHRINKAGE = (32767 / 32768) ** 2  # which the records make up for

BINS = np.arange(129)


def unit_vectors(azimuths, elevations):
    a, e = np.radians(azimuths), np.radians(elevations)
    return np.stack([np.cos(e) * np.cos(a), np.cos(e) * np.sin(a), np.sin(e) + 0 * a], -1)


class HeadModel:
    def __init__(self, data):
        self._data, self._at = data, 0
        header = self._take(HEADER, 1)[0]
        self.vertices = self._take(VERTEX, header["vertices"])
        triangles = self._take(TRIANGLE, header["triangles"])
        self._take(CELLS, 1)
        self._take(CHANNEL, header["channels"])
        words = self._take(np.dtype("<u4"), int(header["records"]) * WINDOW)
        high = words.astype(np.uint16).view(np.int16).astype(float)
        low = (words >> 16).astype(np.uint16).view(np.int16)
        q21 = (high * 256 + low).reshape(-1, WINDOW)
        self._aligned = spectra_of(q21 * 2 ** 8) * PHASE_SHRINKAGE
        self.measured = int(header["measured"])
        self._corners = triangles["vertex"].astype(int)
        # Exactly: the normals of the head are rounded.
        corners = self.vertices["direction"][self._corners] / 2 ** 30
        self._to_weights = np.linalg.inv(np.swapaxes(corners, 1, 2))

    def _take(self, kind, count):
        taken = np.frombuffer(self._data, kind, count, self._at)
        self._at += taken.nbytes
        return taken

    def directions(self):
        """(azimuth, elevation) of all vertices, the measured ones first."""
        x, y, z = self.vertices["direction"].T / 2 ** 30
        return np.stack([np.degrees(np.arctan2(y, x)) % 360,
                         np.degrees(np.arctan2(z, np.hypot(x, y)))], 1)

    def places(self, directions):
        """Corners and weights of the triangles that hold them."""
        weights = (directions @ self._to_weights.reshape(-1, 3).T).reshape(len(directions), -1, 3)
        least = np.minimum(np.minimum(weights[..., 0], weights[..., 1]), weights[..., 2])
        held_by = least.argmax(1)
        chosen = np.maximum(weights[np.arange(len(directions)), held_by], 0)
        return self._corners[held_by], chosen / chosen.sum(1, keepdims=True)

    def filters(self, azimuths, elevation, ear):
        """Spectra for azimuths at an elevation: (directions, 129)."""
        corners, weights = self.places(unit_vectors(azimuths, elevation))
        records = self.vertices["record"][:, ear][corners]
        delays = self.vertices["delay"][:, ear][corners] / 2 ** 16
        mixed = sum(weights[:, [k]] * self._aligned[records[:, k]] for k in range(3))
        delay = (weights * delays).sum(1, keepdims=True)
        return mixed * np.exp(-2j * np.pi * BINS * delay / WINDOW)

    def sweep(self, frequency, azimuths, elevation, ear):
        """The gain for a steady sine at each azimuth."""
        blocks = [self._gains(frequency, block, elevation, ear)
                  for block in np.array_split(azimuths, max(1, len(azimuths) // 1000))]
        return np.concatenate(blocks)

    def _gains(self, frequency, azimuths, elevation, ear):
        taps = (np.arange(WINDOW) + WINDOW - LEAD) % WINDOW - (WINDOW - LEAD)
        turned = np.exp(-2j * np.pi * frequency / RATE * taps)
        return np.fft.irfft(self.filters(azimuths, elevation, ear), WINDOW) @ turned
