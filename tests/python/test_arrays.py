"""Every element of the arrays beside what the C++ class answers of the same channel, asked one by one."""

import os
import subprocess
import warnings

import numpy as np
import pytest

import brio
from brio import Status

PER_CHANNEL = 5
PER_BOARD = 8


def questions(source, detector, number, mask):
    """What RunHistory answers, by channel and by board."""
    command = [os.environ["BRIO_PYTHON_QUESTIONS"], detector, str(number)] + (["mask"] if mask else [])
    answer = subprocess.run(command, env={**os.environ, "BRIO_DATABASE": source}, stdout=subprocess.PIPE, check=True)
    numbers = np.frombuffer(answer.stdout, dtype="f8")
    channels, boards = (int(count) for count in numbers[:2])
    split = 2 + channels * PER_CHANNEL
    assert len(numbers) == split + boards * PER_BOARD
    return numbers[2:split].reshape(channels, PER_CHANNEL).T, numbers[split:].reshape(boards, PER_BOARD).T


@pytest.fixture(scope="module", params=[
    ("sample", "Birch", 13000, False), ("server", "Birch", 13001, False), ("server", "Birch", 13010, True),
    ("server", "Birch", 13016, False), ("server", "Alder", 11000, False), ("server", "Cedar", 12000, False),
    ("sample", "Birch", 5, False)], ids=lambda sample: "-".join(str(part) for part in sample))
def asked(request):
    where, detector, number, mask = request.param
    source = request.getfixturevalue(where)
    run = brio.Run(number, detector, source, use_mask=mask)
    return run, *questions(source, detector, number, mask)


def same(array, answers, status):
    """Where the value is known it is the answer; where it is not, it is masked, and the answer's flag is down."""
    known = status.data == Status.KNOWN
    assert np.array_equal(np.ma.getmaskarray(array), ~known)
    assert np.array_equal(array.data[known].astype("f8"), answers[known])
    if array.dtype.kind == "f":
        assert np.isnan(array.data[~known]).all()


def test_thresholds_are_what_the_questions_answer(asked):
    run, (threshold, is_real, *_), _ = asked
    channels = run.channels
    assert len(channels) == len(threshold)
    same(channels["threshold"], threshold, channels["threshold_status"])
    assert np.array_equal(channels["threshold_status"].data == Status.KNOWN, is_real == 1)


def test_gains_are_what_the_questions_answer_unless_a_default_stands_for_them(asked):
    run, (_, _, gain, is_real, _), _ = asked
    channels = run.channels
    same(channels["gain"], gain, channels["gain_status"])
    status = channels["gain_status"].data
    default = np.isin(status, [Status.REPLACED, Status.NEVER_MEASURED, Status.LEFT_OUT, Status.NOT_FINITE,
                               Status.NOT_FOR_DETECTOR])
    assert np.array_equal((is_real == 1) & (status != Status.KNOWN), default & (is_real == 1))
    known = status == Status.KNOWN
    assert np.array_equal(run.measured_gains[known], channels["gain"].data[known])
    assert np.isnan(run.measured_gains[status == Status.NEVER_MEASURED]).all()


def test_boards_are_what_the_questions_answer(asked):
    run, (*_, has_apd), (gain, voltage, temperature, control, pixels, is_real, has_feb, has_apd_serial) = asked
    boards = run.boards
    same(boards["gain"], gain, boards["gain_status"])
    same(boards["voltage"], voltage, boards["voltage_status"])
    same(boards["temperature"], temperature.astype("f4"), boards["temperature_status"])
    same(boards["temperature_control"], control, boards["temperature_control_status"])
    same(boards["enabled_pixels"], pixels, boards["enabled_pixels_status"])
    if not run.simulated:
        assert np.array_equal(boards["enabled_pixels_status"].data == Status.KNOWN, is_real == 1)
        installed = boards["installed"].filled(False)
        assert np.array_equal(installed, has_apd[::32] == 1)
    assert np.array_equal(boards["feb_status"].data == Status.KNOWN, has_feb == 1)
    assert np.array_equal(boards["apd_status"].data == Status.KNOWN, has_apd_serial == 1)
    assert np.array_equal(boards["feb"].filled("") != "", has_feb == 1)


def test_means_are_those_of_the_channels(asked):
    run, *_ = asked
    thresholds = run.channels["threshold"].reshape(-1, 32)
    boards = run.boards
    known = boards["threshold_status"].data == Status.KNOWN
    assert np.allclose(thresholds.mean(axis=1)[known], boards["threshold"].data[known])
    measured = np.array(run.measured_gains).reshape(-1, 32)
    whole = (boards["measured_gain_status"].data == Status.KNOWN) & ~np.isnan(measured).any(axis=1)
    assert np.allclose(measured[whole].mean(axis=1), boards["measured_gain"].data[whole], rtol=1e-5)


