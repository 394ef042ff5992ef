"""What the pages show is what happens; the examples and the notebook run."""

import doctest
import importlib
import os
import re
import subprocess
import sys

import nbclient
import nbformat

BLOCK = re.compile(r"(?:<!-- file: (?P<file>\S+) -->\n)?```python\n(?P<code>.*?)```", re.DOTALL)


def failures(examples, name):
    """Runs a doctest and gives what it complains of."""
    said = []
    runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS)
    runner.run(examples, out=said.append)
    assert runner.tries > 0, f"{name} has no examples"
    return "".join(said)


def test_the_page_shows_what_happens(source_tree):
    page = (source_tree / "docs/python.md").read_text()
    code = "\n".join(block["code"] for block in BLOCK.finditer(page) if not block["file"])
    examples = doctest.DocTestParser().get_doctest(code, {}, "python.md", "docs/python.md", 0)
    assert len(examples.examples) > 20
    assert failures(examples, "docs/python.md") == ""


def test_the_page_shows_the_examples_files(source_tree):
    shown = {block["file"]: block["code"] for block in BLOCK.finditer((source_tree / "docs/python.md").read_text())}
    files = sorted((source_tree / "docs/examples").glob("*.py"))
    assert len(files) == 2
    for file in files:
        assert shown[f"docs/examples/{file.name}"] == file.read_text()


def test_docstrings_show_what_happens():
    import brio

    said = []
    for name in ("brio._run", "brio._status"):
        module = importlib.import_module(name)
        for examples in doctest.DocTestFinder().find(module, extraglobs={"brio": brio}):
            if examples.examples:
                said.append(failures(examples, name))
    assert said == ["", ""]


def test_help_reads_like_a_page():
    import brio

    for name, thing in vars(brio).items():
        if not name.startswith("_") and name != "DETECTORS":
            assert thing.__doc__ and len(thing.__doc__) > 20, name
    for name, member in vars(brio.Run).items():
        if not name.startswith("_"):
            assert member.__doc__, name
    text = subprocess.run([sys.executable, "-c", "import brio; help(brio)"], capture_output=True, text=True,
                          env={**os.environ, "PAGER": "cat", "TERM": "dumb"}).stdout
    assert "brio - Runs of the experiment's detectors, as numpy arrays." in text
    assert 100 < len(text.splitlines()) < 700, "as long as a page, not as a book"


def run_example(source_tree, name, *arguments):
    # Tornado, of Debian's, warns of itself: nothing of that is ours.
    done = subprocess.run([sys.executable, "-W", "error::UserWarning", str(source_tree / "docs/examples" / name),
                           *(str(argument) for argument in arguments)], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    return done.stdout


def test_a_trend_over_forty_runs_on_a_dask_cluster(source_tree, many_runs, tmp_path):
    picture = tmp_path / "trend.png"
    lines = run_example(source_tree, "trend_on_dask.py", many_runs, picture).splitlines()
    # These have no resources or configuration.
    left_out = [int(line.split()[2]) for line in lines[:-1]]
    assert left_out == [13005, 13006, 13013, 13014, 13015]
    assert re.fullmatch(r"35 runs, mean gains from 100\.0\d to 100\.0\d", lines[-1])
    assert picture.read_bytes().startswith(b"\x89PNG") and picture.stat().st_size > 10_000
    line = run_example(source_tree, "array_job.py", many_runs, 3)
    assert re.fullmatch(r"13003,2016-03-02T15:00:00Z,100\.0\d\d,-14\.\d\d\d\n", line)


def shown(cell):
    """What a cell's outputs say, as text; pictures by their kind."""
    texts = []
    for output in cell.outputs:
        data = output.get("data", {})
        texts.append("picture" if "image/png" in data else output.get("text") or data.get("text/plain", ""))
    return texts


def test_the_notebook_gives_what_it_holds(source_tree, monkeypatch, tmp_path):
    path = source_tree / "docs/examples/runs.ipynb"
    assert path.stat().st_size < 150_000
    held = nbformat.read(path, as_version=4)
    run = nbformat.read(path, as_version=4)
    monkeypatch.delenv("MPLBACKEND", raising=False)  # pictures go into the notebook
    monkeypatch.setenv("IPYTHONDIR", str(tmp_path))
    monkeypatch.setenv("JUPYTER_RUNTIME_DIR", str(tmp_path))
    nbclient.NotebookClient(run, timeout=300, kernel_name="python3").execute()
    cells = [(before, after) for before, after in zip(held.cells, run.cells) if before.cell_type == "code"]
    assert len(cells) >= 6
    for before, after in cells:
        assert shown(after) == shown(before), before.source
    assert sum("picture" in shown(cell) for _, cell in cells) >= 2
