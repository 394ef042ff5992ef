"""The pages, made by the command, and a web server for them."""

import functools
import http.server
import json
import os
import pathlib
import subprocess
import sys
import threading

FORMS = {
    "far": ["-d", "Birch", "-r", "13000"],
    "near": ["-d", "Alder", "-r", "11001"],
    "partial": ["-d", "Birch", "-r", "13003"],
    "simulated": ["-d", "Birch", "-r", "5"],
    "masked": ["-d", "Birch", "-r", "13010", "--analysis-mask"],
    "unconfigured": ["-d", "Birch", "-r", "13015"],
    "six": ["-d", "Cedar", "-r", "12000"],
}
STATUS = {"unconfigured": 1}


def command(*arguments, status=0):
    """What the command answers."""
    done = subprocess.run([os.environ["RUNHISTORY"], *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          text=True, check=False)
    if done.returncode != status:
        raise RuntimeError(f"{arguments}: status {done.returncode}\n{done.stderr}")
    return done.stdout


def make(folder, name):
    command("report", *FORMS[name], "--output", str(folder / f"{name}.html"), status=STATUS.get(name, 0))


def board_of_map(detector, run, quantity, place):
    """What a map says of a board."""
    answer = json.loads(command("map", quantity, "-d", detector, "-r", str(run), "--json"))
    return next(board for board in answer["boards"] if (board["diblock"], board["dcm"], board["port"]) == place)


class WebServer:
    """Serves a folder on 127.0.0.1 and remembers the paths that were asked for."""

    def __init__(self, folder):
        asked = self.asked = []

        class Handler(http.server.SimpleHTTPRequestHandler):
            def end_headers(self):
                self.send_header("Cache-Control", "no-store")
                super().end_headers()

            def log_message(self, *_):
                asked.append(self.path)

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0),
                                                      functools.partial(Handler, directory=str(folder)))
        self.address = f"http://127.0.0.1:{self.server.server_port}"
        self.thread = threading.Thread(target=self.server.serve_forever)
        self.thread.start()

    def close(self):
        self.server.shutdown()
        self.thread.join()
        self.server.server_close()


def folder():
    """Where the pages are."""
    return pathlib.Path(os.environ["PAGES"])


def main():
    """Makes the pages that are named as arguments."""
    for name in sys.argv[1:] or FORMS:
        make(folder(), name)


if __name__ == "__main__":
    main()
