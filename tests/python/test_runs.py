"""Facts, lists, settings, errors and messages."""

import datetime
import logging
import os

import numpy as np
import pytest

import brio
from brio import Status

UTC = datetime.timezone.utc


def test_facts_are_plain_values(server, sample):
    for source in (server, sample):
        run = brio.Run(13001, "Birch", source)
        assert run.start == datetime.datetime(2015, 8, 1, 15, 30, tzinfo=UTC)
        assert run.stop == datetime.datetime(2015, 8, 2, 0, 20, tzinfo=UTC)
        assert run.duration == datetime.timedelta(hours=8, minutes=50)
        assert run.pot == pytest.approx(2.3125e17)
        assert (run.run_type, run.partition, run.configuration, run.subruns) == ("Physics", 1, 1002, 21)
        assert run.good_diblocks == 0b11111111111111
        assert type(run.pot) is float and type(run.subruns) is int and run.start.tzinfo is UTC


def test_what_is_not_stored_is_none(server):
    nothing = brio.Run(13005, "Birch", server)
    assert [nothing.start, nothing.stop, nothing.duration, nothing.run_type, nothing.configuration] == [None] * 5
    going = brio.Run(13004, "Birch", server)
    assert going.start is not None and going.stop is None and going.duration is None
    bare = brio.Run(13008, "Birch", server)
    assert bare.pot is None and bare.good_diblocks is None and len(bare.quality_records) == 0
    assert brio.Run(13009, "Birch", server).pot is None
    simulated = brio.Run(5, "Birch", server)
    assert simulated.start is None and simulated.pot is None and simulated.simulated


def test_making_a_run_loads_nothing():
    run = brio.Run(13001, "Birch", "host=/nonexistent")
    assert repr(run) == "brio.Run(13001, 'Birch', source='a server')"
    assert "nothing yet" in run._repr_html_()


def test_quality_is_a_data_frame_of_the_newest_version(server):
    quality = brio.Run(13001, "Birch", server).quality
    assert list(quality.columns) == ["run", "subrun", "flag", "version", "miprate", "good_diblocks", "slices",
                                     "track_fraction"]
    assert list(quality["subrun"]) == list(range(21)) and set(quality["version"]) == {2}


def test_the_detector_as_it_took_part(server):
    run = brio.Run(13016, "Birch", server)
    assert run.dcms == 84 and len(run.event_builders) == 140
    assert np.count_nonzero(run.boards["presence"] == Status.KNOWN) == 84 * 64


# --- lists ---

def test_lists_are_selected_in_the_database(server):
    physics = brio.runs("Birch", 13000, 13040, run_type="Physics", source=server)
    assert len(physics) == len(physics.numbers) and 13033 not in physics.numbers and 13032 in physics.numbers
    assert [run.number for run in physics] == sorted(physics.numbers)
    assert brio.runs("Birch", where="nsubruns >= 22", last=13010, source=server).numbers[0] == 13002
    assert brio.runs("Birch", partition=2, source=server).numbers == [13030]
    assert brio.runs("Birch", newest=2, source=server).numbers == [13039, 13040]
    assert brio.runs("Birch", at="2014-06-10 04:00", source=server).numbers == [13000]
    assert brio.runs("Birch", configuration=1010, source=server).numbers == [13013]
    assert brio.runs("Birch", 14000, source=server).numbers == []
    assert physics[0].number == 13000 and [run.number for run in physics[:2]] == physics.numbers[:2]


@pytest.mark.parametrize("since", [
    "2015-08-01 15:30", datetime.date(2015, 8, 1), np.datetime64("2015-08-01T15:30"),
    datetime.datetime(2015, 8, 1, 10, 30, tzinfo=datetime.timezone(datetime.timedelta(hours=-5))),
    datetime.datetime(2015, 8, 1, 15, 30)])
def test_times_are_utc(server, sample, since):
    assert brio.runs("Birch", last=13001, since=since, source=server).numbers == [13001]
    assert brio.runs("Birch", since=since, source=sample).numbers == [13001, 13004]
    assert brio.runs("Birch", since=since, newest=1, source=sample).numbers == [13004]
    assert brio.runs("Birch", until=since, source=sample).numbers == [13000]


