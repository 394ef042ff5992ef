"""Values by plane and cell, drawn."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np

if TYPE_CHECKING:
    from matplotlib.axes import Axes
    from matplotlib.image import AxesImage

_LABELS = {
    "threshold": "threshold (ADC counts)", "gain": "gain", "measured_gain": "measured gain",
    "voltage": "APD voltage (V)", "temperature": "temperature (°C)", "enabled_pixels": "enabled pixels",
}
_VIEWS = ("even planes", "odd planes")


class Map:
    """A column of a run by plane and cell. `values` is the masked array, `name` the column's, `title` the run's."""

    def __init__(self, values: Any, name: str, title: str) -> None:
        self.values = values
        self.name = name
        self.title = title

    def __repr__(self) -> str:
        return f"<map of {self.name}, {self.title}>"

    def view(self, number: int) -> Any:
        """The planes of one of the two views, 0 for the even ones, as a masked array by plane and cell."""
        return self.values[number::2]

    def plot(self, ax: Axes | tuple[Axes, Axes] | None = None, *, cmap: Any = "viridis", vmin: float | None = None,
             vmax: float | None = None, colorbar: bool = True) -> list[AxesImage]:
        """Draws both views, plane by cell; what is not known is left blank.

        ax  two axes, one for each view; or one, which is divided; without, a figure is made
        cmap, vmin, vmax
            as in matplotlib; both views have the same colours, which unless said otherwise span 99 of 100 values, so
            that a few odd ones do not hide the others
        colorbar
            whether to add one

        Returns matplotlib's two images, that of the even planes first.
        """
        views = _axes(ax)
        known = self.values.astype(float).compressed()
        known = known[np.isfinite(known)]
        span = np.quantile(known, (0.005, 0.995)).tolist() if known.size else (0.0, 1.0)
        low, high = vmin if vmin is not None else span[0], vmax if vmax is not None else span[1]
        planes, cells = self.values.shape
        images = []
        for number, axes in enumerate(views):
            # A plane of a view takes the room of two, so that the numbers on the axis are those of planes.
            extent = (number - 1.0, number - 1.0 + 2.0 * len(self.view(number)), -0.5, cells - 0.5)
            images.append(axes.imshow(self.view(number).astype(float).T, origin="lower", aspect="auto", extent=extent,
                                      interpolation="nearest", cmap=cmap, vmin=low, vmax=high))
            axes.set_xlim(-1.0, planes)
            axes.set_xlabel("plane")
            axes.set_ylabel("cell")
            axes.set_title(f"{self.title}, {_VIEWS[number]}", fontsize="medium")
        if colorbar:
            views[0].figure.colorbar(images[0], ax=list(views) if not _is_single(ax) else ax,
                                     label=_LABELS.get(self.name, self.name.replace("_", " ")))
        return images


def _is_single(ax: Any) -> bool:
    return ax is not None and not isinstance(ax, (tuple, list, np.ndarray))


def _axes(ax: Any) -> list[Axes]:
    if ax is None:
        import matplotlib.pyplot as plt

        _, pair = plt.subplots(2, 1, sharex=True, figsize=(9, 6), constrained_layout=True)
        return [pair[0], pair[1]]
    if _is_single(ax):
        ax.set_axis_off()
        single: Any = ax
        return [single.inset_axes((0.0, 0.6, 1.0, 0.4)), single.inset_axes((0.0, 0.0, 1.0, 0.4))]
    views: list[Axes] = list(np.ravel(ax))
    if len(views) != 2:
        raise ValueError(f"a map has two views, so that it takes one or two axes, not {len(views)}")
    return views
