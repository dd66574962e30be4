"""A headless Chromium, driven through chromedriver's HTTP interface."""

import base64
import json
import os
import subprocess
import tempfile
import urllib.error
import urllib.request
from pathlib import Path

from sandbox import wait_until

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"  # the key that the protocol gives to elements


class Browser:
    """One window."""

    def __init__(self, size=(1200, 1000)):
        self._home = tempfile.TemporaryDirectory(prefix="browser-", ignore_cleanup_errors=True)
        self._output = open(Path(self._home.name) / "chromedriver", "w+")
        self._driver = subprocess.Popen(
            ["chromedriver", "--port=0"], stdout=self._output, stderr=subprocess.STDOUT,
            env={**os.environ, "HOME": self._home.name})
        self._session = ""
        try:
            self._url = f"http://127.0.0.1:{wait_until(self._port, 'chromedriver to listen', timeout=120)}"
            self._start(size)
        except BaseException:
            self.close()
            raise

    def _port(self):
        text = Path(self._output.name).read_text()
        return text.rpartition("on port ")[2].split(".")[0] if "successfully on port" in text else 0

    def _start(self, size):
        # Its own sandbox needs what neither root nor a container has; the pages are ours.
        arguments = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                     "--hide-scrollbars", f"--window-size={size[0]},{size[1]}",
                     f"--user-data-dir={self._home.name}/profile"]
        self._session = "/session/" + self._request("POST", "/session", {"capabilities": {
            "alwaysMatch": {"browserName": "chrome",
                            "goog:chromeOptions": {"args": arguments},
                            "goog:loggingPrefs": {"browser": "ALL"}}}})["sessionId"]

    def _request(self, method, path, body=None):
        request = urllib.request.Request(
            self._url + path, method=method, data=None if body is None else json.dumps(body).encode(),
            headers={"Content-Type": "application/json"})
        try:
            with urllib.request.urlopen(request, timeout=120) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise AssertionError(json.load(error)["value"]["message"]) from None

    def open(self, path):
        self._request("POST", self._session + "/url", {"url": Path(path).resolve().as_uri()})

    def reset(self):
        """As it was at first, without a page."""
        self.command("Emulation.clearDeviceMetricsOverride")
        self.command("Emulation.setEmulatedMedia", features=[])
        self._request("POST", self._session + "/url", {"url": "about:blank"})
        self.console()

    def run(self, script, *arguments):
        """The value that the body of a function returns in the page."""
        return self._request("POST", self._session + "/execute/sync",
                             {"script": script, "args": list(arguments)})

    def console(self):
        """What the page has written or raised since the last call."""
        return [entry["message"] for entry in
                self._request("POST", self._session + "/se/log", {"type": "browser"})]

    def command(self, name, **parameters):
        """One of the developer tools' commands."""
        return self._request("POST", self._session + "/goog/cdp/execute",
                             {"cmd": name, "params": parameters})

    def click(self, selector):
        found = self._request("POST", self._session + "/element",
                              {"using": "css selector", "value": selector})
        self._request("POST", f"{self._session}/element/{found[ELEMENT]}/click", {})

    def pointer(self, *steps, kind="mouse", keys=()):
        """Steps are (x, y) to go to, "down", "up" or seconds to wait."""
        self.perform([self._pointer_source("pointer", kind, steps), *self._held(keys, len(steps))])

    def pinch(self, first, second):
        """Two fingers, each with steps of its own."""
        self.perform([self._pointer_source("first", "touch", first),
                      self._pointer_source("second", "touch", second)])

    def perform(self, sources):
        self._request("POST", self._session + "/actions", {"actions": sources})
        self._request("DELETE", self._session + "/actions")

    @staticmethod
    def _pointer_source(name, kind, steps):
        actions = []
        for step in steps:
            if step in ("down", "up"):
                actions.append({"type": "pointer" + step.capitalize(), "button": 0})
            else:
                actions.append({"type": "pointerMove", "x": round(step[0]), "y": round(step[1]),
                                "duration": 30})
        return {"type": "pointer", "id": name, "parameters": {"pointerType": kind},
                "actions": actions}

    @staticmethod
    def _held(keys, count):
        pauses = [{"type": "pause"}] * (count - 1)
        return [{"type": "key", "id": key,
                 "actions": [{"type": "keyDown", "value": key}, *pauses]} for key in keys]

    def print(self):
        """The page as a PDF."""
        return base64.b64decode(self._request("POST", self._session + "/print", {}))

    def close(self):
        if self._session:
            self._request("DELETE", self._session)
        self._driver.terminate()
        self._driver.wait()
        self._output.close()
        self._home.cleanup()