def test_places_fit_together(asked):
    run, *_ = asked
    channels, boards = run.channels, run.boards
    for name in ("diblock", "dcm", "port", "plane"):
        assert np.array_equal(channels[name].data[::32], boards[name].data)
    assert np.array_equal(channels["pixel"].data, np.arange(len(channels)) % 32)
    assert np.array_equal(channels["cell"].data[::32] // 32, boards["module"].data)
    assert (np.diff(channels["channel"].data.astype("i8")) > 0).all()


def test_by_plane_puts_every_channel_to_its_place(asked):
    run, *_ = asked
    channels = run.channels
    temperatures = np.repeat(run.boards["temperature"], 32)
    for name, column in (("threshold", channels["threshold"]), ("gain", channels["gain"]),
                         ("temperature", temperatures)):
        by_plane = run.by_plane(name)
        assert by_plane.dtype == column.dtype
        places = channels["plane"].data, channels["cell"].data
        at = by_plane[places]
        assert np.array_equal(np.ma.getmaskarray(at), np.ma.getmaskarray(column))
        assert np.array_equal(at.compressed(), column.compressed())
        assert np.ma.getmaskarray(by_plane).sum() == by_plane.size - column.count()


def test_single_channels_and_boards_are_those_of_the_arrays(asked):
    run, *_ = asked
    channels, boards = run.channels, run.boards
    for index in [0, 1, len(channels) // 2 + 17, len(channels) - 1, *np.linspace(0, len(channels) - 1, 40, dtype=int)]:
        place = channels.data[index]
        channel = run.channel(plane=int(place["plane"]), cell=int(place["cell"]))
        assert channel == run.channel(int(place["channel"]))
        board = run.board(channel.diblock, channel.dcm, channel.port)
        assert (channel.plane, channel.cell, channel.pixel) == (place["plane"], place["cell"], place["pixel"])
        for name in ("threshold", "gain", "enabled"):
            expected = None if channels.mask[index][name] else place[name]
            assert getattr(channel, name) == expected
            assert channel.status[name] == place[name + "_status"]
        for name in ("temperature", "voltage", "feb", "installed"):
            expected = None if boards.mask[index // 32][name] else boards.data[index // 32][name]
            assert getattr(channel, name) == getattr(board, name) == expected
            assert channel.status[name] == board.status[name]


def test_the_documented_example(sample):
    run = brio.Run(13000, "Birch", sample)
    boards = run.boards[["diblock", "dcm", "port", "gain"]]
    assert boards.shape == (10752,) and isinstance(boards, np.ndarray)
    assert boards.dtype.names == ("diblock", "dcm", "port", "gain")
    assert run.channels.shape == (344064,)
    assert run.by_plane("threshold").shape == (896, 384)
    assert run.channel(plane=66, cell=17).threshold == 61
    assert type(run.channel(plane=66, cell=17).threshold) is int


def test_replaced_and_missing_values_never_show_a_default(server):
    run = brio.Run(13001, "Birch", server)
    low = run.board(12, 1, 0)  # all gains are 89.9, so that the library takes 100
    assert low.gain is None and low.status["gain"] is Status.REPLACED
    assert low.measured_gain == pytest.approx(89.9)
    first = np.flatnonzero(run.boards["gain_status"] == Status.REPLACED)[0]
    channel = run.channel(int(run.channels["channel"][first * 32]))
    assert channel.gain is None and channel.measured_gain is not None
    empty = run.board(12, 2, 15)
    assert (empty.gain, empty.feb, empty.status["gain"]) == (None, None, Status.NOT_INSTALLED)
    never = run.boards["gain_status"] == Status.NEVER_MEASURED
    assert never.any() and run.boards["gain"].mask[never].all()
    assert np.isnan(run.boards["gain"].data[never]).all()


def test_statuses_tell_masked_diblocks_from_those_that_took_no_part(server):
    masked = brio.Run(13010, "Birch", server, use_mask=True).boards
    assert set(np.unique(masked["diblock"].data[masked["presence"] == Status.MASKED])) == {7, 10}
    analysis = brio.Run(13010, "Birch", server, analysis_mask=True).boards
    assert set(np.unique(analysis["diblock"].data[analysis["presence"] == Status.KNOWN])) == {11, 12, 13, 14}
    custom = brio.Run(13010, "Birch", server, custom_mask=0b11).boards
    assert set(np.unique(custom["diblock"].data[custom["presence"] == Status.KNOWN])) == {1, 2}
    absent = brio.Run(13003, "Birch", server).boards
    assert set(np.unique(absent["diblock"].data[absent["presence"] == Status.NOT_IN_RUN])) == {1, 2, 3, 4}


def test_nobody_can_write_to_the_arrays(sample):
    run = brio.Run(13000, "Birch", sample)
    with warnings.catch_warnings():
        for records in (run.boards, run.channels):
            for write in (lambda: records["plane"].__setitem__(0, 5), lambda: records.data["plane"].__setitem__(0, 5),
                          lambda: records.mask["plane"].__setitem__(0, True),
                          lambda: records.__setitem__(0, np.ma.masked), lambda: records.setflags(write=True)):
                with pytest.raises(ValueError):
                    write()
    with pytest.raises(ValueError):
        run.measured_gains[0] = 1
    assert run.channels["plane"][0] == 0


def test_arrays_outlive_the_run_and_are_not_copied(sample):
    run = brio.Run(13000, "Birch", sample)
    channels = run.channels
    assert channels is run.channels
    assert channels["gain"].base is not None and np.shares_memory(channels["gain"].data, channels.data)
    expected = channels["threshold"].sum()
    del run
    brio.Run(13001, "Birch", sample).load()
    assert channels["threshold"].sum() == expected


def test_the_statuses_are_the_librarys():
    from brio import _brio

    numbers = [number for number, _, _ in _brio.statuses()]
    assert numbers == [status.value for status in Status]
    for (_, words, _), status in zip(_brio.statuses(), Status):
        short = words.replace(" the ", " ").replace(" this ", " ").removesuffix(" for")
        assert status.name == short.upper().replace(" ", "_")
        assert status.words == words
    assert Status.NOT_ENABLED.reason == "the DAQ configuration does not enable it"