def test_a_table_and_a_list_come_with_one_statement_each(server):
    from brio import _brio

    before = _brio.statements_sent()
    runs = brio.runs("Birch", since="2014-06-01", source=server)
    assert _brio.statements_sent() == before
    assert len(runs.table(["start", "pot", "good_diblocks"])) > 35
    assert _brio.statements_sent() == before + 1
    assert len({run.start for run in runs}) > 35 and runs.numbers[0] == 13000
    assert _brio.statements_sent() == before + 2


def test_a_table_has_masked_values_and_times(server):
    table = brio.runs("Birch", 13004, 13009, source=server).table(["start", "stop", "pot", "good_diblocks", "dcms"])
    assert table.dtype.names[:6] == ("run", "start", "stop", "pot", "good_diblocks", "dcms")
    assert table["start"].dtype == "M8[us]" and table["start"][0] == np.datetime64("2016-03-04T03:00")
    assert table["stop"].mask.tolist() == [True, True] + [False] * 4
    assert table["pot"].mask.tolist() == [False, False, False, False, True, True]
    assert np.isnan(table["pot"].data[4])
    assert table["good_diblocks"].tolist() == [16383, 16383, 16383, 0, None, None]
    assert table["dcms"].tolist()[:3] == [168, 166, None]
    assert table["dcms_status"][2] == Status.NOT_IN_RUN
    frame = table.to_pandas()
    assert str(frame["start"].dtype) == "datetime64[ns, UTC]" and frame["stop"].isna().tolist()[0]
    assert frame["good_diblocks"].isna().sum() == 2


def test_runs_of_a_list_have_its_settings_and_facts(server):
    listed = brio.runs("Birch", 13010, 13010, source=server, use_mask=True, incomplete="raise")
    assert listed[0].settings == brio.Settings(use_mask=True, incomplete="raise")
    assert "2016-" in listed[0]._repr_html_()
    assert listed[0].pot is not None  # asked for when it is wanted


# --- snapshots ---

def test_a_saved_run_is_the_same(server, tmp_path):
    run = brio.Run(13010, "Birch", server, use_mask=True)
    path = tmp_path / "13010.brio"
    run.save(path)
    saved = brio.Run(13010, "Birch", path, use_mask=True)
    assert (saved.start, saved.pot, saved.good_diblocks) == (run.start, run.pot, run.good_diblocks)
    for name in ("boards", "channels"):
        assert getattr(saved, name).data.tobytes() == getattr(run, name).data.tobytes()
        assert getattr(saved, name).mask.tobytes() == getattr(run, name).mask.tobytes()
    assert saved.quality.equals(run.quality)
    brio.Run(13011, "Birch", server).save(path, append=True)
    assert brio.runs("Birch", source=path).numbers == [13010, 13011]
    with pytest.raises(brio.DatabaseError, match="holds runs 13010-13011 of Birch, not 13000"):
        brio.Run(13000, "Birch", path).load()
    with pytest.warns(UserWarning, match="14999"):
        brio.Run(14999, "Birch", server).save(path, append=True)
    with pytest.raises(brio.RunNotFound):
        brio.Run(14999, "Birch", path).load()
    with pytest.raises(brio.DatabaseError, match="/nowhere/"):
        run.save("/nowhere/13010.brio")


# --- errors ---

@pytest.mark.parametrize("make", [lambda name: brio.Run(13000, name), lambda name: brio.runs(name)])
@pytest.mark.parametrize("name", ["birch", "", "Unknown", "Birch ", "Birch\0", "Ясень"])
def test_a_wrong_detector_is_a_value_error_that_names_those_there_are(make, name):
    with pytest.raises(ValueError, match="choose from Alder, Birch, Cedar, Damson, Elder, Fenwick"):
        make(name)


