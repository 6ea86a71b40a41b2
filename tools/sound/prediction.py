"""How well a head predicts directions that it was not made of: one is made of every other direction
of a measurement, as on a chequerboard, and compared at the others with one that is made of all."""

import ctypes

import h5py
import numpy as np

from head_model import HeadModel, unit_vectors
from signals import third_octaves, time_difference

WANTED = [("time difference, median, us", "at most 8"),
          ("third octaves, 200 Hz to 16 kHz, rms, dB", "at most 1.5")]
MEASUREMENT = "/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa"


def chequerboard(directions):
    """Which are kept: every other one of each ring of an elevation."""
    kept = np.zeros(len(directions), bool)
    elevations = np.round(directions[:, 1], 2)
    for row, elevation in enumerate(np.unique(elevations)):
        ring = np.flatnonzero(elevations == elevation)
        kept[ring[directions[ring, 0].argsort()][row % 2::2]] = True
    return kept


def write_part(path, kept):
    """The measurement with some of its directions."""
    with h5py.File(MEASUREMENT) as whole, h5py.File(path, "w") as part:
        part.attrs.update(whole.attrs)
        for name, values in whole.items():
            data = values[()]
            if values.shape[:1] == kept.shape:
                data = data[kept]
            part[name] = data
            for key, value in values.attrs.items():
                if key not in ("DIMENSION_LIST", "REFERENCE_LIST"):  # these point into the whole
                    part[name].attrs[key] = value


def made_head(subject, sofa):
    """A head of all that a measurement says, without an equaliser that would differ."""
    subject.run("head", sofa, "-o", "part.head", "--no-equalise", "-q")
    with open(subject.path("part.head"), "rb") as file:
        return subject.library.open_head(file.read())


def errors(predicted, exact):
    late = time_difference(*np.swapaxes(predicted, 0, 1)) - time_difference(
        *np.swapaxes(exact, 0, 1))
    bands = third_octaves(predicted) - third_octaves(exact)
    return np.median(np.abs(late)), np.sqrt(np.mean(bands ** 2))


def prediction(subject):
    with h5py.File(MEASUREMENT) as file:
        directions = file["SourcePosition"][:, :2]
    kept = chequerboard(directions)
    write_part(subject.path("half.sofa"), kept)
    whole, half = (made_head(subject, sofa) for sofa in (MEASUREMENT, "half.sofa"))

    exact = np.stack([whole.filters(*direction) for direction in directions[~kept]])
    known = np.stack([half.filters(*direction) for direction in directions[kept]])
    others = unit_vectors(*directions[~kept].T)
    nearest = (others @ unit_vectors(*directions[kept].T).T).argmax(1)
    model = HeadModel(half.data())
    corners, weights = model.places(others)
    at_corners = np.stack([half.filters(*vertex) for vertex in model.directions()])[corners]
    ways = {"nearest direction": known[nearest],
            "responses mixed as measured": np.einsum("nc,nceb->neb", weights, at_corners),
            "now": np.stack([half.filters(*direction) for direction in directions[~kept]])}
    by_way = {name: errors(way, exact) for name, way in ways.items()}
    return [{"error": what, **{name: by_way[name][k] for name in ways}, "wanted": wanted}
            for k, (what, wanted) in enumerate(WANTED)]
