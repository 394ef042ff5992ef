"""Maps, data frames and what notebooks show, from the sample snapshot."""

import subprocess
import sys

import numpy as np
import pandas as pd
import pytest
from matplotlib import pyplot as plt
from matplotlib.image import AxesImage

import brio
from brio import Status


@pytest.fixture(scope="module")
def run():
    return brio.Run(13000, "Birch", "snapshot:sample").load()


@pytest.fixture(autouse=True)
def closed_figures():
    yield
    plt.close("all")


def test_a_map_shows_both_views_plane_by_cell(run):
    shown = run.map("temperature").plot()
    assert [type(image) for image in shown] == [AxesImage, AxesImage]
    values = run.by_plane("temperature")
    for view, image in enumerate(shown):
        drawn = image.get_array()
        assert drawn.shape == (384, 448)
        assert np.array_equal(drawn.T.compressed(), values[view::2].compressed())
        assert np.array_equal(np.ma.getmaskarray(drawn).T, np.ma.getmaskarray(values)[view::2])
        # The pixel of plane p is drawn over p, so that a click tells the plane.
        left, right, bottom, top = image.get_extent()
        width = (right - left) / 448
        for index in (0, 1, 447):
            assert left + index * width <= view + 2 * index <= left + (index + 1) * width
        assert (bottom, top) == (-0.5, 383.5)
        assert (image.axes.get_xlabel(), image.axes.get_ylabel()) == ("plane", "cell")
    assert "13000" in shown[0].axes.get_title() and "even" in shown[0].axes.get_title()
    assert shown[0].get_clim() == shown[1].get_clim()
    low, high = shown[0].get_clim()
    assert values.min() <= low < high < values.max() and low == pytest.approx(np.quantile(values.compressed(), 0.005))
    shown[0].figure.canvas.draw()


def test_a_map_takes_one_or_two_axes_and_colours(run):
    figure, axes = plt.subplots()
    inside = run.map("threshold").plot(ax=axes, vmin=30, vmax=70, cmap="magma")
    assert {image.axes.figure for image in inside} == {figure} and inside[1].get_clim() == (30, 70)
    figure.canvas.draw()
    figure, pair = plt.subplots(1, 2)
    beside = run.map("gain").plot(ax=pair, colorbar=False)
    assert [image.axes for image in beside] == list(pair) and len(figure.axes) == 2
    figure.canvas.draw()
    with pytest.raises(ValueError, match="two views"):
        run.map("gain").plot(ax=plt.subplots(3)[1])
    with pytest.raises(KeyError, match="choose from"):
        run.map("colour")


@pytest.mark.parametrize("detector, number", [("Alder", 11000), ("Cedar", 12000), ("Birch", 5)])
def test_maps_of_what_nobody_knows_are_blank(detector, number):
    run = brio.Run(number, detector, "snapshot:sample")
    for image in run.map("gain").plot():
        assert image.get_array().mask.all()
        image.figure.canvas.draw()


def test_data_frames_have_pandas_own_missing_values(run):
    frame = run.boards.to_pandas()
    boards = run.boards
    assert len(frame) == 10752 and list(frame.columns) == list(boards.dtype.names)
    for name in ("gain", "installed", "voltage", "feb", "enabled_pixels", "temperature_control"):
        assert np.array_equal(frame[name].isna(), boards.mask[name]), name
        assert list(frame[name].dropna()) == boards[name].compressed().tolist(), name
    assert frame["gain_status"].iloc[0] == "known"
    assert np.array_equal(frame["gain_status"].cat.codes, boards["gain_status"].data)
    assert frame.groupby("diblock")["gain"].mean().between(95, 105).all()
    channels = run.channels.to_pandas()
    assert len(channels) == 344064 and channels["threshold"].isna().sum() == run.channels.mask["threshold"].sum()
    frame.loc[0, "gain"] = 1  # a copy
    assert boards["gain"][0] != 1
    with pytest.raises(TypeError):
        boards["gain"].to_pandas()


def test_without_pandas_and_matplotlib_the_rest_works():
    program = """
import sys
sys.modules["pandas"] = sys.modules["matplotlib"] = None
import brio
run = brio.Run(13000, "Birch", "snapshot:sample")
assert type(run.quality) is brio.Records and len(run.quality) == 20
assert run.map("gain").values.shape == (896, 384)
assert "pandas" in {name for name, module in sys.modules.items() if module is None}
try:
    run.boards.to_pandas()
except ImportError:
    print("no pandas")
"""
    done = subprocess.run([sys.executable, "-W", "error", "-c", program], capture_output=True, text=True)
    assert done.stdout == "no pandas\n", done.stderr


def test_importing_is_light():
    program = "import sys, brio; print({'pandas', 'matplotlib', 'IPython'} & set(sys.modules))"
    assert subprocess.run([sys.executable, "-c", program], capture_output=True, text=True).stdout == "set()\n"


def test_the_summary_tells_what_is_loaded_and_asks_nothing(monkeypatch):
    run = brio.Run(13001, "Birch")
    assert "nothing yet" in run._repr_html_()  # from snapshot:none anything else would fail
    monkeypatch.setenv("BRIO_DATABASE", "snapshot:sample")
    run.pot
    facts = run._repr_html_()
    assert "2015-08-01 15:30:00 UTC" in facts and "2.313e+17" in facts and "boards" not in facts
    run.load(), run.quality
    monkeypatch.setenv("BRIO_DATABASE", "snapshot:none")
    whole = run._repr_html_()
    for text in ("14 diblocks, 168 DCMs, 140 event builders", "10,752 places", "344,064", "21 subruns", "out of range"):
        assert text in whole
    assert whole.count("<tr>") <= 16  # one screen
    runs = brio.runs("Birch", run_type="<script>")
    assert "<script>" not in runs._repr_html_() and "nothing yet" in runs._repr_html_()


def test_lists_are_shown(sample):
    runs = brio.runs("Birch", source=sample)
    assert len(runs) == 3
    assert "3 runs of Birch" in runs._repr_html_() and "13004" in runs._repr_html_()


def test_a_few_odd_values_do_not_take_all_colours(run):
    low, high = run.map("threshold").plot()[0].get_clim()
    assert run.by_plane("threshold").min() == -32768 and 20 < low < high < 100


def test_records_work_with_numpy(run):
    boards = run.boards
    hot = boards[boards["temperature"].filled(-99) > -14.0]
    assert type(hot) is brio.Records and 0 < len(hot) < 999
    assert boards["gain"].mean() == pytest.approx(100, abs=1)
    assert np.isnan(boards["gain"].filled()[boards["gain_status"] != Status.KNOWN]).all()
    assert boards["voltage"].filled()[boards["voltage_status"] != Status.KNOWN].max() == -1
    thresholds = run.channels["threshold"]
    assert (thresholds.filled()[thresholds.mask] == -1).all()
    assert isinstance(hot.to_pandas(), pd.DataFrame)
    assert str(boards[:2]).count("FEB") == 2