def test_wrong_arguments_never_reach_the_library(sample):
    for number in (2**31, -2**31 - 1, 10**30):
        with pytest.raises(ValueError):
            brio.Run(number, "Birch")
    for number in (1.5, "13000", None):
        with pytest.raises(TypeError):
            brio.Run(number, "Birch")
    for settings in ({"incomplete": "no"}, {"retries": -1}, {"custom_mask": 2**40}):
        with pytest.raises(ValueError):
            brio.Run(13000, "Birch", **settings)
    with pytest.raises(ValueError, match="nsubruns"):
        brio.runs("Birch", where="nsubruns ~ 20", source=sample).numbers
    with pytest.raises(TypeError):
        brio.runs("Birch", colour="red")
    with pytest.raises(KeyError, match="choose from start"):
        brio.runs("Birch", source=sample).table(["begin"])
    run = brio.Run(13000, "Birch", sample)
    for place in ((0, 1, 0), (15, 1, 0), (1, 13, 0), (1, 1, 64), (-1, 1, 0), (2**40, 1, 0)):
        with pytest.raises(IndexError):
            run.board(*place)
    for channel in (0, -1, 2**32 - 1, 2**70):
        with pytest.raises(IndexError):
            run.channel(channel)
    for plane, cell in ((896, 0), (0, 384), (-1, 0), (0, -1)):
        with pytest.raises(IndexError):
            run.channel(plane=plane, cell=cell)
    with pytest.raises(TypeError):
        run.channel(plane=1)
    with pytest.raises(KeyError, match="choose from channel, plane"):
        run.by_plane("colour")
    for source in ("", "a\0b"):
        with pytest.raises(ValueError):
            brio.Run(13000, "Birch", source)


def test_the_compiled_module_refuses_wrong_detectors_by_itself():
    from brio import _brio

    calls = [lambda: _brio.load("birch", 1, None, "error", False, False, None, 0, False),
             lambda: _brio.quality("birch", 1, None, "error"), lambda: _brio.planes("birch"),
             lambda: _brio.channel_at("birch", 1), lambda: _brio.save("x", [("birch", 1)], None, "error", False),
             lambda: _brio.list_runs("birch", None, "error", *[None] * 8, [], 0, [])]
    for call in calls:
        with pytest.raises(ValueError, match="birch"):
            call()


def test_a_missing_run_is_a_lookup_error(server):
    run = brio.Run(14999, "Birch", server)
    for question in (lambda: run.start, lambda: run.boards, lambda: run.channel(plane=0, cell=0)):
        with pytest.raises(LookupError) as caught:
            question()
        assert type(caught.value) is brio.RunNotFound and "14999" in str(caught.value)


def test_a_database_error_keeps_category_and_log():
    run = brio.Run(13000, "Birch", "host=/nonexistent connect_timeout=5")
    for question in (lambda: run.start, lambda: run.boards, lambda: run.quality):
        with pytest.raises(brio.DatabaseError, match="/nonexistent/.s.PGSQL.5432") as caught:
            question()
        assert caught.value.category == "BrioDatabase"
        assert len(caught.value.log) == 1 and caught.value.log[0].startswith("BrioDatabase: connection to server")


def test_what_the_library_throws_is_an_error_with_its_category(server):
    with pytest.raises(brio.Error) as caught:
        brio.Run(13006, "Birch", server).load()
    assert "13006" in str(caught.value)
    with pytest.raises(brio.Error, match="too short"):
        brio.Run(13012, "Birch", server).load()


def test_no_password_is_shown():
    run = brio.Run(13000, "Birch", "host=/nonexistent password=open-sesame")
    with pytest.raises(brio.DatabaseError) as caught:
        run.load()
    assert "sesame" not in repr(run) + run._repr_html_() + repr(caught.value) + str(caught.value.log)


def test_what_cannot_be_read_is_told_or_raised(server):
    run = brio.Run(13015, "Birch", server)  # its configuration does not exist
    with pytest.warns(brio.IncompleteWarning, match="run 13015 of Birch: DAQ configuration"):
        boards = run.boards
    assert (boards["gain_status"][boards["installed"].filled(False)] == Status.CONFIGURATION_NOT_LOADED).all()
    assert boards["gain"].count() == 0
    with pytest.raises(brio.IncompleteError, match="DAQ configuration"):
        brio.Run(13015, "Birch", server, incomplete="raise").load()


@pytest.mark.parametrize("table, part, column", [("public.apd_pixel_m", "gains", "gain"),
                                                 ("slowcontrol.apd_settings", "slow control", "temperature")])
def test_gains_and_slow_control_that_cannot_be_read_are_told_or_raised(without, table, part, column):
    source = without(table)
    run = brio.Run(13001, "Birch", source)
    with pytest.warns(brio.IncompleteWarning, match=f"could not read {part}"):
        boards = run.boards
    assert boards[column].count() == 0 and np.isnan(boards[column].data).all()
    assert Status.SETTINGS_NOT_LOADED in boards[column + "_status"].data
    assert run.channels["threshold"].count() > 10000
    with pytest.raises(brio.IncompleteError, match=f"could not read {part}.*permission denied") as caught:
        brio.Run(13001, "Birch", source, incomplete="raise").load()
    assert isinstance(caught.value, brio.DatabaseError) and "permission denied" in caught.value.log[0]


def test_protons_that_cannot_be_read_are_no_none(without):
    run = brio.Run(13001, "Birch", without("beam.potbyrun"))
    with pytest.raises(brio.DatabaseError, match="protons on target"):
        run.start


def test_a_run_can_be_asked_again_after_an_error(server, monkeypatch):
    run = brio.Run(13001, "Birch")
    with pytest.raises(brio.DatabaseError, match="snapshot:none"):
        run.load()
    monkeypatch.setenv("BRIO_DATABASE", server)
    assert run.start is not None and len(run.boards) == 10752 and len(run.event_builders) == 140


# --- messages ---

def test_messages_go_to_logging_and_nothing_is_printed(server, capfd, caplog):
    caplog.set_level(logging.DEBUG, "brio")
    brio.Run(13001, "Birch", server).load()
    by_level = {(record.name, record.levelno) for record in caplog.records}
    assert ("brio.RunHistory", logging.DEBUG) in by_level  # the loaders' progress
    assert ("brio.RunHistory", logging.ERROR) in by_level  # gains out of range
    caplog.clear()
    with pytest.raises(brio.RunNotFound):
        brio.Run(14999, "Birch", server).load()
    assert any(record.levelno == logging.WARNING and "no entry found the runs table" in record.getMessage()
               for record in caplog.records)
    assert capfd.readouterr() == ("", "")


def test_below_its_level_nothing_is_logged_nor_made(server, caplog):
    from brio import _log

    for level, name in ((logging.DEBUG, "debug"), (logging.INFO, "info"), (logging.WARNING, "warning"),
                        (logging.CRITICAL, "error"), (logging.ERROR, "error")):
        caplog.set_level(level, "brio")
        assert _log.level() == name
    brio.Run(13001, "Birch", server).load()
    assert {record.levelno for record in caplog.records} == {logging.ERROR}


def test_a_handler_that_loads_ends(server):
    class Loading(logging.Handler):
        calls = 0

        def emit(self, record):
            Loading.calls += 1
            if Loading.calls == 1:
                try:
                    assert brio.Run(13000, "Birch", server).dcms == 168
                except brio.Error as error:
                    assert "under way on this thread" in str(error)

    handler = Loading()
    logger = logging.getLogger("brio.RunHistory")
    logger.addHandler(handler)
    try:
        logger.setLevel(logging.DEBUG)
        brio.Run(13001, "Birch", server).load()
    finally:
        logger.removeHandler(handler)
        logger.setLevel(logging.NOTSET)
    assert Loading.calls > 1


def test_other_programs_settings_of_libpq_do_not_lead_elsewhere(server):
    assert not [name for name in os.environ if name.startswith("PG")]
    assert brio.Run(13000, "Birch", server).subruns == 20
